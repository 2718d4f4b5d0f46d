// XcodeDisplay: one screen of a simulator device type, read from the property lists of its
// bundle. Sizes are portrait (width the shorter side); corners are in points.
#pragma once

#include <optional>
#include <string>
#include <vector>

typedef void* plist_t;

namespace vorno {

struct XcodeDisplay {
  struct Corners {
    double topLeft = 0, topRight = 0, bottomLeft = 0, bottomRight = 0;
    bool operator==(const Corners&) const = default;
  };

  int width = 0;   ///< pixels, the shorter side
  int height = 0;  ///< pixels, the longer side
  double scale = 1;  ///< pixels per point
  std::optional<std::string> mask;  ///< base name of the screen's mask PDF in the bundle
  std::optional<Corners> corners;   ///< radii in points

  bool operator==(const XcodeDisplay&) const = default;

  /// The integrated displays listed in the capabilities, else the main screen of the profile.
  /// A panel wider than it is tall is turned to portrait and loses its mask and corners, so it
  /// never yields a frame. `capabilities` may be null; both are dictionaries when present.
  static std::vector<XcodeDisplay> all(plist_t capabilities, plist_t profile);
};

/// Reads a property list file, XML or binary; null when it can't be read or parsed. The caller
/// frees the result with plist_free.
plist_t readPropertyList(const std::string& path);

/// Whether `node` is a dictionary (not null, not another kind of node).
bool isDictionary(plist_t node);

}  // namespace vorno
