#include "kit/model/accent.h"

#include <algorithm>

namespace vorno {
namespace {

// Characters are Unicode scalars: every byte that does not continue a UTF-8 sequence starts one.
size_t scalarCount(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

std::string Accent::toggle(std::string_view text, TextRange range) {
  size_t location = std::min(range.location, text.size());
  size_t length = std::min(range.length, text.size() - location);
  std::string_view before = text.substr(0, location);
  std::string_view selection = text.substr(location, length);
  std::string_view after = text.substr(location + length);

  std::string out;
  out.reserve(text.size() + 4);
  if (selection.starts_with("**") && selection.ends_with("**") && scalarCount(selection) >= 4) {
    out.append(before).append(selection.substr(2, selection.size() - 4)).append(after);
  } else if (before.ends_with("**") && after.starts_with("**")) {
    out.append(before.substr(0, before.size() - 2)).append(selection).append(after.substr(2));
  } else {
    out.append(before).append("**").append(selection).append("**").append(after);
  }
  return out;
}

}  // namespace vorno
