#include "kit/lint/ascii_lowering.h"

namespace vorno {

std::optional<std::string> asciiLowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    if (static_cast<unsigned char>(c) >= 0x80) return std::nullopt;
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lowered;
}

}  // namespace vorno
