// How the continuous corner is made.
//
// A circular corner joins a straight edge (curvature 0) to an arc (curvature 1/r) with a jump,
// and the eye sees that jump as a kink. Our corner removes it: each half of the corner starts on
// the edge at 1.528665 r from the corner with curvature 0, ramps its curvature smoothly up to 1/r
// (a cubic whose first three control points lie on the edge line, so it leaves the edge with
// zero curvature), and meets a short circular arc of radius r with equal tangent and equal
// curvature. The arc's centre sits at (1.04 r, 1.04 r) from the corner and the arc spans the
// middle 59 - 31 = 28 degrees; the two easing cubics turn the remaining 31 degrees each. These two
// numbers were chosen by searching for the smoothest curvature ramp (least greatest rate of change
// of curvature along the easing curve) that still rises monotonically; the result looks like the
// platform's squircle corner: the corner bites a little deeper on the diagonal (0.333 r against
// 0.293 r for a circle) and runs out into the edges much more gently.
//
// A radius so large that the easing has no room (1.528665 r more than the corner's share of a
// side) falls back to a circular corner of that radius, clamped like any rounded rectangle: a
// capsule has no straight edge to ease in from.
#include "kit/devices/screen_shape.h"

#include "kit/devices/mask_cache.h"
#include "kit/image/cairo_util.h"

#include <cairo.h>
#include <glib.h>
#include <poppler.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

