#include "kit/model/slide.h"

#include "kit/model/codings.h"
#include "kit/model/store_target.h"

#include <gtest/gtest.h>

namespace vorno::slide_test {
namespace {

Slide decodeSlide(std::string_view text) {
  Json json = parseJSON(text);
  return Reader(json).decode<Slide>();
}

std::string slideError(std::string_view text) {
  try {
    decodeSlide(text);
  } catch (const DecodingError& error) {
    return error.summary();
  }
  return "no error";
}

Placement at(double x, double y = 0.5, double width = 0.8) { return Placement{x, y, width, {}, {}, {}}; }

std::map<std::string, SlideOverride> placing(std::map<std::string, Placement> byTarget, const std::string& id) {
  std::map<std::string, SlideOverride> overrides;
  for (auto& [target, placement] : byTarget) overrides[target].placements = std::map<std::string, Placement>{{id, placement}};
  return overrides;
}

// Reading and writing

TEST(Slide, SlideWithoutArchetypeReadsHeroAndWritesItBack) {
  Slide slide = decodeSlide(R"({"id": "a", "headline": "Hi"})");
  EXPECT_EQ(slide.archetype, Archetype::hero);
  Json written = Coding<Slide>::write(slide);
  ASSERT_TRUE(written.contains("archetype"));
  EXPECT_EQ(written["archetype"], "hero");
}

TEST(Slide, SlideWithoutHeadlineIsAnError) {
  EXPECT_EQ(slideError(R"({"id": "a"})"), "missing headline");
}

TEST(Slide, InvertedFalseAndEmptyElementsDisappearOnRoundTrip) {
  Slide slide = decodeSlide(
      R"({"id": "a", "headline": {"en-US": "Hi"}, "inverted": false, "elements": [], "overrides": {},
          "textColors": {}, "textStyles": {}})");
  EXPECT_EQ(Coding<Slide>::write(slide), parseJSON(R"({"id": "a", "archetype": "hero", "headline": {"en-US": "Hi"}})"));
  slide.inverted = true;
  EXPECT_EQ(Coding<Slide>::write(slide)["inverted"], true);
}

TEST(Slide, DeviceTopArchetypeUsesItsKebabRawValue) {
  Slide slide = decodeSlide(R"({"id": "a", "headline": "Hi", "archetype": "device-top"})");
  EXPECT_EQ(slide.archetype, Archetype::deviceTop);
  EXPECT_EQ(slideError(R"({"id": "a", "headline": "Hi", "archetype": "deviceTop"})"),
            "Cannot initialize Archetype from invalid String value deviceTop. Use hero, device-top or text-only. "
            "at .archetype");
}

TEST(Slide, EveryFieldRoundTrips) {
  Json full = parseJSON(R"({
    "id": "week", "archetype": "text-only",
    "eyebrow": {"en-US": "PLAN"}, "headline": {"en-US": "Plan **it**", "de-DE": "Plane **es**"},
    "subhead": {"en-US": "All jobs."},
    "device": {"screenshot": {"ios": "i.png"}, "frame": "none", "outline": "#FFFFFF"},
    "inverted": true, "background": {"linear": ["#000000", "#FFFFFF"], "angle": 90},
    "overrides": {"ios.iphone-6.9": {"archetype": "hero", "deviceWidth": 0.7, "deviceOffsetY": 0.02,
                  "headlineScale": 1.2, "placements": {"headline": {"x": 0.5, "y": 0.2, "width": 0.9,
                  "height": 0.15, "fontScale": 1.1, "rotation": -2}}}},
    "elements": [{"id": "logo", "kind": "image", "image": "assets/logo.png"}],
    "textColors": {"headline": "#C8216A"}, "emphasisStyle": "highlight",
    "textStyles": {"subhead": {"italic": true}}, "accent": "#00AAFF"
  })");
  Slide slide = Reader(full).decode<Slide>();
  EXPECT_EQ(Coding<Slide>::write(slide), full);
  EXPECT_EQ(Reader(Coding<Slide>::write(slide)).decode<Slide>(), slide);
}

TEST(Slide, TextSizeCapsAreNeitherReadNorWritten) {
  Slide slide = decodeSlide(R"({"id": "a", "headline": "Hi", "textSizeCaps": {"headline": 80}})");
  EXPECT_TRUE(slide.textSizeCaps.empty());
  slide.textSizeCaps["headline"] = 120;
  EXPECT_FALSE(Coding<Slide>::write(slide).contains("textSizeCaps"));
}

TEST(Slide, TextFieldsAreTheThreeOwnTextsInOrder) {
  ASSERT_EQ(Slide::textFields.size(), 3u);
  EXPECT_EQ(Slide::textFields[0], "eyebrow");
  EXPECT_EQ(Slide::textFields[1], "headline");
  EXPECT_EQ(Slide::textFields[2], "subhead");
}

