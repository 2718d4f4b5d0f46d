#include "kit/layout/placement_checks.h"

#include "kit/layout/layout_test_support.h"
#include "kit/layout/slide_layout_engine.h"

#include <gtest/gtest.h>

namespace vorno::placement_checks_test {
namespace {

using testing::TestPackage;
using testing::heroSlide;
using testing::projectWith;
using testing::showing;
using testing::text;

std::vector<Issue> issues(const ComposedSlide& c, const std::string& code) {
  std::vector<Issue> found;
  for (const auto& i : c.issues)
    if (i.code == code) found.push_back(i);
  return found;
}

ComposedSlide layOut(const TestPackage& package, const Slide& slide, const StoreTarget& target) {
  Project project = projectWith({slide});
  return SlideLayoutEngine().layout(project, package.root(), project.slides[0], target, "en-US");
}

SlideElement stat(const std::string& id, const std::string& title) {
  SlideElement e;
  e.id = id;
  e.kind = SlideElement::Kind::component;
  ComponentSpec spec;
  spec.type = ComponentSpec::Kind::stat;
  spec.title = text(title);
  spec.subtitle = text("saved a year");
  e.component = spec;
  return e;
}

SlideElement shape(const std::string& id) {
  SlideElement e;
  e.id = id;
  e.kind = SlideElement::Kind::shape;
  e.fill = Fill::solid({0.9, 0.3, 0.1, 1});
  return e;
}

void place(Slide& slide, const std::string& target, const std::string& id, Placement p) {
  auto& placements = slide.overrides[target].placements;
  if (!placements) placements.emplace();
  (*placements)[id] = p;
}

// A two-line headline at the top, as on a hero.
Slide twoLines() {
  Slide slide = heroSlide("s", "Plan the whole week\non one screen");
  return slide;
}

TEST(LayoutOverlap, StatPrintedAcrossTheHeadlineIsReportedWithItsId) {
  TestPackage package;
  Slide slide = twoLines();
  slide.elements.push_back(stat("days", "21 days"));
  ComposedSlide probe = layOut(package, slide, StoreTarget::iphone69());
  const ElementLayout* headline = probe.element("headline", "s");
  ASSERT_NE(headline, nullptr);
  place(slide, "ios.iphone-6.9", "days",
        {0.5, headline->frame.midY() / StoreTarget::iphone69().height, 0.6, std::nullopt, std::nullopt, std::nullopt});

  ComposedSlide c = layOut(package, slide, StoreTarget::iphone69());
  auto found = issues(c, "layout.overlap");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].severity, Issue::Severity::warning);
  EXPECT_EQ(found[0].element, "slide:s/days");
  EXPECT_EQ(found[0].target, "ios.iphone-6.9");
  EXPECT_NE(found[0].message.find("Stat days covers"), std::string::npos) << found[0].message;
  EXPECT_NE(found[0].message.find("of the headline"), std::string::npos) << found[0].message;
}

TEST(LayoutOverlap, TwoFreeElementsOnTopOfEachOtherNameBoth) {
  TestPackage package;
  Slide slide = twoLines();
  slide.elements = {shape("card"), stat("days", "21 days")};
  place(slide, "ios.iphone-6.9", "card", {0.5, 0.7, 0.5, std::nullopt, std::nullopt, std::nullopt});
  place(slide, "ios.iphone-6.9", "days", {0.52, 0.7, 0.4, std::nullopt, std::nullopt, std::nullopt});
  ComposedSlide c = layOut(package, slide, StoreTarget::iphone69());
  auto found = issues(c, "layout.overlap");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].element, "slide:s/days");
  EXPECT_NE(found[0].message.find("Stat days and shape card overlap by"), std::string::npos) << found[0].message;
}

TEST(LayoutOverlap, GlowOverTheHeadlineIsLeftAlone) {
  TestPackage package;
  Slide slide = twoLines();
  SlideElement glow = shape("glow");
  glow.opacity = 0.3;
  slide.elements = {glow};
  place(slide, "ios.iphone-6.9", "glow", {0.5, 0.12, 0.9, std::nullopt, std::nullopt, std::nullopt});
  EXPECT_TRUE(issues(layOut(package, slide, StoreTarget::iphone69()), "layout.overlap").empty());

  slide.elements[0].opacity = 1;
  slide.elements[0].blur = 0.1;
  EXPECT_TRUE(issues(layOut(package, slide, StoreTarget::iphone69()), "layout.overlap").empty());

  slide.elements[0].blur.reset();
  EXPECT_EQ(issues(layOut(package, slide, StoreTarget::iphone69()), "layout.overlap").size(), 1u);
}

