// Simctl: the iOS simulators, driven through `xcrun simctl`: listing them, choosing the one meant,
// booting, a clean status bar, the appearance, deep links, screenshots and recordings. Its most
// particular job is the foldable simulator, whose two displays are never both lit: the screenshot
// must be taken of the lit one (`litDisplay`).
//
//   Simctl simctl;                                   // runs /usr/bin/xcrun
//   Simctl::Device device = simctl.resolve("booted");
//   simctl.screenshot(device.udid, simctl.litDisplay(device.udid), "/tmp/shot.png");
//
// Linux has no xcrun: there every operation ends in one sentence that says so, and tests point
// `xcrunPath` at a stand-in that replays recorded output.
#pragma once

#include "kit/capture/capture_clock.h"

#include <optional>
#include <string>
#include <vector>

namespace vorno {

class Image;

class Simctl {
 public:
  struct Device {
    std::string udid;
    std::string name;   ///< "iPhone 17 Pro Max"
    std::string state;  ///< as simctl gives it; "Booted" is the one that matters
    std::string runtime;  ///< "iOS-26-0": the runtime identifier without its common prefix
    std::optional<std::string> deviceTypeIdentifier;

    bool operator==(const Device&) const = default;
  };

  struct Screen {
    int id = 0;
    std::string type;  ///< "Integrated" for a display of the device itself
    int width = 0;
    int height = 0;

    bool operator==(const Screen&) const = default;
  };

  static constexpr const char* defaultXcrun = "/usr/bin/xcrun";

  /// The program every command runs, with `simctl` as its first argument.
  std::string xcrunPath = defaultXcrun;
  /// Only `recordVideo` waits; its waits go through this clock.
  CaptureClock clock = CaptureClock::real();

  std::vector<Device> devices() const;
  std::vector<Device> bootedDevices() const;
  /// The booted simulator meant by `query` (a name or UDID); none or "booted" means the only one.
  Device resolve(const std::optional<std::string>& query) const;
  /// Boots the simulator of that name or UDID unless it runs, and waits until it has finished.
  Device boot(const std::string& query) const;
  void cleanStatusBar(const std::string& udid) const;
  void setAppearance(const std::string& udid, bool dark) const;
  void openURL(const std::string& udid, const std::string& url) const;
  std::vector<Screen> screens(const std::string& udid) const;
  void screenshot(const std::string& udid, std::optional<int> display, const std::string& path) const;
  /// The display to shoot on a simulator with several: the largest that isn't dark. Nothing for a
  /// simulator with fewer than two integrated displays, which is shot without `--display`.
  std::optional<int> litDisplay(const std::string& udid) const;
  /// Records `seconds` of the display into `path` (H.264 in a QuickTime movie). simctl follows
  /// links on the way: `path` is a folder of the caller's own, never one inside a package.
  void recordVideo(const std::string& udid, std::optional<int> display, const std::string& path, double seconds) const;

  /// The devices of `simctl list devices --json`: available ones only, sorted by name (stable).
  static std::vector<Device> parseDevices(const std::string& json);
  /// The screens of `simctl io <udid> enumerate`.
  static std::vector<Screen> parseScreens(const std::string& text);
  /// The arguments after `status_bar <udid> override`: 9:41, full Wi-Fi and cellular, no
  /// carrier name, a charged battery.
  static std::vector<std::string> statusBarArguments();
  /// True when the picture shows nothing: drawn into 48 × 48 averaged pixels, no channel of any
  /// pixel is above 5. One bright pixel doesn't count; a lit screen always does.
  static bool isDark(const Image& image);

 private:
  void requireXcrun() const;
  std::string simctl(const std::vector<std::string>& arguments, int timeoutSeconds) const;
};

}  // namespace vorno
