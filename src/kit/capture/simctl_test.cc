#include "kit/capture/simctl.h"

#include "kit/capture/capture_test_support.h"
#include "kit/image/images.h"
#include "kit/util/shell.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"
#include "tests/error_of.h"

#include <gtest/gtest.h>

#include <signal.h>

namespace vorno::simctl_test {
namespace {

using testing::FakeCall;
using testing::FakeXcrun;
using testing::recorded;
using testing::solidPNG;
using testing::errorOf;
using testing::TempFolder;

struct SimctlTest : ::testing::Test {
  TempFolder folder;
  FakeXcrun xcrun{folder.path()};
  Simctl simctl;

  SimctlTest() {
    simctl.xcrunPath = xcrun.path();
    xcrun.setDevices(recorded("simctl-list-devices.json"));
  }
};

TEST(SimctlDefaults, RunsUsrBinXcrun) { EXPECT_EQ(Simctl().xcrunPath, "/usr/bin/xcrun"); }

TEST_F(SimctlTest, DevicesAreSortedByNameWithTheRuntimesShortName) {
  std::vector<Simctl::Device> devices = simctl.devices();
  ASSERT_EQ(devices.size(), 4u);
  EXPECT_EQ(devices[0].name, "iPad Pro 13-inch (M5)");
  EXPECT_EQ(devices[1].name, "iPhone 17 Pro");
  EXPECT_EQ(devices[2], (Simctl::Device{"5A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9", "iPhone 17 Pro Max", "Booted", "iOS-26-0",
                                        "com.apple.CoreSimulator.SimDeviceType.iPhone-17-Pro-Max"}));
  EXPECT_EQ(devices[3].name, "iPhone Duo");
  EXPECT_EQ(devices[1].deviceTypeIdentifier, std::nullopt);
  EXPECT_EQ(xcrun.calls(), (std::vector<FakeCall>{{"simctl", "list", "devices", "--json"}}));
}

TEST_F(SimctlTest, DeviceWithIsAvailableFalseIsNotListedOneWithTheKeyMissingIs) {
  std::vector<std::string> names;
  for (const auto& device : simctl.devices()) names.push_back(device.name);
  // "iPhone 16" lost its runtime (isAvailable false); "iPad Pro 13-inch (M5)" has no such key.
  EXPECT_EQ(std::count(names.begin(), names.end(), "iPhone 16"), 0);
  EXPECT_EQ(std::count(names.begin(), names.end(), "iPad Pro 13-inch (M5)"), 1);
}

TEST_F(SimctlTest, QueryBootedWithTwoBootedSimulatorsFailsNamingBoth) {
  EXPECT_EQ(errorOf([&] { simctl.resolve("booted"); }),
            "2 simulators are booted (iPhone 17 Pro Max, iPhone Duo). Pass a device name or UDID.");
  EXPECT_EQ(errorOf([&] { simctl.resolve(std::nullopt); }),
            "2 simulators are booted (iPhone 17 Pro Max, iPhone Duo). Pass a device name or UDID.");
}

TEST_F(SimctlTest, ResolveFindsABootedSimulatorByNameOrUDIDExactly) {
  EXPECT_EQ(simctl.resolve("iPhone Duo").udid, "1F2E3D4C-5B6A-4789-9ABC-DEF012345678");
  EXPECT_EQ(simctl.resolve("5A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9").name, "iPhone 17 Pro Max");
  EXPECT_EQ(errorOf([&] { simctl.resolve("iphone duo"); }),
            "No booted simulator matches iphone duo. Booted: iPhone 17 Pro Max, iPhone Duo.");
  EXPECT_EQ(errorOf([&] { simctl.resolve("iPhone 17 Pro"); }),  // there, but not booted
            "No booted simulator matches iPhone 17 Pro. Booted: iPhone 17 Pro Max, iPhone Duo.");
}

TEST_F(SimctlTest, ResolveWithNothingBootedSaysHowToBootOne) {
  xcrun.setDevices(R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
    {"udid": "A", "name": "iPhone 17 Pro", "state": "Shutdown", "isAvailable": true}]}})");
  EXPECT_EQ(errorOf([&] { simctl.resolve(std::nullopt); }),
            "No simulator is booted. Boot one in Xcode or with `xcrun simctl boot <name>`.");
}

TEST_F(SimctlTest, BootStartsAShutDownSimulatorThenWaitsForItsBootStatus) {
  Simctl::Device device = simctl.boot("iPhone 17 Pro");
  EXPECT_EQ(device.udid, "77AA88BB-99CC-4DDE-8EEF-00FF11223344");
  std::vector<FakeCall> calls = xcrun.calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[1], (FakeCall{"simctl", "boot", "77AA88BB-99CC-4DDE-8EEF-00FF11223344"}));
  EXPECT_EQ(calls[2], (FakeCall{"simctl", "bootstatus", "77AA88BB-99CC-4DDE-8EEF-00FF11223344", "-b"}));
}

TEST_F(SimctlTest, BootOfABootedSimulatorOnlyWaitsForItsBootStatus) {
  simctl.boot("iPhone Duo");
  std::vector<FakeCall> calls = xcrun.calls();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[1], (FakeCall{"simctl", "bootstatus", "1F2E3D4C-5B6A-4789-9ABC-DEF012345678", "-b"}));
}

