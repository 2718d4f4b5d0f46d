// Gradients follow the document's geometry exactly. A linear ramp at angle θ runs through the
// middle of the rectangle over a length that makes its end colours just touch the corners:
// L = (|sin θ · w| + |cos θ · h|) / 2 on each side of the centre. In our y-down space 0° runs
// upward, 90° to the right and 180° downward, so the first colour of the default ramp is on top.
// A radial ramp is centred at fractions of the rectangle measured from its top left, with a
// radius that is a fraction of the longer side. Both keep their end colours beyond their ends.
//
// A ramp over a whole slide (four million pixels) costs pixman some 30 ms to evaluate pixel by
// pixel. Between stops a linear ramp is affine, so it is evaluated on a grid four times coarser
// and enlarged bilinearly, which reproduces it to a level or so, in a quarter of the time; a
// radial ramp is smooth enough everywhere for the same. Small fills are painted exactly.
#include "kit/image/fill_painter.h"

#include "kit/image/cairo_util.h"
#include "kit/image/image_fill_renderer.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::FillPainter {
namespace {

void addStops(cairo_pattern_t* pattern, const std::vector<RGBColor>& colors) {
  const size_t n = colors.size();
  for (size_t i = 0; i < n; ++i) {
    const RGBColor& c = colors[i];
    cairo_pattern_add_color_stop_rgba(pattern, double(i) / double(n - 1), c.r, c.g, c.b, c.a);
  }
}

// Fewer than two colours make no ramp: one paints plain, none paints nothing.
bool paintedPlain(const std::vector<RGBColor>& colors, cairo_t* cr) {
  if (colors.size() >= 2) return false;
  if (colors.size() == 1) {
    setColor(cr, colors[0]);
    cairo_fill(cr);
  }
  return true;
}

// Fills under this many device pixels are evaluated exactly.
constexpr double reducedArea = 512.0 * 512.0;
constexpr double reduction = 4;

// Paints the current path with `pattern` through a bitmap `reduction` times coarser than the
// device pixels it covers. False when the fill is small, the bitmap can't be had, or nothing
// shows; the context is then untouched.
bool paintReduced(cairo_t* cr, cairo_pattern_t* pattern, const Rect& rect, bool opaque) {
  double x0, y0, x1, y1;
  cairo_fill_extents(cr, &x0, &y0, &x1, &y1);
  double cx0, cy0, cx1, cy1;
  cairo_clip_extents(cr, &cx0, &cy0, &cx1, &cy1);
  // Device bounds of the visible part: the four corners of the user box, transformed.
  const double left = std::max({x0, cx0, rect.minX()}), right = std::min({x1, cx1, rect.maxX()});
  const double top = std::max({y0, cy0, rect.minY()}), bottom = std::min({y1, cy1, rect.maxY()});
  if (!(right > left) || !(bottom > top)) return false;
  double xs[4] = {left, right, right, left}, ys[4] = {top, top, bottom, bottom};
  double dx0 = INFINITY, dy0 = INFINITY, dx1 = -INFINITY, dy1 = -INFINITY;
  for (int i = 0; i < 4; ++i) {
    cairo_user_to_device(cr, &xs[i], &ys[i]);
    dx0 = std::min(dx0, xs[i]), dx1 = std::max(dx1, xs[i]);
    dy0 = std::min(dy0, ys[i]), dy1 = std::max(dy1, ys[i]);
  }
  dx0 = std::floor(dx0), dy0 = std::floor(dy0), dx1 = std::ceil(dx1), dy1 = std::ceil(dy1);
  if (!((dx1 - dx0) * (dy1 - dy0) >= reducedArea) || (dx1 - dx0) > 1e5 || (dy1 - dy0) > 1e5) return false;

  // One spare sample on each side, so every device pixel lies between four samples.
  const int width = static_cast<int>(std::ceil((dx1 - dx0) / reduction)) + 2;
  const int height = static_cast<int>(std::ceil((dy1 - dy0) / reduction)) + 2;
  const double ox = dx0 - reduction, oy = dy0 - reduction;  // device position of the bitmap's corner
  // Opaque ramps take an opaque bitmap: pixman then copies instead of blending.
  CairoSurfacePtr bitmap(cairo_image_surface_create(opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, width, height));
  if (cairo_surface_status(bitmap.get()) != CAIRO_STATUS_SUCCESS) return false;
  cairo_matrix_t ctm;
  cairo_get_matrix(cr, &ctm);
  {
    CairoContextPtr small(cairo_create(bitmap.get()));
    cairo_scale(small.get(), 1 / reduction, 1 / reduction);
    cairo_translate(small.get(), -ox, -oy);
    cairo_transform(small.get(), &ctm);
    cairo_set_source(small.get(), pattern);
    cairo_set_operator(small.get(), CAIRO_OPERATOR_SOURCE);
    cairo_paint(small.get());
    if (cairo_status(small.get()) != CAIRO_STATUS_SUCCESS) return false;
  }
  // Sample (i, j) holds the ramp at device point (ox + (i + 0.5) f, oy + (j + 0.5) f), so the
  // bilinear filter, reading at device pixel centres, interpolates between true values.
  CairoPatternPtr enlarged(cairo_pattern_create_for_surface(bitmap.get()));
  cairo_matrix_t toBitmap;
  cairo_matrix_init_scale(&toBitmap, 1 / reduction, 1 / reduction);
  cairo_matrix_translate(&toBitmap, -ox, -oy);
  cairo_matrix_multiply(&toBitmap, &ctm, &toBitmap);  // user -> device -> bitmap
  cairo_pattern_set_matrix(enlarged.get(), &toBitmap);
  cairo_pattern_set_filter(enlarged.get(), CAIRO_FILTER_BILINEAR);
  cairo_pattern_set_extend(enlarged.get(), CAIRO_EXTEND_PAD);
  cairo_set_source(cr, enlarged.get());
  cairo_fill(cr);
  return true;
}

}  // namespace

