#include "kit/model/spread_editing.h"

#include "kit/model/project.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorno::spread_editing_test {
namespace {

const std::string iphone = "ios.iphone-6.9";
const std::string play = "play.phone";

Slide slide(const std::string& id) {
  Slide s;
  s.id = id;
  s.headline = LocalizedText{{{"en-US", id}}};
  return s;
}

SlideElement element(const std::string& id) {
  SlideElement e;
  e.id = id;
  e.kind = SlideElement::Kind::shape;
  e.shape = ShapeKind::circle;
  return e;
}

Placement at(double x, double y = 0.5) { return Placement{x, y, 0.4, {}, {}, {}}; }

Spread spread(const std::string& id, std::vector<std::string> members) {
  Spread s;
  s.id = id;
  s.slides = std::move(members);
  return s;
}

Project project(int slideCount) {
  Project p;
  p.appName = "Test";
  p.locales = {"en-US"};
  p.targets = {iphone, play};
  for (int i = 1; i <= slideCount; ++i) p.slides.push_back(slide("s" + std::to_string(i)));
  return p;
}

void place(std::map<std::string, SlideOverride>& overrides, const std::string& target, const std::string& id,
           Placement placement) {
  SlideOverride& override = overrides[target];
  if (!override.placements) override.placements = std::map<std::string, Placement>{};
  (*override.placements)[id] = placement;
}

std::optional<Placement> placementOf(const std::map<std::string, SlideOverride>& overrides, const std::string& target,
                                     const std::string& id) {
  auto it = overrides.find(target);
  if (it == overrides.end() || !it->second.placements) return std::nullopt;
  auto found = it->second.placements->find(id);
  if (found == it->second.placements->end()) return std::nullopt;
  return found->second;
}

/// The same placements under the same keys, positions equal up to the rounding of adding and
/// taking away a member's index.
::testing::AssertionResult samePlacements(const std::map<std::string, SlideOverride>& actual,
                                          const std::map<std::string, SlideOverride>& expected) {
  if (actual.size() != expected.size()) return ::testing::AssertionFailure() << "different targets";
  for (const auto& [target, want] : expected) {
    auto it = actual.find(target);
    if (it == actual.end()) return ::testing::AssertionFailure() << "no override for " << target;
    SlideOverride got = it->second;
    if (got.placements.has_value() != want.placements.has_value() ||
        (got.placements && got.placements->size() != want.placements->size()))
      return ::testing::AssertionFailure() << "different placements on " << target;
    if (got.placements) {
      for (const auto& [id, placement] : *want.placements) {
        auto found = got.placements->find(id);
        if (found == got.placements->end()) return ::testing::AssertionFailure() << "no " << id << " on " << target;
        if (std::abs(found->second.x - placement.x) > 1e-12)
          return ::testing::AssertionFailure() << id << " on " << target << " at x " << found->second.x;
        found->second.x = placement.x;
      }
    }
    if (!(got == want)) return ::testing::AssertionFailure() << "override on " << target << " differs";
  }
  return ::testing::AssertionSuccess();
}

// Fresh ids

TEST(SpreadEditing, UniqueSpreadIDWithSpreadOneTakenGivesSpreadTwo) {
  Project p = project(4);
  EXPECT_EQ(uniqueSpreadID(p), "spread-1");
  p.spreads.push_back(spread("spread-1", {"s1", "s2"}));
  EXPECT_EQ(uniqueSpreadID(p), "spread-2");
  p.spreads.push_back(spread("spread-3", {"s3", "s4"}));
  EXPECT_EQ(uniqueSpreadID(p), "spread-2");
}

TEST(SpreadEditing, UniqueElementIDCountsUpFromTwoPastEveryElementAndTheAvoidedSet) {
  Project p = project(2);
  EXPECT_EQ(uniqueElementID(p, "badge"), "badge");
  p.slides[0].elements.push_back(element("badge"));
  EXPECT_EQ(uniqueElementID(p, "badge"), "badge-2");
  Spread s = spread("spread-1", {"s1", "s2"});
  s.elements.push_back(element("badge-2"));
  p.spreads.push_back(s);
  EXPECT_EQ(uniqueElementID(p, "badge"), "badge-3");
  EXPECT_EQ(uniqueElementID(p, "badge", {"badge-3"}), "badge-4");
  EXPECT_EQ(uniqueElementID(p, "glow", {"glow"}), "glow-2");
}

TEST(SpreadEditing, ShiftingPlacementsAddsToEveryXAndKeepsTheRest) {
  SlideOverride override;
  override.deviceWidth = 0.7;
  override.headlineScale = 1.2;
  override.placements = std::map<std::string, Placement>{{"a", at(0.25, 0.3)}, {"b", at(1.5, 0.6)}};
  SlideOverride shifted = shiftingPlacements(override, 2);
  EXPECT_EQ(shifted.placements->at("a"), at(2.25, 0.3));
  EXPECT_EQ(shifted.placements->at("b"), at(3.5, 0.6));
  EXPECT_EQ(shifted.deviceWidth, 0.7);
  EXPECT_EQ(shifted.headlineScale, 1.2);

  SlideOverride bare;
  bare.archetype = Archetype::hero;
  EXPECT_EQ(shiftingPlacements(bare, 1), bare);
}

// Joining

TEST(SpreadEditing, JoinWithNextOnTheLastSlideChangesNothing) {
  Project p = project(3);
  p.spreads.push_back(spread("spread-1", {"s2", "s3"}));
  const Project before = p;
  joinWithNext(p, "s3");
  EXPECT_EQ(p, before);
  joinWithNext(p, "nope");
  EXPECT_EQ(p, before);
}

TEST(SpreadEditing, JoiningTwoLoneSlidesMakesASpreadWithTheFirstSlidesBackground) {
  Project p = project(3);
  p.slides[1].background = Fill::solid(RGBColor{0.1, 0.2, 0.3, 1});
  joinWithNext(p, "s2");
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].id, "spread-1");
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"s2", "s3"}));
  EXPECT_EQ(p.spreads[0].background, p.slides[1].background);
}

