// How much of a text the engine lays out. Laying type costs time in proportion to its length at
// every fitting step, and no screenshot holds more words than this bound: it keeps a pasted essay
// in a headline from holding up a render. A longer text is cut at the bound with "…" at the cut,
// and the layout says so ("text.cut").
#pragma once

#include <cstddef>
#include <string_view>

namespace vorno::TextLayout {

/// The most characters of a text that are laid out and drawn.
inline constexpr size_t maxCharacters = 2000;

/// Whether `text` is longer than maxCharacters, so that only its start is laid out and drawn.
bool isCut(std::string_view text);

}  // namespace vorno::TextLayout
