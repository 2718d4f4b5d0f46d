// `vorno video` as a person runs it: the MP4 under renders/ with its default name, a percentage
// counting up on one line, the path, the loop's issues and the time it took; and its refusals.
#include "tests/ffprobe.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

namespace vorno::testing::video_command_test {
namespace {

namespace fs = std::filesystem;

const char* kDocument = R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US", "de-DE"], "targets": ["ios.iphone-6.9"], "slides": [],
  "theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
            "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"},
  "creatives": [
    {"canvas": "ios.search-results", "id": "drift", "headline": "Drift",
     "motion": {"duration": 0.2, "fps": 30, "tracks": {"headline": [{"t": 0, "y": 0.4}, {"t": 0.2, "y": 0.5}]}}},
    {"canvas": "ios.universal", "id": "calm", "headline": "Calm", "motion": {"duration": 5}}]})";

class VideoCommand : public ::testing::Test {
 protected:
  VideoCommand() {
    fs::create_directories(root());
    std::ofstream(root() / "project.json") << kDocument;
  }
  fs::path root() const { return folder_.path() / "Set.vorno"; }

  TempFolder folder_{"vorno-video-command"};
};

TEST_F(VideoCommand, WritesTheLoopUnderRendersCountingUpThenNamesItsIssuesAndTime) {
  ASSERT_TRUE(ffprobeAvailable()) << "ffprobe is installed by scripts/setup.sh";
  auto result = runVorno({"video", "--project", root().string(), "--creative", "drift", "--locale", "de-DE"});
  ASSERT_EQ(result.status, 0) << result.err;
  const fs::path expected = root() / "renders" / "drift-ios.search-results-de-DE.mp4";

  // "\r 33%\r 67%\r100%" or the like: one line that only counts up, to 100%.
  std::smatch progress;
  ASSERT_TRUE(std::regex_search(result.out, progress, std::regex("^((\\r[ 0-9]{2}[0-9]%)+)\\n")));
  std::vector<int> percents;
  const std::string counts = progress[1];
  const std::regex percent("([0-9]+)%");
  for (std::sregex_iterator it(counts.begin(), counts.end(), percent), end; it != end; ++it)
    percents.push_back(std::stoi((*it)[1]));
  ASSERT_FALSE(percents.empty());
  EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
  EXPECT_EQ(percents.back(), 100);

  // Then the path, the seam of a track that doesn't return, and the time.
  const std::string rest = result.out.substr(progress.length());
  EXPECT_EQ(rest.substr(0, rest.find('\n')), expected.string());
  EXPECT_NE(rest.find("motion.seam"), std::string::npos) << rest;
  EXPECT_TRUE(std::regex_search(rest, std::regex("\\nDone in [0-9]+\\.[0-9]s\\n$"))) << rest;

  VideoProbe probe = probeVideo(expected.string());
  ASSERT_TRUE(probe.error.empty()) << probe.error;
  EXPECT_EQ(probe.width, 3072);
  EXPECT_EQ(probe.height, 2048);
  EXPECT_EQ(probe.frameCount, 6);
}

TEST_F(VideoCommand, AnUnknownCreativeIsAValidationErrorListingTheCreatives) {
  auto result = runVorno({"video", "--project", root().string(), "--creative", "nope"});
  EXPECT_EQ(result.status, 64);
  EXPECT_NE(result.err.find("No creative nope. Creatives: drift, calm."), std::string::npos) << result.err;
}

TEST_F(VideoCommand, UniversalArtIsAStillAndWritesNothing) {
  auto result = runVorno({"video", "--project", root().string(), "--creative", "calm"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("Universal creative art is a still: App Store Connect takes video for the header and "
                            "search results only."),
            std::string::npos)
      << result.err;
  EXPECT_FALSE(fs::exists(root() / "renders" / "calm-ios.universal-en-US.mp4"));
}

TEST_F(VideoCommand, OutIsUsedAsItStands) {
  const fs::path out = folder_.path() / "loop.mp4";
  auto result = runVorno({"video", "--project", root().string(), "--creative", "drift", "--out", out.string()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(fs::exists(out));
  EXPECT_NE(result.out.find("\n" + out.string() + "\n"), std::string::npos);
}

}  // namespace
}  // namespace vorno::testing::video_command_test
