// Theme: the project's colours, type and text styles, which every slide starts from.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/model/fill.h"
#include "kit/model/text_style.h"

#include <map>
#include <optional>
#include <string>

namespace vorno {

struct Theme {
  Fill background;          ///< behind a slide that is not inverted
  Fill invertedBackground;  ///< behind an inverted slide
  RGBColor foreground;
  RGBColor invertedForeground;
  RGBColor accent;
  RGBColor muted;
  std::optional<std::string> fontFamily;  ///< absent means the system font
  FontWeight headlineWeight = FontWeight::heavy;
  std::optional<EmphasisStyle> emphasisStyle;
  /// Keyed by text role name (eyebrow, headline, subhead, caption). Present-but-empty is kept
  /// apart from absent, so a theme that says "no styles" says so again after a save.
  std::optional<std::map<std::string, TextStyle>> textStyles;

  bool operator==(const Theme&) const = default;

  /// The default theme of a new project, built once.
  static const Theme& vorno();
};

}  // namespace vorno
