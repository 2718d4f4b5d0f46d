#include "kit/model/color.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace vorno {
namespace {

// The blanks trimmed around a colour: tab and the Unicode space separators, encoded in UTF-8.
// Line breaks are deliberately not among them, so "#FFFFFF\n" is refused.
size_t blankLengthAt(std::string_view text, size_t i) {
  auto byte = [&](size_t k) { return k < text.size() ? static_cast<unsigned char>(text[k]) : 0u; };
  unsigned char c = byte(i);
  if (c == ' ' || c == '\t') return 1;
  if (c == 0xC2 && byte(i + 1) == 0xA0) return 2;                         // U+00A0
  if (c == 0xE1 && byte(i + 1) == 0x9A && byte(i + 2) == 0x80) return 3;  // U+1680
  if (c == 0xE2 && byte(i + 1) == 0x80) {
    unsigned char d = byte(i + 2);
    if ((d >= 0x80 && d <= 0x8A) || d == 0xAF) return 3;  // U+2000...U+200A, U+202F
  }
  if (c == 0xE2 && byte(i + 1) == 0x81 && byte(i + 2) == 0x9F) return 3;  // U+205F
  if (c == 0xE3 && byte(i + 1) == 0x80 && byte(i + 2) == 0x80) return 3;  // U+3000
  return 0;
}

size_t blankLengthEndingAt(std::string_view text, size_t end) {
  // Blanks are one to three bytes long; try each length that ends exactly at `end`.
  for (size_t length = 1; length <= 3 && length <= end; ++length)
    if (blankLengthAt(text, end - length) == length) return length;
  return 0;
}

std::string_view trimBlanks(std::string_view text) {
  size_t start = 0, end = text.size();
  while (start < end) {
    size_t n = blankLengthAt(text, start);
    if (n == 0) break;
    start += n;
  }
  while (end > start) {
    size_t n = blankLengthEndingAt(text, end);
    if (n == 0 || end - n < start) break;
    end -= n;
  }
  return text.substr(start, end - start);
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// One channel as its byte; out-of-range or NaN channels of computed colours are pinned so the
// written form is always two digits.
int channelByte(double c) {
  if (!(c > 0)) return 0;
  return static_cast<int>(std::min(255.0, std::round(c * 255)));
}

double linearised(double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }

}  // namespace

std::optional<RGBColor> RGBColor::fromHex(std::string_view text) {
  std::string_view rest = trimBlanks(text);
  if (!rest.empty() && rest.front() == '#') rest.remove_prefix(1);
  if (rest.size() != 6 && rest.size() != 8) return std::nullopt;
  uint64_t value = 0;
  for (char c : rest) {
    int digit = hexDigit(c);
    if (digit < 0) return std::nullopt;
    value = value << 4 | static_cast<uint64_t>(digit);
  }
  auto channel = [&](int shift) { return static_cast<double>((value >> shift) & 0xFF) / 255.0; };
  if (rest.size() == 6) return RGBColor{channel(16), channel(8), channel(0), 1};
  return RGBColor{channel(24), channel(16), channel(8), channel(0)};
}

std::string RGBColor::hex() const {
  char buffer[16];
  if (a < 1)
    std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X%02X", channelByte(r), channelByte(g), channelByte(b),
                  channelByte(a));
  else
    std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", channelByte(r), channelByte(g), channelByte(b));
  return buffer;
}

double RGBColor::luminance() const { return 0.2126 * linearised(r) + 0.7152 * linearised(g) + 0.0722 * linearised(b); }

double RGBColor::contrast(const RGBColor& other) const {
  double l1 = luminance(), l2 = other.luminance();
  return (std::max(l1, l2) + 0.05) / (std::min(l1, l2) + 0.05);
}

std::optional<RGBColor> RGBColor::adjusted(double target, const RGBColor& background) const {
  struct Candidate {
    RGBColor color;
    double t;
  };
  std::optional<Candidate> best;
  for (const RGBColor& pole : {black(), white()}) {
    // t counts in whole hundredths so the walk visits 0, 0.01, ... 1 without drifting.
    for (int step = 0;; ++step) {
      double t = step * 0.01;
      if (t > 1.0001) break;
      RGBColor candidate = mixed(pole, t);
      candidate.a = 1;
      if (candidate.contrast(background) >= target) {
        // Black is tried first, so only a strictly smaller t lets white win.
        if (!best || t < best->t) best = Candidate{candidate, t};
        break;
      }
    }
  }
  if (!best) return std::nullopt;
  return best->color;
}

RGBColor RGBColor::mixed(const RGBColor& other, double amount) const {
  double t = std::clamp(amount, 0.0, 1.0);
  if (std::isnan(amount)) t = 0;
  return {r + (other.r - r) * t, g + (other.g - g) * t, b + (other.b - b) * t, a + (other.a - a) * t};
}

}  // namespace vorno
