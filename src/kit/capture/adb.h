// Adb: Android devices and emulators, driven through the SDK's `adb` and `emulator` programs:
// finding the SDK, listing what runs, choosing the device meant, booting an AVD, a clean status
// bar (System UI demo mode), the appearance, deep links and screenshots.
//
//   Adb adb;                                        // finds the SDK, or throws
//   Adb::Device device = adb.resolve(std::nullopt); // the only running device
//   adb.cleanStatusBar(device.serial);
//   adb.screenshot(device.serial, "/tmp/shot.png");  // Capturer copies a settled shot into the package
#pragma once

#include "kit/capture/capture_clock.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

/// Where the Android SDK may be: the two variables the SDK's own tools read, and the home folder,
/// under which Android Studio installs it (~/Android/Sdk on Linux, ~/Library/Android/sdk on a Mac).
struct AndroidSdkPlaces {
  std::optional<std::string> androidHome;    ///< $ANDROID_HOME
  std::optional<std::string> androidSdkRoot;  ///< $ANDROID_SDK_ROOT
  std::filesystem::path home;

  /// This process's environment and home folder.
  static AndroidSdkPlaces current();
  /// The folders to try, in order.
  std::vector<std::filesystem::path> candidates() const;
};

class Adb {
 public:
  struct Device {
    std::string serial;                ///< "emulator-5554", or a USB device's serial
    std::string state;                 ///< "device" is the one that counts as running
    std::optional<std::string> model;  ///< "Pixel 9 Pro": the `model:` word with blanks for "_"
    std::optional<std::string> avd;    ///< the AVD's name, for emulators only

    bool operator==(const Device&) const = default;
    /// `avd`, else `model`, else `serial`.
    std::string displayName() const;
  };

  std::string adbPath;
  std::optional<std::string> emulatorPath;
  /// The boot waits (2 s between looks, 4 minutes at most) go through this clock.
  CaptureClock clock = CaptureClock::real();

  /// Locates the SDK in this process's places. Throws VornoError::notFound when there is none.
  Adb();
  explicit Adb(const AndroidSdkPlaces& places);
  Adb(std::string adbPath, std::optional<std::string> emulatorPath)
      : adbPath(std::move(adbPath)), emulatorPath(std::move(emulatorPath)) {}

  std::vector<Device> devices() const;
  /// The running device meant by `name` (serial, AVD or model); none or "booted" means the only one.
  Device resolve(const std::optional<std::string>& name) const;
  /// The running emulator of that AVD, after starting it and waiting for its boot if need be.
  Device boot(const std::string& avd) const;
  /// The AVD names; empty when the emulator is missing or fails.
  std::vector<std::string> avds() const;
  void cleanStatusBar(const std::string& serial) const;
  void setDarkMode(const std::string& serial, bool dark) const;
  void openURL(const std::string& serial, const std::string& url) const;
  /// The device's screen as a PNG, written atomically to `path` (its folders are made), a path of
  /// the caller's own: follows links, so never a path inside a package.
  void screenshot(const std::string& serial, const std::string& path) const;

  /// The devices of `adb devices -l`, without their AVD names.
  static std::vector<Device> parseDevices(const std::string& text);
  /// `text` in single quotes for the device's shell, each ' in it written '\''.
  static std::string shellQuoted(const std::string& text);
  /// The six System UI demo commands, each the words after `-e command`.
  static std::vector<std::vector<std::string>> demoCommands();

 private:
  std::string adb(const std::vector<std::string>& arguments, int timeoutSeconds) const;
};

}  // namespace vorno
