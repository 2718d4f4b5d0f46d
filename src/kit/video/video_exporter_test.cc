#include "kit/video/video_exporter.h"

#include "kit/model/creative.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "tests/ffprobe.h"
#include "tests/creative_project.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vorno::video_exporter_test {
namespace {

namespace fs = std::filesystem;
using testing::probeVideo;
using testing::VideoProbe;

// A canvas at a twentieth of its size, in even numbers as video needs, safe area in proportion:
// a loop of a second draws in moments.
StoreTarget small(const StoreTarget& canvas) {
  StoreTarget out = canvas;
  out.width = canvas.width / 20;
  out.height = canvas.height / 20;
  if (out.safeArea)
    out.safeArea = Rect{canvas.safeArea->x / 20, canvas.safeArea->y / 20, canvas.safeArea->width / 20,
                        canvas.safeArea->height / 20};
  return out;
}

Project projectWith(const std::string& creative) { return testing::projectWithCreatives(creative); }

std::string creativeJSON(const std::string& canvas, const std::string& motion) {
  return R"({"canvas": ")" + canvas + R"(", "id": "loop", "headline": "Your week, **sorted**", "motion": )" + motion +
         "}";
}

bool hasSeam(const std::vector<Issue>& issues) {
  for (const Issue& issue : issues)
    if (issue.code == "motion.seam") return true;
  return false;
}

class VideoExporterTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(testing::ffprobeAvailable()) << "ffprobe is installed by scripts/setup.sh"; }

  std::vector<Issue> write(const Project& project, const StoreTarget* canvas = nullptr,
                           const VideoExporter::Progress& progress = {}) {
    return exporter_.write(project, folder_.path().string(), project.creatives.front(), "en-US",
                           {folder_.path(), "loop.mp4"}, progress, canvas);
  }
  std::string file() const { return (folder_.path() / "loop.mp4").string(); }

  testing::TempFolder folder_{"vorno-video"};
  VideoExporter exporter_;
};

TEST_F(VideoExporterTest, TheVideoIsHighProfileBT709WithAKeyFrameEverySecondAndItsIndexFirst) {
  const StoreTarget canvas = small(StoreTarget::appStoreHeader());
  Project project = projectWith(creativeJSON("ios.header", R"({"duration": 2.5,
      "waves": {"headline": [{"property": "y", "amplitude": 0.05, "cycles": 1}]}})"));
  write(project, &canvas);
  VideoProbe probe = probeVideo(file());
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.storeFormatMismatches(), "");
  EXPECT_EQ(probe.width, canvas.width);
  EXPECT_EQ(probe.height, canvas.height);
  EXPECT_EQ(probe.frameCount, 75);
  EXPECT_NEAR(probe.duration, 2.5, 0.02);
  EXPECT_LE(probe.longestKeyFrameGap(), 1.0 + 1e-6);
  EXPECT_GE(probe.keyFrameTimes.size(), 3u);
  EXPECT_TRUE(probe.moovBeforeMdat);
}

TEST_F(VideoExporterTest, ASearchResultsCreativeIsWrittenAt3072By2048WhateverItsCanvasSays) {
  EXPECT_EQ(VideoExporter::videoSize(StoreTarget::appStoreSearch()), (Size{3072, 2048}));
  EXPECT_EQ(VideoExporter::videoSize(StoreTarget::appStoreHeader()), (Size{3840, 1646}));
  // One frame at full size: the canvas is 3840 × 2560, the video four fifths of it.
  Project project = projectWith(creativeJSON("ios.search-results", R"({"duration": 0.02, "fps": 30})"));
  write(project);
  VideoProbe probe = probeVideo(file());
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.width, 3072);
  EXPECT_EQ(probe.height, 2048);
}

TEST_F(VideoExporterTest, AFrameCountOfOneMakesAOneFrameVideo) {
  const StoreTarget canvas = small(StoreTarget::appStoreHeader());
  Project project = projectWith(creativeJSON("ios.header", R"({"duration": 0.02, "fps": 30})"));
  ASSERT_EQ(project.creatives.front().motion->frameCount(), 1);
  write(project, &canvas);
  VideoProbe probe = probeVideo(file());
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.frameCount, 1);
}

