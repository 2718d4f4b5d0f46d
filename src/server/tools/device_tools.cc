// devices_list, device_boot, capture_screenshot and capture_video: the tools that prepare a device
// and take the app's screens into captures/. Agents see their full definitions already; until the
// capture machinery is part of this build, a call answers that it isn't available yet.
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tools.h"

namespace vorno {

namespace {

// The one answer of a device or capture tool in this build.
[[noreturn]] void notAvailable(const std::string& tool) {
  throw VornoError::invalid(tool + " is not available in this build yet.");
}

ToolActivity activityOf(std::string summary, std::optional<std::string> locale = std::nullopt) {
  return {std::move(summary), std::nullopt, std::nullopt, std::move(locale)};
}

const char* const kCleanStatusBar = "Override the status bar to 9:41, full signal and battery. Default true.";
const char* const kDeepLink = "URL to open first, e.g. myapp://today.";
const char* const kLocale = "Locale folder. Default: the project's first locale.";

class DevicesListTool final : public Tool {
 public:
  std::string name() const override { return "devices_list"; }
  std::string description() const override {
    return "List device frames Vorno can draw (screen size, corner radius, finishes, whether the shape comes from "
           "Xcode) and the simulators currently booted.";
  }
  mcp::Value inputSchema() const override { return Schema::object({}); }
  ToolAnnotations annotations() const override { return ToolAnnotations::readOnly(); }
  ToolActivity activity(const Arguments&) const override { return activityOf("Checked devices"); }
  std::vector<Content> call(const Arguments&, const ToolContext&, ToolProgress&) const override { notAvailable(name()); }
};

class DeviceBootTool final : public Tool {
 public:
  std::string name() const override { return "device_boot"; }
  std::string description() const override {
    return "Boot an iOS simulator (by name, e.g. \"iPhone 17 Pro Max\") or an Android emulator (by AVD name) and wait "
           "until it's ready. Use devices_list to see names. Then install and launch the app with your usual build "
           "tools (xcodebuild/simctl, gradle/adb) before capturing. The iPhone Duo boots folded; only Device Hub's "
           "Unfolded button opens it, so ask the user.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"platform", Schema::string("ios or android.", {"ios", "android"})},
                           {"name", Schema::string("Simulator name or UDID, or AVD name.")}},
                          {"platform", "name"});
  }
  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> device = arguments.string("name");
    return activityOf(device ? "Booted " + *device : "Booted a device");
  }
  std::vector<Content> call(const Arguments&, const ToolContext&, ToolProgress&) const override { notAvailable(name()); }
};

class CaptureTool final : public Tool {
 public:
  std::string name() const override { return "capture_screenshot"; }
  std::string description() const override {
    return "Screenshot a booted iOS simulator or a running Android emulator/device into captures/<locale>/<name>.png. "
           "Sets a clean 9:41 status bar (simctl override on iOS, SystemUI demo mode on Android), optionally opens a "
           "deep link and sets appearance, then waits for the screen to settle. Returns the capture so you can check "
           "it shows real, populated content. Use Android captures for Google Play targets.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"name", Schema::string("Capture name, e.g. today. Letters, digits, . _ -")},
         {"locale", Schema::string(kLocale)},
         {"device",
          Schema::string("Simulator name/UDID, or Android serial/AVD name. Default: the only running device.")},
         {"platform", Schema::string("ios or android. Default: inferred from device, else iOS.", {"ios", "android"})},
         {"deep_link", Schema::string(kDeepLink)},
         {"appearance", Schema::string("Force light or dark mode.", {"light", "dark"})},
         {"clean_status_bar", Schema::boolean(kCleanStatusBar)}},
        {"project", "name"});
  }
  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> capture = arguments.string("name");
    return activityOf(capture ? "Captured " + *capture : "Captured a screen", arguments.string("locale"));
  }
  std::vector<Content> call(const Arguments&, const ToolContext&, ToolProgress&) const override { notAvailable(name()); }
};

class CaptureVideoTool final : public Tool {
 public:
  std::string name() const override { return "capture_video"; }
  std::string description() const override {
    return "Record a booted iOS simulator's screen for some seconds into captures/<locale>/<name>.mov: the app itself "
           "in motion (a live number ticking, a chart drawing, a list scrolling under a scripted demo), for creatives "
           "in motion. Use it as a device's screenshot, \"captures/{locale}/<name>.mov\": every video frame shows the "
           "recording at that moment, looping it. Put the app on the screen to record first (launch arguments or a "
           "deep link). Returns its first frame. Header and search results videos only: App Store Connect's app "
           "previews have rules of their own.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"name", Schema::string("Capture name, e.g. today-live. Letters, digits, . _ -")},
         {"seconds", Schema::number("How long to record, 1–30. Match the creative's loop (or a whole fraction of it) "
                                    "so it loops cleanly.")},
         {"locale", Schema::string(kLocale)},
         {"device", Schema::string("Simulator name or UDID. Default: the only booted one.")},
         {"deep_link", Schema::string(kDeepLink)},
         {"clean_status_bar", Schema::boolean(kCleanStatusBar)}},
        {"project", "name", "seconds"});
  }
  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> capture = arguments.string("name");
    return activityOf(capture ? "Recorded " + *capture : "Recorded the screen", arguments.string("locale"));
  }
  std::vector<Content> call(const Arguments&, const ToolContext&, ToolProgress&) const override { notAvailable(name()); }
};

}  // namespace

ToolList deviceTools() {
  return {std::make_shared<DevicesListTool>(), std::make_shared<DeviceBootTool>(), std::make_shared<CaptureTool>(),
          std::make_shared<CaptureVideoTool>()};
}

}  // namespace vorno
