// `vorno capture` as a person runs it, against a fake Android SDK found through ANDROID_HOME: the
// real program, the real settled-screen wait, the real process runner.
#include "kit/capture/capture_test_support.h"
#include "kit/model/project.h"
#include "kit/model/theme.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vorno::testing::capture_command_test {
namespace {

namespace fs = std::filesystem;

const char* const kOneEmulator =
    "List of devices attached\n"
    "emulator-5554          device product:sdk_gphone64_x86_64 model:sdk_gphone64_x86_64 device:emu64xa "
    "transport_id:1\n\n";

struct CaptureCommand : ::testing::Test {
  TempFolder folder{"vorno-capture-command"};
  FakeAndroidSdk sdk{folder.path()};
  fs::path package = folder.path() / "App.vorno";
  fs::path home = folder.path() / "home";

  CaptureCommand() {
    fs::create_directories(home);
    FileProjectStore(package).create(Project("App", {"de-DE", "en-US"}, {"play.phone"}, Theme::vorno(), {}, {}));
    sdk.setDevices(kOneEmulator);
    sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  }

  // The SDK through ANDROID_HOME alone, in a home folder of the test's own.
  ProcessResult vorno(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--project", package.string()});
    return runProcess(VORNO_BINARY, arguments, "",
                      {{"ANDROID_HOME", sdk.root().string()}, {"ANDROID_SDK_ROOT", ""}, {"HOME", home.string()}});
  }
};

TEST_F(CaptureCommand, AndroidCaptureWritesTheDevicesPictureByteForByteWithDemoModeAndTheQuotedDeepLink) {
  const std::string png = solidPNG(1080, 2340, 0x3478F6);
  sdk.addScreen(png);
  const std::string url = "myapp://home?tab=today&greeting=it's";
  ProcessResult result = vorno({"capture", "home", "--platform", "android", "--url", url});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "captures/de-DE/home.png\n");  // the project's first locale
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(readFile(package / "captures/de-DE/home.png"), png);
  EXPECT_GE(sdk.shots().size(), 2u);

  std::vector<FakeCall> onDevice = sdk.deviceCalls();
  int broadcasts = 0;
  for (const FakeCall& call : onDevice)
    if (call.size() > 6 && call[0] == "am" && call[1] == "broadcast" && call[3] == "com.android.systemui.demo") ++broadcasts;
  EXPECT_EQ(broadcasts, 6);
  EXPECT_EQ(onDevice.back(), (FakeCall{"am", "start", "-W", "-a", "android.intent.action.VIEW", "-d", url}));
}

TEST_F(CaptureCommand, AScreenThatChangesEveryTenthOfASecondYieldsItsLastPictureAfterTheLimit) {
  // Real time: the fake device shows a new picture every 0.1 s, so no two shots match and the
  // capture ends at its limit with the latest one. Only outcomes are checked, never durations.
  for (uint32_t frame = 0; frame < 64; ++frame) sdk.addScreen(solidPNG(36, 78, 0x202020 + frame * 0x030201));
  sdk.setScreenChanging();
  ProcessResult result = vorno({"capture", "feed", "--platform", "android", "--locale", "en-US"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "captures/en-US/feed.png\n");
  std::vector<std::string> shots = sdk.shots();
  ASSERT_GE(shots.size(), 2u);
  EXPECT_EQ(readFile(package / "captures/en-US/feed.png"), shots.back());
  for (size_t i = 1; i < shots.size(); ++i) EXPECT_NE(shots[i], shots[i - 1]) << "two shots alike would have settled";
}

TEST_F(CaptureCommand, ANameLikeHomeSlash1FailsWithItsSentenceAndTouchesNoDevice) {
  sdk.addScreen(solidPNG(10, 20, 0xFFFFFF));
  ProcessResult result = vorno({"capture", "home/1", "--platform", "android"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: Capture names may use letters, digits, dot, dash and underscore.\n");
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(sdk.calls().empty());
  EXPECT_FALSE(fs::exists(package / "captures" / "de-DE" / "home"));
}

TEST_F(CaptureCommand, ACapturesFolderThatLinksOutsideIsRefusedAndNothingIsWrittenThere) {
  sdk.addScreen(solidPNG(1080, 2340, 0x3478F6));
  const fs::path outside = folder.path() / "outside";
  fs::create_directories(outside);
  fs::remove_all(package / "captures");
  fs::create_symlink(outside, package / "captures");
  ProcessResult result = vorno({"capture", "home", "--platform", "android"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: The folder " + (package / "captures").string() +
                            " is a symbolic link. Vorno writes only inside the package and never through a link: make "
                            "it a real folder, or remove it, and try again.\n");
  EXPECT_TRUE(fs::is_empty(outside));
  EXPECT_TRUE(sdk.shots().empty()) << "the device was asked before the refusal";
}

TEST_F(CaptureCommand, WithoutXcrunAnIOSCaptureEndsInOneSentenceAndStatus1) {
  if (fs::exists("/usr/bin/xcrun")) GTEST_SKIP() << "this machine has xcrun";
  ProcessResult result = vorno({"capture", "home", "--platform", "ios"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "Error: /usr/bin/xcrun isn't installed: iOS simulators need a Mac with Xcode. On this machine, capture an "
            "Android emulator or device (platform android).\n");
  EXPECT_TRUE(sdk.calls().empty());
}

TEST_F(CaptureCommand, WithNeitherToolchainTheInferredPlatformIsIOSAndSaysWhatIsMissing) {
  if (fs::exists("/usr/bin/xcrun")) GTEST_SKIP() << "this machine has xcrun";
  ProcessResult result = runProcess(VORNO_BINARY, {"capture", "home", "--project", package.string()}, "",
                                    {{"ANDROID_HOME", ""}, {"ANDROID_SDK_ROOT", ""}, {"HOME", home.string()}});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(result.err.rfind("Error: /usr/bin/xcrun isn't installed", 0), 0u) << result.err;
}

TEST_F(CaptureCommand, WithOnlyAnAndroidDeviceTheInferredPlatformIsAndroid) {
  const std::string png = solidPNG(40, 80, 0xFAFAFA);
  sdk.addScreen(png);
  ProcessResult result = vorno({"capture", "settings"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(readFile(package / "captures/de-DE/settings.png"), png);
}

TEST_F(CaptureCommand, ABlackCaptureIsSavedWithAWarningAndStatus0) {
  sdk.addScreen(solidPNG(40, 80, 0x000000));
  ProcessResult result = vorno({"capture", "dark", "--platform", "android"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "captures/de-DE/dark.png\nWarning: The capture is completely black: that display shows nothing. Wake or "
            "unlock the simulator, bring the app to the front (on an iPhone Duo, the display that's open), and "
            "capture again.\n");
}

TEST_F(CaptureCommand, AnUnknownPlatformIsRefusedBeforeAnyDevice) {
  ProcessResult result = vorno({"capture", "home", "--platform", "windows"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: platform must be ios or android.\n");
  EXPECT_TRUE(sdk.calls().empty());
}

TEST_F(CaptureCommand, AFailingDeviceLeavesTheOlderCaptureInPlace) {
  writeFile(package / "captures/de-DE/home.png", "older");
  sdk.addScreen("adb: device offline\n");  // not a PNG
  ProcessResult result = vorno({"capture", "home", "--platform", "android"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: screencap returned no PNG from emulator-5554.\n");
  EXPECT_EQ(readFile(package / "captures/de-DE/home.png"), "older");
}

}  // namespace
}  // namespace vorno::testing::capture_command_test
