#include <gtest/gtest.h>

#include <fstream>

#include "kit/capture/capture_test_support.h"
#include "kit/devices/device_catalog.h"
#include "server/tool_registry.h"
#include "server/tool_test_support.h"

namespace vorno::device_tools_test {
namespace {

using testing::FakeAndroidSdk;
using testing::FakeXcrun;
using testing::solidPNG;
using testing::ToolHarness;

std::vector<std::string> requiredOf(const std::string& tool) {
  nlohmann::json schema = ToolRegistry::named(tool)->inputSchema().toJSON();
  return schema.value("required", std::vector<std::string>{});
}

const char* const kOneEmulator =
    "List of devices attached\n"
    "emulator-5554          device product:sdk_gphone64_x86_64 model:sdk_gphone64_x86_64 device:emu64xa "
    "transport_id:1\n\n";

// A harness whose capturer reaches a fake xcrun and a fake Android SDK, and never waits.
struct DeviceToolsTest : ::testing::Test {
  ToolHarness harness;
  FakeXcrun xcrun{harness.folder() / "fakes"};
  FakeAndroidSdk sdk{harness.folder() / "fakes"};
  testing::FakeClock time;

  DeviceToolsTest() {
    Capturer& capturer = harness.context().capturer;
    capturer.simctl.xcrunPath = xcrun.path();
    capturer.androidSdk = sdk.places();
    capturer.clock = time.clock();
    xcrun.setDevices(testing::recorded("simctl-list-devices.json"));
    sdk.setDevices(kOneEmulator);
    sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
    sdk.setAvds("INFO    | Storing crashdata in: /tmp/emu-crash.db\nPixel_9_Pro\nMedium_Phone\n");
  }
};

TEST_F(DeviceToolsTest, DevicesListWithoutAnAndroidSDKHasAndroidErrorAndStillListsFrames) {
  harness.context().capturer.androidSdk = AndroidSdkPlaces{std::nullopt, std::nullopt, harness.folder() / "no-home"};
  harness.context().capturer.simctl.xcrunPath = "/no/such/xcrun";
  auto result = harness.call("devices_list", "{}");
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json out = result.json(0);
  EXPECT_EQ(out["androidError"], "Android SDK not found. Install Android Studio, or set ANDROID_HOME.");
  EXPECT_EQ(out["android"], nlohmann::json::array());
  EXPECT_EQ(out["androidVirtualDevices"], nlohmann::json::array());
  EXPECT_EQ(out["simulatorError"].get<std::string>().rfind("/no/such/xcrun isn't installed", 0), 0u);
  EXPECT_EQ(out["booted"], nlohmann::json::array());
  ASSERT_EQ(out["frames"].size(), DeviceCatalog::shared().frames.size());
  EXPECT_GT(out["frames"].size(), 0u);
  nlohmann::json first = out["frames"][0];
  const DeviceFrame& frame = DeviceCatalog::shared().frames[0];
  EXPECT_EQ(first["id"], frame.id);
  EXPECT_EQ(first["platform"], frame.platform == Platform::ios ? "ios" : "android");
  EXPECT_TRUE(first["shape"] == "builtin" || first["shape"] == "xcode-mask");
  EXPECT_TRUE(first["finishes"].is_array());
}

TEST_F(DeviceToolsTest, DevicesListShowsBootedSimulatorsTheEmulatorByItsAVDNameAndTheAVDs) {
  auto result = harness.call("devices_list", "{}");
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json out = result.json(0);
  EXPECT_FALSE(out.contains("simulatorError"));
  EXPECT_FALSE(out.contains("androidError"));
  ASSERT_EQ(out["booted"].size(), 2u);
  EXPECT_EQ(out["booted"][0], (nlohmann::json{{"udid", "5A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9"},
                                             {"name", "iPhone 17 Pro Max"},
                                             {"state", "Booted"},
                                             {"runtime", "iOS-26-0"},
                                             {"deviceTypeIdentifier",
                                              "com.apple.CoreSimulator.SimDeviceType.iPhone-17-Pro-Max"}}));
  EXPECT_EQ(out["android"], (nlohmann::json::array({{{"serial", "emulator-5554"},
                                                     {"state", "device"},
                                                     {"model", "sdk gphone64 x86 64"},
                                                     {"avd", "Pixel_9_Pro"}}})));
  EXPECT_EQ(out["androidVirtualDevices"], (nlohmann::json{"Pixel_9_Pro", "Medium_Phone"}));
}

TEST_F(DeviceToolsTest, DeviceBootOfASimulatorNamesItsUDIDAndIOSVersion) {
  auto result = harness.call("device_boot", R"({"platform": "ios", "name": "iPhone 17 Pro"})");
  ASSERT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(result.text(0), "Booted iPhone 17 Pro (77AA88BB-99CC-4DDE-8EEF-00FF11223344), iOS 26.0.");
}

TEST_F(DeviceToolsTest, DeviceBootOfARunningAVDNamesItAndItsSerial) {
  auto result = harness.call("device_boot", R"({"platform": "android", "name": "Pixel_9_Pro"})");
  ASSERT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(result.text(0), "Booted Pixel_9_Pro (emulator-5554).");
  EXPECT_EQ(sdk.emulatorCalls().size(), 0u);  // already running: no second emulator
}

TEST_F(DeviceToolsTest, DeviceBootRequiresNameThenPlatform) {
  EXPECT_EQ(harness.call("device_boot", R"({"platform": "ios"})").text(0), "device_boot: name is required.");
  EXPECT_EQ(harness.call("device_boot", R"({"name": "x"})").text(0), "device_boot: platform is required.");
  auto result = harness.call("device_boot", R"({"platform": "windows", "name": "x"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "platform must be ios or android.");
}

TEST_F(DeviceToolsTest, CaptureScreenshotAnswersWithThePictureItsSizeAndFrameMatch) {
  std::string package = harness.package();
  const std::string png = solidPNG(1080, 2340, 0x3478F6);
  sdk.addScreen(png);
  auto result = harness.call("capture_screenshot",
                             R"({"project": ")" + package + R"(", "name": "home", "platform": "android"})");
  ASSERT_FALSE(result.isError) << result.text(0);
  ASSERT_EQ(result.content.size(), 2u);
  EXPECT_TRUE(result.isImage(0));
  EXPECT_EQ(result.mimeType(0), "image/jpeg");
  EXPECT_EQ(result.imageBytes(0).substr(0, 3), "\xFF\xD8\xFF");
  std::optional<DeviceFrame> expected = DeviceCatalog::shared().exactMatch(1080, 2340, Platform::android);
  ASSERT_TRUE(expected);
  EXPECT_EQ(result.text(1), "Saved captures/en-US/home.png (1080×2340). Frame match: " + expected->id +
                                ". Use \"captures/{locale}/home.png\" in a slide's device.screenshot.");
  EXPECT_EQ(testing::readFile(std::filesystem::path(package) / "captures/en-US/home.png"), png);
  // The clean status bar is on unless turned off.
  EXPECT_EQ(sdk.deviceCalls().at(0), (testing::FakeCall{"settings", "put", "global", "sysui_demo_allowed", "1"}));
}

TEST_F(DeviceToolsTest, CaptureScreenshotOfALandscapeScreenSaysTheFrameTurns) {
  std::string package = harness.package();
  sdk.addScreen(solidPNG(2340, 1080, 0xFFFFFF));
  auto result = harness.call("capture_screenshot", R"({"project": ")" + package +
                                                       R"(", "name": "wide", "platform": "android", "clean_status_bar": false})");
  ASSERT_FALSE(result.isError) << result.text(1);
  EXPECT_NE(result.text(1).find(", drawn on its side (a landscape capture). Use"), std::string::npos) << result.text(1);
  EXPECT_TRUE(sdk.deviceCalls().empty());  // no status bar asked for
}

TEST_F(DeviceToolsTest, CaptureScreenshotOfABlackScreenAddsTheWarning) {
  std::string package = harness.package();
  sdk.addScreen(solidPNG(1080, 2340, 0x000000));
  auto result = harness.call("capture_screenshot", R"({"project": ")" + package + R"(", "name": "off", "locale": "de-DE", "platform": "android"})");
  ASSERT_FALSE(result.isError) << result.text(1);
  const std::string text = result.text(1);
  EXPECT_EQ(text.rfind("Saved captures/de-DE/off.png (1080×2340)", 0), 0u) << text;
  EXPECT_NE(text.find("\nWarning: The capture is completely black"), std::string::npos) << text;
}

TEST_F(DeviceToolsTest, CaptureScreenshotWithABadNameFailsLogsTheFailureAndTouchesNoDevice) {
  std::string package = harness.package();
  auto result = harness.call("capture_screenshot",
                             R"({"project": ")" + package + R"(", "name": "home/1", "locale": "de-DE"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Capture names may use letters, digits, dot, dash and underscore.");
  EXPECT_TRUE(sdk.calls().empty());
  EXPECT_TRUE(xcrun.calls().empty());
  std::ifstream log(std::filesystem::path(package) / ".activity.jsonl");
  std::vector<nlohmann::json> events;
  for (std::string line; std::getline(log, line);) events.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["summary"], "Captured home/1");
  EXPECT_EQ(events[0]["locale"], "de-DE");
  EXPECT_EQ(events[1]["phase"], "failed");
}

