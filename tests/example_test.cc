// The bundled example package: it loads, it is stored in exactly the form vorno writes (a round
// trip through the store changes no byte), it shows every kind of thing the demo is meant to
// show, its captures are there at their phones' exact sizes, and its layouts are clean.
#include "kit/image/images.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace vorno::testing::example_test {
namespace {

std::string exampleRoot() { return sourceDir() + "/examples/Demo.vorno"; }

std::string fileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

/// The device slots of the example's slides: their own, their free elements' and the spreads'.
std::vector<DeviceSlot> deviceSlots(const Project& project) {
  std::vector<DeviceSlot> slots;
  auto fromElements = [&](const std::vector<SlideElement>& elements) {
    for (const auto& e : elements)
      if (e.device) slots.push_back(*e.device);
  };
  for (const auto& slide : project.slides) {
    if (slide.device) slots.push_back(*slide.device);
    fromElements(slide.elements);
  }
  for (const auto& spread : project.spreads) fromElements(spread.elements);
  return slots;
}

TEST(ExamplePackage, RoundTripKeepsEveryByte) {
  FileProjectStore store(exampleRoot());
  Project project = store.load();
  std::string bytes = fileText(store.project().string());
  EXPECT_EQ(FileProjectStore::encode(project), bytes);
  Project again = FileProjectStore::decode(FileProjectStore::encode(project));
  EXPECT_EQ(again, project);
}

TEST(ExamplePackage, HasWhatTheDemoShows) {
  Project project = FileProjectStore(exampleRoot()).load();
  EXPECT_EQ(project.slides.size(), 7u);
  EXPECT_NE(std::find(project.locales.begin(), project.locales.end(), "ja-JP"), project.locales.end());
  EXPECT_GE(project.locales.size(), 2u);

  std::set<Archetype> archetypes;
  std::set<EmphasisStyle> emphasis;
  if (project.theme.emphasisStyle) emphasis.insert(*project.theme.emphasisStyle);
  int components = 0;
  for (const auto& slide : project.slides) {
    archetypes.insert(slide.archetype);
    if (slide.emphasisStyle) emphasis.insert(*slide.emphasisStyle);
    for (const auto& e : slide.elements) components += e.kind == SlideElement::Kind::component;
  }
  EXPECT_EQ(archetypes, (std::set<Archetype>{Archetype::hero, Archetype::deviceTop, Archetype::textOnly}));
  EXPECT_EQ(emphasis, (std::set<EmphasisStyle>{EmphasisStyle::color, EmphasisStyle::highlight, EmphasisStyle::marker,
                                               EmphasisStyle::sticker}));
  EXPECT_GE(components, 2);

  // A spread whose device stands across the seam between its two slides.
  ASSERT_EQ(project.spreads.size(), 1u);
  const Spread& spread = project.spreads[0];
  EXPECT_EQ(spread.slides.size(), 2u);
  ASSERT_EQ(spread.elements.size(), 1u);
  EXPECT_EQ(spread.elements[0].kind, SlideElement::Kind::device);
  EXPECT_DOUBLE_EQ(spread.overrides.at("ios.iphone-6.9").placements->at("map-phone").x, 1.0);

  ASSERT_EQ(project.creatives.size(), 1u);
  EXPECT_EQ(project.creatives[0].canvas, "ios.header");
}

TEST(ExamplePackage, EveryCaptureIsThereAtItsPhonesExactSize) {
  Project project = FileProjectStore(exampleRoot()).load();
  // Slides are shown on the project's targets, a creative on its own canvas.
  std::vector<std::pair<DeviceSlot, const StoreTarget*>> uses;
  for (const DeviceSlot& slot : deviceSlots(project))
    for (const std::string& targetID : project.targets) uses.emplace_back(slot, StoreTarget::named(targetID));
  for (const Creative& creative : project.creatives)
    if (creative.slide.device) uses.emplace_back(*creative.slide.device, StoreTarget::canvas(creative.canvas));
  int checked = 0;
  for (const auto& [slot, target] : uses)
    for (const std::string& locale : project.locales) {
      ASSERT_NE(target, nullptr);
      std::optional<std::string> path = slot.screenshot.resolve(*target, locale);
      ASSERT_TRUE(path) << target->id;
      std::string file = exampleRoot() + "/" + *path;
      std::optional<Size> size = Images::pixelSize(file);
      ASSERT_TRUE(size) << file;
      // iPhone 17 Pro Max on the App Store's targets, a 6.2-inch Android phone on Google Play.
      Size expected = target->platform == Platform::ios ? Size{1320, 2868} : Size{1080, 2340};
      EXPECT_EQ(*size, expected) << file;
      EXPECT_LT(std::filesystem::file_size(file), 400u * 1024) << file;
      ++checked;
    }
  // Four slides and the spread on three targets, and the header, each in two locales.
  EXPECT_EQ(checked, 5 * 3 * 2 + 2);
}

TEST(ExamplePackage, LayoutsHaveNoWarningsAndEnoughContrast) {
  Project project = FileProjectStore(exampleRoot()).load();
  SlideLayoutEngine engine;
  auto check = [&](const Slide& slide, const StoreTarget& target, const std::string& locale) {
    ComposedSlide composed = engine.layout(project, exampleRoot(), slide, target, locale);
    for (const Issue& issue : composed.issues) EXPECT_EQ(issue.severity, Issue::Severity::info) << issue.description();
    return composed;
  };
  for (const std::string& locale : project.locales) {
    for (const std::string& targetID : project.targets)
      for (const Slide& slide : project.slides) {
        ComposedSlide composed = check(slide, *StoreTarget::named(targetID), locale);
        EXPECT_TRUE(composed.frameID || !slide.device) << slide.id << " on " << targetID << " shows no device";
      }
    for (const Creative& creative : project.creatives)
      check(creative.slide, *StoreTarget::canvas(creative.canvas), locale);
  }
}

TEST(ExamplePackage, NothingCoversTheWordsAndNoDeviceIsCutOnAnyTargetOrLocale) {
  Project project = FileProjectStore(exampleRoot()).load();
  SlideLayoutEngine engine;
  for (const std::string& locale : project.locales)
    for (const std::string& targetID : project.targets)
      for (const Slide& slide : project.slides)
        for (const Issue& issue : engine.layout(project, exampleRoot(), slide, *StoreTarget::named(targetID), locale).issues)
          EXPECT_TRUE(issue.code != "layout.overlap" && issue.code != "device.cropped") << issue.description();
}

}  // namespace
}  // namespace vorno::testing::example_test
