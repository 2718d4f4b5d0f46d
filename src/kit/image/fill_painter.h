// Paints a Fill into a rectangle of a cairo context: solid colours, linear and radial ramps with
// their exact geometry, and image fills (cover or contain, dimmed, blurred). Drawing space is
// cairo's, y down.
#pragma once

#include "kit/model/fill.h"
#include "kit/util/geometry.h"

typedef struct _cairo cairo_t;

namespace vorno::FillPainter {

/// Paints `fill` clipped to `rect`. An image fill that cannot be read paints a neutral grey
/// (0.5, 0.5, 0.52) and nothing else; painting never throws. The context's state is kept, its
/// current path is cleared.
void paint(const Fill& fill, cairo_t* cr, const Rect& rect);

}  // namespace vorno::FillPainter
