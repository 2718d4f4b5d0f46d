// The body of a drawn device: its geometry at a given size, and the parts painted around the
// screen (buttons, the three kinds of band, the hinge crease, a flat silhouette, fold marks).
// All in cairo's space: "top" is the smallest y, and light falls from the top left.
#include "kit/devices/device_drawing.h"

#include "kit/devices/screen_shape.h"
#include "kit/image/cairo_util.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::DeviceDrawing {
namespace {

void strokePath(cairo_t* cr, const Path& path, const RGBColor& color, double width) {
  appendPath(cr, path);
  setColor(cr, color);
  cairo_set_line_width(cr, width);
  cairo_stroke(cr);
}

void fillPath(cairo_t* cr, const Path& path, const RGBColor& color) {
  appendPath(cr, path);
  setColor(cr, color);
  cairo_fill(cr);
}

void clipTo(cairo_t* cr, const Path& path) {
  appendPath(cr, path);
  cairo_clip(cr);
}

void addStop(cairo_pattern_t* pattern, double offset, const RGBColor& c) {
  cairo_pattern_add_color_stop_rgba(pattern, offset, c.r, c.g, c.b, c.a);
}

// The part of the bezel shape that the opaque bezel, filled after the band, always hides: the
// bezel shrunk by up to two device pixels, so the band's paint reaches under the bezel's
// antialiased edge and no seam of the slide shows between them.
Path underBezel(cairo_t* cr, const Geometry& g) {
  const double d = std::min(g.a * 0.5, 2 / std::max(pixelScale(cr), 1e-6));
  Rect inner = g.screen.outsetBy(g.a - d);
  if (!g.hinge) return ScreenShape::continuousRect(inner, g.a + g.r - d);
  return ScreenShape::continuousRect(inner, g.leftOf(g.a + g.r - d, g.a + g.hr - d),
                                     g.rightOf(g.a + g.r - d, g.a + g.hr - d));
}

RGBColor withAlpha(RGBColor color, double alpha) {
  color.a = alpha;
  return color;
}

}  // namespace

Geometry Geometry::make(const DeviceFrame& frame, const Rect& body) {
  const FrameSpec& spec = frame.spec;
  const double s = frame.scale;
  const double hingeThickness = spec.hinge ? spec.hinge->thickness : 0;
  const double nativeWidth = 2 * s * (spec.bezel + spec.band) + frame.screenWidth + s * hingeThickness;

  Geometry g;
  g.body = body;
  g.k = nativeWidth > 0 ? body.width / nativeWidth : 0;
  g.px = s * g.k;
  g.a = spec.bezel * g.px;
  g.b = spec.band * g.px;
  g.h = hingeThickness * g.px;
  if (spec.hinge) g.hinge = spec.hinge->side;

  g.screen = body.insetBy(g.a + g.b, g.a + g.b);
  if (spec.hinge) {
    g.screen.width -= g.h;
    if (spec.hinge->side == FrameSpec::Hinge::Side::left) g.screen.x += g.h;
  }
  g.r = frame.screenCornerRadius * g.k;
  g.hr = spec.hinge ? spec.hinge->screenRadius * g.px : g.r;
  g.R = spec.bodyRadius ? *spec.bodyRadius * g.px : g.a + g.b + g.r;
  g.H = g.h + g.a + g.b + g.hr;
  return g;
}

Path Geometry::bodyPath() const {
  if (!hinge) return ScreenShape::continuousRect(body, R);
  return ScreenShape::continuousRect(body, leftOf(R, H), rightOf(R, H));
}

Path Geometry::bezelPath() const {
  Rect bezel = screen.outsetBy(a);
  if (!hinge) return ScreenShape::continuousRect(bezel, a + r);
  return ScreenShape::continuousRect(bezel, leftOf(a + r, a + hr), rightOf(a + r, a + hr));
}

AffineTransform turnRotation(std::optional<FrameTurn> turn, Point centre) {
  if (!turn) return AffineTransform::identity();
  // In y-down space a positive angle turns clockwise on screen.
  double angle = *turn == FrameTurn::clockwise ? M_PI / 2 : -M_PI / 2;
  return AffineTransform::translation(-centre.x, -centre.y)
      .then(AffineTransform::rotation(angle))
      .then(AffineTransform::translation(centre.x, centre.y));
}