TEST(LayoutOverlap, ElementLayeredBelowByHandIsOnPurpose) {
  TestPackage package;
  Slide slide = twoLines();
  slide.elements = {shape("card"), stat("days", "21 days")};
  place(slide, "ios.iphone-6.9", "card", {0.5, 0.7, 0.5, std::nullopt, std::nullopt, std::nullopt});
  place(slide, "ios.iphone-6.9", "days", {0.5, 0.7, 0.4, std::nullopt, std::nullopt, std::nullopt});
  slide.elements[0].z = 1.5;
  EXPECT_TRUE(issues(layOut(package, slide, StoreTarget::iphone69()), "layout.overlap").empty());
  // Under the words too: a card with a z below the texts' is drawn under them.
  place(slide, "ios.iphone-6.9", "card", {0.5, 0.12, 0.9, std::nullopt, std::nullopt, std::nullopt});
  slide.elements[0].z = 0.5;
  EXPECT_TRUE(issues(layOut(package, slide, StoreTarget::iphone69()), "layout.overlap").empty());
}

Slide deviceSlide(const TestPackage& package, Archetype archetype) {
  package.capture("captures/home.png", 1320, 2868);
  Slide slide = twoLines();
  slide.archetype = archetype;
  slide.device = showing("captures/home.png");
  return slide;
}

TEST(DeviceCropped, ScreenHalfOffTheCanvasIsReportedWithAPlacementThatShowsItWhole) {
  TestPackage package;
  Slide slide = deviceSlide(package, Archetype::hero);
  place(slide, "play.phone", "device", {0.5, 1.0, 0.8, std::nullopt, std::nullopt, std::nullopt});
  ComposedSlide c = layOut(package, slide, StoreTarget::playPhone());
  auto found = issues(c, "device.cropped");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].severity, Issue::Severity::info);
  EXPECT_EQ(found[0].element, "slide:s/device");
  EXPECT_EQ(found[0].target, "play.phone");
  const std::string& m = found[0].message;
  EXPECT_NE(m.find("Device on play.phone: the bottom edge of the canvas hides"), std::string::npos) << m;
  EXPECT_NE(m.find("overrides.play.phone.placements.device"), std::string::npos) << m;
  EXPECT_NE(m.find("shows it whole"), std::string::npos) << m;
}

TEST(DeviceCropped, IslandCutByTheTopEdgeIsReportedThoughLittleIsHidden) {
  TestPackage package;
  Slide slide = deviceSlide(package, Archetype::deviceTop);
  // Where the island lies when the body's top touches the canvas's: lift the body by a little
  // less than the island's bottom, so the edge slices it but hides almost none of the screen.
  place(slide, "ios.iphone-6.9", "device", {0.5, 0.4, 0.8, std::nullopt, std::nullopt, std::nullopt});
  const ComposedSlide first = layOut(package, slide, StoreTarget::iphone69());
  const ElementLayout* body = first.element("device", "s");
  ASSERT_NE(body, nullptr);
  const Rect frame = body->frame;
  auto camera = std::get<DeviceContent>(body->content).renderer.parts(frame.offsetBy(0, -frame.minY())).camera;
  ASSERT_TRUE(camera.has_value());
  const double lift = camera->maxY() - 4;
  place(slide, "ios.iphone-6.9", "device",
        {0.5, (frame.height / 2 - lift) / 2868, 0.8, std::nullopt, std::nullopt, std::nullopt});
  ComposedSlide c = layOut(package, slide, StoreTarget::iphone69());
  auto found = issues(c, "device.cropped");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_NE(found[0].message.find("cuts through its camera"), std::string::npos) << found[0].message;
}

TEST(DeviceCropped, DeviceInFullViewOrBleedingALittleIsQuiet) {
  TestPackage package;
  Slide slide = deviceSlide(package, Archetype::hero);
  place(slide, "ios.iphone-6.9", "device", {0.5, 0.6, 0.5, std::nullopt, std::nullopt, std::nullopt});
  EXPECT_TRUE(issues(layOut(package, slide, StoreTarget::iphone69()), "device.cropped").empty());
  place(slide, "ios.iphone-6.9", "device", {0.5, 0.75, 0.8, std::nullopt, std::nullopt, std::nullopt});
  EXPECT_TRUE(issues(layOut(package, slide, StoreTarget::iphone69()), "device.cropped").empty());
}

}  // namespace
}  // namespace vorno::placement_checks_test
