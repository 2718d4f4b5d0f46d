// A linear or radial colour ramp evaluated at every device pixel and quantised to 8 bits with an
// ordered dither, so a calm gradient over a whole slide shows no bands: 8-bit steps of a slow
// ramp are a dozen pixels tall, and the eye (and a store's recompression) picks them out.
#pragma once

#include "kit/model/color.h"
#include "kit/util/geometry.h"

#include <vector>

typedef struct _cairo cairo_t;

namespace vorno {

/// The geometry of a ramp in the context's user space. A linear ramp runs from `from` (t = 0) to
/// `to` (t = 1); a radial one from `from` (its centre) out to `radius`. The colours are evenly
/// spaced stops; before the first and beyond the last the end colours hold.
struct RampGeometry {
  enum class Shape { linear, radial };
  Shape shape = Shape::linear;
  Point from;
  Point to;
  double radius = 0;
};

namespace DitheredRamp {

/// Fills `rect`, which must be the current path of `cr`, with the ramp, computed per device pixel
/// over its visible part with an 8×8 ordered dither of ±½ level; the path is used up as by a fill.
/// False, with the context untouched, when there is nothing to paint or no bitmap for it; the
/// caller then paints the ramp plainly.
bool paint(cairo_t* cr, const RampGeometry& geometry, const std::vector<RGBColor>& colors, const Rect& rect);

}  // namespace DitheredRamp
}  // namespace vorno
