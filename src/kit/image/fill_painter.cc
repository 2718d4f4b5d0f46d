// Gradients follow the document's geometry exactly. A linear ramp at angle θ runs through the
// middle of the rectangle over a length that makes its end colours just touch the corners:
// L = (|sin θ · w| + |cos θ · h|) / 2 on each side of the centre. In our y-down space 0° runs
// upward, 90° to the right and 180° downward, so the first colour of the default ramp is on top.
// A radial ramp is centred at fractions of the rectangle measured from its top left, with a
// radius that is a fraction of the longer side. Both keep their end colours beyond their ends.
//
// Ramps are painted by DitheredRamp, per device pixel with an ordered dither, so a slow ramp over
// a slide shows no bands; cairo paints one only when there is no bitmap to be had.
#include "kit/image/fill_painter.h"

#include "kit/image/cairo_util.h"
#include "kit/image/dithered_ramp.h"
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
  RampGeometry geometry;
  const std::vector<RGBColor>* colors = nullptr;
  if (const LinearFill* linear = fill.linear()) {
    if (paintedPlain(linear->colors, cr)) return;
    const double theta = linear->angle * M_PI / 180, s = std::sin(theta), c = std::cos(theta);
    const double half = (std::fabs(s * w) + std::fabs(c * h)) * 0.5;
    geometry.from = {rect.midX() - s * half, rect.midY() + c * half};
    geometry.to = {rect.midX() + s * half, rect.midY() - c * half};
    colors = &linear->colors;
    pattern.reset(cairo_pattern_create_linear(geometry.from.x, geometry.from.y, geometry.to.x, geometry.to.y));
  } else if (const RadialFill* radial = fill.radial()) {
    if (paintedPlain(radial->colors, cr)) return;
    geometry.shape = RampGeometry::Shape::radial;
    geometry.from = {rect.minX() + radial->x * w, rect.minY() + radial->y * h};
    geometry.radius = std::max(radial->radius * std::max(w, h), 1e-6);
    colors = &radial->colors;
    pattern.reset(cairo_pattern_create_radial(geometry.from.x, geometry.from.y, 0, geometry.from.x, geometry.from.y,
                                              geometry.radius));
  } else {
    return;
  }
  if (DitheredRamp::paint(cr, geometry, *colors, rect)) return;
  // Nothing visible, or no bitmap to be had: cairo's own ramp, undithered.
  addStops(pattern.get(), *colors);
  cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
  cairo_set_source(cr, pattern.get());
  cairo_fill(cr);
}

}  // namespace vorno::FillPainter
