#include "kit/capture/capturer.h"

#include "kit/capture/capture_test_support.h"
#include "kit/image/images.h"
#include "kit/store/file_project_store.h"
#include "kit/util/atomic_write.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "tests/temp_folder.h"
#include "tests/error_of.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <thread>
#include <utility>

namespace vorno::capturer_test {
namespace {

using testing::FakeAndroidSdk;
using testing::FakeCall;
using testing::FakeClock;
using testing::FakeXcrun;
using testing::recorded;
using testing::solidPNG;
using testing::errorOf;
using testing::kOneEmulator;
using testing::TempFolder;

const char* const kOneBootedSimulator = R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
  {"udid": "5A1B", "name": "iPhone 17 Pro Max", "state": "Booted", "isAvailable": true}]}})";

const char* const kNoSimulatorBooted = R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
  {"udid": "5A1B", "name": "iPhone 17 Pro Max", "state": "Shutdown", "isAvailable": true}]}})";

struct CapturerTest : ::testing::Test {
  TempFolder folder;
  FakeXcrun xcrun{folder.path()};
  FakeAndroidSdk sdk{folder.path()};
  FakeClock time;
  Capturer capturer;
  FileProjectStore store{folder.path() / "App.vorno"};

  CapturerTest() {
    capturer.simctl.xcrunPath = xcrun.path();
    capturer.androidSdk = sdk.places();
    capturer.clock = time.clock();
    xcrun.setDevices(kNoSimulatorBooted);
  }

  std::string capture(const std::string& name, const std::optional<std::string>& deepLink = std::nullopt,
                      const std::optional<std::string>& appearance = std::nullopt,
                      std::optional<Platform> platform = Platform::android, const std::string& locale = "en-US") {
    return capturer.capture(store, {name, locale, std::nullopt, deepLink, true, appearance, platform}).path;
  }
  bool touchedNoDevice() const { return xcrun.calls().empty() && sdk.calls().empty(); }
};

TEST(CapturerPaths, RelativePathIsUnderCapturesAndTheLocale) {
  EXPECT_EQ(Capturer::relativePath("home", "de-DE"), "captures/de-DE/home.png");
}

TEST_F(CapturerTest, NameHomeSlash1FailsWithItsSentenceAndTouchesNoDevice) {
  EXPECT_EQ(errorOf([&] { capture("home/1"); }), "Capture names may use letters, digits, dot, dash and underscore.");
  EXPECT_EQ(errorOf([&] { capture("home/1", std::nullopt, std::nullopt, std::nullopt); }),
            "Capture names may use letters, digits, dot, dash and underscore.");
  EXPECT_EQ(errorOf([&] { capture("") ; }), "Capture names may use letters, digits, dot, dash and underscore.");
  EXPECT_TRUE(touchedNoDevice());
}

TEST_F(CapturerTest, AppearanceDarkWithACapitalFailsTheTestIsExact) {
  EXPECT_EQ(errorOf([&] { capture("home", std::nullopt, "Dark"); }), "appearance must be dark or light.");
  EXPECT_TRUE(touchedNoDevice());
}

TEST_F(CapturerTest, LocaleMustBeASafeFileNameBeforeAnyDeviceIsTouched) {
  std::string message = errorOf([&] { capture("home", std::nullopt, std::nullopt, Platform::android, "../x"); });
  EXPECT_EQ(message.rfind("Locale \"../x\" can't be used in a file name", 0), 0u) << message;
  EXPECT_TRUE(touchedNoDevice());
}

TEST_F(CapturerTest, ValidationComesInOrderNameThenLocaleThenAppearance) {
  EXPECT_EQ(errorOf([&] { capture("a b", std::nullopt, "Dark", Platform::android, "../x"); }),
            "Capture names may use letters, digits, dot, dash and underscore.");
  EXPECT_EQ(errorOf([&] { capture("ab", std::nullopt, "Dark", Platform::android, "../x"); }).rfind("Locale", 0), 0u);
}

TEST_F(CapturerTest, AndroidCaptureCleansTheStatusBarOpensTheLinkAndWritesTheSettledPicture) {
  sdk.setDevices(kOneEmulator);
  const std::string png = solidPNG(108, 240, 0x3478F6);
  sdk.addScreen(png);
  EXPECT_EQ(capture("home", "myapp://home?tab=1&x=it's", "dark"), "captures/en-US/home.png");
  EXPECT_EQ(testing::readFile(store.root() / "captures/en-US/home.png"), png);
  EXPECT_EQ(sdk.shots().size(), 2u);  // the same picture twice is a settled screen
  EXPECT_DOUBLE_EQ(time.slept.count(), 0.35);
  std::vector<FakeCall> onDevice = sdk.deviceCalls();
  ASSERT_EQ(onDevice.size(), 9u);
  EXPECT_EQ(onDevice[0], (FakeCall{"settings", "put", "global", "sysui_demo_allowed", "1"}));
  EXPECT_EQ(onDevice[7], (FakeCall{"cmd", "uimode", "night", "yes"}));
  EXPECT_EQ(onDevice[8], (FakeCall{"am", "start", "-W", "-a", "android.intent.action.VIEW", "-d",
                                   "myapp://home?tab=1&x=it's"}));
}

