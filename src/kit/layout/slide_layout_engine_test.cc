#include "kit/layout/slide_layout_engine.h"

#include "kit/layout/layout_test_support.h"
#include "kit/text/text_layout.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vorno::slide_layout_engine_test {
namespace {

using testing::TestPackage;
using testing::heroSlide;
using testing::phoneTarget;
using testing::projectWith;
using testing::text;

const ElementLayout* find(const ComposedSlide& c, const std::string& id) {
  for (const auto& e : c.elements)
    if (e.id == id) return &e;
  return nullptr;
}

bool hasIssue(const ComposedSlide& c, const std::string& code) {
  return std::any_of(c.issues.begin(), c.issues.end(), [&](const Issue& i) { return i.code == code; });
}

const Issue* issue(const ComposedSlide& c, const std::string& code) {
  for (const auto& i : c.issues)
    if (i.code == code) return &i;
  return nullptr;
}

Placement at(double x, double y, double width) { return Placement{x, y, width, {}, {}, {}}; }

TEST(SlideLayout, Canvas1290By2796HasUnit1286MarginsColumnAndHeadlineBase) {
  TestPackage package;
  Project project = projectWith({heroSlide("a", "Plan the week")});
  StoreTarget target = phoneTarget("test.1290", 1290, 2796);
  ComposedSlide c = SlideLayoutEngine().layout(project, package.root(), project.slides[0], target, "en-US");
  EXPECT_DOUBLE_EQ(target.textUnit(), 1286.16);
  const ElementLayout* headline = find(c, "headline");
  ASSERT_NE(headline, nullptr);
  EXPECT_DOUBLE_EQ(headline->frame.x, 96.75);
  EXPECT_DOUBLE_EQ(headline->frame.width, 1096.5);
  EXPECT_NEAR(headline->text()->size, 118.33, 0.005);
  ASSERT_TRUE(c.headlineFontSize);
  EXPECT_NEAR(*c.headlineFontSize, 118.32672, 1e-9);
  // The automatic stack starts 6% from the top and the text is centred in the column.
  EXPECT_DOUBLE_EQ(headline->frame.y, 0.06 * 2796);
  EXPECT_EQ(headline->text()->alignment, TextAlign::center);
  EXPECT_FALSE(headline->isManual);
  EXPECT_NEAR(headline->placement.fontScale.value_or(0), 1.0, 1e-12);
}

TEST(SlideLayout, EmptyHeadlineOnCreativeCanvasGivesNoTextEmpty) {
  TestPackage package;
  Project project = projectWith({heroSlide("a", "")});
  SlideLayoutEngine engine;
  ComposedSlide creative =
      engine.layout(project, package.root(), project.slides[0], StoreTarget::appStoreHeader(), "en-US");
  EXPECT_FALSE(hasIssue(creative, "text.empty"));
  ComposedSlide screenshot = engine.layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  ASSERT_TRUE(hasIssue(screenshot, "text.empty"));
  EXPECT_EQ(issue(screenshot, "text.empty")->message, "Headline is empty.");
  EXPECT_EQ(issue(screenshot, "text.empty")->severity, Issue::Severity::warning);
}

TEST(SlideLayout, HeadlineWithPlacementNeverShrinksNorReportsShrunk) {
  TestPackage package;
  Slide slide = heroSlide("a", "A headline far too long to sit in the automatic box without shrinking a lot");
  Placement p = at(0.5, 0.3, 0.5);
  p.fontScale = 1.2;
  slide.overrides["ios.iphone-6.9"].placements = std::map<std::string, Placement>{{"headline", p}};
  Project project = projectWith({slide});
  const StoreTarget& target = StoreTarget::iphone69();
  ComposedSlide c = SlideLayoutEngine().layout(project, package.root(), project.slides[0], target, "en-US");
  const ElementLayout* headline = find(c, "headline");
  ASSERT_NE(headline, nullptr);
  EXPECT_TRUE(headline->isManual);
  const double base = target.textUnit() * 0.092;
  EXPECT_DOUBLE_EQ(headline->text()->size, base * 1.2);
  EXPECT_DOUBLE_EQ(*c.headlineFontSize, base * 1.2);
  EXPECT_FALSE(hasIssue(c, "text.shrunk"));
  EXPECT_FALSE(hasIssue(c, "text.overflow"));
  // Its height is what the text needs at that width, however tall.
  EXPECT_GT(headline->frame.height, 3 * base);
  EXPECT_DOUBLE_EQ(headline->frame.width, 0.5 * target.width);
  EXPECT_DOUBLE_EQ(headline->frame.midY(), 0.3 * target.height);

  // The same copy without a placement does shrink, and says so.
  Project automatic = projectWith(
      {heroSlide("a", "A headline far too long to sit in the automatic box without shrinking a lot")});
  ComposedSlide fitted = SlideLayoutEngine().layout(automatic, package.root(), automatic.slides[0], target, "en-US");
  EXPECT_LT(*fitted.headlineFontSize, base);
}

TEST(SlideLayout, InvertedSlideIgnoresThemeMutedAndUsesInvertedForegroundAt72Percent) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  slide.subhead = text("A quieter line");
  slide.inverted = true;
  Project project = projectWith({slide});
  project.theme.muted = *RGBColor::fromHex("#FF0000");
  project.theme.invertedForeground = *RGBColor::fromHex("#F0F0F0");
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  const ElementLayout* subhead = find(c, "subhead");
  ASSERT_NE(subhead, nullptr);
  RGBColor expected = project.theme.invertedForeground;
  expected.a = 0.72;
  EXPECT_EQ(subhead->text()->color, expected);
  EXPECT_EQ(find(c, "headline")->text()->color, project.theme.invertedForeground);
  EXPECT_EQ(c.sliceBackgrounds[0], project.theme.invertedBackground);
}