TEST(SpreadEditing, JoiningTheLastMemberOfASpreadAppendsTheNextSlide) {
  Project p = project(3);
  Spread s = spread("wide", {"s1", "s2"});
  place(s.overrides, iphone, "glow", at(1.2));
  p.spreads.push_back(s);
  joinWithNext(p, "s2");
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"s1", "s2", "s3"}));
  EXPECT_EQ(placementOf(p.spreads[0].overrides, iphone, "glow"), at(1.2));
}

TEST(SpreadEditing, JoiningASlideToTheFrontOfASpreadMovesItsPlacementsOneSlideRight) {
  Project p = project(3);
  Spread s = spread("wide", {"s2", "s3"});
  s.elements.push_back(element("glow"));
  place(s.overrides, iphone, "glow", at(1.0, 0.4));
  place(s.overrides, play, "glow", at(0.5));
  p.spreads.push_back(s);
  joinWithNext(p, "s1");
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"s1", "s2", "s3"}));
  EXPECT_EQ(placementOf(p.spreads[0].overrides, iphone, "glow"), at(2.0, 0.4));
  EXPECT_EQ(placementOf(p.spreads[0].overrides, play, "glow"), at(1.5));
}

TEST(SpreadEditing, JoiningTwoSpreadsKeepsTheSeamSoXHalfInTheSecondLandsAtTwoAndAHalf) {
  Project p = project(4);
  Spread first = spread("first", {"s1", "s2"});
  first.elements.push_back(element("wave"));
  place(first.overrides, iphone, "wave", at(1.0));
  first.overrides[iphone].deviceWidth = 0.6;
  Spread second = spread("second", {"s3", "s4"});
  second.elements.push_back(element("sun"));
  place(second.overrides, iphone, "sun", at(0.5, 0.2));
  place(second.overrides, play, "sun", at(1.25));
  second.overrides[iphone].deviceWidth = 0.9;
  p.spreads = {first, second};

  joinWithNext(p, "s2");
  ASSERT_EQ(p.spreads.size(), 1u);
  const Spread& joined = p.spreads[0];
  EXPECT_EQ(joined.id, "first");
  EXPECT_EQ(joined.slides, (std::vector<std::string>{"s1", "s2", "s3", "s4"}));
  EXPECT_EQ(placementOf(joined.overrides, iphone, "sun"), at(2.5, 0.2));
  EXPECT_EQ(placementOf(joined.overrides, play, "sun"), at(3.25));
  EXPECT_EQ(placementOf(joined.overrides, iphone, "wave"), at(1.0));
  // The earlier spread's own settings for a target win.
  EXPECT_EQ(joined.overrides.at(iphone).deviceWidth, 0.6);
  ASSERT_EQ(joined.elements.size(), 2u);
}