TEST_F(CapturerTest, AnEmptyDeepLinkIsPassedOnOnlyAMissingOneSkipsTheStep) {
  sdk.setDevices(kOneEmulator);
  sdk.addScreen(solidPNG(10, 20, 0xFFFFFF));
  capture("home", "");
  EXPECT_EQ(sdk.deviceCalls().back(), (FakeCall{"am", "start", "-W", "-a", "android.intent.action.VIEW", "-d", ""}));
  size_t withLink = sdk.deviceCalls().size();
  capture("home");
  EXPECT_EQ(sdk.deviceCalls().size(), withLink + 7);  // the status bar again, and no link
  EXPECT_EQ(sdk.deviceCalls().back()[0], "am");
  EXPECT_EQ(sdk.deviceCalls().back()[1], "broadcast");

  xcrun.setDevices(kOneBootedSimulator);
  xcrun.setEnumerate(recorded("simctl-io-enumerate-phone.txt"));
  xcrun.setDisplay("main", solidPNG(10, 20, 0xFFFFFF));
  capture("home", "", std::nullopt, Platform::ios);
  std::vector<FakeCall> calls = xcrun.calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), FakeCall{"simctl", "openurl", "5A1B", ""}), 1);
}

TEST_F(CapturerTest, IOSCaptureShootsTheSimulatorWithTheCleanStatusBarAndAppearance) {
  xcrun.setDevices(kOneBootedSimulator);
  xcrun.setEnumerate(recorded("simctl-io-enumerate-phone.txt"));
  const std::string png = solidPNG(132, 286, 0xF2F2F7);
  xcrun.setDisplay("main", png);
  EXPECT_EQ(capture("today", "myapp://today", "light", Platform::ios, "fr-FR"), "captures/fr-FR/today.png");
  EXPECT_EQ(testing::readFile(store.root() / "captures/fr-FR/today.png"), png);
  std::vector<FakeCall> calls = xcrun.calls();
  ASSERT_EQ(calls.size(), 7u);
  EXPECT_EQ(calls[1][1], "status_bar");
  EXPECT_EQ(calls[2], (FakeCall{"simctl", "ui", "5A1B", "appearance", "light"}));
  EXPECT_EQ(calls[3], (FakeCall{"simctl", "openurl", "5A1B", "myapp://today"}));
  EXPECT_EQ(calls[4], (FakeCall{"simctl", "io", "5A1B", "enumerate"}));
  EXPECT_EQ(calls[5][3], "screenshot");
  EXPECT_EQ(calls[5].size(), 6u);  // one display: no --display argument
  EXPECT_TRUE(sdk.calls().empty());
}

TEST_F(CapturerTest, AScreenThatChangesEveryTenthOfASecondYieldsItsLatestPictureAfterAboutSixSeconds) {
  const FileBelow target{folder.path(), "captures/en-US/feed.png"};
  const auto start = time.time;
  std::vector<std::string> given;
  Capturer::waitForStableScreen(
      target, 6,
      [&](const std::string& path) {
        // The picture of the moment: a new one every 0.1 s.
        double seconds = std::chrono::duration<double>(time.time - start).count();
        uint32_t frame = static_cast<uint32_t>(std::floor(seconds * 10 + 1e-9));
        given.push_back(solidPNG(8, 8, 0x100000 + frame));
        testing::writeFile(path, given.back());
      },
      time.clock());
  double waited = std::chrono::duration<double>(time.time - start).count();
  EXPECT_GE(waited, 6.0);
  EXPECT_LE(waited, 6.35 + 1e-9);  // one interval past the limit at most
  EXPECT_EQ(given.size(), 19u);    // 0, 0.35, ..., 6.3 s
  EXPECT_EQ(testing::readFile(target.path()), given.back());
}

