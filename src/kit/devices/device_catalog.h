// DeviceCatalog: which DeviceFrame fits this device or this capture. It merges the device-type
// bundles installed for the simulators (true screen sizes and a PDF of each screen's shape) with
// the built-in frames, which also cover every Android device. A bundle's frame beats the built-in
// frame of the same id. The catalogue never fails: what can't be read means fewer frames.
//
//   const DeviceCatalog& catalog = DeviceCatalog::shared();
//   auto frame = catalog.bestMatch(1206, 2622, Platform::ios, DeviceFamily::phone);
//   auto generic = catalog.frame("android-generic-1080x2400");
#pragma once

#include "kit/devices/device_frame.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

struct DeviceCatalog {
  /// Raw, in catalogue order: mask frames still carry their stand-by radius. Every lookup below
  /// returns its frame through `resolved`.
  std::vector<DeviceFrame> frames;

  /// The environment variable that replaces the device-type folders with a colon-separated list
  /// (tests point it at fixture bundles).
  static constexpr const char* foldersVariable = "VORNO_DEVICE_TYPES";

  /// The catalogue of the process: loaded on first use, never rebuilt.
  static const DeviceCatalog& shared();
  /// Builds a catalogue from `deviceTypeFolders()`.
  static DeviceCatalog load();
  /// Builds a catalogue from these device-type folders, the first folder winning on equal ids.
  static DeviceCatalog load(const std::vector<std::filesystem::path>& folders);
  /// The system's device-type folder, then the one under the developer folder (DEVELOPER_DIR, else
  /// the target of /var/db/xcode_select_link, else the default install); or the folders of
  /// VORNO_DEVICE_TYPES when it is set.
  static std::vector<std::filesystem::path> deviceTypeFolders();

  /// By id, resolved; "android-generic-<w>x<h>" makes a generic Android frame.
  std::optional<DeviceFrame> frame(std::string_view id) const;
  /// The first frame of the platform whose screen is exactly this size, either way round.
  std::optional<DeviceFrame> exactMatch(int width, int height, Platform platform) const;
  /// The exact size if there is one, else the frame of that platform and family nearest in aspect.
  std::optional<DeviceFrame> bestMatch(int width, int height, Platform platform, DeviceFamily family) const;
  /// The first frame of the platform and family.
  std::optional<DeviceFrame> defaultFrame(Platform platform, DeviceFamily family) const;

  /// A frame made on the spot for an Android capture of any size (sides sorted first).
  static DeviceFrame genericAndroid(int width, int height);
  /// The frame with its corner radius fitted to its mask (cached); frames without a mask as they are.
  static DeviceFrame resolved(const DeviceFrame& frame);

  /// The names in the order pickers and `defaultFrame` meet them.
  static const std::vector<std::string>& preferenceOrder();
  /// Index of the name in the preference order, 1000 for a name not in it.
  static int rank(std::string_view name);

  /// The frames of one device-type bundle: one per usable display; none when its profile can't
  /// be read or its masks are missing.
  static std::vector<DeviceFrame> xcodeFrames(const std::string& name, const std::filesystem::path& bundle,
                                              const FrameSpec& spec);
};

}  // namespace vorno
