// devices_list, device_boot, capture_screenshot and capture_video: the tools that prepare a device
// and take the app's screens into captures/. They are thin: Capturer, Simctl and Adb do the work.
// What they add is the check that tells an agent at once whether a capture is usable: the
// picture itself, its size and the frame that will dress it.
#include <nlohmann/json.hpp>

#include "kit/capture/capturer.h"
#include "kit/devices/device_catalog.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/model/enum_names.h"
#include "kit/model/project.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools.h"

namespace vorno {

namespace {

// Previews of captures: small enough for an agent's context, sharp enough to judge the content.
constexpr int kPreviewSide = 1000;
constexpr double kPreviewQuality = 0.86;

nlohmann::json frameJSON(const DeviceFrame& frame) {
  return {{"id", frame.id},
          {"name", frame.name},
          {"platform", std::string(rawValue(frame.platform))},
          {"family", std::string(rawValue(frame.family))},
          {"screen", std::to_string(frame.screenWidth) + "×" + std::to_string(frame.screenHeight) +
                         " px, corner radius " + formatted("%.0f", frame.screenCornerRadius) + " px"},
          {"shape", frame.maskPDFPath ? "xcode-mask" : "builtin"},
          {"finishes", frame.spec.allFinishes()}};
}

nlohmann::json simulatorJSON(const Simctl::Device& device) {
  nlohmann::json out = {
      {"udid", device.udid}, {"name", device.name}, {"state", device.state}, {"runtime", device.runtime}};
  if (device.deviceTypeIdentifier) out["deviceTypeIdentifier"] = *device.deviceTypeIdentifier;
  return out;
}

nlohmann::json androidJSON(const Adb::Device& device) {
  nlohmann::json out = {{"serial", device.serial}, {"state", device.state}};
  if (device.model) out["model"] = *device.model;
  if (device.avd) out["avd"] = *device.avd;
  return out;
}

std::optional<Platform> platformArgument(const Arguments& arguments) {
  std::optional<std::string> given = arguments.string("platform");
  if (!given) return std::nullopt;
  std::optional<Platform> platform = enumCase<Platform>(*given);
  if (!platform) throw VornoError::invalid("platform must be ios or android.");
  return platform;
}

/// "iOS-26-0" as "iOS 26.0"; a runtime of another form as it stands.
std::string runtimeWords(const std::string& runtime) {
  if (runtime.rfind("iOS-", 0) != 0) return runtime;
  std::string version = runtime.substr(4);
  for (char& c : version)
    if (c == '-') c = '.';
  return "iOS " + version;
}

Content preview(const Image& image) {
  Image small = Images::downscale(image, kPreviewSide);
  std::vector<uint8_t> jpeg = Images::encode(small, Images::ImageType::jpeg, kPreviewQuality);
  return Content::image(std::string(jpeg.begin(), jpeg.end()), "image/jpeg");
}

/// The frame a capture of this size will be dressed in: the exact screen size, else the nearest
/// in aspect of its family, else on Android a generic frame made for it.
std::optional<DeviceFrame> frameFor(const DeviceCatalog& catalog, int width, int height, Platform platform) {
  if (auto exact = catalog.exactMatch(width, height, platform)) return exact;
  if (auto best = catalog.bestMatch(width, height, platform, deviceFamilyOf(width, height))) return best;
  if (platform == Platform::android) return DeviceCatalog::genericAndroid(width, height);
  return std::nullopt;
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
  std::vector<Content> call(const Arguments&, const ToolContext& context, ToolProgress&) const override {
    nlohmann::json out = {{"frames", nlohmann::json::array()},
                          {"booted", nlohmann::json::array()},
                          {"android", nlohmann::json::array()},
                          {"androidVirtualDevices", nlohmann::json::array()}};
    for (const auto& frame : context.catalog->frames) out["frames"].push_back(frameJSON(frame));
    // Each toolchain may be missing on this machine; the answer says why and goes on.
    try {
      for (const auto& device : context.capturer.simctl.bootedDevices()) out["booted"].push_back(simulatorJSON(device));
    } catch (const VornoError& error) {
      out["simulatorError"] = error.message();
    }
    try {
      Adb adb = context.capturer.makeAdb();
      nlohmann::json android = nlohmann::json::array();
      for (const auto& device : adb.devices()) android.push_back(androidJSON(device));
      out["android"] = std::move(android);
      out["androidVirtualDevices"] = adb.avds();
    } catch (const VornoError& error) {
      out["androidError"] = error.message();
    }
    return {Content::json(out)};
  }
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
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const std::string device = arguments.requireString("name");
    const std::string platform = arguments.requireString("platform");
    if (platform == "ios") {
      Simctl::Device booted = context.capturer.simctl.boot(device);
      return {Content::plain("Booted " + booted.name + " (" + booted.udid + "), " + runtimeWords(booted.runtime) + ".")};
    }
    if (platform == "android") {
      Adb::Device booted = context.capturer.makeAdb().boot(device);
      return {Content::plain("Booted " + booted.avd.value_or(device) + " (" + booted.serial + ").")};
    }
    throw VornoError::invalid("platform must be ios or android.");
  }
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
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    Project project = store.load();
    const std::string capture = arguments.requireString("name");
    const std::string locale = localeArgument(arguments, project);
    const auto [path, platform] = context.capturer.capture(
        store, {capture, locale, arguments.string("device"), arguments.string("deep_link"),
                arguments.boolean("clean_status_bar").value_or(true), arguments.string("appearance"),
                platformArgument(arguments)});

    Image image = Images::load((store.root() / path).string());
    std::optional<DeviceFrame> frame = frameFor(*context.catalog, image.width(), image.height(), platform);
    const bool sideways = image.width() > image.height();
    std::string text = "Saved " + path + " (" + std::to_string(image.width()) + "×" + std::to_string(image.height()) +
                       "). Frame match: " + (frame ? frame->id : "none") +
                       (frame && sideways ? ", drawn on its side (a landscape capture)" : "") +
                       ". Use \"captures/{locale}/" + capture + ".png\" in a slide's device.screenshot.";
    if (std::optional<std::string> note = Capturer::blankNote(image)) text += "\nWarning: " + *note;
    return {preview(image), Content::plain(text)};
  }
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
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    Project project = store.load();
    std::optional<double> seconds = arguments.number("seconds");
    if (!seconds) throw VornoError::invalid("capture_video: seconds is required.");
    const std::string capture = arguments.requireString("name");
    const std::string locale = localeArgument(arguments, project);
    const std::string path =
        context.capturer.recordVideo(store, capture, locale, arguments.string("device"), *seconds,
                                     arguments.string("deep_link"), arguments.boolean("clean_status_bar").value_or(true));
    std::vector<Content> answer;
    // The first frame comes from the recording decoder; where this build can't read recordings
    // yet, the answer is the text alone rather than a failure of a recording that succeeded.
    try {
      answer.push_back(preview(ImageCache::shared().image((store.root() / path).string() + "@t=0")));
    } catch (const VornoError&) {
    }
    answer.push_back(Content::plain("Saved " + path + " (" + formatted("%.1f", *seconds) +
                                    " s). Use \"captures/{locale}/" + capture +
                                    ".mov\" as a device's screenshot in a creative with motion."));
    return answer;
  }
};

}  // namespace

ToolList deviceTools() {
  return {std::make_shared<DevicesListTool>(), std::make_shared<DeviceBootTool>(), std::make_shared<CaptureTool>(),
          std::make_shared<CaptureVideoTool>()};
}

}  // namespace vorno