TEST(SlideLayout, ThemeStickerDrawsSubheadAsHighlightAndEyebrowStaysColor) {
  Theme theme = Theme::vorno();
  theme.emphasisStyle = EmphasisStyle::sticker;
  theme.textStyles = std::map<std::string, TextStyle>{};
  TextStyle eyebrowStyle;
  eyebrowStyle.emphasisStyle = EmphasisStyle::marker;
  (*theme.textStyles)["eyebrow"] = eyebrowStyle;
  StyleContext ctx;
  ctx.theme = theme;
  ctx.unit = 1000;
  EXPECT_EQ(ctx.spec(TextRole::headline, "x", {}, TextAlign::center, {}).emphasisStyle, EmphasisStyle::sticker);
  EXPECT_EQ(ctx.spec(TextRole::subhead, "x", {}, TextAlign::center, {}).emphasisStyle, EmphasisStyle::highlight);
  EXPECT_EQ(ctx.spec(TextRole::caption, "x", {}, TextAlign::center, {}).emphasisStyle, EmphasisStyle::highlight);
  // The theme's own style for the eyebrow applies until the slide sets an emphasis of its own.
  EXPECT_EQ(ctx.spec(TextRole::eyebrow, "x", {}, TextAlign::center, {}).emphasisStyle, EmphasisStyle::marker);
  ctx.slideEmphasis = EmphasisStyle::sticker;
  EXPECT_EQ(ctx.spec(TextRole::eyebrow, "x", {}, TextAlign::center, {}).emphasisStyle, EmphasisStyle::color);
  EXPECT_EQ(ctx.spec(TextRole::subhead, "x", {}, TextAlign::center, {}).emphasisStyle, EmphasisStyle::highlight);
}

TEST(SlideLayout, UppercaseHeadlineWithoutTrackingUses0005AndExplicitTrackingWins) {
  StyleContext ctx;
  ctx.theme = Theme::vorno();
  ctx.unit = 1000;
  TextStyle upper;
  upper.uppercase = true;
  EXPECT_DOUBLE_EQ(ctx.spec(TextRole::headline, "x", {}, TextAlign::center, upper).tracking, 0.005);
  upper.tracking = 0.03;
  EXPECT_DOUBLE_EQ(ctx.spec(TextRole::headline, "x", {}, TextAlign::center, upper).tracking, 0.03);
  // Without capitals the headline keeps its tight default.
  EXPECT_DOUBLE_EQ(ctx.spec(TextRole::headline, "x", {}, TextAlign::center, {}).tracking, -0.012);
  // An eyebrow is upper-case by default and keeps its wide tracking.
  EXPECT_DOUBLE_EQ(ctx.spec(TextRole::eyebrow, "x", {}, TextAlign::center, {}).tracking, 0.14);
}

