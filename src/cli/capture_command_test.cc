// `vorno capture` in this process, with stand-ins for xcrun: the parts that need a simulator.
#include "cli/capture_command.h"
#include "cli/command_spec.h"
#include "kit/capture/capture_test_support.h"
#include "kit/capture/capturer.h"
#include "kit/model/project.h"
#include "kit/model/theme.h"
#include "kit/store/file_project_store.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace vorno::cli::capture_command_test {
namespace {

struct CaptureCommandInProcess : ::testing::Test {
  testing::TempFolder folder;
  testing::FakeXcrun xcrun{folder.path()};
  std::filesystem::path package = folder.path() / "App.vorno";
  Capturer capturer;
  testing::FakeClock time;

  CaptureCommandInProcess() {
    FileProjectStore(package).create(Project("App", {"ja-JP"}, {"ios.iphone-6.9"}, Theme::vorno(), {}, {}));
    xcrun.setDevices(R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
      {"udid": "5A1B", "name": "iPhone 17 Pro Max", "state": "Booted", "isAvailable": true}]}})");
    xcrun.setEnumerate(testing::recorded("simctl-io-enumerate-phone.txt"));
    capturer.simctl.xcrunPath = xcrun.path();
    capturer.simctl.clock = testing::briefClock();
    capturer.androidSdk = AndroidSdkPlaces{std::nullopt, std::nullopt, folder.path() / "no-home"};
  }
};

TEST_F(CaptureCommandInProcess, CaptureNameVideo5PrintsTheMovPathAndDoesNoBlankCheck) {
  ParsedArguments args;
  args.strings = {{"project", package.string()}, {"name", "live"}};
  args.numbers = {{"video", 5}};
  std::ostringstream out;
  // The fake recording isn't a picture: a blank check would fail to read it.
  EXPECT_EQ(runCaptureWith(args, capturer, out), 0);
  EXPECT_EQ(out.str(), "captures/ja-JP/live.mov\n");
  EXPECT_EQ(testing::readFile(package / "captures/ja-JP/live.mov"), "movie");
  std::vector<testing::FakeCall> calls = xcrun.calls();
  EXPECT_EQ(calls[1][1], "status_bar");  // a clean status bar
}

TEST_F(CaptureCommandInProcess, IOSCaptureIsInferredFromTheBootedSimulator) {
  const std::string png = testing::solidPNG(132, 286, 0xFFFFFF);
  xcrun.setDisplay("main", png);
  ParsedArguments args;
  args.strings = {{"project", package.string()}, {"name", "today"}, {"url", "myapp://today"}};
  capturer.clock = time.clock();
  std::ostringstream out;
  EXPECT_EQ(runCaptureWith(args, capturer, out), 0);
  EXPECT_EQ(out.str(), "captures/ja-JP/today.png\n");
  EXPECT_EQ(testing::readFile(package / "captures/ja-JP/today.png"), png);
}

}  // namespace
}  // namespace vorno::cli::capture_command_test
