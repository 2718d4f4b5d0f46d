// The text engine's side of component layout. It sits in a file of its own so that the layout
// itself (and its tests with a fake measurer) links without the text engine.
#include "kit/layout/component_layout.h"

#include "kit/text/text_layout.h"

namespace vorno::ComponentLayout {

TextMeasure measureWithTextEngine(const TextSpec& spec, double width) {
  TextLayout::AttributedText text = TextLayout::attributed(spec.text, TextLayout::style(spec));
  return {TextLayout::suggestedSize(text, width), TextLayout::lineCount(text, width)};
}

ComponentDrawing make(const ComponentSpec& spec, const Theme& theme, const RGBColor& fg, const RGBColor& muted,
                      std::string_view locale, const std::optional<std::string>& root) {
  return make(spec, theme, fg, muted, locale, root, measureWithTextEngine);
}

}  // namespace vorno::ComponentLayout