TEST(SlideLayout, TextOnlyScalesHeadlineBy145AllowsHalfTheHeightAndDropsTheDevice) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  Slide slide = heroSlide("a", "Short");
  slide.archetype = Archetype::textOnly;
  slide.device = testing::showing("captures/{locale}/home.png");
  Project project = projectWith({slide});
  const StoreTarget& target = StoreTarget::iphone69();
  ComposedSlide c = SlideLayoutEngine().layout(project, package.root(), project.slides[0], target, "en-US");
  EXPECT_EQ(find(c, "device"), nullptr);
  EXPECT_FALSE(c.frameID);
  const ElementLayout* headline = find(c, "headline");
  ASSERT_NE(headline, nullptr);
  EXPECT_NEAR(headline->text()->size, target.textUnit() * 0.092 * 1.45, 1e-9);
  // Three written lines at 1.45x are far taller than 17% of the canvas, but fit in half of it.
  Slide tall = heroSlide("b", "One\nTwo\nThree");
  tall.archetype = Archetype::textOnly;
  Project tallProject = projectWith({tall});
  ComposedSlide t = SlideLayoutEngine().layout(tallProject, package.root(), tallProject.slides[0], target, "en-US");
  const ElementLayout* h = find(t, "headline");
  ASSERT_NE(h, nullptr);
  EXPECT_GT(h->frame.height, 0.17 * target.height);
  EXPECT_LE(h->frame.height, 0.5 * target.height + 1);
  EXPECT_FALSE(hasIssue(t, "text.shrunk"));
  // The stack is centred.
  EXPECT_NEAR(h->frame.midY(), target.height * 0.5, 1.0);
}

TEST(SlideLayout, OverrideArchetypeForOneTargetChangesOnlyThatTarget) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  package.capture("captures/en-US/play.png", 1080, 2400);
  Slide slide = heroSlide("a", "Hello there");
  slide.device = DeviceSlot{ScreenshotRef::byTarget({{"ios", "captures/{locale}/home.png"},
                                                     {"android", "captures/{locale}/play.png"}}), {}, {}, {}, {}, {}, {}, {}, {}};
  slide.overrides["play.phone"].archetype = Archetype::deviceTop;
  Project project = projectWith({slide});
  SlideLayoutEngine engine;
  ComposedSlide ios = engine.layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  ComposedSlide play = engine.layout(project, package.root(), project.slides[0], StoreTarget::playPhone(), "en-US");
  ASSERT_TRUE(find(ios, "device") && find(play, "device"));
  EXPECT_LT(find(ios, "headline")->frame.y, find(ios, "device")->frame.y);
  EXPECT_GT(find(play, "headline")->frame.y, find(play, "device")->frame.y);
  // device-top puts the stack 6% above the bottom edge.
  EXPECT_NEAR(find(play, "headline")->frame.maxY(), 1920 * 0.94, 1e-6);
}

TEST(SlideLayout, HandPlacementOnOnePhoneIsInheritedByOtherPhonesButNotByTablets) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  slide.overrides["ios.iphone-6.5"].placements = std::map<std::string, Placement>{{"headline", at(0.4, 0.7, 0.6)}};
  Project project = projectWith({slide});
  SlideLayoutEngine engine;
  ComposedSlide phone = engine.layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  const ElementLayout* h = find(phone, "headline");
  ASSERT_NE(h, nullptr);
  EXPECT_TRUE(h->isManual);
  EXPECT_DOUBLE_EQ(h->frame.midX(), 0.4 * 1320);
  EXPECT_DOUBLE_EQ(h->frame.width, 0.6 * 1320);
  ComposedSlide tablet = engine.layout(project, package.root(), project.slides[0], StoreTarget::ipad13(), "en-US");
  EXPECT_FALSE(find(tablet, "headline")->isManual);
}

TEST(SlideLayout, TextWhoseInkIsInsideTheCanvasThoughItsFrameIsWiderIsNotOffCanvas) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hi");
  slide.overrides["ios.iphone-6.9"].placements = std::map<std::string, Placement>{{"headline", at(0.5, 0.5, 1.3)}};
  Project project = projectWith({slide});
  SlideLayoutEngine engine;
  ComposedSlide c = engine.layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  EXPECT_LT(find(c, "headline")->frame.x, 0);
  EXPECT_FALSE(hasIssue(c, "text.offcanvas"));
  // Moved so that its ink leaves the canvas, it is reported.
  project.slides[0].overrides["ios.iphone-6.9"].placements = std::map<std::string, Placement>{{"headline", at(0.98, 0.5, 1.3)}};
  ComposedSlide off = engine.layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  ASSERT_TRUE(hasIssue(off, "text.offcanvas"));
  EXPECT_EQ(issue(off, "text.offcanvas")->message, "Headline runs past the edge of the slide.");
  EXPECT_EQ(issue(off, "text.offcanvas")->element, "slide:a/headline");
}

