// Texts as laid elements: the key that names a text's pixels, and a text placed by hand.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/layout/slide_layout_engine.h"

#include <string>

namespace vorno {

/// The content key of a text: every field that changes its pixels.
std::string textKey(const TextSpec& spec, double width, double opacity, bool shadow);

/// A hand-placed text: measured at its placement's width, never fitted.
ElementLayout textElement(const ElementName& name, TextSpec spec, const Placement& placement,
                          const Stacking& stacking, Size canvas);

}  // namespace vorno