TEST(SpreadEditing, JoiningSpreadsRenamesAClashingElementAndItsPlacements) {
  Project p = project(4);
  Spread first = spread("first", {"s1", "s2"});
  first.elements.push_back(element("glow"));
  place(first.overrides, iphone, "glow", at(0.5));
  Spread second = spread("second", {"s3", "s4"});
  second.elements.push_back(element("glow"));
  place(second.overrides, iphone, "glow", at(1.5));
  p.spreads = {first, second};

  joinWithNext(p, "s2");
  ASSERT_EQ(p.spreads.size(), 1u);
  const Spread& joined = p.spreads[0];
  ASSERT_EQ(joined.elements.size(), 2u);
  EXPECT_EQ(joined.elements[0].id, "glow");
  EXPECT_EQ(joined.elements[1].id, "glow-2");
  EXPECT_EQ(placementOf(joined.overrides, iphone, "glow"), at(0.5));
  EXPECT_EQ(placementOf(joined.overrides, iphone, "glow-2"), at(3.5));
}

TEST(SpreadEditing, JoiningTwoMembersOfOneSpreadChangesNothing) {
  Project p = project(3);
  p.spreads.push_back(spread("wide", {"s1", "s2", "s3"}));
  const Project before = p;
  joinWithNext(p, "s1");
  EXPECT_EQ(p, before);
}

// Leaving

TEST(SpreadEditing, LeavingTheFirstMemberPutsItsElementsDownAndShiftsTheRestLeft) {
  Project p = project(3);
  Spread s = spread("wide", {"s1", "s2", "s3"});
  s.elements = {element("left"), element("right"), element("loose")};
  place(s.overrides, iphone, "left", at(0.3, 0.2));
  place(s.overrides, iphone, "right", at(2.4));
  p.spreads.push_back(s);

  leaveSpread(p, "s1");
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"s2", "s3"}));
  // "loose" has no placement, so it stands in the middle, on s2, and stays.
  ASSERT_EQ(p.spreads[0].elements.size(), 2u);
  EXPECT_EQ(p.spreads[0].elements[0].id, "right");
  EXPECT_EQ(p.spreads[0].elements[1].id, "loose");
  EXPECT_EQ(placementOf(p.spreads[0].overrides, iphone, "right"), at(1.4));
  ASSERT_EQ(p.slides[0].elements.size(), 1u);
  EXPECT_EQ(p.slides[0].elements[0].id, "left");
  EXPECT_EQ(p.slides[0].placement("left", iphone), at(0.3, 0.2));
}

TEST(SpreadEditing, LeavingATwoMemberSpreadDropsIt) {
  Project p = project(2);
  Spread s = spread("wide", {"s1", "s2"});
  s.elements = {element("tail")};
  place(s.overrides, play, "tail", at(1.75));
  p.spreads.push_back(s);
  leaveSpread(p, "s2");
  EXPECT_TRUE(p.spreads.empty());
  ASSERT_EQ(p.slides[1].elements.size(), 1u);
  EXPECT_EQ(p.slides[1].placement("tail", play), at(0.75));
}

TEST(SpreadEditing, LeavingWithoutASpreadChangesNothing) {
  Project p = project(2);
  const Project before = p;
  leaveSpread(p, "s1");
  EXPECT_EQ(p, before);
}

// Moving elements