Rect swapped(const Rect& rect) {
  return {rect.midX() - rect.height / 2, rect.midY() - rect.width / 2, rect.height, rect.width};
}

double pixelScale(cairo_t* cr) {
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  return std::hypot(m.xx, m.yx);
}

RGBColor sample(const std::vector<Stop>& stops, double t) {
  if (stops.empty()) return RGBColor::black();
  auto it = std::find_if(stops.begin(), stops.end(), [&](const Stop& stop) { return stop.position >= t; });
  if (it == stops.end() || it == stops.begin()) return stops.front().color;
  const Stop& previous = *(it - 1);
  double gap = std::max(0.0001, it->position - previous.position);
  double amount = std::clamp((t - previous.position) / gap, 0.0, 1.0);
  return previous.color.mixed(it->color, amount);
}

void drawButtons(cairo_t* cr, const std::vector<FrameSpec::Button>& buttons, const Rect& body, double depth,
                 const RGBColor& color) {
  if (buttons.empty()) return;
  const double t = depth * 2.2;
  Path path;
  for (const FrameSpec::Button& button : buttons) {
    Rect rect;
    switch (button.side) {
      case FrameSpec::Button::Side::left:
        rect = {body.minX() - depth, body.minY() + button.start * body.height, t, button.length * body.height};
        break;
      case FrameSpec::Button::Side::right:
        rect = {body.maxX() + depth - t, body.minY() + button.start * body.height, t, button.length * body.height};
        break;
      case FrameSpec::Button::Side::top:
        rect = {body.minX() + button.start * body.width, body.minY() - depth, button.length * body.width, t};
        break;
    }
    if (!rect.isEmpty()) path.addRoundedRect(rect, t / 2);
  }
  CairoSaved saved(cr);
  fillPath(cr, path, color);
}

void drawPolishedEdge(cairo_t* cr, const Geometry& g, const Finish& finish) {
  const Rect& body = g.body;
  {
    CairoSaved saved(cr);
    // From the top left corner to the bottom right: the band catches the light twice on its way.
    CairoPatternPtr sheen(cairo_pattern_create_linear(body.minX(), body.minY(), body.maxX(), body.maxY()));
    addStop(sheen.get(), 0, finish.light);
    addStop(sheen.get(), 0.35, finish.dark);
    addStop(sheen.get(), 0.7, finish.light);
    addStop(sheen.get(), 1, finish.dark);
    cairo_set_source(cr, sheen.get());
    // Only the band shows: painting the whole body would evaluate the ramp over millions of
    // pixels the bezel covers next.
    appendPath(cr, g.bodyPath());
    appendPath(cr, underBezel(cr, g));
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
    cairo_fill(cr);
  }
  const double inset = std::max(0.5, g.b * 0.22);
  const double q = std::max(0.0, g.b + g.r);
  const Rect rim = body.insetBy(inset, inset);
  Path highlight = g.hinge ? ScreenShape::continuousRect(rim, g.leftOf(q, std::max(0.0, g.H - (g.R - q))),
                                                         g.rightOf(q, std::max(0.0, g.H - (g.R - q))))
                           : ScreenShape::continuousRect(rim, q);
  // The highlight's corners are tighter than the body's, so at each corner it would stray past
  // the silhouette onto the slide as a pale arc: it is kept inside the body, where it runs along
  // the very edge of the corner instead.
  CairoSaved saved(cr);
  clipTo(cr, g.bodyPath());
  strokePath(cr, highlight, {1, 1, 1, 0.28}, std::max(0.5, g.b * 0.18));
}