TEST_F(DeviceToolsTest, CaptureVideoRequiresSeconds) {
  std::string package = harness.package();
  auto result = harness.call("capture_video", R"({"project": ")" + package + R"(", "name": "live"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "capture_video: seconds is required.");
}

TEST_F(DeviceToolsTest, CaptureVideoRecordsTheSimulator) {
  std::string package = harness.package();
  xcrun.setDevices(R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
    {"udid": "5A1B", "name": "iPhone 17 Pro Max", "state": "Booted"}]}})");
  xcrun.setEnumerate(testing::recorded("simctl-io-enumerate-phone.txt"));
  harness.context().capturer.simctl.clock = testing::briefClock();
  auto result = harness.call("capture_video", R"({"project": ")" + package + R"(", "name": "live", "seconds": 4})");
  ASSERT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(result.text(result.content.size() - 1),
            "Saved captures/en-US/live.mov (4.0 s). Use \"captures/{locale}/live.mov\" as a device's screenshot in a "
            "creative with motion.");
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(package) / "captures/en-US/live.mov"));
}

TEST(DeviceTools, SchemasRequireWhatTheToolsNeed) {
  EXPECT_TRUE(requiredOf("devices_list").empty());
  EXPECT_EQ(requiredOf("device_boot"), (std::vector<std::string>{"platform", "name"}));
  EXPECT_EQ(requiredOf("capture_screenshot"), (std::vector<std::string>{"project", "name"}));
  EXPECT_EQ(requiredOf("capture_video"), (std::vector<std::string>{"project", "name", "seconds"}));
  nlohmann::json boot = ToolRegistry::named("device_boot")->inputSchema().toJSON();
  EXPECT_EQ(boot["properties"]["platform"]["enum"], nlohmann::json::array({"ios", "android"}));
  EXPECT_EQ(boot["additionalProperties"], false);
  nlohmann::json capture = ToolRegistry::named("capture_screenshot")->inputSchema().toJSON();
  EXPECT_EQ(capture["properties"]["appearance"]["enum"], nlohmann::json::array({"light", "dark"}));
  EXPECT_EQ(capture["properties"]["clean_status_bar"]["type"], "boolean");
  nlohmann::json video = ToolRegistry::named("capture_video")->inputSchema().toJSON();
  EXPECT_EQ(video["properties"]["seconds"]["type"], "number");
}

