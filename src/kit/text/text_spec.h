// TextSpec: the resolved text of one element for one locale, everything needed to set it. Layout
// builds it from the document and the theme; fitting, drawing and the content keys read it.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/model/fill.h"
#include "kit/model/text_style.h"

#include <optional>
#include <string>

namespace vorno {

struct TextSpec {
  std::string text;  ///< copy with markup, for one locale
  double size = 0;   ///< base font size, canvas pixels
  FontWeight weight = FontWeight::regular;
  std::optional<std::string> family;  ///< absent or empty: the system font
  RGBColor color;
  RGBColor emphasis;  ///< the accent, used for `**...**`
  TextAlign alignment = TextAlign::center;
  double lineHeight = 1;  ///< multiple of the line's font size
  double tracking = 0;    ///< letter spacing, fraction of the line's font size
  bool uppercase = false;
  EmphasisStyle emphasisStyle = EmphasisStyle::color;
  /// A fixed colour for every mark box; when set the spec draws as `highlight` with every run marked.
  std::optional<RGBColor> block;
  double slant = 0;  ///< degrees of synthetic shear
  std::optional<TextEffect> effect;
  std::optional<Fill> fill;  ///< paint for the letters
  std::optional<MarkStyle> mark;
  bool italic = false;
  /// BCP 47 language of the copy (the layout's locale, "ja-JP"): picks the Han faces and the line
  /// breaking rules of that language. Empty: the text engine guesses from the script.
  std::string language;

  bool operator==(const TextSpec&) const = default;
};

}  // namespace vorno
