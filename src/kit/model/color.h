// RGBColor: the document's colour, sRGB channels from 0 to 1, written "#RRGGBB" or "#RRGGBBAA".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorno {

struct RGBColor {
  double r = 0, g = 0, b = 0, a = 1;

  bool operator==(const RGBColor&) const = default;

  /// Parses "#RRGGBB" or "#RRGGBBAA" ("#" optional, blanks trimmed, any case); nothing otherwise.
  static std::optional<RGBColor> fromHex(std::string_view text);

  /// "#RRGGBB" in upper case, with an alpha pair only when alpha is below 1.
  std::string hex() const;

  /// WCAG relative luminance; alpha plays no part.
  double luminance() const;
  /// WCAG contrast ratio, 1 to 21.
  double contrast(const RGBColor& other) const;
  /// The nearest colour toward black or white that reaches `target` against `background`.
  std::optional<RGBColor> adjusted(double target, const RGBColor& background) const;
  /// Moves all four channels toward `other` by `amount`, clamped to 0...1.
  RGBColor mixed(const RGBColor& other, double amount) const;

  static RGBColor black() { return {0, 0, 0, 1}; }
  static RGBColor white() { return {1, 1, 1, 1}; }
};

}  // namespace vorno
