// Drawing helpers of the text engine that tests check by number.
#pragma once

#include "kit/model/text_style.h"

namespace vorno::TextDraw {

/// Width of the outline's stroke as a fraction of the font size: `outlineWidth x 2` (the stroke
/// straddles the outline and the letters cover its inner half), 0.2 by default, 0 without an
/// outline colour.
double strokeFraction(const TextEffect& effect);

}  // namespace vorno::TextDraw