TEST(SlideLayout, SpreadWhoseMemberWasDeletedLaysTheSlideAlone) {
  TestPackage package;
  Project project = projectWith({heroSlide("a", "One"), heroSlide("b", "Two")});
  Spread spread;
  spread.id = "pair";
  spread.slides = {"a", "b"};
  project.spreads.push_back(spread);
  project.slides.pop_back();  // "b" deleted, the spread not yet repaired
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  EXPECT_EQ(c.slideIDs, std::vector<std::string>{"a"});
  EXPECT_FALSE(c.spreadID);
  EXPECT_NE(find(c, "headline"), nullptr);
}

TEST(SlideLayout, MissingLocaleAndMissingBackgroundAreReportedWithTheirWords) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  slide.background = Fill{ImageFill{"assets/nowhere.png"}};
  Project project = projectWith({slide});
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "de-DE");
  ASSERT_TRUE(hasIssue(c, "text.missing-locale"));
  EXPECT_EQ(issue(c, "text.missing-locale")->message, "Headline has no de-DE text; using a fallback.");
  ASSERT_TRUE(hasIssue(c, "background.missing"));
  EXPECT_EQ(issue(c, "background.missing")->message, "Background image not found: nowhere.png");
  EXPECT_EQ(issue(c, "background.missing")->severity, Issue::Severity::error);
  EXPECT_EQ(issue(c, "background.missing")->slide, "a");
  EXPECT_EQ(issue(c, "background.missing")->target, "ios.iphone-6.9");
  EXPECT_EQ(issue(c, "background.missing")->locale, "de-DE");
}

TEST(SlideLayout, HeadlineWrittenAsOneLineThatWrapsReportsWrap) {
  TestPackage package;
  Project project = projectWith({heroSlide("a", "Everything your whole team needs to plan")});
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  ASSERT_TRUE(hasIssue(c, "text.wrap"));
  EXPECT_NE(issue(c, "text.wrap")->message.find("; it was written as 1. Shorten it or move the line break."),
            std::string::npos);
}

TEST(SlideLayout, LowContrastTextGetsASuggestedColor) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  slide.textColors["headline"] = *RGBColor::fromHex("#EEEEEE");
  slide.background = Fill::solid(RGBColor::white());
  Project project = projectWith({slide});
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  const Issue* contrast = issue(c, "text.contrast");
  ASSERT_NE(contrast, nullptr);
  EXPECT_EQ(contrast->message.rfind("Headline contrast is 1.2:1 against the background behind it; aim for 3.0:1.", 0), 0u);
  ASSERT_TRUE(contrast->suggestedColor);
  EXPECT_GE(RGBColor::fromHex(*contrast->suggestedColor)->contrast(RGBColor::white()), 3.0);
}

TEST(SlideLayout, ElementsComeOutInStackingOrderWithStableTies) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  SlideElement low, high, tie1, tie2;
  low.id = "low", low.kind = SlideElement::Kind::shape, low.z = -5;
  high.id = "high", high.kind = SlideElement::Kind::shape;
  tie1.id = "tie1", tie1.kind = SlideElement::Kind::shape, tie1.z = 1;
  tie2.id = "tie2", tie2.kind = SlideElement::Kind::shape, tie2.z = 1;
  slide.elements = {high, low, tie1, tie2};
  Project project = projectWith({slide});
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  std::vector<std::string> ids;
  for (const auto& e : c.elements) ids.push_back(e.id);
  EXPECT_EQ(ids, (std::vector<std::string>{"low", "headline", "tie1", "tie2", "high"}));
}

}  // namespace
}  // namespace vorno::slide_layout_engine_test

namespace vorno::slide_layout_engine_test {
namespace {

TEST(SlideLayoutFonts, FamilyInstalledNowhereIsReportedMissingOnce) {
  testing::TestPackage package;
  Slide slide = testing::heroSlide("a", "Hello");
  slide.subhead = testing::text("Also in the missing face");
  Project project = testing::projectWith({slide});
  project.theme.fontFamily = "Nowhere Sans Display";
  ComposedSlide c =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  int missing = 0;
  for (const auto& i : c.issues) {
    if (i.code != "font.missing") continue;
    ++missing;
    EXPECT_EQ(i.severity, Issue::Severity::warning);
    EXPECT_EQ(i.message,
              "Font Nowhere Sans Display isn't in the project's fonts/ or installed on this machine, so the system font is "
              "used. Add the .ttf or .otf with asset_add, or pick another family.");
  }
  EXPECT_EQ(missing, 1);
  // The system font's own names never count as missing.
  project.theme.fontFamily = "SF Pro Display";
  ComposedSlide system =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  for (const auto& i : system.issues) EXPECT_NE(i.code, "font.missing");
}

}  // namespace
}  // namespace vorno::slide_layout_engine_test