namespace vorno::ScreenShape {
namespace {

using Cubic = std::array<Point, 4>;

// One corner of radius 1 as three cubics, in corner coordinates: u runs along the horizontal
// edge away from the corner, v along the vertical edge. It starts on the horizontal edge at
// (cornerExtent, 0) and ends on the vertical edge at (0, cornerExtent).
std::array<Cubic, 3> makeUnitCorner() {
  constexpr double c = 1.04;    // the arc's centre is (c, c)
  constexpr double phi = 0.545;  // the arc starts this far (radians) from pointing at the edge
  const double s = std::sin(phi), co = std::cos(phi);
  const Point p3{c - s, c - co};           // where the easing meets the arc
  const double h = p3.y;                   // its distance from the edge line
  const double run = h / s;                // along the arc's tangent back to the edge line
  const Point p2{p3.x + run * co, 0};      // the tangent meets the edge here
  const double lead = 1.5 * run * run * run / h;  // puts curvature 1 at p3
  const Point p1{p2.x + lead, 0};
  const Point p0{cornerExtent, 0};
  const Cubic easeIn{p0, p1, p2, p3};

  // The arc from angle a0 to a1 around (c, c), as one cubic (it spans under 30 degrees).
  const double a0 = -M_PI / 2 - phi, a1 = -M_PI + phi;
  const double k = 4.0 / 3.0 * std::tan((a1 - a0) / 4);
  auto at = [&](double a) { return Point{c + std::cos(a), c + std::sin(a)}; };
  auto tangent = [&](double a) { return Point{-std::sin(a), std::cos(a)}; };
  Point q0 = at(a0), q3 = at(a1), t0 = tangent(a0), t3 = tangent(a1);
  const Cubic arc{q0, Point{q0.x + k * t0.x, q0.y + k * t0.y}, Point{q3.x - k * t3.x, q3.y - k * t3.y}, q3};

  // The second easing is the first mirrored across the diagonal and run backwards.
  auto swap = [](Point p) { return Point{p.y, p.x}; };
  const Cubic easeOut{swap(p3), swap(p2), swap(p1), swap(p0)};
  return {easeIn, arc, easeOut};
}

const std::array<Cubic, 3>& unitCorner() {
  static const std::array<Cubic, 3> corner = makeUnitCorner();
  return corner;
}

// Handle length of a cubic quarter circle of radius 1.
constexpr double kappa = 0.5522847498307936;

enum class Corner { topLeft, topRight, bottomRight, bottomLeft };

// Appends one corner of radius `r` to `path`, which already stands at the corner's first point.
// `fromHorizontal` says whether the path arrives along the horizontal edge (then it leaves along
// the vertical one) or the other way round. `room` is how far along each edge the corner may reach.
void addCorner(Path& path, const Rect& rect, Corner corner, double r, double room, bool fromHorizontal) {
  // Maps corner coordinates (u along the horizontal edge, v along the vertical) into the rectangle.
  double ox = (corner == Corner::topLeft || corner == Corner::bottomLeft) ? rect.minX() : rect.maxX();
  double oy = (corner == Corner::topLeft || corner == Corner::topRight) ? rect.minY() : rect.maxY();
  double sx = (corner == Corner::topLeft || corner == Corner::bottomLeft) ? 1 : -1;
  double sy = (corner == Corner::topLeft || corner == Corner::topRight) ? 1 : -1;

  std::vector<Cubic> pieces;
  double scale = r;
  if (r * cornerExtent <= room) {
    const auto& unit = unitCorner();
    pieces.assign(unit.begin(), unit.end());
  } else {
    scale = std::min(r, room);
    pieces.push_back(Cubic{Point{1, 0}, Point{1 - kappa, 0}, Point{0, 1 - kappa}, Point{0, 1}});
  }
  if (!fromHorizontal) {
    std::reverse(pieces.begin(), pieces.end());
    for (auto& piece : pieces) std::reverse(piece.begin(), piece.end());
  }
  auto place = [&](Point p) { return Point{ox + sx * p.x * scale, oy + sy * p.y * scale}; };
  for (const auto& piece : pieces) path.curveTo(place(piece[1]), place(piece[2]), place(piece[3]));
}

// The point where a corner meets its horizontal edge or its vertical one.
double reach(double r, double room) { return r * cornerExtent <= room ? r * cornerExtent : std::min(r, room); }

}  // namespace

Path continuousRect(const Rect& rect, double left, double right) {
  left = std::max(0.0, left);
  right = std::max(0.0, right);
  Path path;
  if (rect.isEmpty()) return path;
  if (left <= 0 && right <= 0) {
    path.addRect(rect);
    return path;
  }
  // Each corner may use its share of the width (in proportion to its radius) and half the height.
  double total = left + right;
  double roomLeft = std::min(rect.width * left / total, rect.height / 2);
  double roomRight = std::min(rect.width * right / total, rect.height / 2);
  double l = reach(left, roomLeft), r = reach(right, roomRight);

  // Clockwise on screen (y down), starting on the top edge just after the top-left corner.
  path.moveTo({rect.minX() + l, rect.minY()});
  path.lineTo({rect.maxX() - r, rect.minY()});
  if (right > 0) addCorner(path, rect, Corner::topRight, right, roomRight, true);
  path.lineTo({rect.maxX(), rect.maxY() - r});
  if (right > 0) addCorner(path, rect, Corner::bottomRight, right, roomRight, false);
  path.lineTo({rect.minX() + l, rect.maxY()});
  if (left > 0) addCorner(path, rect, Corner::bottomLeft, left, roomLeft, true);
  path.lineTo({rect.minX(), rect.minY() + l});
  if (left > 0) addCorner(path, rect, Corner::topLeft, left, roomLeft, false);
  path.close();
  return path;
}

Path continuousRect(const Rect& rect, double radius) { return continuousRect(rect, radius, radius); }

namespace {

struct GObjectDeleter {
  void operator()(void* object) const {
    if (object) g_object_unref(object);
  }
};

std::optional<MaskImage> rasterise(const std::string& pdfPath, int width, int height) {
  GError* error = nullptr;
  gchar* uri = g_filename_to_uri(pdfPath.c_str(), nullptr, &error);
  if (!uri) {
    g_clear_error(&error);
    return std::nullopt;
  }
  std::unique_ptr<PopplerDocument, GObjectDeleter> document(poppler_document_new_from_file(uri, nullptr, &error));
  g_free(uri);
  g_clear_error(&error);
  if (!document || poppler_document_get_n_pages(document.get()) < 1) return std::nullopt;
  std::unique_ptr<PopplerPage, GObjectDeleter> page(poppler_document_get_page(document.get(), 0));
  if (!page) return std::nullopt;
  double pageWidth = 0, pageHeight = 0;
  poppler_page_get_size(page.get(), &pageWidth, &pageHeight);
  if (!(pageWidth > 0) || !(pageHeight > 0)) return std::nullopt;

  CairoSurfacePtr surface(newImageSurface(CAIRO_FORMAT_ARGB32, width, height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
  {
    CairoContextPtr cr(cairo_create(surface.get()));
    // Poppler draws from the top left of the page box, so scaling alone maps the box onto the bitmap.
    cairo_scale(cr.get(), width / pageWidth, height / pageHeight);
    poppler_page_render(page.get(), cr.get());
  }
  cairo_surface_flush(surface.get());

  // Only coverage matters: the mask's alpha, whatever colour the PDF painted it in.
  MaskImage mask;
  mask.width = width;
  mask.height = height;
  mask.stride = cairo_format_stride_for_width(CAIRO_FORMAT_A8, width);
  auto bytes = std::make_shared<std::vector<uint8_t>>(static_cast<size_t>(mask.stride) * height, 0);
  const unsigned char* source = cairo_image_surface_get_data(surface.get());
  int sourceStride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < height; ++y) {
    const uint32_t* row = reinterpret_cast<const uint32_t*>(source + static_cast<size_t>(y) * sourceStride);
    uint8_t* out = bytes->data() + static_cast<size_t>(y) * mask.stride;
    for (int x = 0; x < width; ++x) out[x] = static_cast<uint8_t>(row[x] >> 24);
  }
  mask.bytes = std::move(bytes);
  return mask;
}

}  // namespace

std::optional<MaskImage> renderMask(const std::string& pdfPath, int width, int height) {
  if (width < 1 || height < 1) return std::nullopt;
  std::string key = MaskCache::key(pdfPath, width, height);
  if (auto hit = MaskCache::shared().image(key)) return hit;
  auto mask = rasterise(pdfPath, width, height);
  if (mask) MaskCache::shared().insert(key, *mask);
  return mask;
}

namespace {

// One corner of a screen, `side` pixels square: the bottom left one as the screen is seen (the
// bottom right one when mirrored), where the top bit of each byte says inside or outside.
std::vector<uint8_t> maskSample(const MaskImage& mask, int side, bool mirrored) {
  std::vector<uint8_t> sample(static_cast<size_t>(side) * side, 0);
  int top = mask.height - side;
  for (int y = 0; y < side; ++y) {
    int my = top + y;
    if (my < 0 || my >= mask.height) continue;
    for (int x = 0; x < side && x < mask.width; ++x) {
      int mx = mirrored ? mask.width - 1 - x : x;
      sample[static_cast<size_t>(y) * side + x] = mask.at(mx, my);
    }
  }
  return sample;
}

// The same corner of a continuous rectangle of the screen's size; nothing if no bitmap can be made.
std::optional<std::vector<uint8_t>> shapeSample(int width, int height, int side, double radius) {
  CairoSurfacePtr surface(newImageSurface(CAIRO_FORMAT_A8, side, side));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return std::nullopt;
  {
    CairoContextPtr cr(cairo_create(surface.get()));
    cairo_translate(cr.get(), 0, side - height);
    appendPath(cr.get(), continuousRect(Rect{0, 0, static_cast<double>(width), static_cast<double>(height)},
                                           std::max(0.0, radius)));
    cairo_set_fill_rule(cr.get(), CAIRO_FILL_RULE_WINDING);
    cairo_set_source_rgba(cr.get(), 1, 1, 1, 1);
    cairo_fill(cr.get());
  }
  cairo_surface_flush(surface.get());
  const unsigned char* data = cairo_image_surface_get_data(surface.get());
  int stride = cairo_image_surface_get_stride(surface.get());
  std::vector<uint8_t> sample(static_cast<size_t>(side) * side);
  for (int y = 0; y < side; ++y) std::memcpy(&sample[static_cast<size_t>(y) * side], data + y * stride, side);
  return sample;
}

}  // namespace

std::optional<double> bestRadius(const std::string& pdfPath, int width, int height, bool mirrored,
                                 const std::vector<double>& candidates) {
  auto mask = renderMask(pdfPath, width, height);
  if (!mask) return std::nullopt;
  // A corner says everything about the radius; the rest of the mask would only cost time.
  int side = static_cast<int>(std::max(8.0, std::min(width, height) * 0.32));
  std::vector<uint8_t> target = maskSample(*mask, side, mirrored);

  std::optional<double> best;
  size_t bestCount = 0;
  for (double candidate : candidates) {
    auto sample = shapeSample(width, height, side, candidate);
    if (!sample) continue;
    size_t count = 0;
    for (size_t i = 0; i < target.size(); ++i) count += ((target[i] ^ (*sample)[i]) & 0x80) != 0;
    if (!best || count < bestCount) {
      best = candidate;
      bestCount = count;
    }
  }
  return best;
}

std::optional<double> fitCornerRadius(const std::string& pdfPath, int width, int height, bool mirrored) {
  if (width < 1 || height < 1) return std::nullopt;
  // Coarse pass: whole radii on a copy at most 360 pixels wide, up to the largest corner whose
  // easing still fits inside the sampled square.
  double s = std::min(360.0 / width, 1.0);
  int coarseWidth = static_cast<int>(width * s), coarseHeight = static_cast<int>(height * s);
  std::vector<double> coarse;
  double largest = std::min(coarseWidth, coarseHeight) * 0.32 / 1.53;
  for (int r = 1; r <= largest; ++r) coarse.push_back(r);
  auto rough = bestRadius(pdfPath, coarseWidth, coarseHeight, mirrored, coarse);
  if (!rough) return std::nullopt;

  // Fine pass at full size: half pixels within a coarse pixel and a half either side.
  std::vector<double> fine;
  double from = std::max(0.0, *rough / s - 1.5 / s), to = *rough / s + 1.5 / s;
  for (int i = 0;; ++i) {
    double candidate = from + 0.5 * i;
    if (candidate > to + 1e-9) break;
    fine.push_back(candidate);
  }
  return bestRadius(pdfPath, width, height, mirrored, fine);
}

}  // namespace vorno::ScreenShape
