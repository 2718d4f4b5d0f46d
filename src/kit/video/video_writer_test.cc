#include "kit/video/video_writer.h"

#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "tests/ffprobe.h"
#include "tests/temp_folder.h"
#include "tests/video_pictures.h"
#include "tests/error_of.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

namespace vorno::video_writer_test {
namespace {

using testing::probeVideo;
using testing::solidPicture;
using testing::TempFolder;
using testing::VideoProbe;

namespace fs = std::filesystem;

#define REQUIRE_FFPROBE() \
  if (!testing::ffprobeAvailable()) GTEST_SKIP() << "ffprobe isn't installed; scripts/setup.sh installs it"

// Frames that change every one, so the encoder has something to do and can't fold them together.
void writeMoving(const std::string& path, int width, int height, int fps, int count) {
  VideoWriter writer(path, width, height, fps);
  for (int i = 0; i < count; ++i)
    writer.append(solidPicture(width, height, {(i * 7) % 256, (i * 13) % 256, 255 - (i * 5) % 256}));
  EXPECT_EQ(writer.framesWritten(), count);
  writer.finish();
}

TEST(VideoWriter, A1920By1080VideoAt30FpsAsksFor7464960BitsPerSecond) {
  EXPECT_EQ(VideoWriter::averageBitRate(1920, 1080, 30), 7464960);
  // Truncated, not rounded: 0.12 × 101 × 7 × 30 is 2545.2.
  EXPECT_EQ(VideoWriter::averageBitRate(102, 7, 30), 2570);
  EXPECT_EQ(VideoWriter::averageBitRate(3840, 1646, 60), 45508608);
}

TEST(VideoWriter, AnIndependentReaderSeesHighProfileBT709WithTheIndexInFront) {
  REQUIRE_FFPROBE();
  TempFolder folder;
  std::string path = folder.file("loop.mp4");
  writeMoving(path, 320, 180, 30, 75);
  VideoProbe probe = probeVideo(path);
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.storeFormatMismatches(), "");
  EXPECT_EQ(probe.colorRange, "tv");
  EXPECT_EQ(probe.width, 320);
  EXPECT_EQ(probe.height, 180);
  EXPECT_DOUBLE_EQ(probe.frameRate, 30);
  EXPECT_EQ(probe.frameCount, 75);
  EXPECT_NEAR(probe.duration, 2.5, 1e-6);
  EXPECT_NEAR(probe.streamDuration, 2.5, 1e-6);
  EXPECT_TRUE(probe.moovBeforeMdat);
  ASSERT_GE(probe.keyFrameTimes.size(), 3u);
  EXPECT_EQ(probe.keyFrameTimes.front(), 0);
  EXPECT_LE(probe.longestKeyFrameGap(), 1.0 + 1e-9);
}

TEST(VideoWriter, SixtyFramesASecondKeepAKeyFrameEverySecond) {
  REQUIRE_FFPROBE();
  TempFolder folder;
  std::string path = folder.file("fast.mp4");
  writeMoving(path, 64, 64, 60, 150);
  VideoProbe probe = probeVideo(path);
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.frameCount, 150);
  EXPECT_NEAR(probe.duration, 2.5, 1e-6);
  EXPECT_LE(probe.longestKeyFrameGap(), 1.0 + 1e-9);
}

TEST(VideoWriter, FrameCountOfOneMakesAOneFrameVideo) {
  REQUIRE_FFPROBE();
  TempFolder folder;
  std::string path = folder.file("still.mp4");
  writeMoving(path, 64, 48, 30, 1);
  VideoProbe probe = probeVideo(path);
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.frameCount, 1);
  EXPECT_NEAR(probe.duration, 1.0 / 30, 1e-6);
  EXPECT_EQ(probe.keyFrameTimes, std::vector<double>{0});
  EXPECT_TRUE(probe.moovBeforeMdat);
}

TEST(VideoWriter, OddSizesAreRefusedWithTheirSize) {
  TempFolder folder;
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.file("a.mp4"), 101, 100, 30); }),
            "Can't write a 101x100 H.264 video on this machine.");
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.file("a.mp4"), 100, 99, 30); }),
            "Can't write a 100x99 H.264 video on this machine.");
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.file("a.mp4"), 0, 100, 30); }),
            "Can't write a 0x100 H.264 video on this machine.");
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.file("a.mp4"), -2, 100, 30); }),
            "Can't write a -2x100 H.264 video on this machine.");
  EXPECT_FALSE(fs::exists(folder.file("a.mp4")));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(VideoWriter, AFrameRateOfZeroIsRefused) {
  TempFolder folder;
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.file("a.mp4"), 64, 64, 0); }),
            "Couldn't start the video: 0 frames a second isn't a frame rate.");
}

