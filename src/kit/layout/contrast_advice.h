// Contrast of a text against what lies behind it, and the colour to suggest when it is too low.
// A text crosses many pixels of a gradient or a photo, so both work on several colours behind it
// at once, and a suggestion must still pass after it is written as "#RRGGBB".
#pragma once

#include "kit/model/color.h"
#include "kit/model/fill.h"
#include "kit/util/geometry.h"

#include <optional>
#include <vector>

namespace vorno::ContrastAdvice {

/// The background at a grid of points over `box` (canvas pixels, clamped to the canvas), sampled
/// from `fill` as it lies over a board of `board` pixels whose left edge is `offsetX` pixels to
/// the left of the canvas (0 for a plain slide).
std::vector<RGBColor> behind(const Fill& fill, const Rect& box, const Size& canvas, const Size& board, double offsetX);

/// The lowest contrast of `color` against any of `behind`; 21 for none.
double worstContrast(const RGBColor& color, const std::vector<RGBColor>& behind);

/// The opaque colour nearest to `color`, mixed toward black or white in steps of 1 %, that reaches
/// `target` against every colour of `behind` once rounded to "#RRGGBB". At the same distance
/// black wins; nothing when neither pole gets there.
std::optional<RGBColor> suggestion(const RGBColor& color, const std::vector<RGBColor>& behind, double target);

}  // namespace vorno::ContrastAdvice