TEST_F(VideoExporterTest, ATrackThatDoesNotReturnToItsStartGivesASeamIssueButStillAFile) {
  const StoreTarget canvas = small(StoreTarget::appStoreHeader());
  Project project = projectWith(creativeJSON("ios.header", R"({"duration": 1,
      "tracks": {"headline": [{"t": 0, "y": 0.3}, {"t": 1, "y": 0.7}]}})"));
  std::vector<Issue> issues = write(project, &canvas);
  ASSERT_TRUE(hasSeam(issues));
  const Issue& seam = issues.front();
  EXPECT_EQ(seam.severity, Issue::Severity::warning);
  EXPECT_EQ(seam.message,
            "The loop jumps: the frame after the last isn't the first. End every track where it starts, or use waves "
            "(whole cycles) and scenes.");
  EXPECT_EQ(seam.slide, "loop");
  VideoProbe probe = probeVideo(file());
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.frameCount, 30);
}

TEST_F(VideoExporterTest, AWaveWithWholeCyclesGivesNoSuchIssue) {
  const StoreTarget canvas = small(StoreTarget::appStoreHeader());
  Project project = projectWith(creativeJSON("ios.header", R"({"duration": 1,
      "waves": {"headline": [{"property": "y", "amplitude": 0.08, "cycles": 2, "phase": 0.25}],
                "camera": [{"property": "scale", "amplitude": 0.05, "cycles": 1}]}})"));
  EXPECT_FALSE(hasSeam(write(project, &canvas)));
  EXPECT_TRUE(fs::exists(file()));
}

TEST_F(VideoExporterTest, ALoopOfScenesAndATrackThatReturnsGivesNoSeam) {
  const StoreTarget canvas = small(StoreTarget::appStoreHeader());
  Project project = projectWith(creativeJSON("ios.header", R"({"fps": 30,
      "scenes": [{"duration": 0.6, "texts": {"headline": "First"}}, {"duration": 0.6, "texts": {"headline": "Second"}}],
      "transition": {"style": "rise", "duration": 0.3},
      "tracks": {"headline": [{"t": 0, "x": 0.5}, {"t": 0.6, "x": 0.45}, {"t": 1.2, "x": 0.5}]}})"));
  EXPECT_FALSE(hasSeam(write(project, &canvas)));
}

TEST_F(VideoExporterTest, ProgressCountsTheFramesUpToTheTotalInOrder) {
  const StoreTarget canvas = small(StoreTarget::appStoreHeader());
  Project project = projectWith(creativeJSON("ios.header", R"({"duration": 0.5, "fps": 30})"));
  std::vector<std::pair<int, int>> calls;
  write(project, &canvas, [&](int done, int total) { calls.emplace_back(done, total); });
  ASSERT_FALSE(calls.empty());
  for (size_t i = 1; i < calls.size(); ++i) EXPECT_GT(calls[i].first, calls[i - 1].first);
  EXPECT_EQ(calls.back(), std::make_pair(15, 15));
  EXPECT_LE(calls.front().first, 12);  // a batch is never more than 12 frames
}

TEST_F(VideoExporterTest, ACreativeThatCannotMoveIsRefusedWithItsSentence) {
  Project universal = projectWith(creativeJSON("ios.universal", R"({"duration": 5})"));
  try {
    write(universal);
    FAIL() << "the universal canvas has no video";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(),
              "Universal creative art is a still: App Store Connect takes video for the header and search results only.");
  }
  Project still = projectWith(R"({"canvas": "ios.header", "id": "calm", "headline": "Calm"})");
  try {
    write(still);
    FAIL() << "a still has no loop";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "calm has no motion.");
  }
  Project unknown = projectWith(creativeJSON("ios.billboard", R"({"duration": 5})"));
  try {
    write(unknown);
    FAIL() << "an unknown canvas has no size";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Creative loop is on canvas ios.billboard, which Vorno doesn't know.");
  }
  EXPECT_FALSE(fs::exists(file()));
}

TEST(VideoExporter, ABatchIsAtLeastTwoAndAtMostTwelveFrames) {
  EXPECT_GE(VideoExporter::batchSize(), 2);
  EXPECT_LE(VideoExporter::batchSize(), 12);
}

}  // namespace
}  // namespace vorno::video_exporter_test
