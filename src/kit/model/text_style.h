// The text style family: TextStyle and the smaller records it holds (MarkStyle, TextEffect), and
// ShadowStyle, the soft shadow of any element. Every field is optional; absent means "inherit".
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/model/fill.h"

#include <optional>
#include <string>

namespace vorno {

/// Tuning of the block behind emphasised text (highlight, marker, sticker).
struct MarkStyle {
  std::optional<RGBColor> color;      ///< the block's colour
  std::optional<RGBColor> textColor;  ///< the marked text's colour
  std::optional<RGBColor> paper;      ///< the sticker's paper
  std::optional<double> padding;
  std::optional<double> radius;
  std::optional<double> tilt;  ///< degrees
  std::optional<double> height;
  std::optional<double> offset;
  std::optional<double> opacity;

  bool operator==(const MarkStyle&) const = default;
};

/// A soft drop shadow; offsets and blur are fractions of the element's width.
struct ShadowStyle {
  std::optional<RGBColor> color;
  std::optional<double> opacity;
  std::optional<double> blur;
  std::optional<double> x;
  std::optional<double> y;

  bool operator==(const ShadowStyle&) const = default;
};

/// An outline and a hard shadow on letters.
struct TextEffect {
  std::optional<RGBColor> outline;
  std::optional<double> outlineWidth;
  std::optional<RGBColor> shadow;
  std::optional<double> shadowX;
  std::optional<double> shadowY;

  bool operator==(const TextEffect&) const = default;
};

/// How one text role or element is set, layered over the theme.
struct TextStyle {
  std::optional<std::string> fontFamily;  ///< a project font from fonts/ or an installed one
  std::optional<FontWeight> weight;
  std::optional<double> scale;       ///< factor on the role's size
  std::optional<double> tracking;    ///< letter spacing as a fraction of the size
  std::optional<double> lineHeight;  ///< line height factor
  std::optional<bool> uppercase;
  std::optional<bool> italic;  ///< a true italic face
  std::optional<RGBColor> color;
  std::optional<TextAlign> align;
  std::optional<double> slant;  ///< synthetic slant
  std::optional<EmphasisStyle> emphasisStyle;
  std::optional<MarkStyle> mark;
  std::optional<TextEffect> effect;
  std::optional<Fill> fill;  ///< paints the letters

  bool operator==(const TextStyle&) const = default;

  /// True exactly when every field is absent.
  bool isEmpty() const { return *this == TextStyle{}; }
};

}  // namespace vorno
