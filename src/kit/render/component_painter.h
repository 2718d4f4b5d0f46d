// ComponentPainter: draws a ComponentDrawing into any cairo context, scaled from the
// component's own space to a rectangle of the canvas.
//
//   ComponentPainter::draw(layout.drawing, frame, cr);
//
// Re-entrant: every call makes its own text layouts and SVG handles.
#pragma once

#include "kit/layout/component_layout.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

typedef struct _cairo cairo_t;

namespace vorno::ComponentPainter {

/// Scales the drawing's space to `rect` and paints its parts in order.
void draw(const ComponentDrawing& drawing, const Rect& rect, cairo_t* cr);

/// One five-pointed star, point up, as large as fits `rect` and centred in it.
Path star(const Rect& rect);
/// One laurel branch filling `rect`: a stem bending toward the left edge with leaves along it.
/// `mirrored` turns it into the right-hand branch.
Path laurel(const Rect& rect, bool mirrored);
/// The tick of a check, a polyline to be stroked, in `rect` (the check's disc).
Path tick(const Rect& rect);
/// The pointer below a callout: a rounded triangle from the top edge of `rect` to a point low
/// on its left.
Path tail(const Rect& rect);

}  // namespace vorno::ComponentPainter
