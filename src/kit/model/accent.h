// Accent: switches the "**...**" emphasis markup of a headline on and off around a selection.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vorno {

/// A selection in UTF-8 text: byte offset and byte length.
struct TextRange {
  size_t location = 0, length = 0;
  bool operator==(const TextRange&) const = default;
};

namespace Accent {

/// Unwraps a selection that is itself "**...**", else removes "**" pairs right around it, else
/// wraps it in "**". A range beyond the text is cut to the text.
std::string toggle(std::string_view text, TextRange range);

}  // namespace Accent
}  // namespace vorno
