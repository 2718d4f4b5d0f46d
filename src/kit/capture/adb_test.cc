#include "kit/capture/adb.h"

#include "kit/capture/capture_test_support.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"
#include "tests/thread_waits.h"
#include "tests/error_of.h"

#include <gtest/gtest.h>

namespace vorno::adb_test {
namespace {

using testing::FakeAndroidSdk;
using testing::FakeCall;
using testing::recorded;
using testing::errorOf;
using testing::kOneEmulator;
using testing::TempFolder;

struct AdbTest : ::testing::Test {
  TempFolder folder;
  FakeAndroidSdk sdk{folder.path()};
};

TEST(AdbSdk, FoundThroughAndroidHomeThenSdkRootThenTheHomeFolder) {
  TempFolder folder;
  FakeAndroidSdk sdk(folder.path());
  std::string adb = (sdk.root() / "platform-tools" / "adb").string();
  EXPECT_EQ(Adb(AndroidSdkPlaces{sdk.root().string(), std::nullopt, {}}).adbPath, adb);
  EXPECT_EQ(Adb(AndroidSdkPlaces{"/no/sdk", sdk.root().string(), {}}).adbPath, adb);
  EXPECT_EQ(Adb(AndroidSdkPlaces{sdk.root().string(), std::nullopt, {}}).emulatorPath,
            (sdk.root() / "emulator" / "emulator").string());
  // Android Studio on Linux puts the SDK in ~/Android/Sdk.
  TempFolder home;
  std::filesystem::create_directories(home.path() / "Android");
  std::filesystem::create_directory_symlink(sdk.root(), home.path() / "Android" / "Sdk");
  EXPECT_EQ(Adb(AndroidSdkPlaces{std::nullopt, std::nullopt, home.path()}).adbPath,
            (home.path() / "Android" / "Sdk" / "platform-tools" / "adb").string());
}

TEST(AdbSdk, NoSDKAnywhereSaysWhatToInstall) {
  TempFolder home;
  EXPECT_EQ(errorOf([&] { Adb(AndroidSdkPlaces{"/no/sdk", std::nullopt, home.path()}); }),
            "Android SDK not found. Install Android Studio, or set ANDROID_HOME.");
}

TEST(AdbSdk, AnSDKWithoutTheEmulatorHasNoEmulatorPath) {
  TempFolder folder;
  FakeAndroidSdk sdk(folder.path(), false);
  EXPECT_EQ(sdk.adb().emulatorPath, std::nullopt);
}

TEST_F(AdbTest, UnauthorizedAndOfflineDevicesAreListedButIgnoredByResolve) {
  sdk.setDevices(recorded("adb-devices-l.txt"));
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro_API_36\r\nOK\r\n");
  std::vector<Adb::Device> devices = sdk.adb().devices();
  ASSERT_EQ(devices.size(), 4u);
  EXPECT_EQ(devices[0], (Adb::Device{"emulator-5554", "device", "Pixel 9 Pro", "Pixel_9_Pro_API_36"}));
  EXPECT_EQ(devices[1], (Adb::Device{"R5CT20ABCDE", "unauthorized", std::nullopt, std::nullopt}));
  EXPECT_EQ(devices[2], (Adb::Device{"emulator-5556", "offline", std::nullopt, std::nullopt}));  // console unreachable
  EXPECT_EQ(devices[3], (Adb::Device{"0A1B2C3D4E5F", "device", "Pixel 8 Pro", std::nullopt}));
  // Only the two in state "device" count.
  EXPECT_EQ(errorOf([&] { sdk.adb().resolve(std::nullopt); }),
            "2 Android devices are connected (Pixel_9_Pro_API_36, Pixel 8 Pro). Pass a serial or AVD name.");
  EXPECT_EQ(errorOf([&] { sdk.adb().resolve("R5CT20ABCDE"); }),
            "No running Android device matches R5CT20ABCDE. Running: Pixel_9_Pro_API_36, Pixel 8 Pro.");
}

TEST_F(AdbTest, TheAvdNameIsTheFirstLineOfTheConsolesAnswer) {
  sdk.setDevices(kOneEmulator);
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  EXPECT_EQ(sdk.adb().devices()[0].avd, "Pixel_9_Pro");
  // A console that answers only "OK" gives no name; the model names the device then.
  sdk.setAvdName("emulator-5554", "\r\nOK\r\n");
  Adb::Device device = sdk.adb().devices()[0];
  EXPECT_EQ(device.avd, std::nullopt);
  EXPECT_EQ(device.displayName(), "Pixel 9 Pro");
  std::vector<FakeCall> calls = sdk.calls();
  EXPECT_EQ(calls.back(), (FakeCall{"-s", "emulator-5554", "emu", "avd", "name"}));
}

TEST_F(AdbTest, NameBootedWithOneDeviceReturnsItWithTwoFailsAsWithoutAName) {
  sdk.setDevices(kOneEmulator);
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  EXPECT_EQ(sdk.adb().resolve("booted").serial, "emulator-5554");
  sdk.setDevices(recorded("adb-devices-l.txt"));
  const std::string twoDevices =
      "2 Android devices are connected (Pixel_9_Pro, Pixel 8 Pro). Pass a serial or AVD name.";
  EXPECT_EQ(errorOf([&] { sdk.adb().resolve("booted"); }), twoDevices);
  EXPECT_EQ(errorOf([&] { sdk.adb().resolve(std::nullopt); }), twoDevices);
}

TEST_F(AdbTest, ResolveMatchesSerialThenAvdThenModel) {
  sdk.setDevices(recorded("adb-devices-l.txt"));
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  EXPECT_EQ(sdk.adb().resolve("0A1B2C3D4E5F").serial, "0A1B2C3D4E5F");
  EXPECT_EQ(sdk.adb().resolve("Pixel_9_Pro").serial, "emulator-5554");
  EXPECT_EQ(sdk.adb().resolve("Pixel 8 Pro").serial, "0A1B2C3D4E5F");
}

TEST_F(AdbTest, ModelPixel_9_ProHasDisplayNamePixel9Pro) {
  sdk.setDevices("List of devices attached\n"
                 "3A281FDH2000NQ         device usb:3-1 product:caiman model:Pixel_9_Pro device:caiman transport_id:5\n");
  Adb::Device device = sdk.adb().devices().at(0);
  EXPECT_EQ(device.model, "Pixel 9 Pro");
  EXPECT_EQ(device.displayName(), "Pixel 9 Pro");
}

TEST_F(AdbTest, AvdsWithNoEmulatorIsEmptySoTheNoDeviceSentenceEndsInEmptyAVDs) {
  TempFolder bare;
  FakeAndroidSdk withoutEmulator(bare.path(), false);
  EXPECT_TRUE(withoutEmulator.adb().avds().empty());
  EXPECT_EQ(errorOf([&] { withoutEmulator.adb().resolve(std::nullopt); }),
            "No Android device or emulator is running. Boot one with device_boot (AVDs: ).");
}

TEST_F(AdbTest, AvdsLeaveOutTheEmulatorsInfoLinesAndBlankLines) {
  sdk.setAvds("INFO    | Storing crashdata in: /tmp/android-dev/emu-crash-35.3.11.db\n"
              "Medium_Phone_API_36\n\nPixel_9_Pro\n");
  EXPECT_EQ(sdk.adb().avds(), (std::vector<std::string>{"Medium_Phone_API_36", "Pixel_9_Pro"}));
  EXPECT_EQ(errorOf([&] { sdk.adb().resolve(std::nullopt); }),
            "No Android device or emulator is running. Boot one with device_boot (AVDs: Medium_Phone_API_36, "
            "Pixel_9_Pro).");
}

TEST_F(AdbTest, AnAVDAlreadyRunningIsReturnedByBootWithoutStartingASecondEmulator) {
  sdk.setDevices(kOneEmulator);
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  sdk.setAvds("Pixel_9_Pro\n");
  Adb::Device device = sdk.adb().boot("Pixel_9_Pro");
  EXPECT_EQ(device.serial, "emulator-5554");
  EXPECT_TRUE(sdk.emulatorCalls().empty());
}

TEST_F(AdbTest, BootStartsTheEmulatorAndWaitsUntilItHasBooted) {
  sdk.setAvds("Pixel_9_Pro\nMedium_Phone\n");
  sdk.setBootSerial("emulator-5556");
  // The emulator reports itself, but its system is still starting at the first look.
  testing::writeFile(sdk.state() / "boot-emulator-5556", "\n");
  Adb adb = sdk.adb();
  int looks = 0;
  testing::FakeClock time;
  CaptureClock clock = time.clock();
  adb.clock.now = clock.now;
  adb.clock.sleep = [&](CaptureClock::Seconds duration) {
    // The emulator runs detached: each look waits until it has come up, and the second look
    // finds it booted.
    ASSERT_TRUE(testing::pollUntil([&] { return std::filesystem::exists(sdk.state() / "emulator-up"); }));
    if (++looks == 2) testing::writeFile(sdk.state() / "boot-emulator-5556", "1\n");
    clock.sleep(duration);
  };
  Adb::Device device = adb.boot("Pixel_9_Pro");
  EXPECT_EQ(device.serial, "emulator-5556");
  EXPECT_EQ(device.avd, "Pixel_9_Pro");
  EXPECT_EQ(looks, 2);
  EXPECT_EQ(time.slept.count(), 4);  // two waits of 2 s
  std::vector<FakeCall> emulatorCalls = sdk.emulatorCalls();
  ASSERT_EQ(emulatorCalls.size(), 2u);
  EXPECT_EQ(emulatorCalls[1], (FakeCall{"-avd", "Pixel_9_Pro", "-no-boot-anim"}));
  EXPECT_EQ(sdk.deviceCalls().back(), (FakeCall{"getprop", "sys.boot_completed"}));
}

TEST_F(AdbTest, BootGivesUpAfterFourMinutes) {
  sdk.setAvds("Pixel_9_Pro\n");
  sdk.setBootSerial("emulator-5556");
  testing::writeFile(sdk.state() / "boot-emulator-5556", "0\n");
  testing::FakeClock time;
  Adb adb = sdk.adb();
  adb.clock = time.clock();
  EXPECT_EQ(errorOf([&] { adb.boot("Pixel_9_Pro"); }), "Pixel_9_Pro didn't finish booting within 4 minutes.");
  EXPECT_EQ(time.slept.count(), 240);
}

TEST_F(AdbTest, BootOfAnUnknownAVDOrWithoutTheEmulatorFailsAtOnce) {
  sdk.setAvds("Pixel_9_Pro\nMedium_Phone\n");
  EXPECT_EQ(errorOf([&] { sdk.adb().boot("Pixel_10"); }), "No AVD named Pixel_10. AVDs: Pixel_9_Pro, Medium_Phone.");
  TempFolder bare;
  FakeAndroidSdk withoutEmulator(bare.path(), false);
  EXPECT_EQ(errorOf([&] { withoutEmulator.adb().boot("Pixel_9_Pro"); }), "The Android emulator isn't installed.");
  EXPECT_TRUE(sdk.emulatorCalls().size() == 1u);  // only -list-avds
}

TEST_F(AdbTest, CleanStatusBarAllowsDemoModeThenSendsTheSixCommandsInOrder) {
  sdk.adb().cleanStatusBar("emulator-5554");
  std::vector<FakeCall> calls = sdk.deviceCalls();
  const FakeCall broadcast{"am", "broadcast", "-a", "com.android.systemui.demo", "-e", "command"};
  auto with = [&](FakeCall words) {
    FakeCall call = broadcast;
    call.insert(call.end(), words.begin(), words.end());
    return call;
  };
  EXPECT_EQ(calls, (std::vector<FakeCall>{
                       {"settings", "put", "global", "sysui_demo_allowed", "1"},
                       with({"enter"}),
                       with({"clock", "-e", "hhmm", "0941"}),
                       with({"battery", "-e", "level", "100", "-e", "plugged", "false"}),
                       with({"network", "-e", "wifi", "show", "-e", "level", "4"}),
                       with({"network", "-e", "mobile", "show", "-e", "level", "4", "-e", "datatype", "none"}),
                       with({"notifications", "-e", "visible", "false"}),
                   }));
  EXPECT_EQ(sdk.calls()[0][1], "emulator-5554");
}

TEST_F(AdbTest, DarkModeIsTheNightModeOfTheUIModeService) {
  sdk.adb().setDarkMode("S", true);
  sdk.adb().setDarkMode("S", false);
  EXPECT_EQ(sdk.deviceCalls(), (std::vector<FakeCall>{{"cmd", "uimode", "night", "yes"}, {"cmd", "uimode", "night", "no"}}));
}

TEST_F(AdbTest, AURLHoldingASingleQuoteReachesTheDeviceWhole) {
  const std::string url = "myapp://search?q=it's&sort=new;x=$HOME";
  sdk.adb().openURL("emulator-5554", url);
  EXPECT_EQ(sdk.deviceCalls().back(),
            (FakeCall{"am", "start", "-W", "-a", "android.intent.action.VIEW", "-d", url}));
  EXPECT_EQ(Adb::shellQuoted("it's"), "'it'\\''s'");
}

TEST_F(AdbTest, ScreenshotWritesThePNGAsTheDeviceGaveIt) {
  const std::string png = testing::solidPNG(12, 24, 0x3478F6);
  sdk.addScreen(png);
  std::filesystem::path target = folder.path() / "deep" / "folder" / "shot.png";
  sdk.adb().screenshot("emulator-5554", target.string());
  EXPECT_EQ(testing::readFile(target), png);
  EXPECT_EQ(sdk.calls().back(), (FakeCall{"-s", "emulator-5554", "exec-out", "screencap", "-p"}));
}

TEST_F(AdbTest, ScreenshotThatIsNoPNGFailsAndWritesNothing) {
  sdk.addScreen("error: device offline\n");
  std::filesystem::path target = folder.path() / "shot.png";
  EXPECT_EQ(errorOf([&] { sdk.adb().screenshot("emulator-5554", target.string()); }),
            "screencap returned no PNG from emulator-5554.");
  EXPECT_FALSE(std::filesystem::exists(target));
}

}  // namespace
}  // namespace vorno::adb_test
