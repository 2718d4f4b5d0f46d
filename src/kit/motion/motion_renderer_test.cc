#include "kit/motion/motion_renderer.h"

#include "kit/model/creative.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_composer.h"
#include "kit/layout/layout_test_support.h"
#include "tests/creative_project.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace vorno::motion_renderer_test {
namespace {

namespace fs = std::filesystem;

// A project whose only creative is `creative` (JSON), on the header canvas unless it says.
Project projectWith(const std::string& creative) { return testing::projectWithCreatives(creative); }

std::vector<const ElementLayout*> withID(const ComposedSlide& composed, const std::string& id) {
  std::vector<const ElementLayout*> found;
  for (const ElementLayout& element : composed.elements)
    if (element.id == id) found.push_back(&element);
  return found;
}

class MotionRendererTest : public ::testing::Test {
 protected:
  std::string root() const { return package_.root(); }
  ComposedSlide layoutAt(const Project& project, double time) {
    std::optional<ComposedSlide> composed = motion_.layout(project, root(), project.creatives.front(), "en-US", time);
    EXPECT_TRUE(composed);
    return composed ? *composed : ComposedSlide{};
  }

  testing::TestPackage package_;
  MotionRenderer motion_;
};

const char* twoScenes = R"({"canvas": "ios.header", "id": "story", "headline": "Plan the week",
  "elements": [{"id": "badge", "kind": "shape", "shape": "capsule", "fill": "#3366FF"}],
  "motion": {"scenes": [{"duration": 3, "texts": {"headline": "Plan the whole week ahead"}},
                        {"duration": 3, "texts": {"headline": "Done"}}],
             "transition": {"style": "rise", "duration": 1}}})";

TEST_F(MotionRendererTest, ASingleSceneMotionNeverHandsOverAndCapsComeFromTheOneScene) {
  Project project = projectWith(R"({"canvas": "ios.header", "id": "one", "headline": "Short",
      "motion": {"scenes": [{"duration": 6, "texts": {"headline": "A much longer headline for the one scene"}}]}})");
  const Creative& creative = project.creatives.front();
  std::map<std::string, double> caps = motion_.textCaps(project, root(), creative, "en-US");
  ComposedSlide single = motion_.renderer().engine().layout(
      project, root(), creative.slide.applying(creative.motion->scenes->front()), StoreTarget::appStoreHeader(), "en-US");
  ASSERT_EQ(withID(single, "headline").size(), 1u);
  ASSERT_TRUE(caps.contains("headline"));
  EXPECT_DOUBLE_EQ(caps.at("headline"), withID(single, "headline").front()->text()->size);

  // Late in the scene, where two scenes would be handing over: one headline, never incoming.
  for (double time : {0.0, 5.5, 5.99}) {
    ComposedSlide composed = layoutAt(project, time);
    auto headlines = withID(composed, "headline");
    ASSERT_EQ(headlines.size(), 1u) << time;
    EXPECT_FALSE(headlines.front()->incoming);
    EXPECT_EQ(headlines.front()->text()->text, "A much longer headline for the one scene");
    EXPECT_DOUBLE_EQ(headlines.front()->fade, 1);
  }
}

TEST_F(MotionRendererTest, AtProgressZeroThePictureIsTheCurrentSceneAloneAndAtOneTheNextAlone) {
  Project project = projectWith(twoScenes);
  const Creative& creative = project.creatives.front();
  const Motion& motion = *creative.motion;
  auto sceneLayout = [&](size_t scene) {
    Slide slide = creative.slide.applying((*motion.scenes)[scene]);
    return motion_.renderer().engine().layout(project, root(), slide, StoreTarget::appStoreHeader(), "en-US");
  };
  const ComposedSlide first = sceneLayout(0), second = sceneLayout(1);

  ComposedSlide start = MotionComposer::apply(MotionFrame{}, MotionRenderer::handOver(first, second, 0, motion));
  auto headlines = withID(start, "headline");
  ASSERT_EQ(headlines.size(), 1u);
  EXPECT_EQ(headlines.front()->text()->text, "Plan the whole week ahead");
  EXPECT_FALSE(headlines.front()->incoming);

  ComposedSlide end = MotionComposer::apply(MotionFrame{}, MotionRenderer::handOver(first, second, 1, motion));
  headlines = withID(end, "headline");
  ASSERT_EQ(headlines.size(), 1u);
  EXPECT_EQ(headlines.front()->text()->text, "Done");
  EXPECT_TRUE(headlines.front()->incoming);
  EXPECT_DOUBLE_EQ(headlines.front()->fade, 1);
  // The arrival ends where the next scene's own layout puts it.
  EXPECT_NEAR(headlines.front()->frame.y, withID(second, "headline").front()->frame.y, 1e-9);
}

