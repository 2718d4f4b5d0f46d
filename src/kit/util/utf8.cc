#include "kit/util/utf8.h"

#include <cstdint>

namespace vorno {

size_t utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  auto at = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t lead = at(0);
  if (lead < 0x80) return 1;
  // The second byte's range is what rules out overlong forms, surrogates and scalars above
  // U+10FFFF (the table of well-formed sequences in the Unicode standard).
  size_t length = 0;
  uint8_t low = 0x80, high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) length = 2;
  else if (lead == 0xE0) length = 3, low = 0xA0;
  else if (lead == 0xED) length = 3, high = 0x9F;
  else if (lead >= 0xE1 && lead <= 0xEF) length = 3;
  else if (lead == 0xF0) length = 4, low = 0x90;
  else if (lead >= 0xF1 && lead <= 0xF3) length = 4;
  else if (lead == 0xF4) length = 4, high = 0x8F;
  else return 0;
  if (text.size() < length) return 0;
  if (at(1) < low || at(1) > high) return 0;
  for (size_t i = 2; i < length; ++i)
    if (at(i) < 0x80 || at(i) > 0xBF) return 0;
  return length;
}

bool isValidUTF8(std::string_view text) {
  for (size_t index = 0; index < text.size();) {
    size_t length = utf8SequenceLength(text.substr(index));
    if (length == 0) return false;
    index += length;
  }
  return true;
}

void appendValidUTF8(std::string& out, std::string_view text) {
  size_t clean = 0;  // the start of the run of valid bytes not yet appended
  for (size_t index = 0; index < text.size();) {
    if (static_cast<uint8_t>(text[index]) < 0x80) {
      ++index;  // ASCII, the common case, without a call
      continue;
    }
    size_t length = utf8SequenceLength(text.substr(index));
    if (length > 0) {
      index += length;
      continue;
    }
    out.append(text.substr(clean, index - clean));
    out += "\xEF\xBF\xBD";  // U+FFFD
    clean = ++index;
  }
  out.append(text.substr(clean));
}

size_t utf8UnfinishedTail(std::string_view text) {
  for (size_t tail = 1; tail <= 3 && tail <= text.size(); ++tail) {
    const uint8_t byte = static_cast<uint8_t>(text[text.size() - tail]);
    if (byte >= 0x80 && byte <= 0xBF) continue;  // a continuation: its lead may be further back
    const size_t length = byte >= 0xC2 && byte <= 0xDF ? 2 : byte >= 0xE0 && byte <= 0xEF ? 3
                          : byte >= 0xF0 && byte <= 0xF4 ? 4 : 0;
    return length > tail ? tail : 0;
  }
  return 0;
}

std::string validUTF8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  appendValidUTF8(out, text);
  return out;
}

}  // namespace vorno
