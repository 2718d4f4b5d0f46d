#include "kit/layout/free_space.h"

#include "kit/layout/placement_checks.h"

#include <algorithm>
#include <cmath>

namespace vorno {

namespace {

Rect centred(Point c, Size s) { return {c.x - s.width / 2, c.y - s.height / 2, s.width, s.height}; }

// A soft light or shade: it may lie under anything, and anything may lie on it.
bool isAtmosphere(const ElementLayout& e) {
  if (e.decorative) return true;
  if (const auto* image = std::get_if<ImageSpec>(&e.content)) return e.opacity < 0.5 || image->blur > 0;
  if (const auto* shape = std::get_if<ShapeSpec>(&e.content)) return e.opacity < 0.5 || shape->blur > 0;
  return false;
}

}  // namespace

FreeSpace::FreeSpace(const Rect& canvas, const std::vector<ElementLayout>& placed) : canvas_(canvas) {
  const double side = std::min(canvas.width, canvas.height);
  pad_ = 0.02 * side;
  inner_ = canvas.insetBy(0.04 * side, 0.03 * side);
  for (const auto& e : placed) {
    if (e.kind == ElementLayout::Kind::device && isSlideTextOrDevice(e)) {
      devices_.push_back(e.rotatedBounds());
      continue;
    }
    if (isAtmosphere(e) || e.kind == ElementLayout::Kind::device) continue;
    const Rect bounds = e.kind == ElementLayout::Kind::text ? e.inkBounds() : e.rotatedBounds();
    if (e.kind == ElementLayout::Kind::text && isSlideTextOrDevice(e)) textBlock_ = textBlock_.united(bounds);
    taken_.push_back(bounds.outsetBy(pad_));
  }
}

void FreeSpace::occupy(const Rect& frame) { taken_.push_back(frame.outsetBy(pad_)); }

double FreeSpace::covered(const Rect& frame) const {
  double total = 0;
  for (const Rect& r : taken_) total += frame.intersection(r).area();
  // Past the margins counts too, so the fallback keeps the element on the canvas.
  return total + frame.area() - frame.intersection(inner_).area();
}

std::vector<Point> FreeSpace::candidates(Size size) const {
  std::vector<Point> points;
  const double w = size.width, h = size.height;
  const double step = std::max(h * 0.5, pad_);
  // 1. Just under the words.
  std::vector<Point> under;
  if (!textBlock_.isEmpty())
    for (double y = textBlock_.maxY() + pad_ + h / 2; y + h / 2 <= inner_.maxY(); y += step)
      under.push_back({textBlock_.midX(), y});
  if (!under.empty()) points.push_back(under.front());
  // 2. Beside each device: in the margin when it is wide enough, else over the device's edge.
  for (const Rect& device : devices_) {
    const Rect visible = device.intersection(inner_);
    if (visible.isEmpty()) continue;
    const double left = std::max(inner_.minX() + w / 2, std::min(device.minX() - pad_ - w / 2, visible.midX()));
    const double right = std::min(inner_.maxX() - w / 2, std::max(device.maxX() + pad_ + w / 2, visible.midX()));
    for (double y = visible.minY() + h / 2; y + h / 2 <= visible.maxY(); y += step) {
      points.push_back({left, y});
      points.push_back({right, y});
    }
  }
  // 3. Further under the words, then anywhere, row by row.
  points.insert(points.end(), under.begin() + (under.empty() ? 0 : 1), under.end());
  for (double y = inner_.minY() + h / 2; y + h / 2 <= inner_.maxY(); y += step)
    for (double x : {inner_.midX(), inner_.minX() + w / 2, inner_.maxX() - w / 2}) points.push_back({x, y});
  return points;
}

FreeSpace::Spot FreeSpace::find(Size size) const {
  for (double scale : {1.0, 0.75, 0.5}) {
    const Size scaled{size.width * scale, size.height * scale};
    if (scaled.width > inner_.width || scaled.height > inner_.height) continue;
    for (Point p : candidates(scaled))
      if (covered(centred(p, scaled)) < 1) return {p, scale};  // a square pixel: rounding, not cover
  }
  // Nowhere free: the spot that covers least, at full size, first found on ties.
  Spot best{inner_.center(), 1};
  double least = covered(centred(best.center, size));
  for (Point p : candidates(size)) {
    const double c = covered(centred(p, size));
    if (c < least) least = c, best.center = p;
  }
  return best;
}

}  // namespace vorno
