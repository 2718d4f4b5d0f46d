#include "kit/model/motion.h"
#include "kit/model/slide.h"

#include <gtest/gtest.h>

namespace vorno::slide_moment_test {
namespace {

LocalizedText english(const std::string& text) { return LocalizedText{{{"en-US", text}}}; }

Slide slideWithEverything() {
  Slide slide;
  slide.id = "art";
  slide.headline = english("Old headline");
  DeviceSlot device;
  device.screenshot = ScreenshotRef::path("captures/en-US/home.png");
  slide.device = device;
  SlideElement caption;
  caption.id = "caption";
  caption.kind = SlideElement::Kind::text;
  caption.text = english("Old caption");
  SlideElement rating;
  rating.id = "rating";
  rating.kind = SlideElement::Kind::component;
  rating.component = ComponentSpec{};
  rating.component->title = english("Old title");
  SlideElement second;
  second.id = "second";
  second.kind = SlideElement::Kind::device;
  second.device = device;
  SlideElement clip;
  clip.id = "clip";
  clip.kind = SlideElement::Kind::image;
  clip.image = "assets/loop.MP4";
  slide.elements = {caption, rating, second, clip};
  return slide;
}

TEST(SlideMoment, ASceneSwapsTheSlidesTextsAndTheTextsOfItsElements) {
  MotionScene scene;
  scene.texts = std::map<std::string, LocalizedText>{{"headline", english("New headline")},
                                                     {"subhead", english("New subhead")},
                                                     {"caption", english("New caption")},
                                                     {"rating", english("New title")},
                                                     {"nobody", english("Passed over")}};
  Slide slide = slideWithEverything().applying(scene);
  EXPECT_EQ(slide.headline, english("New headline"));
  EXPECT_EQ(slide.subhead, english("New subhead"));
  EXPECT_EQ(slide.elements[0].text, english("New caption"));
  EXPECT_EQ(slide.elements[1].component->title, english("New title"));
  EXPECT_EQ(slide.elements.size(), 4u);
}

TEST(SlideMoment, ASceneSwapsTheCapturesOfTheSlidesDeviceAndOfDeviceElements) {
  MotionScene scene;
  scene.screens = std::map<std::string, ScreenshotRef>{{"device", ScreenshotRef::path("captures/en-US/list.png")},
                                                       {"second", ScreenshotRef::path("captures/en-US/detail.png")},
                                                       {"caption", ScreenshotRef::path("captures/en-US/no.png")}};
  Slide slide = slideWithEverything().applying(scene);
  EXPECT_EQ(slide.device->screenshot, ScreenshotRef::path("captures/en-US/list.png"));
  EXPECT_EQ(slide.elements[2].device->screenshot, ScreenshotRef::path("captures/en-US/detail.png"));
  // A text element has no capture: the entry is passed over.
  EXPECT_FALSE(slide.elements[0].device);
}

TEST(SlideMoment, ASceneWithoutContentLeavesTheSlideAsItIs) {
  EXPECT_EQ(slideWithEverything().applying(MotionScene{}), slideWithEverything());
}

TEST(SlideMoment, RecordingsAreStampedWithTheTimeAndStillsStay) {
  Slide slide = slideWithEverything();
  slide.device->screenshot = ScreenshotRef::byTarget({{"ios", "captures/en-US/flow.mov"}, {"android", "a.png"}});
  Slide moment = slide.atTime(2.5);
  EXPECT_EQ(moment.device->screenshot,
            ScreenshotRef::byTarget({{"ios", "captures/en-US/flow.mov@t=2.5000"}, {"android", "a.png"}}));
  EXPECT_EQ(*moment.elements[3].image, "assets/loop.MP4@t=2.5000");
  EXPECT_EQ(moment.elements[2].device->screenshot, ScreenshotRef::path("captures/en-US/home.png"));
}

TEST(SlideMoment, OnlyFramePathsUseFrames) {
  Slide slide = slideWithEverything();
  EXPECT_FALSE(slide.usesFrames());
  slide.elements[1].component->image = "assets/icon-{frame}.png";
  EXPECT_TRUE(slide.usesFrames());
  EXPECT_EQ(*slide.atFrame(7).elements[1].component->image, "assets/icon-0007.png");
}

}  // namespace
}  // namespace vorno::slide_moment_test