TEST_F(SimctlTest, BootOfAnUnknownNameListsTheAvailableOnes) {
  EXPECT_EQ(errorOf([&] { simctl.boot("iPhone 16"); }),  // unavailable, so unknown
            "No simulator named iPhone 16. Available: iPad Pro 13-inch (M5), iPhone 17 Pro, iPhone 17 Pro Max, "
            "iPhone Duo.");
}

TEST_F(SimctlTest, FailingCommandWithEmptyStandardErrorReportsExitStatus) {
  xcrun.setDevices(R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
    {"udid": "ABC", "name": "iPhone 17", "state": "Shutdown"}]}})");
  xcrun.set("fail-boot");
  EXPECT_EQ(errorOf([&] { simctl.boot("ABC"); }), "simctl boot ABC failed: exit 1");
}

// The clock Shell reads in the next test: past the 60 s limit once the fake has written its pid.
std::filesystem::path hangingPid;
std::chrono::steady_clock::time_point hangStart;
std::chrono::steady_clock::time_point pastTheLimitOnceHanging() {
  return std::filesystem::exists(hangingPid) ? hangStart + std::chrono::seconds(61) : hangStart;
}

TEST_F(SimctlTest, CommandOutlivingItsLimitIsTerminatedAndItsErrorNamesTheLimit) {
  xcrun.set("hang-list");
  hangingPid = xcrun.state() / "pid";
  hangStart = std::chrono::steady_clock::now();
  shellClockHook = pastTheLimitOnceHanging;
  std::string message = errorOf([&] { simctl.devices(); });
  shellClockHook = nullptr;
  EXPECT_EQ(message, xcrun.path() + " simctl list devices --json timed out after 60s.");
  pid_t pid = std::stoi(testing::readFile(hangingPid));
  EXPECT_TRUE(::kill(pid, 0) != 0 && errno == ESRCH) << "the hanging simctl still runs";
}

TEST_F(SimctlTest, StatusBarOverrideHasItsArgumentsInOrderWithAnEmptyOperatorName) {
  simctl.cleanStatusBar("U1");
  EXPECT_EQ(xcrun.calls().back(),
            (FakeCall{"simctl", "status_bar", "U1", "override", "--time", "9:41", "--dataNetwork", "wifi", "--wifiMode",
                      "active", "--wifiBars", "3", "--cellularMode", "active", "--cellularBars", "4", "--operatorName",
                      "", "--batteryState", "charged", "--batteryLevel", "100"}));
}

TEST_F(SimctlTest, AppearanceAndDeepLinkCommands) {
  simctl.setAppearance("U1", true);
  simctl.setAppearance("U1", false);
  simctl.openURL("U1", "myapp://today?tab=it's");
  std::vector<FakeCall> calls = xcrun.calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[0], (FakeCall{"simctl", "ui", "U1", "appearance", "dark"}));
  EXPECT_EQ(calls[1], (FakeCall{"simctl", "ui", "U1", "appearance", "light"}));
  EXPECT_EQ(calls[2], (FakeCall{"simctl", "openurl", "U1", "myapp://today?tab=it's"}));
}

TEST(SimctlScreens, TwoDisplayFoldableGivesItsScreensWithSizesAndTypes) {
  std::vector<Simctl::Screen> screens = Simctl::parseScreens(recorded("simctl-io-enumerate-foldable.txt"));
  EXPECT_EQ(screens, (std::vector<Simctl::Screen>{
                         {2, "Integrated", 1398, 2034}, {1, "Integrated", 2007, 2853}, {3, "External", 1920, 1080}}));
}

TEST_F(SimctlTest, ScreensWithoutConnectedScreensLineIsEmptyAndLitDisplayGivesNothing) {
  std::string text = "Port:\n  Screen ID: 1\n  Screen Type: Integrated\n  Pixel Size: {1320, 2868}\n";
  EXPECT_TRUE(Simctl::parseScreens(text).empty());
  xcrun.setEnumerate(text);
  EXPECT_EQ(simctl.litDisplay("U1"), std::nullopt);
}

TEST_F(SimctlTest, SingleDisplaySimulatorNeverGoesThroughIsDark) {
  xcrun.setEnumerate(recorded("simctl-io-enumerate-phone.txt"));
  EXPECT_EQ(simctl.litDisplay("U1"), std::nullopt);
  // isDark needs a picture of each display; none was taken.
  for (const FakeCall& call : xcrun.calls())
    EXPECT_EQ(std::count(call.begin(), call.end(), "screenshot"), 0) << "a display was shot";
  EXPECT_EQ(xcrun.calls().size(), 1u);
}

