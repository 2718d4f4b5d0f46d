// A device whose capture is a screen recording plays it: each moment of the creative shows the
// recording's picture at that time, looped over the recording's length.
#include "kit/image/canvas.h"
#include "kit/image/images.h"
#include "kit/model/creative.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "kit/motion/motion_renderer.h"
#include "kit/video/video_writer.h"
#include "tests/creative_project.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace vorno::recording_playback_test {
namespace {

namespace fs = std::filesystem;

// A 3 s phone recording at 10 fps: red for a second, then green, then blue.
void recordThreeColours(const fs::path& path) {
  fs::create_directories(path.parent_path());
  VideoWriter writer(path.string(), 330, 716, 10);
  const double colours[3][3] = {{0.9, 0.1, 0.1}, {0.1, 0.8, 0.2}, {0.1, 0.2, 0.9}};
  for (int frame = 0; frame < 30; ++frame) {
    Canvas canvas = Canvas::opaque(330, 716);
    const double* c = colours[frame / 10];
    cairo_set_source_rgb(canvas.context(), c[0], c[1], c[2]);
    cairo_paint(canvas.context());
    writer.append(canvas.finish());
  }
  writer.finish();
}

class RecordingPlayback : public ::testing::Test {
 protected:
  RecordingPlayback() {
    recordThreeColours(folder_.path() / "captures/en-US/flow.mp4");
    project_ = testing::projectWithCreatives(R"({"canvas": "ios.header", "id": "play", "headline": "Watch it",
        "device": {"screenshot": "captures/en-US/flow.mp4", "frame": "none"}, "motion": {"duration": 6}})");
  }
  Image at(double seconds) {
    return motion_.frame(project_, folder_.path().string(), project_.creatives.front(), "en-US", seconds, 0.25).image;
  }

  testing::TempFolder folder_{"vorno-recording"};
  Project project_;
  MotionRenderer motion_;
};

TEST_F(RecordingPlayback, MomentsOneSecondApartShowDifferentPicturesOfTheRecording) {
  const Image first = at(0.5), second = at(1.5), third = at(2.5);
  EXPECT_GT(Images::pixelDifference(first, second), 0.02);
  EXPECT_GT(Images::pixelDifference(second, third), 0.02);
  // Within one second of the recording the picture holds.
  EXPECT_LT(Images::pixelDifference(first, at(0.8)), 0.002);
}

TEST_F(RecordingPlayback, ATimePastTheRecordingsEndWraps) {
  // The creative's loop is 6 s, the recording 3 s: at 4.5 s the recording is at 1.5 s again.
  EXPECT_LT(Images::pixelDifference(at(4.5), at(1.5)), 0.002);
  EXPECT_GT(Images::pixelDifference(at(4.5), at(0.5)), 0.02);
}

TEST_F(RecordingPlayback, TheDeviceLaysOutAtTheRecordingsSize) {
  std::optional<ComposedSlide> composed =
      motion_.layout(project_, folder_.path().string(), project_.creatives.front(), "en-US", 1.0);
  ASSERT_TRUE(composed);
  for (const Issue& issue : composed->issues) EXPECT_NE(issue.code, "capture.missing") << issue.message;
  const ElementLayout* device = composed->element("device", "play");
  ASSERT_NE(device, nullptr);
  const auto& content = std::get<DeviceContent>(device->content);
  ASSERT_TRUE(content.capture);
  EXPECT_TRUE(content.capture->ends_with("flow.mp4@t=1.0000")) << *content.capture;
}

TEST_F(RecordingPlayback, AStillPictureShowsTheRecordingsFirstMoment) {
  Project still = testing::projectWithCreatives(R"({"canvas": "ios.header", "id": "play", "headline": "Watch it",
      "device": {"screenshot": "captures/en-US/flow.mp4", "frame": "none"}})");
  RenderOutput output = SlideRenderer().render(still, folder_.path().string(), still.creatives.front().slide,
                                               StoreTarget::appStoreHeader(), "en-US", 0.25);
  for (const Issue& issue : output.report.issues) EXPECT_NE(issue.code, "capture.missing") << issue.message;
  EXPECT_LT(Images::pixelDifference(output.image, at(0.5)), 0.002);
  EXPECT_GT(Images::pixelDifference(output.image, at(1.5)), 0.02);
}

}  // namespace
}  // namespace vorno::recording_playback_test