TEST(Placement, RequiredFieldsAreReadAndAlwaysWritten) {
  Json json = parseJSON(R"({"x": 0.5})");
  try {
    Reader(json).decode<Placement>();
    ADD_FAILURE() << "no error";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.summary(), "missing y");
  }
  Json written = Coding<Placement>::write(at(0, 0, 0));
  EXPECT_EQ(written, parseJSON(R"({"x": 0, "y": 0, "width": 0})"));
}

// Placements

TEST(Slide, PlacementReadsTheTargetsOwnOverride) {
  Slide slide;
  slide.overrides = placing({{"ios.iphone-6.9", at(0.3)}}, "headline");
  EXPECT_EQ(slide.placement("headline", "ios.iphone-6.9"), at(0.3));
  EXPECT_FALSE(slide.placement("headline", "ios.iphone-6.5"));
  EXPECT_FALSE(slide.placement("subhead", "ios.iphone-6.9"));
  slide.overrides["play.phone"].headlineScale = 1.2;  // an override without placements
  EXPECT_FALSE(slide.placement("headline", "play.phone"));
}

TEST(Placement, OwnPlacementIsNotInherited) {
  auto overrides = placing({{"ios.iphone-6.9", at(0.3)}, {"ios.iphone-6.5", at(0.7)}}, "device");
  auto found = Placement::effective("device", StoreTarget::iphone69(), overrides);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->first, at(0.3));
  EXPECT_FALSE(found->second);
}

TEST(Placement, PlacementOn65ServesIphone69AsInherited) {
  auto overrides = placing({{"ios.iphone-6.5", at(0.7)}}, "headline");
  auto found = Placement::effective("headline", StoreTarget::iphone69(), overrides);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->first, at(0.7));
  EXPECT_TRUE(found->second);
  // Phones of the other store lend too: same family.
  auto onPlay = Placement::effective("headline", StoreTarget::playPhone(), overrides);
  ASSERT_TRUE(onPlay);
  EXPECT_EQ(onPlay->first, at(0.7));
}

TEST(Placement, PhonePlacementServesNothingOnATablet) {
  auto overrides = placing({{"ios.iphone-6.5", at(0.7)}}, "headline");
  EXPECT_FALSE(Placement::effective("headline", StoreTarget::ipad13(), overrides));
  EXPECT_FALSE(Placement::effective("headline", StoreTarget::iphoneDuo(), overrides));
}

TEST(Placement, TabletPlacementServesFoldableInTheSecondPass) {
  auto overrides = placing({{"play.tablet-10", at(0.4)}}, "headline");
  auto found = Placement::effective("headline", StoreTarget::iphoneDuo(), overrides);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->first, at(0.4));
  EXPECT_TRUE(found->second);
  // Never to a phone.
  EXPECT_FALSE(Placement::effective("headline", StoreTarget::iphone69(), overrides));
}

TEST(Placement, SameFamilyWinsOverTheSecondPassEvenWhenSortedLater) {
  // "ios.iphone-duo" (foldable) sorts before "play.tablet-10" (tablet), but the iPad takes the
  // tablet's placement in the first pass.
  auto overrides = placing({{"ios.iphone-duo", at(0.1)}, {"play.tablet-10", at(0.3)}}, "headline");
  auto found = Placement::effective("headline", StoreTarget::ipad13(), overrides);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->first, at(0.3));
  // Among lenders of one pass the lowest key wins.
  auto tablets = placing({{"play.tablet-10", at(0.2)}, {"ios.ipad-13", at(0.4)}}, "headline");
  auto onSeven = Placement::effective("headline", StoreTarget::playTablet7(), tablets);
  ASSERT_TRUE(onSeven);
  EXPECT_EQ(onSeven->first, at(0.4));
}

TEST(Placement, UnknownTargetKeysAndCanvasesNeverLend) {
  auto overrides = placing({{"ios.header", at(0.1)}, {"watch.ultra", at(0.2)}}, "headline");
  EXPECT_FALSE(Placement::effective("headline", StoreTarget::iphone69(), overrides));
}

TEST(Placement, CreativeCanvasesNeverInherit) {
  auto overrides = placing({{"ios.search-results", at(0.1)}, {"ios.iphone-6.9", at(0.2)}}, "headline");
  EXPECT_FALSE(Placement::effective("headline", StoreTarget::appStoreHeader(), overrides));
  auto own = Placement::effective("headline", StoreTarget::appStoreSearch(), overrides);
  ASSERT_TRUE(own);
  EXPECT_EQ(own->first, at(0.1));
  EXPECT_FALSE(own->second);
}

TEST(Slide, EffectivePlacementUsesTheSlidesOverrides) {
  Slide slide;
  slide.overrides = placing({{"ios.iphone-6.5", at(0.7)}}, "device");
  auto found = slide.effectivePlacement("device", StoreTarget::iphone69());
  ASSERT_TRUE(found);
  EXPECT_EQ(found->first, at(0.7));
  EXPECT_TRUE(found->second);
}

}  // namespace
}  // namespace vorno::slide_test
