// StyleContext: the resolved look of one slide (theme, colours, the type unit) and the making of
// a text's TextSpec from its role, the theme's text styles and the slide's own.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/model/text_style.h"
#include "kit/model/theme.h"
#include "kit/text/text_spec.h"

#include <optional>
#include <string>

namespace vorno {

struct StyleContext {
  Theme theme;
  RGBColor fg;
  RGBColor muted;
  double unit = 0;  ///< pixels from which type sizes follow
  double headlineScale = 1;
  std::optional<EmphasisStyle> slideEmphasis;
  std::optional<std::string> root;  ///< the package folder, for relative image fills
  double minText = 0;               ///< smallest type on canvases shown as small tiles
  std::string language;             ///< the locale the copy is set for

  /// A text of `role`: the role's defaults, the theme's style for the role, the slide's emphasis,
  /// then `style`. `color`, when given, replaces the role's colour.
  TextSpec spec(TextRole role, const std::string& text, const std::optional<RGBColor>& color, TextAlign align,
                const std::optional<TextStyle>& style) const;
  /// The base size of a role before any style or cap: what `fontScale` is measured against.
  double roleSize(TextRole role) const;
};

/// Copies every field that `style` has onto `spec`, clamping the numbers to their ranges.
void applyTextStyle(TextSpec& spec, const std::optional<TextStyle>& style, const std::optional<std::string>& root);

}  // namespace vorno
