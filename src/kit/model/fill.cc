#include "kit/model/fill.h"

#include "kit/util/geometry.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

#include "kit/model/image_sampler.h"

namespace vorno {
namespace {

const RGBColor midGrey{0.5, 0.5, 0.5, 1};

double clampUnit(double t) {
  if (std::isnan(t)) return 0;
  return std::clamp(t, 0.0, 1.0);
}

RGBColor meanOf(const std::vector<RGBColor>& colors) {
  if (colors.empty()) return RGBColor::black();
  RGBColor sum{0, 0, 0, 1};
  for (const auto& c : colors) {
    sum.r += c.r;
    sum.g += c.g;
    sum.b += c.b;
  }
  double n = static_cast<double>(colors.size());
  return {sum.r / n, sum.g / n, sum.b / n, 1};
}

RGBColor sampleLinear(const LinearFill& fill, double x, double y, Size size) {
  double radians = fill.angle * std::numbers::pi / 180;
  double s = std::sin(radians), c = std::cos(radians);
  double w = size.width, h = size.height;
  double halfExtent = (std::fabs(w * s) + std::fabs(h * c)) / 2;
  // A box without extent along the ramp has no position on it; its middle is the fair answer.
  if (!(halfExtent > 0)) return Fill::interpolate(fill.colors, 0.5);
  double projection = (x - 0.5) * w * s - (y - 0.5) * h * c;
  return Fill::interpolate(fill.colors, clampUnit(projection / (2 * halfExtent) + 0.5));
}

RGBColor sampleRadial(const RadialFill& fill, double x, double y, Size size) {
  double w = size.width, h = size.height;
  double reach = std::max(w, h) * fill.radius;
  double distance = std::hypot((x - fill.x) * w, (y - fill.y) * h);
  // A zero reach puts every point but the centre beyond the last stop.
  double t = reach > 0 ? distance / reach : (distance > 0 ? 1 : 0);
  return Fill::interpolate(fill.colors, t);
}

RGBColor sampleImage(const ImageFill& fill, double x, double y, Size size) {
  auto thumbnail = ImageSampler::shared().thumbnail(fill.path);
  if (!thumbnail || thumbnail->width <= 0 || thumbnail->height <= 0) return midGrey;
  Rect placed = fill.placement({static_cast<double>(thumbnail->width), static_cast<double>(thumbnail->height)},
                               {0, 0, size.width, size.height});
  double px = x * size.width, py = y * size.height;
  // Both edges belong to the image, so a cover image answers at x = 1 too; the margins that
  // contain leaves are black.
  if (!(placed.width > 0 && placed.height > 0) || px < placed.x || px > placed.x + placed.width || py < placed.y ||
      py > placed.y + placed.height)
    return RGBColor::black();
  int column = static_cast<int>((px - placed.x) / placed.width * thumbnail->width);
  int row = static_cast<int>((py - placed.y) / placed.height * thumbnail->height);
  column = std::clamp(column, 0, thumbnail->width - 1);
  row = std::clamp(row, 0, thumbnail->height - 1);
  const uint8_t* p = thumbnail->pixel(column, row);
  double keep = 1 - fill.dim;
  return {p[0] / 255.0 * keep, p[1] / 255.0 * keep, p[2] / 255.0 * keep, 1};
}

RGBColor averageImage(const ImageFill& fill) {
  auto thumbnail = ImageSampler::shared().thumbnail(fill.path);
  if (!thumbnail || thumbnail->width <= 0 || thumbnail->height <= 0) return midGrey;
  double sum[3] = {0, 0, 0};
  size_t count = static_cast<size_t>(thumbnail->width) * thumbnail->height;
  for (size_t i = 0; i < count; ++i)
    for (int c = 0; c < 3; ++c) sum[c] += thumbnail->rgba[i * 4 + c];
  double keep = 1 - fill.dim;
  double n = static_cast<double>(count) * 255;
  return {sum[0] / n * keep, sum[1] / n * keep, sum[2] / n * keep, 1};
}

}  // namespace

Rect ImageFill::placement(Size imageSize, Rect rect) const {
  double sx = rect.width / imageSize.width, sy = rect.height / imageSize.height;
  double scale = fit == Fit::cover ? std::max(sx, sy) : std::min(sx, sy);
  // An image without extent cannot be scaled; it lands as a point in the middle.
  if (!std::isfinite(scale)) scale = 0;
  double w = imageSize.width * scale, h = imageSize.height * scale;
  return {rect.midX() - w / 2, rect.midY() - h / 2, w, h};
}

Fill Fill::resolved(const std::string& root) const {
  const ImageFill* fill = image();
  if (!fill || fill->path.starts_with("/")) return *this;
  ImageFill absolute = *fill;
  absolute.path = (std::filesystem::path(root) / fill->path).string();
  return Fill{absolute};
}

RGBColor Fill::sample(double x, double y, Size size) const {
  if (auto color = solidColor()) return *color;
  if (auto fill = linear()) return sampleLinear(*fill, x, y, size);
  if (auto fill = radial()) return sampleRadial(*fill, x, y, size);
  return sampleImage(*image(), x, y, size);
}

RGBColor Fill::averageColor() const {
  if (auto color = solidColor()) return *color;
  if (auto fill = linear()) return meanOf(fill->colors);
  if (auto fill = radial()) return meanOf(fill->colors);
  return averageImage(*image());
}

RGBColor Fill::interpolate(const std::vector<RGBColor>& colors, double t) {
  // The readers insist on two colours; a ramp built in code with fewer still answers.
  if (colors.empty()) return RGBColor::black();
  if (colors.size() == 1) return {colors[0].r, colors[0].g, colors[0].b, 1};
  double scaled = clampUnit(t) * static_cast<double>(colors.size() - 1);
  size_t i = std::min(colors.size() - 2, static_cast<size_t>(std::floor(scaled)));
  double f = scaled - static_cast<double>(i);
  const RGBColor& a = colors[i];
  const RGBColor& b = colors[i + 1];
  return {a.r + (b.r - a.r) * f, a.g + (b.g - a.g) * f, a.b + (b.b - a.b) * f, 1};
}

}  // namespace vorno