TEST_F(CapturerTest, SettledScreenStopsAtTheFirstTwoIdenticalShots) {
  const FileBelow target{folder.path(), "settled.png"};
  std::vector<std::string> pictures{solidPNG(8, 8, 1), solidPNG(8, 8, 2), solidPNG(8, 8, 2), solidPNG(8, 8, 3)};
  std::vector<std::string> paths;
  Capturer::waitForStableScreen(
      target, 6,
      [&](const std::string& path) {
        testing::writeFile(path, pictures.at(paths.size()));
        paths.push_back(path);
      },
      time.clock());
  EXPECT_EQ(paths.size(), 3u);
  EXPECT_DOUBLE_EQ(time.slept.count(), 0.7);
  EXPECT_EQ(testing::readFile(target.path()), pictures[2]);
  // The shots' folder is gone.
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(paths[0]).parent_path()));
}

TEST_F(CapturerTest, AFailedShotEndsTheCaptureAndLeavesTheOlderFile) {
  const FileBelow target{folder.path(), "home.png"};
  testing::writeFile(target.path(), "older");
  int shots = 0;
  std::string shotFolder;
  EXPECT_EQ(errorOf([&] {
              Capturer::waitForStableScreen(
                  target, 6,
                  [&](const std::string& path) {
                    shotFolder = std::filesystem::path(path).parent_path().string();
                    if (++shots == 2) throw VornoError::io("-s emulator-5554 exec-out failed: device offline");
                    testing::writeFile(path, "x");
                  },
                  time.clock());
            }),
            "-s emulator-5554 exec-out failed: device offline");
  EXPECT_EQ(testing::readFile(target.path()), "older");
  EXPECT_FALSE(std::filesystem::exists(shotFolder));
}

TEST_F(CapturerTest, AShotThatWroteNoFileEndsTheCapture) {
  std::string message = errorOf([&] {
    Capturer::waitForStableScreen({folder.path(), "x.png"}, 6, [](const std::string&) {}, time.clock());
  });
  EXPECT_EQ(message.rfind("Couldn't read the screenshot ", 0), 0u) << message;
}

TEST_F(CapturerTest, WithSimulatorsAndAnAndroidDeviceBothUpAndNoDeviceOrPlatformIOSIsChosen) {
  xcrun.setDevices(kOneBootedSimulator);
  sdk.setDevices(kOneEmulator);
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, std::nullopt), Platform::ios);
  // A device names its platform.
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, "Pixel_9_Pro"), Platform::android);
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, "emulator-5554"), Platform::android);
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, "Pixel 9 Pro"), Platform::android);
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, "iPhone 17 Pro Max"), Platform::ios);
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, "nothing known"), Platform::ios);
  // A given platform is the answer, without asking anything.
  size_t asked = sdk.calls().size();
  EXPECT_EQ(capturer.resolvePlatform(Platform::android, "iPhone 17 Pro Max"), Platform::android);
  EXPECT_EQ(sdk.calls().size(), asked);
}

TEST_F(CapturerTest, AMachineWithoutOneToolchainStillWorksWithTheOther) {
  capturer.simctl.xcrunPath = "/no/such/xcrun";
  sdk.setDevices(kOneEmulator);
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, std::nullopt), Platform::android);
  sdk.setDevices(
      "List of devices attached\nemulator-5554 offline transport_id:1\n");  // only a device that doesn't count
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, std::nullopt), Platform::ios);
  capturer.simctl.xcrunPath = xcrun.path();
  xcrun.setDevices(kOneBootedSimulator);
  capturer.androidSdk = AndroidSdkPlaces{"/no/sdk", std::nullopt, folder.path() / "no-home"};
  EXPECT_EQ(capturer.resolvePlatform(std::nullopt, std::nullopt), Platform::ios);
}

TEST_F(CapturerTest, SecondsThirtyIsAcceptedThirtyAndAHalfAndAHalfAreNot) {
  xcrun.setDevices(kOneBootedSimulator);
  xcrun.setEnumerate(recorded("simctl-io-enumerate-phone.txt"));
  capturer.simctl.clock = testing::briefClock();
  const std::string sentence = "Record 1–30 seconds: a creative's loop is 5–30 s.";
  EXPECT_EQ(errorOf([&] { capturer.recordVideo(store, "live", "en-US", std::nullopt, 30.5, std::nullopt, true); }),
            sentence);
  EXPECT_EQ(errorOf([&] { capturer.recordVideo(store, "live", "en-US", std::nullopt, 0.5, std::nullopt, true); }),
            sentence);
  EXPECT_EQ(errorOf([&] { capturer.recordVideo(store, "live", "en-US", std::nullopt, std::nan(""), std::nullopt, true); }),
            sentence);
  EXPECT_TRUE(xcrun.calls().empty());
  EXPECT_EQ(capturer.recordVideo(store, "live", "en-US", std::nullopt, 30, "myapp://live", true),
            "captures/en-US/live.mov");
  EXPECT_EQ(testing::readFile(store.root() / "captures/en-US/live.mov"), "movie");
  std::vector<FakeCall> calls = xcrun.calls();
  EXPECT_EQ(calls[2], (FakeCall{"simctl", "openurl", "5A1B", "myapp://live"}));
  EXPECT_EQ(calls.back()[3], "recordVideo");
}

