// StoreTarget: the fixed catalogue of what the stores accept. `all` holds the screenshot slots,
// `canvases` the App Store creative canvases; a project names them by id.
#pragma once

#include "kit/model/enum_names.h"
#include "kit/model/fill.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorno {

enum class Platform { ios, android };
enum class DeviceFamily { phone, tablet, foldable };

template <>
struct EnumNames<Platform> {
  static constexpr std::string_view typeName = "Platform";
  static constexpr std::array<std::string_view, 2> names{"ios", "android"};
};
template <>
struct EnumNames<DeviceFamily> {
  static constexpr std::string_view typeName = "DeviceFamily";
  static constexpr std::array<std::string_view, 3> names{"phone", "tablet", "foldable"};
};

/// `tablet` when the short side is above 0.6 of the long side, else `phone`; never `foldable`.
DeviceFamily deviceFamilyOf(double width, double height);
/// Tablets and foldables lay out as wide canvases.
inline bool isWide(DeviceFamily family) { return family != DeviceFamily::phone; }

struct StoreTarget {
  enum class Kind { screenshot, creative };

  std::string id;
  std::string name;
  Platform platform = Platform::ios;
  int width = 0, height = 0;
  DeviceFamily family = DeviceFamily::phone;
  int maxCount = 0;
  int minCount = 0;
  std::string note;
  Kind kind = Kind::screenshot;
  std::optional<Rect> safeArea;  ///< pixels from the top left; creatives only
  /// Smallest readable type in pixels, on the canvases that the store shows as small tiles.
  std::optional<double> minReadableText;
  /// The video's frame size where it is smaller than the still (search results); else the still's.
  std::optional<std::pair<int, int>> smallerVideo;
  /// Where the fastlane layout puts a screenshot, relative to the export folder: {locale},
  /// {index} (01, 02...), {slide} and {target} are filled in. Creatives have none: they share
  /// one folder of their own.
  std::string fastlanePath;

  bool operator==(const StoreTarget&) const = default;

  bool isCreative() const { return kind == Kind::creative; }
  double aspect() const { return static_cast<double>(width) / height; }
  /// The size from which type sizes follow.
  double textUnit() const;
  /// The video's frame size: `smallerVideo`, or the still's size.
  std::pair<int, int> videoSize() const { return smallerVideo.value_or(std::pair{width, height}); }

  static const std::vector<StoreTarget>& all();
  static const std::vector<StoreTarget>& canvases();
  static const StoreTarget* named(std::string_view id);
  static const StoreTarget* canvas(std::string_view id);
  static const StoreTarget* any(std::string_view id);

  static const StoreTarget& iphone69();
  static const StoreTarget& iphone65();
  static const StoreTarget& iphoneDuo();
  static const StoreTarget& ipad13();
  static const StoreTarget& playPhone();
  static const StoreTarget& playTablet7();
  static const StoreTarget& playTablet10();
  static const StoreTarget& appStoreHeader();
  static const StoreTarget& appStoreSearch();
  static const StoreTarget& appStoreUniversal();
};

/// Which of the catalogue's lists a sentence about an unknown id offers instead.
enum class KnownTargets { slots, canvases, slotsAndCanvases };

/// The ids of that list in catalogue order, joined by ", ": what follows "Known: " (or "Use one
/// of: ") wherever an id the catalogue doesn't have is refused or reported.
std::string knownTargetIDs(KnownTargets which = KnownTargets::slots);

}  // namespace vorno
