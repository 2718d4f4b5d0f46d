// Valid UTF-8 for what the program prints: names read from the disk (a capture's file name, the
// working directory) are bytes, not text, and one invalid byte in an answer makes a client drop
// the whole message. The bytes on disk stay as they are; only what is printed is mended.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vorno {

/// The length of the well-formed UTF-8 sequence at the start of `text` (1 to 4), or 0 when it
/// starts with a byte that begins none: a stray continuation byte, an overlong form, a surrogate,
/// a scalar above U+10FFFF, a cut sequence, or one of the bytes 0xC0, 0xC1, 0xF5 to 0xFF.
size_t utf8SequenceLength(std::string_view text);

/// The start of the character after the one at `p`, in text known to be well formed: a step by
/// the length that its first byte announces.
inline const char* nextUTF8Character(const char* p) {
  const auto lead = static_cast<unsigned char>(*p);
  return p + (lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4);
}

/// True when every byte of `text` belongs to a well-formed sequence.
bool isValidUTF8(std::string_view text);

/// Appends `text` to `out` with each byte that begins no well-formed sequence replaced by U+FFFD,
/// the replacement character; valid text is appended unchanged.
void appendValidUTF8(std::string& out, std::string_view text);

/// How many bytes at the end of `text` (0 to 3) begin a sequence that more bytes could still
/// complete: what a stream written piece by piece holds back until the next piece.
size_t utf8UnfinishedTail(std::string_view text);

/// `text` with invalid bytes replaced as `appendValidUTF8` does.
std::string validUTF8(std::string_view text);

}  // namespace vorno
