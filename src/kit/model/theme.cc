#include "kit/model/theme.h"

#include "kit/model/codings.h"

namespace vorno {
namespace {

RGBColor hex(std::string_view text) { return *RGBColor::fromHex(text); }

}  // namespace

const Theme& Theme::vorno() {
  static const Theme theme = [] {
    Theme t;
    t.background = Fill::solid(hex("#EEF0F3"));
    t.invertedBackground = Fill::solid(hex("#14171D"));
    t.foreground = hex("#14171D");
    t.invertedForeground = hex("#EEF0F3");
    t.accent = hex("#C8216A");
    t.muted = hex("#4A515E");
    t.headlineWeight = FontWeight::heavy;
    return t;
  }();
  return theme;
}

Theme Coding<Theme>::read(const Reader& r) {
  // The theme is all-or-nothing: every colour and the headline weight are required, so a
  // half-written theme is refused rather than silently mixed with defaults.
  Theme t;
  t.background = r.get<Fill>("background");
  t.invertedBackground = r.get<Fill>("invertedBackground");
  t.foreground = r.get<RGBColor>("foreground");
  t.invertedForeground = r.get<RGBColor>("invertedForeground");
  t.accent = r.get<RGBColor>("accent");
  t.muted = r.get<RGBColor>("muted");
  t.fontFamily = r.getIfPresent<std::string>("fontFamily");
  t.headlineWeight = r.get<FontWeight>("headlineWeight");
  t.emphasisStyle = r.getIfPresent<EmphasisStyle>("emphasisStyle");
  t.textStyles = r.getIfPresent<std::map<std::string, TextStyle>>("textStyles");
  return t;
}

Json Coding<Theme>::write(const Theme& t) {
  return ObjectWriter()
      .put("background", t.background)
      .put("invertedBackground", t.invertedBackground)
      .put("foreground", t.foreground)
      .put("invertedForeground", t.invertedForeground)
      .put("accent", t.accent)
      .put("muted", t.muted)
      .putIfPresent("fontFamily", t.fontFamily)
      .put("headlineWeight", t.headlineWeight)
      .putIfPresent("emphasisStyle", t.emphasisStyle)
      .putIfPresent("textStyles", t.textStyles)
      .done();
}

}  // namespace vorno