TEST(SpreadEditing, MoveElementToSpreadThenToSlideWithTheSameIndexGivesBackTheSamePlacements) {
  Project p = project(3);
  Slide& s2 = p.slides[1];
  s2.elements = {element("badge"), element("other")};
  place(s2.overrides, iphone, "badge", at(0.3, 0.7));
  place(s2.overrides, play, "badge", at(0.8, 0.2));
  place(s2.overrides, iphone, "headline", at(0.5, 0.1));
  p.spreads.push_back(spread("wide", {"s1", "s2", "s3"}));
  const std::map<std::string, SlideOverride> before = s2.overrides;

  moveElementToSpread(p, "badge", "s2");
  EXPECT_EQ(p.slides[1].elements.size(), 1u);
  ASSERT_EQ(p.spreads[0].elements.size(), 1u);
  EXPECT_EQ(placementOf(p.spreads[0].overrides, iphone, "badge"), at(1.3, 0.7));
  EXPECT_EQ(placementOf(p.spreads[0].overrides, play, "badge"), at(1.8, 0.2));
  EXPECT_FALSE(p.slides[1].placement("badge", iphone).has_value());

  EXPECT_EQ(moveElementToSlide(p, "badge", "wide", 1), "badge");
  EXPECT_TRUE(samePlacements(p.slides[1].overrides, before));
  EXPECT_TRUE(p.spreads[0].elements.empty());
  EXPECT_TRUE(p.spreads[0].overrides.empty());
}

TEST(SpreadEditing, MoveElementToSpreadRenamesWhenTheSpreadHasTheID) {
  Project p = project(2);
  p.slides[0].elements = {element("glow")};
  place(p.slides[0].overrides, iphone, "glow", at(0.2));
  Spread s = spread("wide", {"s1", "s2"});
  s.elements = {element("glow")};
  p.spreads.push_back(s);
  moveElementToSpread(p, "glow", "s1");
  ASSERT_EQ(p.spreads[0].elements.size(), 2u);
  EXPECT_EQ(p.spreads[0].elements[1].id, "glow-2");
  EXPECT_EQ(placementOf(p.spreads[0].overrides, iphone, "glow-2"), at(0.2));
  EXPECT_FALSE(placementOf(p.spreads[0].overrides, iphone, "glow").has_value());
}

TEST(SpreadEditing, MoveElementToSlideWithoutIndexPicksTheMemberItStandsOn) {
  Project p = project(3);
  Spread s = spread("wide", {"s1", "s2", "s3"});
  s.elements = {element("placed"), element("loose")};
  place(s.overrides, play, "placed", at(2.6));
  p.spreads.push_back(s);
  EXPECT_EQ(moveElementToSlide(p, "placed", "wide"), "placed");
  ASSERT_TRUE(p.slides[2].placement("placed", play).has_value());
  EXPECT_NEAR(p.slides[2].placement("placed", play)->x, 0.6, 1e-12);
  // Without a placement the middle member takes it.
  EXPECT_EQ(moveElementToSlide(p, "loose", "wide"), "loose");
  ASSERT_EQ(p.slides[1].elements.size(), 1u);
  EXPECT_EQ(p.slides[1].elements[0].id, "loose");
}

TEST(SpreadEditing, MoveElementToSlideRenamesWhenTheSlideHasTheIDOrItNamesASlideField) {
  Project p = project(2);
  p.slides[0].elements = {element("glow")};
  Spread s = spread("wide", {"s1", "s2"});
  s.elements = {element("glow"), element("headline")};
  place(s.overrides, iphone, "headline", at(0.4));
  p.spreads.push_back(s);
  EXPECT_EQ(moveElementToSlide(p, "glow", "wide", 0), "glow-2");
  EXPECT_EQ(moveElementToSlide(p, "headline", "wide", 0), "headline-2");
  EXPECT_EQ(p.slides[0].placement("headline-2", iphone), at(0.4));
  EXPECT_FALSE(p.slides[0].placement("headline", iphone).has_value());
}

TEST(SpreadEditing, MoveElementToSlideWithUnknownIdsOrIndexChangesNothing) {
  Project p = project(2);
  Spread s = spread("wide", {"s1", "s2"});
  s.elements = {element("glow")};
  p.spreads.push_back(s);
  const Project before = p;
  EXPECT_FALSE(moveElementToSlide(p, "glow", "wide", 2).has_value());
  EXPECT_FALSE(moveElementToSlide(p, "glow", "wide", -1).has_value());
  EXPECT_FALSE(moveElementToSlide(p, "nope", "wide", 0).has_value());
  EXPECT_FALSE(moveElementToSlide(p, "glow", "nope", 0).has_value());
  moveElementToSpread(p, "glow", "s1");
  EXPECT_EQ(p, before);
}

}  // namespace
}  // namespace vorno::spread_editing_test
