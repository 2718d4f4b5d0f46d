#include "kit/layout/free_space.h"
#include "kit/layout/placement_checks.h"
#include "kit/layout/placement_inheritance.h"

#include "kit/layout/layout_test_support.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/model/project_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace vorno::free_elements_test {
namespace {

using testing::TestPackage;
using testing::heroSlide;
using testing::projectWith;
using testing::text;

std::map<std::string, SlideOverride> placing(const std::string& target, const std::string& id, Placement p) {
  std::map<std::string, SlideOverride> overrides;
  overrides[target].placements = std::map<std::string, Placement>{{id, p}};
  return overrides;
}

TEST(FreeElementPlacement, IPhonePlacementServesTheIPadScaledToItsHeight) {
  const Placement onPhone{0.3, 0.7, 0.4, 0.1, std::nullopt, 5.0};
  auto found = freeElementPlacement("badge", StoreTarget::ipad13(), placing("ios.iphone-6.9", "badge", onPhone));
  ASSERT_TRUE(found.has_value());
  EXPECT_TRUE(found->second);
  const Placement& p = found->first;
  EXPECT_DOUBLE_EQ(p.x, 0.3);
  EXPECT_DOUBLE_EQ(p.y, 0.7);
  EXPECT_EQ(p.rotation, 5.0);
  // The iPad is the shorter canvas in pixels (2752 against 2868): the badge shrinks by that
  // ratio, and its width is then a fraction of the iPad's 2064.
  const double scale = 2752.0 / 2868.0;
  EXPECT_NEAR(p.width, 0.4 * 1320 * scale / 2064, 1e-9);
  EXPECT_NEAR(*p.height, 0.1 * 2868 * scale / 2752, 1e-9);
}

TEST(FreeElementPlacement, SameFamilyPlacementIsUsedAsItStands) {
  const Placement onPhone{0.3, 0.7, 0.4, std::nullopt, std::nullopt, std::nullopt};
  auto found = freeElementPlacement("badge", StoreTarget::playPhone(), placing("ios.iphone-6.9", "badge", onPhone));
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(found->first, onPhone);
}

TEST(FreeElementPlacement, NearestCanvasInShapeLendsFirst) {
  auto overrides = placing("ios.iphone-6.9", "badge", {0.2, 0.2, 0.2, std::nullopt, std::nullopt, std::nullopt});
  overrides["ios.iphone-duo"].placements = std::map<std::string, Placement>{
      {"badge", {0.8, 0.8, 0.3, std::nullopt, std::nullopt, std::nullopt}}};
  // play.tablet-10 is nothing like either phone; the Duo's canvas is the closer to it.
  auto found = freeElementPlacement("badge", StoreTarget::playTablet10(), overrides);
  ASSERT_TRUE(found.has_value());
  EXPECT_DOUBLE_EQ(found->first.x, 0.8);
}

TEST(FreeElementPlacement, ElementPlacedNowhereHasNoneAndCreativesNeverBorrow) {
  auto overrides = placing("ios.iphone-6.9", "badge", {0.2, 0.2, 0.2, std::nullopt, std::nullopt, std::nullopt});
  EXPECT_FALSE(freeElementPlacement("other", StoreTarget::ipad13(), overrides));
  EXPECT_FALSE(freeElementPlacement("badge", StoreTarget::appStoreHeader(), overrides));
}

TEST(FreeSpace, SecondElementGoesBesideTheDeviceNotOverTheFirst) {
  ElementLayout words;
  words.id = "headline";
  words.owner = ElementOwner::slide("s");
  words.kind = ElementLayout::Kind::text;
  words.frame = {100, 100, 800, 200};
  ElementLayout device;
  device.id = "device";
  device.owner = ElementOwner::slide("s");
  device.kind = ElementLayout::Kind::device;
  device.frame = {300, 400, 400, 900};
  FreeSpace space({0, 0, 1000, 1400}, {words, device});
  FreeSpace::Spot first = space.find({300, 100});
  EXPECT_DOUBLE_EQ(first.scale, 1);
  EXPECT_NEAR(first.center.x, 500, 1e-9);
  EXPECT_GT(first.center.y - 50, 300);  // under the words
  EXPECT_LT(first.center.y, 400);
  space.occupy({first.center.x - 150, first.center.y - 50, 300, 100});
  FreeSpace::Spot second = space.find({200, 100});
  EXPECT_LT(second.center.x + 100, 300 + 1e-9);  // in the margin left of the device
}

// Free elements written the way an agent writes them: ids, kinds and content, no placements.
Project agentProject() {
  Slide slide = heroSlide("stats", "Plan the week\nin one glance");
  slide.eyebrow = text("Crews");
  slide.subhead = text("Everything your crews need, in one place.");
  SlideElement days;
  days.id = "days";
  days.kind = SlideElement::Kind::component;
  days.component = ComponentSpec{};
  days.component->type = ComponentSpec::Kind::stat;
  days.component->title = text("21 days");
  days.component->subtitle = text("saved a year");
  SlideElement badge;
  badge.id = "badge";
  badge.kind = SlideElement::Kind::component;
  badge.component = ComponentSpec{};
  badge.component->type = ComponentSpec::Kind::badge;
  badge.component->title = text("Editor's pick");
  SlideElement tip;
  tip.id = "tip";
  tip.kind = SlideElement::Kind::text;
  tip.text = text("Drag to reschedule");
  tip.role = TextRole::caption;
  slide.elements = {days, badge, tip};
  Project project = projectWith({slide});
  project.targets = {"ios.iphone-6.9", "ios.ipad-13", "play.phone"};
  return project;
}

TEST(FreeElements, DefaultsOfSeveralElementsTakeFreeSpaceOnEveryTarget) {
  TestPackage package;
  package.capture("captures/week.png", 1320, 2868);
  Project project = agentProject();
  project.slides[0].device = testing::showing("captures/week.png");
  // Through the document's JSON, as an agent's slide_upsert would write it.
  project = decodeProject(nlohmann::json::parse(encodeProject(project).dump()));
  SlideLayoutEngine engine;
  for (const std::string& id : project.targets) {
    const StoreTarget& target = *StoreTarget::named(id);
    ComposedSlide c = engine.layout(project, package.root(), project.slides[0], target, "en-US");
    for (const Issue& issue : c.issues) EXPECT_NE(issue.code, "layout.overlap") << issue.description();
    std::vector<Rect> words, free;
    for (const auto& e : c.elements) {
      if (e.kind == ElementLayout::Kind::text && isSlideTextOrDevice(e)) words.push_back(e.inkBounds());
      if (!isSlideTextOrDevice(e)) free.push_back(e.rotatedBounds());
    }
    ASSERT_EQ(free.size(), 3u) << id;
    const Rect canvas{0, 0, static_cast<double>(target.width), static_cast<double>(target.height)};
    for (size_t i = 0; i < free.size(); ++i) {
      EXPECT_TRUE(canvas.contains(free[i])) << id << " element " << i;
      for (const Rect& w : words) EXPECT_FALSE(free[i].intersects(w)) << id << " element " << i << " covers words";
      for (size_t j = i + 1; j < free.size(); ++j)
        EXPECT_FALSE(free[i].intersects(free[j])) << id << " elements " << i << " and " << j;
    }
  }
}

TEST(FreeElements, ElementPlacedOnlyOnTheIPhoneKeepsItsPlaceOnTheIPad) {
  TestPackage package;
  Project project = agentProject();
  project.slides[0].overrides =
      placing("ios.iphone-6.9", "badge", {0.25, 0.8, 0.4, std::nullopt, std::nullopt, std::nullopt});
  ComposedSlide c = SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::ipad13(), "en-US");
  const ElementLayout* badge = c.element("badge", "stats");
  ASSERT_NE(badge, nullptr);
  EXPECT_TRUE(badge->isManual);
  EXPECT_NEAR(badge->frame.midX(), 0.25 * 2064, 1);
  EXPECT_NEAR(badge->frame.midY(), 0.8 * 2752, 1);
  EXPECT_NEAR(badge->frame.width, 0.4 * 1320 * 2752.0 / 2868.0, 1);
}

}  // namespace
}  // namespace vorno::free_elements_test
