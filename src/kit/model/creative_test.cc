#include "kit/model/creative.h"

#include "kit/model/codings.h"
#include "kit/model/store_target.h"

#include <gtest/gtest.h>

namespace vorno::creative_test {
namespace {

Creative decodeCreative(std::string_view text) {
  Json json = parseJSON(text);
  return Reader(json).decode<Creative>();
}

TEST(Creative, CreativeWithoutHeadlineReadsAndWritesNoHeadline) {
  Creative creative = decodeCreative(R"({"canvas": "ios.header", "id": "summer"})");
  EXPECT_TRUE(creative.slide.headline.isEmpty());
  Json written = Coding<Creative>::write(creative);
  EXPECT_FALSE(written.contains("headline"));
  EXPECT_EQ(written, parseJSON(R"({"canvas": "ios.header", "id": "summer", "archetype": "hero"})"));
}

TEST(Creative, SlideKeysSitFlatBesideCanvasAndMotion) {
  Json json = parseJSON(R"({
    "canvas": "ios.search-results", "id": "search", "archetype": "text-only",
    "headline": {"en-US": "Find **crews**"}, "inverted": true,
    "elements": [{"id": "phone", "kind": "device", "device": {"screenshot": "captures/a.png"}}],
    "motion": {"duration": 8, "tracks": {"phone": [{"t": 0, "y": 0.6}, {"t": 8, "y": 0.6}]}}
  })");
  Creative creative = Reader(json).decode<Creative>();
  EXPECT_EQ(creative.id(), "search");
  EXPECT_EQ(creative.canvas, "ios.search-results");
  EXPECT_EQ(creative.slide.archetype, Archetype::textOnly);
  EXPECT_TRUE(creative.slide.inverted);
  ASSERT_TRUE(creative.motion);
  EXPECT_EQ(creative.motion->duration, 8);
  EXPECT_EQ(Coding<Creative>::write(creative), json);
}

TEST(Creative, CanvasAndSlideIdAreRequired) {
  auto errorOf = [](std::string_view text) -> std::string {
    try {
      decodeCreative(text);
    } catch (const DecodingError& error) {
      return error.summary();
    }
    return "no error";
  };
  EXPECT_EQ(errorOf(R"({"id": "a"})"), "missing canvas");
  EXPECT_EQ(errorOf(R"({"canvas": "ios.header"})"), "missing id");
  EXPECT_EQ(errorOf(R"({"canvas": "ios.header", "id": "a", "motion": {"fps": "fast"}})"), "expected Int at .motion.fps");
}

TEST(Creative, TargetIsTheCanvasOfThatId) {
  Creative creative;
  creative.canvas = "ios.header";
  ASSERT_NE(creative.target(), nullptr);
  EXPECT_EQ(creative.target()->id, "ios.header");
  creative.canvas = "ios.iphone-6.9";  // a screenshot target is not a canvas
  EXPECT_EQ(creative.target(), nullptr);
}

TEST(Creative, CanMoveOnKnownCanvasesButTheUniversalOne) {
  Creative creative;
  creative.canvas = "ios.header";
  EXPECT_TRUE(creative.canMove());
  creative.canvas = "ios.search-results";
  EXPECT_TRUE(creative.canMove());
  creative.canvas = "ios.universal";
  EXPECT_FALSE(creative.canMove());
  creative.canvas = "ios.billboard";
  EXPECT_FALSE(creative.canMove());
}

TEST(Creative, UnitSafeAreaIsTheSafeAreaAsFractions) {
  Creative creative;
  creative.canvas = "ios.header";
  auto area = creative.unitSafeArea();
  ASSERT_TRUE(area);
  EXPECT_DOUBLE_EQ(area->x, 1097.0 / 3840);
  EXPECT_DOUBLE_EQ(area->y, 493.0 / 1646);
  EXPECT_DOUBLE_EQ(area->width, 1646.0 / 3840);
  EXPECT_DOUBLE_EQ(area->height, 661.0 / 1646);
  creative.canvas = "nowhere";
  EXPECT_FALSE(creative.unitSafeArea());
}

}  // namespace
}  // namespace vorno::creative_test
