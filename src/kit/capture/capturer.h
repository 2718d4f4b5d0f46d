// Capturer: a running app into a file of the package. It finds the device, prepares it (status
// bar, appearance, deep link), waits until the screen has stopped changing, and writes
// captures/<locale>/<name>.png; it also records short clips of an iOS simulator for creatives in
// motion. The same steps serve a simulator and an Android device; only the commands differ.
//
//   Capturer capturer;
//   std::string path = capturer.capture(store, "home", "en-US", std::nullopt, "myapp://home", true,
//                                       std::nullopt, Platform::android);   // "captures/en-US/home.png"
#pragma once

#include "kit/capture/adb.h"
#include "kit/capture/capture_clock.h"
#include "kit/capture/simctl.h"
#include "kit/model/store_target.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vorno {

class FileProjectStore;
class Image;
struct FileBelow;

/// What to capture: the name and locale it is saved under, on which device (the only one running
/// when none), after which deep link, with a clean status bar, in which appearance.
struct CaptureRequest {
  std::string name;
  std::string locale;
  std::optional<std::string> device;
  std::optional<std::string> deepLink;
  bool cleanStatusBar = true;
  std::optional<std::string> appearance;  ///< "dark" or "light"; none leaves the device as it is
  std::optional<Platform> platform;       ///< none: found from the device (resolvePlatform)
};

/// A capture saved: its path relative to the package, and the platform it was taken on.
struct CaptureResult {
  std::string path;
  Platform platform = Platform::ios;
};

class Capturer {
 public:
  Simctl simctl;
  /// Where the Android SDK is looked for when an Android device is needed.
  AndroidSdkPlaces androidSdk = AndroidSdkPlaces::current();
  /// The settled-screen loop's clock; `simctl` and the Android side keep their own.
  CaptureClock clock = CaptureClock::real();

  /// "captures/<locale>/<name>.png": the path slides refer to.
  static std::string relativePath(const std::string& name, const std::string& locale);

  /// Takes a settled screenshot into the package. Names are checked before any device is
  /// touched, and an older capture of the name stays until the new one is complete.
  CaptureResult capture(const FileProjectStore& store, const CaptureRequest& request) const;

  /// Records 1–30 seconds of a booted simulator into "captures/<locale>/<name>.mov"; returns that.
  std::string recordVideo(const FileProjectStore& store, const std::string& name, const std::string& locale,
                          const std::optional<std::string>& device, double seconds,
                          const std::optional<std::string>& deepLink, bool cleanStatusBar) const;

  /// The platform meant: the given one, else the one that has `device`, else iOS when a
  /// simulator is booted, Android when a device runs, and iOS when neither does.
  Platform resolvePlatform(std::optional<Platform> platform, const std::optional<std::string>& device) const;

  /// Shoots into a temporary folder until two shots in a row have the same bytes, 0.35 s apart,
  /// or `timeout` seconds have passed, then writes the last shot to `target` atomically, every
  /// folder below its base reached without following a link (writeFileBelow).
  static void waitForStableScreen(const FileBelow& target, double timeout,
                                  const std::function<void(const std::string& path)>& shoot,
                                  const CaptureClock& clock = CaptureClock::real());

  /// A warning for a black capture, or nothing. Capturing never fails on one.
  static std::optional<std::string> blankNote(const Image& image);

  /// The Adb this capturer uses: located in `androidSdk`, with the capturer's clock.
  Adb makeAdb() const;
};

}  // namespace vorno
