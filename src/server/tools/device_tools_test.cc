#include <gtest/gtest.h>

#include <fstream>

#include "server/tool_registry.h"
#include "server/tool_test_support.h"

namespace vorno {
namespace {

using testing::ToolHarness;

std::vector<std::string> requiredOf(const std::string& tool) {
  nlohmann::json schema = ToolRegistry::named(tool)->inputSchema().toJSON();
  return schema.value("required", std::vector<std::string>{});
}

TEST(DeviceTools, DevicesListIsNotAvailableYet) {
  ToolHarness harness;
  auto result = harness.call("devices_list", std::string("{}"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "devices_list is not available in this build yet.");
}

TEST(DeviceTools, DeviceBootIsNotAvailableYet) {
  ToolHarness harness;
  auto result = harness.call("device_boot", std::string(R"({"platform": "ios", "name": "iPhone 17 Pro Max"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "device_boot is not available in this build yet.");
}

TEST(DeviceTools, CaptureScreenshotIsNotAvailableYetAndLogsTheFailure) {
  ToolHarness harness;
  std::string package = harness.package();
  auto result = harness.call("capture_screenshot",
                             R"({"project": ")" + package + R"(", "name": "today", "locale": "de-DE"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "capture_screenshot is not available in this build yet.");
  std::ifstream log(std::filesystem::path(package) / ".activity.jsonl");
  std::vector<nlohmann::json> events;
  for (std::string line; std::getline(log, line);) events.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["summary"], "Captured today");
  EXPECT_EQ(events[0]["locale"], "de-DE");
  EXPECT_EQ(events[1]["phase"], "failed");
}

TEST(DeviceTools, CaptureVideoIsNotAvailableYet) {
  ToolHarness harness;
  std::string package = harness.package();
  auto result = harness.call("capture_video", R"({"project": ")" + package + R"(", "name": "live", "seconds": 4})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "capture_video is not available in this build yet.");
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
}  // namespace vorno
