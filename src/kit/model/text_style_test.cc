#include "kit/model/text_style.h"

#include "kit/model/codings.h"

#include <gtest/gtest.h>

namespace vorno::text_style_test {
namespace {

TEST(TextStyle, RecordWithNoArgumentsIsEmpty) {
  EXPECT_TRUE(TextStyle{}.isEmpty());
}

TEST(TextStyle, AnySingleFieldMakesItNonEmpty) {
  TextStyle a;
  a.italic = false;
  EXPECT_FALSE(a.isEmpty());
  TextStyle b;
  b.mark = MarkStyle{};
  EXPECT_FALSE(b.isEmpty());
  TextStyle c;
  c.fill = Fill::solid(RGBColor::white());
  EXPECT_FALSE(c.isEmpty());
}

TEST(TextStyle, EmptyObjectReadsEmptyAndWritesEmpty) {
  TextStyle style = Reader(Json::object()).decode<TextStyle>();
  EXPECT_TRUE(style.isEmpty());
  EXPECT_EQ(Coding<TextStyle>::write(style), Json::object());
}

TEST(TextStyle, EveryFieldRoundTrips) {
  Json full = Json::parse(R"({
    "fontFamily": "Inter Display", "weight": "bold", "scale": 1.1, "tracking": -0.02, "lineHeight": 0.95,
    "uppercase": true, "italic": false, "color": "#102030", "align": "center", "slant": 8,
    "emphasisStyle": "sticker",
    "mark": {"color": "#FFD60A", "textColor": "#000000", "paper": "#FFFFFF", "padding": 0.12, "radius": 0.2,
             "tilt": -3, "height": 0.6, "offset": 0.05, "opacity": 0.9},
    "effect": {"outline": "#000000", "outlineWidth": 0.04, "shadow": "#FF0000", "shadowX": 0.02, "shadowY": 0.03},
    "fill": {"radial": ["#FF0000", "#0000FF"], "center": [0.3, 0.4], "radius": 0.9}
  })");
  TextStyle style = Reader(full).decode<TextStyle>();
  EXPECT_EQ(style.weight, FontWeight::bold);
  EXPECT_EQ(style.align, TextAlign::center);
  EXPECT_EQ(style.emphasisStyle, EmphasisStyle::sticker);
  ASSERT_TRUE(style.mark);
  EXPECT_EQ(style.mark->tilt, -3);
  ASSERT_TRUE(style.effect);
  EXPECT_EQ(style.effect->shadowY, 0.03);
  EXPECT_EQ(Coding<TextStyle>::write(style), full);
}

TEST(ShadowStyle, EveryFieldRoundTripsAndAbsentStaysAbsent) {
  Json full = Json::parse(R"({"color": "#000000", "opacity": 0.3, "blur": 0.05, "x": 0.01, "y": -0.02})");
  ShadowStyle shadow = Reader(full).decode<ShadowStyle>();
  EXPECT_EQ(shadow.y, -0.02);
  EXPECT_EQ(Coding<ShadowStyle>::write(shadow), full);
  EXPECT_EQ(Coding<ShadowStyle>::write(ShadowStyle{}), Json::object());
}

TEST(TextStyle, WrongTypesAreReportedAtTheirPath) {
  Json json = Json::parse(R"({"mark": {"padding": "wide"}})");
  try {
    Reader(json).decode<TextStyle>();
    ADD_FAILURE() << "no error";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.summary(), "expected Double at .mark.padding");
  }
}

}  // namespace
}  // namespace vorno::text_style_test