TEST(DeviceTools, OnlyDevicesListIsReadOnly) {
  EXPECT_EQ(ToolRegistry::named("devices_list")->annotations().readOnlyHint, true);
  for (const char* tool : {"device_boot", "capture_screenshot", "capture_video"})
    EXPECT_TRUE(ToolRegistry::named(tool)->annotations().empty()) << tool;
}

TEST(DeviceTools, ActivitiesSayWhatWasAskedOrAGeneralWord) {
  const Tool* boot = ToolRegistry::named("device_boot");
  EXPECT_EQ(boot->activity(Arguments({{"name", "Pixel 9"}}, "device_boot")).summary, "Booted Pixel 9");
  EXPECT_EQ(boot->activity(Arguments({}, "device_boot")).summary, "Booted a device");
  EXPECT_EQ(ToolRegistry::named("devices_list")->activity(Arguments({}, "devices_list")).summary, "Checked devices");
  EXPECT_EQ(ToolRegistry::named("capture_screenshot")->activity(Arguments({}, "capture_screenshot")).summary,
            "Captured a screen");
  ToolActivity video = ToolRegistry::named("capture_video")
                           ->activity(Arguments({{"name", "live"}, {"locale", "fr-FR"}}, "capture_video"));
  EXPECT_EQ(video.summary, "Recorded live");
  EXPECT_EQ(video.locale, "fr-FR");
  EXPECT_EQ(ToolRegistry::named("capture_video")->activity(Arguments({}, "capture_video")).summary,
            "Recorded the screen");
}

}  // namespace
}  // namespace vorno::device_tools_test
