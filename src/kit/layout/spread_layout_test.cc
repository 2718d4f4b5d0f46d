#include "kit/layout/slide_layout_engine.h"

#include "kit/layout/layout_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vorno::spread_layout_test {
namespace {

using testing::TestPackage;
using testing::heroSlide;
using testing::projectWith;
using testing::text;

const ElementLayout* find(const ComposedSlide& c, const std::string& id, const std::string& owner) {
  return c.element(id, owner);
}

std::vector<const Issue*> issues(const ComposedSlide& c, const std::string& code) {
  std::vector<const Issue*> found;
  for (const auto& i : c.issues)
    if (i.code == code) found.push_back(&i);
  return found;
}

Placement at(double x, double y, double width) { return Placement{x, y, width, {}, {}, {}}; }

Project pairProject() {
  Project project = projectWith({heroSlide("left", "One"), heroSlide("right", "Two")});
  Spread spread;
  spread.id = "pair";
  spread.slides = {"left", "right"};
  project.spreads.push_back(spread);
  return project;
}

SlideElement spreadText(const std::string& id, const std::string& words) {
  SlideElement e;
  e.id = id;
  e.kind = SlideElement::Kind::text;
  e.text = text(words);
  e.role = TextRole::headline;
  e.align = TextAlign::left;
  return e;
}

// Lays the spread with its text placed so that its ink starts `across` pixels left of the seam.
ComposedSlide withInkAcrossSeam(double across) {
  TestPackage package;
  Project project = pairProject();
  project.spreads[0].elements = {spreadText("banner", "Across the seam we go")};
  const StoreTarget& target = StoreTarget::iphone69();
  auto place = [&](double x) {
    project.spreads[0].overrides[target.id].placements = std::map<std::string, Placement>{{"banner", at(x, 0.5, 0.9)}};
  };
  place(1.0);
  SlideLayoutEngine engine;
  ComposedSlide first = engine.layout(project, package.root(), project.slides[0], target, "en-US");
  const Rect ink = find(first, "banner", "pair")->inkBounds();
  const double shift = (target.width - across) - ink.minX();
  place(1.0 + shift / target.width);
  return engine.layout(project, package.root(), project.slides[0], target, "en-US");
}

TEST(SpreadLayout, TextThreePixelsAcrossASeamIsReportedAndTwoPixelsIsNot) {
  ComposedSlide three = withInkAcrossSeam(3);
  auto seams = issues(three, "text.seam");
  ASSERT_EQ(seams.size(), 1u);
  EXPECT_EQ(seams[0]->message, "Text crosses the seam between slides left and right and will be cut.");
  EXPECT_EQ(seams[0]->element, "spread:pair/banner");
  // Its centre lies on the right slide, so the issue belongs there.
  EXPECT_EQ(seams[0]->slide, "right");
  // 2 px is within tolerance; a hair of rounding is taken off so that the test states the boundary.
  EXPECT_TRUE(issues(withInkAcrossSeam(2 - 1e-6), "text.seam").empty());
}

TEST(SpreadLayout, DeviceElementAtTheSeamStandsHalfOnEachSlice) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  Project project = pairProject();
  SlideElement phone;
  phone.id = "phone";
  phone.kind = SlideElement::Kind::device;
  phone.device = testing::showing("captures/{locale}/home.png");
  project.spreads[0].elements = {phone};
  project.spreads[0].overrides["ios.iphone-6.9"].placements =
      std::map<std::string, Placement>{{"phone", at(1.0, 0.55, 0.7)}};
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[1], StoreTarget::iphone69(), "en-US");
  EXPECT_EQ(c.slideID, "right");
  EXPECT_EQ(c.slideIDs, (std::vector<std::string>{"left", "right"}));
  EXPECT_EQ(c.spreadID, "pair");
  const ElementLayout* d = find(c, "phone", "pair");
  ASSERT_NE(d, nullptr);
  EXPECT_DOUBLE_EQ(d->frame.midX(), 1320);
  EXPECT_LT(d->frame.minX(), 1320);
  EXPECT_GT(d->frame.maxX(), 1320);
  // Below the members' own device and texts.
  EXPECT_DOUBLE_EQ(d->z, -1.0);
  EXPECT_EQ(c.elements.front().id, "phone");
  // The members' own texts are moved along the board.
  EXPECT_GE(find(c, "headline", "right")->frame.minX(), 1320);
  EXPECT_LT(find(c, "headline", "left")->frame.maxX(), 1320);
}

TEST(SpreadLayout, SpreadElementAtOneAndAHalfBelongsToTheSecondMemberInIssues) {
  TestPackage package;
  Project project = pairProject();
  SlideElement image;
  image.id = "logo";
  image.kind = SlideElement::Kind::image;
  image.image = "assets/missing.png";
  project.spreads[0].elements = {image};
  project.spreads[0].overrides["ios.iphone-6.9"].placements =
      std::map<std::string, Placement>{{"logo", at(1.5, 0.5, 0.3)}};
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  auto missing = issues(c, "image.missing");
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0]->slide, "right");
}

TEST(SpreadLayout, SpanningGradientIsSampledWhereEachMembersTextStands) {
  TestPackage package;
  Project project = pairProject();
  project.theme.foreground = *RGBColor::fromHex("#14171D");
  project.theme.background = Fill::solid(RGBColor::white());
  // White on the left slide, black on the right: dark words read on the left only.
  project.spreads[0].background = Fill{LinearFill{{RGBColor::white(), RGBColor::black()}, 90}};
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  auto contrast = issues(c, "text.contrast");
  ASSERT_EQ(contrast.size(), 1u);
  EXPECT_EQ(contrast[0]->slide, "right");
  EXPECT_EQ(contrast[0]->element, "slide:right/headline");
  ASSERT_TRUE(c.spanningBackground);
  EXPECT_EQ(c.sliceBackgrounds.size(), 2u);

  // Without the spread's fill, each member samples its own white background: no contrast issue.
  project.spreads[0].background.reset();
  ComposedSlide plain =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  EXPECT_TRUE(issues(plain, "text.contrast").empty());
  EXPECT_FALSE(plain.spanningBackground);
}

TEST(SpreadLayout, MemberMissingFromTheProjectFallsBackToAPlainSlide) {
  TestPackage package;
  Project project = pairProject();
  project.spreads[0].slides = {"left", "gone"};
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  EXPECT_FALSE(c.spreadID);
  EXPECT_EQ(c.slideIDs, std::vector<std::string>{"left"});
}

TEST(SpreadLayout, TextRunningOffTheBoardIsReportedForTheSpread) {
  TestPackage package;
  Project project = pairProject();
  project.spreads[0].elements = {spreadText("tail", "Off the far edge of the board")};
  project.spreads[0].overrides["ios.iphone-6.9"].placements =
      std::map<std::string, Placement>{{"tail", at(1.95, 0.5, 0.8)}};
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  auto off = issues(c, "text.offcanvas");
  ASSERT_EQ(off.size(), 1u);
  EXPECT_EQ(off[0]->message, "Text runs past the edge of the spread.");
  EXPECT_EQ(off[0]->slide, "right");
}

}  // namespace
}  // namespace vorno::spread_layout_test