TEST(VideoWriter, AFolderThatCantBeWrittenGivesAnError) {
  TempFolder folder;
  // A file where the folder should be: refused even to root, unlike a folder without permissions.
  std::ofstream(folder.file("plain")) << "not a folder";
  try {
    VideoWriter writer(folder.file("plain") + "/loop.mp4", 64, 64, 30);
    FAIL() << "a video was started under a file";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_EQ(error.message().rfind("Couldn't start the video: ", 0), 0u) << error.message();
    EXPECT_EQ(error.message().back(), '.');
  }
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.file("missing") + "/loop.mp4", 64, 64, 30); }),
            "Couldn't start the video: No such file or directory.");
}

TEST(VideoWriter, AFolderOrNoNameIsRefused) {
  TempFolder folder;
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(folder.path().string(), 64, 64, 30); }),
            "Couldn't start the video: " + folder.path().string() + " is a folder.");
  EXPECT_EQ(testing::errorOf([&] { VideoWriter("", 64, 64, 30); }), "Couldn't start the video: it has no file name.");
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(VideoWriter, AnEarlierFileAtThePathIsReplaced) {
  REQUIRE_FFPROBE();
  TempFolder folder;
  std::string path = folder.file("loop.mp4");
  std::ofstream(path) << "an older export";
  writeMoving(path, 64, 64, 30, 3);
  EXPECT_EQ(probeVideo(path).frameCount, 3);
}

TEST(VideoWriter, NothingAppearsAtThePathBeforeFinish) {
  TempFolder folder;
  std::string path = folder.file("loop.mp4");
  std::ofstream(path) << "an older export";
  {
    VideoWriter writer(path, 64, 64, 30);
    writer.append(solidPicture(64, 64, {10, 20, 30}));
    EXPECT_FALSE(fs::exists(path));
    writer.finish();
    EXPECT_TRUE(fs::exists(path));
  }
  // Only the video: no partial file stays beside it.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST(VideoWriter, AnUnfinishedWriterLeavesNoFile) {
  TempFolder folder;
  {
    VideoWriter writer(folder.file("loop.mp4"), 64, 64, 30);
    writer.append(solidPicture(64, 64, {10, 20, 30}));
  }
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(VideoWriter, AnInterruptedExportLeavesAPartialFileThatTheNextRunReplaces) {
  TempFolder folder;
  std::string path = folder.file("loop.mp4");
  // What a process killed while writing leaves: a partial file named after a process that is gone.
  // Process ids never reach 2^22 on Linux, so this one can't be alive.
  std::string stale = folder.file(".loop.mp4.partial-4194304-0");
  std::ofstream(stale) << "half a video";
  std::string other = folder.file(".other.mp4.partial-4194304-0");
  std::ofstream(other) << "another video's";
  VideoWriter writer(path, 64, 64, 30);
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::exists(other));
  writer.append(solidPicture(64, 64, {10, 20, 30}));
  writer.finish();
  EXPECT_TRUE(fs::exists(path));
}

TEST(VideoWriter, FinishingWithoutFramesSaysSo) {
  TempFolder folder;
  VideoWriter writer(folder.file("loop.mp4"), 64, 64, 30);
  EXPECT_EQ(testing::errorOf([&] { writer.finish(); }), "Couldn't finish the video: it has no frames.");
}

TEST(VideoWriter, AnEmptyPictureIsRefusedWithItsIndex) {
  TempFolder folder;
  VideoWriter writer(folder.file("loop.mp4"), 64, 64, 30);
  writer.append(solidPicture(64, 64, {10, 20, 30}));
  EXPECT_EQ(testing::errorOf([&] { writer.append(Image()); }), "Couldn't add frame 1: the picture is empty.");
}