TEST_F(SimctlTest, LitDisplayOfAFoldableIsTheLargestThatIsntDark) {
  xcrun.setEnumerate(recorded("simctl-io-enumerate-foldable.txt"));
  xcrun.setDisplay("1", solidPNG(64, 90, 0x000000));  // the large inner display, folded away
  xcrun.setDisplay("2", solidPNG(48, 70, 0x3478F6));  // the cover display, lit
  EXPECT_EQ(simctl.litDisplay("U1"), 2);
  std::vector<FakeCall> calls = xcrun.calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[1][5], "--display=1");  // the largest is tried first
  EXPECT_EQ(calls[2][5], "--display=2");
  // The trial pictures are gone.
  for (const auto& call : calls) {
    if (call.size() > 6) {
      EXPECT_FALSE(std::filesystem::exists(call[6])) << call[6];
    }
  }
}

TEST_F(SimctlTest, LitDisplayTakesTheLargestWhenItIsLit) {
  xcrun.setEnumerate(recorded("simctl-io-enumerate-foldable.txt"));
  xcrun.setDisplay("1", solidPNG(64, 90, 0xFFFFFF));
  EXPECT_EQ(simctl.litDisplay("U1"), 1);
  EXPECT_EQ(xcrun.calls().size(), 2u);  // the second display isn't looked at
}

TEST_F(SimctlTest, EveryDisplayDarkFails) {
  xcrun.setEnumerate(recorded("simctl-io-enumerate-foldable.txt"));
  xcrun.setDisplay("1", solidPNG(64, 90, 0x000000));
  xcrun.setDisplay("2", solidPNG(48, 70, 0x050505));
  EXPECT_EQ(errorOf([&] { simctl.litDisplay("U1"); }),
            "Every display of this simulator is dark. Unlock it and bring the app to the front.");
}

TEST_F(SimctlTest, ScreenshotPassesTheDisplayOnlyWhenThereIsOne) {
  xcrun.setDisplay("main", solidPNG(4, 8, 0xFFFFFF));
  xcrun.setDisplay("2", solidPNG(4, 8, 0x000000));
  simctl.screenshot("U1", std::nullopt, (folder.path() / "a.png").string());
  simctl.screenshot("U1", 2, (folder.path() / "b.png").string());
  std::vector<FakeCall> calls = xcrun.calls();
  EXPECT_EQ(calls[0], (FakeCall{"simctl", "io", "U1", "screenshot", "--type=png", (folder.path() / "a.png").string()}));
  EXPECT_EQ(calls[1], (FakeCall{"simctl", "io", "U1", "screenshot", "--type=png", "--display=2",
                                (folder.path() / "b.png").string()}));
}

TEST(SimctlIsDark, BlackIsDarkAndALitScreenIsNot) {
  TempFolder folder;
  auto image = [&](const std::string& png) {
    testing::writeFile(folder.path() / "x.png", png);
    return Images::load(folder.file("x.png"));
  };
  EXPECT_TRUE(Simctl::isDark(image(solidPNG(300, 600, 0x000000))));
  EXPECT_TRUE(Simctl::isDark(image(solidPNG(300, 600, 0x050505))));
  EXPECT_FALSE(Simctl::isDark(image(solidPNG(300, 600, 0x060000))));
  EXPECT_FALSE(Simctl::isDark(image(solidPNG(300, 600, 0x2C2C2E))));  // a dark-mode app is lit
  // One white pixel in a large black picture is averaged away.
  EXPECT_TRUE(Simctl::isDark(image(solidPNG(480, 960, 0x000000, 100, 100, 0xFFFFFF))));
  // A small picture is looked at pixel by pixel.
  EXPECT_FALSE(Simctl::isDark(image(solidPNG(10, 20, 0x000000, 3, 3, 0xFFFFFF))));
}

TEST_F(SimctlTest, RecordVideoInterruptsTheRecordingWhichWritesTheMovie) {
  simctl.clock = testing::briefClock();
  std::string movie = (folder.path() / "live.mov").string();
  simctl.recordVideo("U1", 2, movie, 3);
  EXPECT_EQ(testing::readFile(movie), "movie");  // written by the fake's interrupt handler
  EXPECT_EQ(xcrun.calls().back(),
            (FakeCall{"simctl", "io", "U1", "recordVideo", "--codec=h264", "--display=2", "--force", movie}));
}

TEST_F(SimctlTest, RecordVideoWithoutAFileSaysSo) {
  simctl.clock = testing::briefClock();
  // A recorder that ends at once and writes nothing.
  testing::writeScript(xcrun.path(), "#!/bin/sh\nexit 0\n");
  EXPECT_EQ(errorOf([&] { simctl.recordVideo("U1", std::nullopt, (folder.path() / "none.mov").string(), 1); }),
            "The simulator didn't write a recording. Is the app on screen and the simulator booted?");
}

TEST(SimctlMissing, WithoutXcrunEveryOperationEndsInOneSentence) {
  Simctl simctl;
  simctl.xcrunPath = "/no/such/xcrun";
  const std::string sentence =
      "/no/such/xcrun isn't installed: iOS simulators need a Mac with Xcode. On this machine, capture an Android "
      "emulator or device (platform android).";
  EXPECT_EQ(errorOf([&] { simctl.bootedDevices(); }), sentence);
  EXPECT_EQ(errorOf([&] { simctl.recordVideo("U1", std::nullopt, "/tmp/x.mov", 1); }), sentence);
}

}  // namespace
}  // namespace vorno::simctl_test
