// The arrow's geometry is set in a rectangle inset by 1.2 stroke widths: the curve starts low on
// the left edge (8% above the bottom), bows up through a control point just above the top-left
// corner, and ends near the top right; its head opens 36 degrees each side of the reversed end
// tangent. In y-down space "above the bottom" means a smaller y than maxY.
#include "kit/render/shape_drawing.h"

#include "kit/devices/screen_shape.h"
#include "kit/image/cairo_util.h"
#include "kit/image/fill_painter.h"
#include "kit/layout/svg_path.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::ShapeDrawing {
namespace {

bool hasStroke(const ShapeSpec& shape) { return shape.stroke && shape.strokeWidth > 0; }

void fillAndStroke(const ShapeSpec& shape, const Path& path, const Rect& rect, cairo_t* cr, bool roundJoins) {
  if (shape.fill) {
    CairoSaved saved(cr);
    cairo_new_path(cr);
    appendPath(cr, path);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    cairo_clip(cr);
    FillPainter::paint(*shape.fill, cr, rect);
  }
  if (hasStroke(shape)) {
    CairoSaved saved(cr);
    cairo_new_path(cr);
    appendPath(cr, path);
    setColor(cr, *shape.stroke);
    cairo_set_line_width(cr, shape.strokeWidth);
    if (roundJoins) {
      cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
      cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    }
    cairo_stroke(cr);
  }
  cairo_new_path(cr);
}

}  // namespace

void drawShape(const ShapeSpec& shape, const Rect& rect, cairo_t* cr) {
  if (shape.kind == ShapeKind::path) return drawPath(shape, rect, cr);
  if (shape.kind == ShapeKind::arrow) return drawArrow(shape, rect, cr);
  Rect r = hasStroke(shape) ? rect.insetBy(shape.strokeWidth * 0.5, shape.strokeWidth * 0.5) : rect;
  if (r.isEmpty()) return;
  Path path;
  switch (shape.kind) {
    case ShapeKind::rectangle:
      path.addRect(r);
      break;
    case ShapeKind::roundedRectangle:
      path = ScreenShape::continuousRect(r, std::max(shape.cornerRadius, 0.0));
      break;
    case ShapeKind::capsule:
      path = ScreenShape::continuousRect(r, std::min(r.width, r.height) / 2);
      break;
    case ShapeKind::circle:
      path.addEllipse(r);
      break;
    default:
      return;
  }
  fillAndStroke(shape, path, r, cr, false);
}

Path fittedPath(const ShapeSpec& shape, const Rect& rect) {
  if (!shape.pathData) return {};
  Path parsed;
  try {
    parsed = SVGPath::parse(*shape.pathData);
  } catch (const VornoError&) {
    return {};  // layout reported it; a bad path draws nothing
  }
  const double inset = hasStroke(shape) ? shape.strokeWidth * 0.5 : 0;
  Rect r = rect.insetBy(inset, inset);
  Rect box = parsed.bounds();
  if ((!(box.width > 0) && !(box.height > 0)) || r.isEmpty()) return {};
  // SVG path data is y down like cairo, so no flip: the box's top-left goes to the rectangle's.
  AffineTransform t = AffineTransform::translation(-box.minX(), -box.minY())
                          .then(AffineTransform::scaling(r.width / std::max(box.width, 0.0001),
                                                         r.height / std::max(box.height, 0.0001)))
                          .then(AffineTransform::translation(r.minX(), r.minY()));
  return parsed.transformed(t);
}

void drawPath(const ShapeSpec& shape, const Rect& rect, cairo_t* cr) {
  // The stretch is applied to the points, not the context, so strokes keep an even width.
  Path path = fittedPath(shape, rect);
  if (path.isEmpty()) return;
  const double inset = hasStroke(shape) ? shape.strokeWidth * 0.5 : 0;
  fillAndStroke(shape, path, rect.insetBy(inset, inset), cr, true);
}

Path arrowPath(const Rect& rect, double s) {
  Rect r = rect.insetBy(s * 1.2, s * 1.2);
  if (r.isEmpty()) return {};
  const double w = r.width, h = r.height;
  Point start{r.minX(), r.maxY() - 0.08 * h};
  Point end{r.maxX() - 0.04 * w, r.minY() + 0.1 * h};
  Point control{r.minX() + 0.12 * w, r.minY() - 0.05 * h};
  Path path;
  path.moveTo(start);
  path.quadTo(control, end);
  const double a = std::atan2(end.y - control.y, end.x - control.x);
  const double head = std::max(std::min(w, h) * 0.22, s * 3.2);
  for (double side : {0.6283185307179586, -0.6283185307179586}) {
    double angle = a + M_PI + side;
    path.moveTo(end);
    path.lineTo({end.x + std::cos(angle) * head, end.y + std::sin(angle) * head});
  }
  return path;
}

void drawArrow(const ShapeSpec& shape, const Rect& rect, cairo_t* cr) {
  const double s = shape.strokeWidth;
  Path path = arrowPath(rect, s);
  if (path.isEmpty()) return;
  CairoSaved saved(cr);
  cairo_new_path(cr);
  appendPath(cr, path);
  setColor(cr, shape.stroke.value_or(RGBColor{0, 0, 0, 1}));
  cairo_set_line_width(cr, s);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_stroke(cr);
}

}  // namespace vorno::ShapeDrawing
