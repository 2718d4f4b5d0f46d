// What the fuzz targets share: reading a few choices off the front of the input, splitting it into
// documents, and failing loudly when a property breaks.
//
// A target catches the failures a user is meant to see (VornoError, a DecodingError, an
// MCPError) and nothing else: any other exception, or a broken property (`fuzzCheck`), escapes,
// so libFuzzer records the input as a crash and the replay test fails on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vorno::fuzz {

/// A property of the code under test that an input broke.
class FuzzFailure : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

/// Throws FuzzFailure with `what` unless `holds`.
inline void fuzzCheck(bool holds, const char* what) {
  if (!holds) throw FuzzFailure(what);
}

/// The input as a byte stream: small choices are taken off the front, the rest is the text.
class FuzzBytes {
 public:
  FuzzBytes(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  /// The next byte, or 0 when the input has run out.
  uint8_t byte() {
    if (rest_.empty()) return 0;
    uint8_t value = static_cast<uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return value;
  }
  /// A number in [low, high], from one byte.
  double between(double low, double high) { return low + (high - low) * byte() / 255.0; }
  /// What is left, at most `limit` bytes of it.
  std::string_view rest(size_t limit = SIZE_MAX) const { return rest_.substr(0, limit); }

 private:
  std::string_view rest_;
};

/// The input as text.
inline std::string_view asText(const uint8_t* data, size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The text cut at each NUL into exactly `count` pieces; missing pieces are empty.
inline std::vector<std::string_view> pieces(std::string_view text, size_t count) {
  std::vector<std::string_view> parts;
  while (parts.size() + 1 < count) {
    size_t cut = text.find('\0');
    if (cut == std::string_view::npos) break;
    parts.push_back(text.substr(0, cut));
    text.remove_prefix(cut + 1);
  }
  parts.push_back(text);
  parts.resize(count);
  return parts;
}

}  // namespace vorno::fuzz