void paint(const Fill& fill, cairo_t* cr, const Rect& rect) {
  if (rect.isEmpty()) return;
  if (const ImageFill* image = fill.image()) {
    ImageFillRenderer::shared().paint(*image, cr, rect);
    return;
  }
  CairoSaved saved(cr);
  cairo_new_path(cr);
  addRect(cr, rect);
  if (const RGBColor* color = fill.solidColor()) {
    setColor(cr, *color);
    cairo_fill(cr);
    return;
  }
  const double w = rect.width, h = rect.height;
  CairoPatternPtr pattern;
  bool opaque = true;
  auto allOpaque = [](const std::vector<RGBColor>& colors) {
    return std::all_of(colors.begin(), colors.end(), [](const RGBColor& c) { return c.a >= 1; });
  };
  if (const LinearFill* linear = fill.linear()) {
    if (paintedPlain(linear->colors, cr)) return;
    const double theta = linear->angle * M_PI / 180, s = std::sin(theta), c = std::cos(theta);
    const double half = (std::fabs(s * w) + std::fabs(c * h)) * 0.5;
    pattern.reset(cairo_pattern_create_linear(rect.midX() - s * half, rect.midY() + c * half,
                                              rect.midX() + s * half, rect.midY() - c * half));
    addStops(pattern.get(), linear->colors);
    opaque = allOpaque(linear->colors);
  } else if (const RadialFill* radial = fill.radial()) {
    if (paintedPlain(radial->colors, cr)) return;
    const double cx = rect.minX() + radial->x * w, cy = rect.minY() + radial->y * h;
    const double radius = std::max(radial->radius * std::max(w, h), 1e-6);
    pattern.reset(cairo_pattern_create_radial(cx, cy, 0, cx, cy, radius));
    addStops(pattern.get(), radial->colors);
    opaque = allOpaque(radial->colors);
  } else {
    return;
  }
  cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
  if (paintReduced(cr, pattern.get(), rect, opaque)) return;
  cairo_set_source(cr, pattern.get());
  cairo_fill(cr);
}

}  // namespace vorno::FillPainter
