#include "kit/store/file_name.h"

#include "kit/util/vorno_error.h"

#include <cstdint>
#include <string>

namespace vorno {
namespace {

// In bytes: the file system limits a name to 255 bytes, and a render's name joins several ids, so
// 70 emoji (280 bytes) must not pass as "70 characters" and then fail every render.
constexpr size_t maximumBytes = 128;

// Decodes the UTF-8 scalar at `index` and moves past it. A malformed byte counts as one scalar of
// its own, so broken text is looked at, never refused for its encoding alone.
uint32_t nextScalar(std::string_view text, size_t& index) {
  auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  uint8_t lead = byte(index);
  size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xe ? 3 : (lead >> 3) == 0x1e ? 4 : 0;
  if (length == 0 || index + length > text.size()) {
    ++index;
    return 0xfffd;
  }
  uint32_t scalar = length == 1 ? lead : lead & (0x7f >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((byte(index + i) & 0xc0) != 0x80) {
      ++index;
      return 0xfffd;
    }
    scalar = (scalar << 6) | (byte(index + i) & 0x3f);
  }
  index += length;
  return scalar;
}

bool isPlainCharacter(char c, bool dotToo) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         (dotToo && c == '.');
}

bool isLineBreak(uint32_t scalar) {
  return (scalar >= 0x0a && scalar <= 0x0d) || scalar == 0x85 || scalar == 0x2028 || scalar == 0x2029;
}

}  // namespace

bool FileName::isSafeComponent(std::string_view name) {
  if (name.empty() || name.front() == '.' || name.size() > maximumBytes) return false;
  for (size_t index = 0; index < name.size();) {
    uint32_t scalar = nextScalar(name, index);
    // A line-break scalar always starts a character of its own, so checking every scalar is the
    // same as checking the first scalar of every character.
    if (scalar == '/' || scalar == 0 || isLineBreak(scalar)) return false;
  }
  return true;
}

void FileName::check(std::string_view name, std::string_view what) {
  if (isSafeComponent(name)) return;
  throw VornoError::invalid(std::string(what) + " \"" + std::string(name) +
                            "\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
}

bool FileName::isPlainWord(std::string_view name) {
  if (name.empty()) return false;
  for (char c : name)
    if (!isPlainCharacter(c, false)) return false;
  return true;
}

bool FileName::isPlainFileName(std::string_view name, std::initializer_list<std::string_view> extensions) {
  for (std::string_view extension : extensions) {
    if (name.size() <= extension.size() || !name.ends_with(extension)) continue;
    const std::string_view stem = name.substr(0, name.size() - extension.size());
    bool plain = true;
    for (char c : stem) plain = plain && isPlainCharacter(c, true);
    if (plain) return true;
  }
  return false;
}

}  // namespace vorno
