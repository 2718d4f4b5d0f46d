// ShapeDrawing: the shapes of shape elements, drawn into a rectangle of a layer (cairo space,
// y down): rectangles, continuous-corner rounded rectangles, capsules and ellipses with a fill
// and a stroke; SVG path data stretched to the frame; and the hand-drawn arrow.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

typedef struct _cairo cairo_t;

namespace vorno::ShapeDrawing {

/// Draws `shape` in `rect`: `path` through drawPath, `arrow` through drawArrow, the rest as an
/// outline filled (clipped, so a gradient or image fill takes the rectangle's geometry) and then
/// stroked. Never throws; the context's state is kept.
void drawShape(const ShapeSpec& shape, const Rect& rect, cairo_t* cr);

/// The path data stretched to the inset rectangle, whatever its own aspect; nothing for data that
/// doesn't parse or a path without width or height.
void drawPath(const ShapeSpec& shape, const Rect& rect, cairo_t* cr);
/// The path data as placed by drawPath, or an empty path when nothing would be drawn.
Path fittedPath(const ShapeSpec& shape, const Rect& rect);

/// A quadratic curve from the lower left to the upper right with an open head of two strokes.
void drawArrow(const ShapeSpec& shape, const Rect& rect, cairo_t* cr);
/// The arrow's strokes (curve, then the two lines of the head); empty when the inset rectangle is.
Path arrowPath(const Rect& rect, double strokeWidth);

}  // namespace vorno::ShapeDrawing