TEST(VideoWriter, APictureOfAnotherSizeIsScaledToTheVideo) {
  REQUIRE_FFPROBE();
  TempFolder folder;
  std::string path = folder.file("scaled.mp4");
  VideoWriter writer(path, 96, 64, 30);
  writer.append(solidPicture(300, 17, {200, 30, 30}));
  writer.append(solidPicture(96, 64, {200, 30, 30}));
  writer.finish();
  VideoProbe probe = probeVideo(path);
  EXPECT_EQ(probe.width, 96);
  EXPECT_EQ(probe.height, 64);
  EXPECT_EQ(probe.frameCount, 2);
}

// A video below a package, with a folder outside it holding a canary file.
class VideoWriterBelow : public ::testing::Test {
 protected:
  VideoWriterBelow() {
    fs::create_directories(outside());
    std::ofstream(outside() / "canary.txt") << "untouched";
  }

  fs::path root() const { return folder_.path() / "Set.vorno"; }
  fs::path outside() const { return folder_.path() / "outside"; }

  // renders/ moves aside to renders-looked-at, and a link to outside takes its name.
  void swapRendersForALink() const {
    fs::rename(root() / "renders", root() / "renders-looked-at");
    fs::create_directory_symlink(outside(), root() / "renders");
  }

  // Only the canary outside, with its bytes.
  void expectOutsideUntouched() const {
    std::ifstream in(outside() / "canary.txt");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "untouched");
    for (const auto& entry : fs::directory_iterator(outside()))
      EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
  }

  TempFolder folder_;
};

TEST_F(VideoWriterBelow, MakesTheMissingFoldersAndLeavesOnlyTheVideo) {
  REQUIRE_FFPROBE();
  {
    VideoWriter writer(FileBelow{root(), "renders/loops/loop.mp4"}, 64, 48, 10);
    for (int i = 0; i < 3; ++i) writer.append(solidPicture(64, 48, {40 * i, 20, 30}));
    writer.finish();
  }
  EXPECT_EQ(probeVideo((root() / "renders/loops/loop.mp4").string()).frameCount, 3);
  EXPECT_EQ(std::distance(fs::directory_iterator(root() / "renders/loops"), fs::directory_iterator()), 1);
}

TEST_F(VideoWriterBelow, FolderSwappedForALinkWhileEncodingKeepsTheVideoInTheFolderLookedAt) {
  REQUIRE_FFPROBE();
  {
    VideoWriter writer(FileBelow{root(), "renders/loop.mp4"}, 64, 48, 10);
    writer.append(solidPicture(64, 48, {10, 20, 30}));
    swapRendersForALink();
    for (int i = 1; i < 5; ++i) writer.append(solidPicture(64, 48, {40 * i, 20, 30}));
    writer.finish();
  }
  VideoProbe probe = probeVideo((root() / "renders-looked-at/loop.mp4").string());
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.frameCount, 5);
  EXPECT_TRUE(probe.moovBeforeMdat);  // the index was moved in front inside the folder looked at, too
  EXPECT_EQ(std::distance(fs::directory_iterator(root() / "renders-looked-at"), fs::directory_iterator()), 1);
  expectOutsideUntouched();
}

TEST_F(VideoWriterBelow, FolderThatIsALinkWhenTheVideoStartsIsRefused) {
  fs::create_directories(root() / "renders");
  swapRendersForALink();
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(FileBelow{root(), "renders/loop.mp4"}, 64, 48, 10); }),
            "The folder " + (root() / "renders").string() +
                " is a symbolic link. Vorno writes only inside the package and never through a link: make it a real "
                "folder, or remove it, and try again.");
  expectOutsideUntouched();
}

TEST_F(VideoWriterBelow, VideoThatIsALinkIsRefusedAndWhatItPointsAtKeepsItsBytes) {
  fs::create_directories(root() / "renders");
  fs::create_symlink(outside() / "canary.txt", root() / "renders" / "loop.mp4");
  EXPECT_EQ(testing::errorOf([&] { VideoWriter(FileBelow{root(), "renders/loop.mp4"}, 64, 48, 10); }),
            (root() / "renders/loop.mp4").string() +
                " is a symbolic link. Vorno writes only inside the package and never through a link: remove the "
                "link and try again.");
  EXPECT_TRUE(fs::is_symlink(root() / "renders" / "loop.mp4"));
  expectOutsideUntouched();
}

}  // namespace
}  // namespace vorno::video_writer_test