TEST_F(MotionRendererTest, AnElementAlikeInTwoScenesDoesNotFlickerDuringAHandOver) {
  Project project = projectWith(twoScenes);
  // The hand-over runs from 2 s to 3 s; through it the badge stays one, whole, in place.
  const ComposedSlide still = layoutAt(project, 0);
  const ElementLayout* badgeAtRest = withID(still, "badge").front();
  for (double time : {2.1, 2.3, 2.5, 2.7, 2.9}) {
    ComposedSlide composed = layoutAt(project, time);
    auto badges = withID(composed, "badge");
    ASSERT_EQ(badges.size(), 1u) << time;
    EXPECT_FALSE(badges.front()->incoming);
    EXPECT_DOUBLE_EQ(badges.front()->fade, 1) << time;
    EXPECT_EQ(badges.front()->frame, badgeAtRest->frame);
  }
  // The headline, whose words change, is handed over: the old one leaves, the new one arrives.
  ComposedSlide middle = layoutAt(project, 2.2);
  auto headlines = withID(middle, "headline");
  ASSERT_EQ(headlines.size(), 1u);  // the arrival hasn't begun at 0.2 of the hand-over
  EXPECT_LT(headlines.front()->fade, 1);
  ComposedSlide late = layoutAt(project, 2.9);
  headlines = withID(late, "headline");
  ASSERT_EQ(headlines.size(), 1u);  // the old one has gone by 0.45 of it
  EXPECT_TRUE(headlines.front()->incoming);
}

TEST_F(MotionRendererTest, AMovingElementThatLeavesTheSafeAreaAtThreePointTwoSecondsIsReportedAtThatMoment) {
  Project project = projectWith(R"({"canvas": "ios.header", "id": "drift", "headline": "Drift",
      "motion": {"duration": 8, "tracks": {"headline": [{"t": 0, "x": 0.5}, {"t": 3.2, "x": 0.95, "ease": "hold"},
                                                        {"t": 7, "x": 0.95}, {"t": 8, "x": 0.5}]}}})");
  auto safeAreaIssue = [](const ComposedSlide& composed) -> const Issue* {
    for (const Issue& issue : composed.issues)
      if (issue.code == "creative.safe-area" && issue.element == "slide:drift/headline") return &issue;
    return nullptr;
  };
  EXPECT_EQ(safeAreaIssue(layoutAt(project, 3.19)), nullptr);
  ComposedSlide moved = layoutAt(project, 3.2);
  const Issue* issue = safeAreaIssue(moved);
  ASSERT_NE(issue, nullptr);
  EXPECT_TRUE(issue->message.ends_with(" (at 3.20 s)")) << issue->message;
}

TEST_F(MotionRendererTest, AFramePathWithIndexTwelveReadsAsZeroZeroOneTwo) {
  Slide slide;
  slide.id = "seq";
  DeviceSlot device;
  device.screenshot = ScreenshotRef::path("captures/en-US/scroll-{frame}.png");
  slide.device = device;
  SlideElement picture;
  picture.id = "logo";
  picture.kind = SlideElement::Kind::image;
  picture.image = "assets/logo-{frame}.png";
  slide.elements.push_back(picture);
  ASSERT_TRUE(slide.usesFrames());

  Slide twelfth = slide.atFrame(12);
  EXPECT_EQ(std::get<std::string>(twelfth.device->screenshot.value), "captures/en-US/scroll-0012.png");
  EXPECT_EQ(*twelfth.elements.front().image, "assets/logo-0012.png");
  EXPECT_FALSE(twelfth.usesFrames());

  // Through the renderer: frame 12 of a 30 fps loop is at 0.4 s, and its device shows that file.
  for (const char* frame : {"0000", "0012"})
    package_.capture("captures/en-US/scroll-" + std::string(frame) + ".png", 1320, 2868);
  Project project = projectWith(R"({"canvas": "ios.header", "id": "seq", "headline": "Scroll",
      "device": {"screenshot": "captures/en-US/scroll-{frame}.png"}, "motion": {"duration": 5}})");
  ComposedSlide composed = layoutAt(project, 0.4);
  auto devices = withID(composed, "device");
  ASSERT_EQ(devices.size(), 1u);
  const auto& content = std::get<DeviceContent>(devices.front()->content);
  ASSERT_TRUE(content.capture);
  EXPECT_TRUE(content.capture->ends_with("scroll-0012.png")) << *content.capture;
}

TEST_F(MotionRendererTest, AFilmstripOfFiveFramesHasThreeColumnsAndTwoRowsAndOneOfSevenHasFourAndTwo) {
  EXPECT_EQ(MotionRenderer::filmstripColumns(5), 3);
  EXPECT_EQ(MotionRenderer::filmstripColumns(7), 4);
  EXPECT_EQ(MotionRenderer::filmstripColumns(4), 4);
  EXPECT_EQ(MotionRenderer::filmstripColumns(6), 3);

  Project project = projectWith(twoScenes);
  for (auto [count, columns, rows] : {std::tuple{5, 3, 2}, std::tuple{7, 4, 2}}) {
    MotionRenderer::Filmstrip strip = motion_.filmstrip(project, root(), project.creatives.front(), "en-US", count, 1200, false);
    const int tileWidth = (1200 - (columns + 1) * 24) / columns;
    const int tileHeight = static_cast<int>(tileWidth / (3840.0 / 1646.0));
    EXPECT_EQ(strip.image.width(), 1200);
    EXPECT_EQ(strip.image.height(), rows * (tileHeight + 54) + (rows + 1) * 24) << count;
    ASSERT_EQ(strip.times.size(), static_cast<size_t>(count));
    EXPECT_DOUBLE_EQ(strip.times[1], 6.0 / count);  // the loop is the scenes' 6 s
  }
  // Fewer than two frames still shows two.
  EXPECT_EQ(motion_.filmstrip(project, root(), project.creatives.front(), "en-US", 1, 600, false).times.size(), 2u);
}

}  // namespace
}  // namespace vorno::motion_renderer_test
