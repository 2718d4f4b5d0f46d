// The capture loop through `vorno mcp`, as an agent drives it, with a fake Android SDK on
// ANDROID_HOME: list the devices, capture a screen, and see it in the next render.
#include "kit/capture/capture_test_support.h"
#include "kit/devices/device_catalog.h"
#include "kit/model/project.h"
#include "kit/model/theme.h"
#include "kit/store/file_project_store.h"
#include "tests/mcp_process.h"
#include "tests/temp_folder.h"
#include "tests/thread_waits.h"

#include <signal.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vorno::testing::mcp_capture_test {
namespace {

namespace fs = std::filesystem;

std::string toolCall(int id, const std::string& tool, const std::string& arguments) {
  return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" + tool +
         R"(","arguments":)" + arguments + "}}";
}

// The items of a tool call's answer; fails the test on an error answer.
std::vector<mcp::Value> contentOf(const mcp::Value& answer) {
  const mcp::Value* result = answer.find("result");
  if (!result) {
    ADD_FAILURE() << "no result: " << answer.wire().substr(0, 300);
    return {};
  }
  EXPECT_FALSE(result->find("isError")->boolValue().value_or(true)) << answer.wire().substr(0, 400);
  return *result->find("content")->arrayValue();
}

std::string textOf(const mcp::Value& item) {
  const mcp::Value* text = item.find("text");
  return text && text->stringValue() ? *text->stringValue() : "";
}

std::string allText(const std::vector<mcp::Value>& items) {
  std::string text;
  for (const auto& item : items) text += textOf(item) + "\n";
  return text;
}

TEST(MCPCapture, DevicesListShowsTheEmulatorByAVDNameAndACaptureAppearsInTheNextRender) {
  TempFolder folder("vorno-mcp-capture");
  FakeAndroidSdk sdk(folder.path());
  sdk.setDevices("List of devices attached\n"
                 "emulator-5554          device product:sdk_gphone64_x86_64 model:sdk_gphone64_x86_64 "
                 "device:emu64xa transport_id:1\n\n");
  sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
  sdk.setAvds("Pixel_9_Pro\n");
  const std::string png = solidPNG(1080, 2340, 0x3478F6);
  sdk.addScreen(png);
  fs::path package = folder.path() / "App.vorno";
  FileProjectStore(package).create(Project("App", {"en-US"}, {"play.phone"}, Theme::vorno(), {}, {}));
  fs::create_directories(folder.path() / "home");

  MCPProcess server(folder.path().string(), (folder.path() / "server.log").string(),
                    {"ANDROID_HOME=" + sdk.root().string(), "ANDROID_SDK_ROOT=", "HOME=" + (folder.path() / "home").string()});
  const std::string project = R"("project":")" + package.string() + "\"";

  server.sendLine(toolCall(1, "devices_list", "{}"));
  std::vector<mcp::Value> listed = contentOf(server.answerTo(1));
  ASSERT_EQ(listed.size(), 1u);
  nlohmann::json devices = nlohmann::json::parse(textOf(listed[0]));
  ASSERT_EQ(devices["android"].size(), 1u);
  EXPECT_EQ(devices["android"][0]["avd"], "Pixel_9_Pro");
  EXPECT_EQ(devices["android"][0]["serial"], "emulator-5554");
  EXPECT_FALSE(devices.contains("androidError"));
  EXPECT_GT(devices["frames"].size(), 0u);

  // A slide that shows the capture, rendered before it exists: the capture is missing.
  server.sendLine(toolCall(2, "slide_upsert", "{" + project + R"(, "slide": {"id": "home", "headline": "Plan your day", )" +
                                                  R"("device": {"screenshot": "captures/{locale}/home.png"}}})"));
  contentOf(server.answerTo(2));
  server.sendLine(toolCall(3, "render_slide", "{" + project + R"(, "slide": "home"})"));
  EXPECT_NE(allText(contentOf(server.answerTo(3))).find("capture.missing"), std::string::npos);

  server.sendLine(toolCall(4, "capture_screenshot", "{" + project + R"(, "name": "home", "device": "Pixel_9_Pro"})"));
  std::vector<mcp::Value> captured = contentOf(server.answerTo(4));
  ASSERT_EQ(captured.size(), 2u);
  EXPECT_EQ(*captured[0].find("type")->stringValue(), "image");
  std::optional<DeviceFrame> frame = DeviceCatalog::shared().exactMatch(1080, 2340, Platform::android);
  ASSERT_TRUE(frame);
  EXPECT_EQ(textOf(captured[1]), "Saved captures/en-US/home.png (1080×2340). Frame match: " + frame->id +
                                     ". Use \"captures/{locale}/home.png\" in a slide's device.screenshot.");
  EXPECT_EQ(readFile(package / "captures/en-US/home.png"), png);

  server.sendLine(toolCall(5, "render_slide", "{" + project + R"(, "slide": "home"})"));
  std::string report = allText(contentOf(server.answerTo(5)));
  EXPECT_EQ(report.find("capture.missing"), std::string::npos) << report;
  EXPECT_NE(report.find(frame->id), std::string::npos) << report;

  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST(MCPCapture, DeviceBootStartsTheEmulatorDetachedSoItOutlivesTheServer) {
  TempFolder folder("vorno-mcp-boot");
  FakeAndroidSdk sdk(folder.path());
  sdk.setAvds("INFO    | Storing crashdata in: /tmp/emu-crash.db\nPixel_9_Pro\n");
  sdk.setBootSerial("emulator-5556");
  writeFile(sdk.state() / "emulator-stays", "");
  fs::create_directories(folder.path() / "home");
  {
    MCPProcess server(folder.path().string(), (folder.path() / "server.log").string(),
                      {"ANDROID_HOME=" + sdk.root().string(), "HOME=" + (folder.path() / "home").string()});
    // Real time: the boot loop looks every 2 s until the emulator has come up and booted.
    server.sendLine(toolCall(1, "device_boot", R"({"platform": "android", "name": "Pixel_9_Pro"})"));
    std::vector<mcp::Value> answer = contentOf(server.answerTo(1));
    ASSERT_EQ(answer.size(), 1u);
    EXPECT_EQ(textOf(answer[0]), "Booted Pixel_9_Pro (emulator-5556).");
    server.closeInput();
    EXPECT_EQ(server.waitForExit(), 0);
  }
  // The server has ended; the emulator it started still runs.
  ASSERT_TRUE(pollUntil([&] { return fs::exists(sdk.state() / "emulator-pid"); }));
  pid_t emulator = std::stoi(readFile(sdk.state() / "emulator-pid"));
  EXPECT_EQ(::kill(emulator, 0), 0) << "the emulator ended with the server";
  EXPECT_FALSE(fs::exists(sdk.state() / "emulator-release"));
  writeFile(sdk.state() / "emulator-release", "");
}

}  // namespace
}  // namespace vorno::testing::mcp_capture_test