void drawRoundedRim(cairo_t* cr, const Rect& body, double band, double radius, const Finish& finish) {
  const RGBColor light = finish.light, dark = finish.dark;
  const std::vector<Stop> stops{{0, dark},
                                {0.18, dark.mixed(light, 0.55)},
                                {0.4, light.mixed(RGBColor::white(), 0.35)},
                                {0.62, light},
                                {0.85, dark.mixed(light, 0.35)},
                                {1, dark}};
  CairoSaved saved(cr);
  Path outer = ScreenShape::continuousRect(body, radius);
  clipTo(cr, outer);
  fillPath(cr, outer, dark);
  // Fourteen rings from the outside in; each is 1.6 times as wide as its share so that the
  // antialiased edges of neighbours overlap instead of letting the dark fill show between them.
  cairo_set_line_width(cr, band / 14 * 1.6);
  for (int i = 0; i <= 13; ++i) {
    double t = i / 13.0;
    double inset = band * t;
    appendPath(cr, ScreenShape::continuousRect(body.insetBy(inset, inset), std::max(0.0, radius - inset)));
    setColor(cr, sample(stops, t));
    cairo_stroke(cr);
  }
}

void drawFlatEdge(cairo_t* cr, const Rect& body, double band, double radius, const Finish& finish) {
  const RGBColor light = finish.light, dark = finish.dark;
  {
    CairoSaved saved(cr);
    clipTo(cr, ScreenShape::continuousRect(body, radius));
    CairoPatternPtr sheen(cairo_pattern_create_linear(0, body.minY(), 0, body.maxY()));
    addStop(sheen.get(), 0, light);
    addStop(sheen.get(), 0.55, light.mixed(dark, 0.35));
    addStop(sheen.get(), 1, light.mixed(dark, 0.15));
    cairo_set_source(cr, sheen.get());
    cairo_paint(cr);
  }
  CairoSaved saved(cr);
  double d = band * 0.06;
  strokePath(cr, ScreenShape::continuousRect(body.insetBy(d, d), std::max(0.0, radius - d)), withAlpha(dark, 0.9),
             std::max(0.5, band * 0.12));
  d = band * 0.86;
  strokePath(cr, ScreenShape::continuousRect(body.insetBy(d, d), std::max(0.0, radius - d)), {1, 1, 1, 0.55},
             std::max(0.5, band * 0.1));
}

void drawHingeCrease(cairo_t* cr, const Geometry& g) {
  if (!(g.h > 0) || !g.hinge) return;
  const Rect& body = g.body;
  double x = *g.hinge == FrameSpec::Hinge::Side::left ? body.minX() + g.b + g.h * 0.55
                                                      : body.maxX() - g.b - g.h * 0.55;
  double e = std::min(g.H * 0.75, body.height * 0.2);
  CairoSaved saved(cr);
  cairo_move_to(cr, x, body.minY() + e);
  cairo_line_to(cr, x, body.maxY() - e);
  cairo_set_source_rgba(cr, 0, 0, 0, 0.22);
  cairo_set_line_width(cr, std::max(0.5, g.h * 0.08));
  cairo_stroke(cr);
}

void drawFlatBody(cairo_t* cr, const Geometry& g, const Finish& finish) {
  CairoSaved saved(cr);
  fillPath(cr, g.bodyPath(), finish.light);
  if (finish.light.luminance() <= 0.5) return;
  // A light silhouette on a light slide would vanish: a faint hairline keeps its outline.
  Rect inner = g.body.insetBy(0.25, 0.25);
  Path hairline = g.hinge ? ScreenShape::continuousRect(inner, g.leftOf(g.R, g.H), g.rightOf(g.R, g.H))
                          : ScreenShape::continuousRect(inner, g.R);
  strokePath(cr, hairline, {0, 0, 0, 0.12}, std::max(0.5, g.b * 0.08));
}

void drawFoldMarks(cairo_t* cr, const Geometry& g, double fold) {
  const Rect& body = g.body;
  double length = g.b + g.a * 0.25;
  double t = std::max(0.75, body.height * 0.004);
  double y = body.minY() + fold * body.height - t / 2;
  CairoSaved saved(cr);
  addRect(cr, {body.minX(), y, length, t});
  addRect(cr, {body.maxX() - length, y, length, t});
  cairo_set_source_rgba(cr, 0.03, 0.03, 0.04, 0.85);
  cairo_fill(cr);
}

}  // namespace vorno::DeviceDrawing