// A package whose captures/en-US/ turns into a link to a folder outside it while a capture is
// under way, at a moment the test chooses; the folder outside holds a canary file.
struct CapturerLinkTest : CapturerTest {
  CapturerLinkTest() {
    std::filesystem::create_directories(localeFolder());
    std::filesystem::create_directories(outside());
    testing::writeFile(outside() / "canary.txt", "untouched");
  }
  ~CapturerLinkTest() override {
    atomicWriteStepHook = nullptr;
    swapAt = nullptr;
  }

  std::filesystem::path localeFolder() const { return store.root() / "captures" / "en-US"; }
  std::filesystem::path outside() const { return folder.path() / "outside"; }

  // The locale's folder moves aside to "en-US-looked-at" and a link to outside takes its name.
  void swapForALink() const {
    std::filesystem::rename(localeFolder(), store.root() / "captures" / "en-US-looked-at");
    std::filesystem::create_directory_symlink(outside(), localeFolder());
  }

  // Swaps once, when a write of a file named `name` (anywhere) has renamed it into place.
  void swapWhenWritten(const std::string& name) {
    swapAt = [this, name](const std::filesystem::path& target) {
      if (target.filename() != name) return false;
      swapForALink();
      return true;
    };
    atomicWriteStepHook = [](const std::filesystem::path& target, const std::filesystem::path&, WriteStep step) {
      if (step == WriteStep::renamed && swapAt && swapAt(target)) swapAt = nullptr;
    };
  }

  // Only the canary outside, with its bytes.
  void expectOutsideUntouched() const {
    EXPECT_EQ(testing::readFile(outside() / "canary.txt"), "untouched");
    for (const auto& entry : std::filesystem::directory_iterator(outside()))
      EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
  }

  std::string linkRefusal() const {
    return "The folder " + localeFolder().string() +
           " is a symbolic link. Vorno writes only inside the package and never through a link: make it a real "
           "folder, or remove it, and try again.";
  }

  static inline std::function<bool(const std::filesystem::path&)> swapAt;
};

TEST_F(CapturerLinkTest, LocaleFolderSwappedForALinkWhileTheScreenSettlesIsRefusedAndNothingLandsOutside) {
  sdk.setDevices(kOneEmulator);
  sdk.addScreen(solidPNG(108, 240, 0x3478F6));
  // The first shot lands in the shots' own folder, after the capture's place was looked at.
  swapWhenWritten("0.png");
  EXPECT_EQ(errorOf([&] { capture("home"); }), linkRefusal());
  EXPECT_FALSE(swapAt) << "the capture never shot the screen";
  expectOutsideUntouched();
  EXPECT_FALSE(std::filesystem::exists(store.root() / "captures" / "en-US-looked-at" / "home.png"));
}

TEST_F(CapturerLinkTest, LocaleFolderSwappedForALinkWhileRecordingIsRefusedAndTheMovieStaysOutOfIt) {
  xcrun.setDevices(kOneBootedSimulator);
  xcrun.setEnumerate(recorded("simctl-io-enumerate-phone.txt"));
  // The recorder's first wait comes once it runs, long after the movie's place was looked at.
  bool swapped = false;
  capturer.simctl.clock = {[] { return std::chrono::steady_clock::now(); },
                           [&](CaptureClock::Seconds) {
                             if (!std::exchange(swapped, true)) swapForALink();
                             std::this_thread::sleep_for(std::chrono::milliseconds(5));
                           }};
  EXPECT_EQ(errorOf([&] { capturer.recordVideo(store, "live", "en-US", std::nullopt, 1, std::nullopt, true); }),
            linkRefusal());
  EXPECT_TRUE(swapped);
  EXPECT_EQ(xcrun.calls().back()[3], "recordVideo");
  expectOutsideUntouched();
}

TEST(CapturerBlankNote, ABlackCaptureGetsTheWarningALitOneNothing) {
  TempFolder folder;
  testing::writeFile(folder.path() / "black.png", solidPNG(100, 200, 0x000000));
  testing::writeFile(folder.path() / "lit.png", solidPNG(100, 200, 0x101010));
  EXPECT_EQ(Capturer::blankNote(Images::load(folder.file("black.png"))),
            "The capture is completely black: that display shows nothing. Wake or unlock the simulator, bring the app "
            "to the front (on an iPhone Duo, the display that's open), and capture again.");
  EXPECT_EQ(Capturer::blankNote(Images::load(folder.file("lit.png"))), std::nullopt);
}

}  // namespace
}  // namespace vorno::capturer_test
