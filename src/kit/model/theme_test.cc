#include "kit/model/theme.h"

#include "kit/model/codings.h"

#include <gtest/gtest.h>

namespace vorno::theme_test {
namespace {

const char* fullTheme = R"({
  "background": "#EEF0F3", "invertedBackground": "#14171D", "foreground": "#14171D",
  "invertedForeground": "#EEF0F3", "accent": "#C8216A", "muted": "#4A515E", "headlineWeight": "heavy"
})";

std::string themeError(const Json& json) {
  try {
    Reader(json).decode<Theme>();
  } catch (const DecodingError& error) {
    return error.summary();
  }
  return "no error";
}

TEST(Theme, VornoHasTheDefaultValues) {
  const Theme& theme = Theme::vorno();
  EXPECT_EQ(theme.background, Fill::solid(*RGBColor::fromHex("#EEF0F3")));
  EXPECT_EQ(theme.invertedBackground, Fill::solid(*RGBColor::fromHex("#14171D")));
  EXPECT_EQ(theme.foreground.hex(), "#14171D");
  EXPECT_EQ(theme.invertedForeground.hex(), "#EEF0F3");
  EXPECT_EQ(theme.accent.hex(), "#C8216A");
  EXPECT_EQ(theme.muted.hex(), "#4A515E");
  EXPECT_FALSE(theme.fontFamily);
  EXPECT_EQ(theme.headlineWeight, FontWeight::heavy);
  EXPECT_FALSE(theme.emphasisStyle);
  EXPECT_FALSE(theme.textStyles);
  EXPECT_EQ(&Theme::vorno(), &theme);
}

TEST(Theme, VornoWritesItsSevenRequiredKeys) {
  EXPECT_EQ(Coding<Theme>::write(Theme::vorno()), Json::parse(fullTheme));
  EXPECT_EQ(Reader(Json::parse(fullTheme)).decode<Theme>(), Theme::vorno());
}

TEST(Theme, ThemeWithoutHeadlineWeightOrAnyColorIsAnError) {
  for (const char* key : {"background", "invertedBackground", "foreground", "invertedForeground", "accent", "muted",
                          "headlineWeight"}) {
    Json json = Json::parse(fullTheme);
    json.erase(key);
    EXPECT_EQ(themeError(json), std::string("missing ") + key) << key;
  }
}

TEST(Theme, OptionalFieldsAreWrittenWhenPresent) {
  Json json = Json::parse(fullTheme);
  json["fontFamily"] = "Inter";
  json["emphasisStyle"] = "marker";
  json["textStyles"] = Json::parse(R"({"headline": {"weight": "black"}, "caption": {}})");
  Theme theme = Reader(json).decode<Theme>();
  EXPECT_EQ(theme.fontFamily, "Inter");
  EXPECT_EQ(theme.emphasisStyle, EmphasisStyle::marker);
  ASSERT_TRUE(theme.textStyles);
  EXPECT_TRUE(theme.textStyles->at("caption").isEmpty());
  EXPECT_EQ(Coding<Theme>::write(theme), json);
}

TEST(Theme, PresentButEmptyTextStylesAreWritten) {
  Json json = Json::parse(fullTheme);
  json["textStyles"] = Json::object();
  Theme theme = Reader(json).decode<Theme>();
  ASSERT_TRUE(theme.textStyles);
  EXPECT_TRUE(theme.textStyles->empty());
  Json written = Coding<Theme>::write(theme);
  ASSERT_TRUE(written.contains("textStyles"));
  EXPECT_EQ(written["textStyles"], Json::object());
}

TEST(Theme, InvalidHeadlineWeightIsRefused) {
  Json json = Json::parse(fullTheme);
  json["headlineWeight"] = "extra-bold";
  EXPECT_EQ(themeError(json),
            "Cannot initialize FontWeight from invalid String value extra-bold. Use regular, medium, semibold, bold, "
            "heavy or black. at .headlineWeight");
}

}  // namespace
}  // namespace vorno::theme_test
