#include "kit/layout/style_context.h"

#include "kit/model/enum_names.h"

#include <algorithm>

namespace vorno {

namespace {

// Eyebrows always stand out by colour alone; the smaller roles can't carry a sticker, so they
// get a highlight instead.
EmphasisStyle emphasisFor(TextRole role, EmphasisStyle wanted) {
  switch (role) {
    case TextRole::eyebrow:
      return EmphasisStyle::color;
    case TextRole::headline:
      return wanted;
    case TextRole::subhead:
    case TextRole::caption:
      return wanted == EmphasisStyle::sticker ? EmphasisStyle::highlight : wanted;
  }
  return wanted;
}

std::string roleName(TextRole role) { return std::string(EnumNames<TextRole>::names[static_cast<size_t>(role)]); }

}  // namespace

double StyleContext::roleSize(TextRole role) const {
  switch (role) {
    case TextRole::eyebrow:
      return std::max(minText, unit * 0.034);
    case TextRole::headline:
      return unit * 0.092 * headlineScale;
    case TextRole::subhead:
      return std::max(minText, unit * 0.04);
    case TextRole::caption:
      return std::max(minText, unit * 0.03);
  }
  return unit * 0.04;
}

TextSpec StyleContext::spec(TextRole role, const std::string& text, const std::optional<RGBColor>& color,
                            TextAlign align, const std::optional<TextStyle>& style) const {
  TextSpec s;
  s.text = text;
  s.size = roleSize(role);
  s.alignment = align;
  s.family = theme.fontFamily;
  s.emphasis = theme.accent;
  s.language = language;
  switch (role) {
    case TextRole::eyebrow:
      s.color = theme.accent, s.weight = FontWeight::bold, s.tracking = 0.14, s.lineHeight = 1.06, s.uppercase = true;
      break;
    case TextRole::headline:
      s.color = fg, s.weight = theme.headlineWeight, s.tracking = -0.012, s.lineHeight = 1.06;
      break;
    case TextRole::subhead:
      s.color = muted, s.weight = FontWeight::medium, s.tracking = 0, s.lineHeight = 1.25;
      break;
    case TextRole::caption:
      s.color = muted, s.weight = FontWeight::semibold, s.tracking = 0.02, s.lineHeight = 1.2;
      break;
  }
  if (color) s.color = *color;
  s.emphasisStyle = emphasisFor(role, theme.emphasisStyle.value_or(EmphasisStyle::color));

  std::optional<TextStyle> themeStyle;
  if (theme.textStyles) {
    auto it = theme.textStyles->find(roleName(role));
    if (it != theme.textStyles->end()) themeStyle = it->second;
  }
  applyTextStyle(s, themeStyle, root);
  if (slideEmphasis) s.emphasisStyle = emphasisFor(role, *slideEmphasis);
  applyTextStyle(s, style, root);

  // Capitals set tight look cramped; a headline in capitals opens up unless a style says otherwise.
  bool trackingGiven = (themeStyle && themeStyle->tracking) || (style && style->tracking);
  if (role == TextRole::headline && s.uppercase && !trackingGiven) s.tracking = 0.005;
  return s;
}

void applyTextStyle(TextSpec& spec, const std::optional<TextStyle>& style, const std::optional<std::string>& root) {
  if (!style) return;
  const TextStyle& t = *style;
  if (t.fontFamily && !t.fontFamily->empty()) spec.family = t.fontFamily;
  if (t.weight) spec.weight = *t.weight;
  if (t.scale) spec.size *= std::clamp(*t.scale, 0.1, 5.0);
  if (t.tracking) spec.tracking = std::clamp(*t.tracking, -0.2, 1.0);
  if (t.lineHeight) spec.lineHeight = std::clamp(*t.lineHeight, 0.6, 3.0);
  if (t.uppercase) spec.uppercase = *t.uppercase;
  if (t.italic) spec.italic = *t.italic;
  if (t.color) spec.color = *t.color;
  if (t.align) spec.alignment = *t.align;
  if (t.slant) spec.slant = std::clamp(*t.slant, -20.0, 20.0);
  if (t.emphasisStyle) spec.emphasisStyle = *t.emphasisStyle;
  if (t.effect) spec.effect = t.effect;
  if (t.mark) spec.mark = t.mark;
  if (t.fill) spec.fill = root ? t.fill->resolved(*root) : *t.fill;
}

}  // namespace vorno
