// FontFileInfo: what a font file calls itself, read before the file joins a package's fonts/, so
// that asset_add can tell the agent the family to write as "fontFamily".
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vorno {

struct FontFileInfo {
  std::string family;               ///< the name fontconfig matches first, e.g. "Inter"
  std::vector<std::string> styles;  ///< each face's or named instance's style, in file order, once each

  bool operator==(const FontFileInfo&) const = default;

  /// The family and styles of the font file at `path`; nothing when fontconfig can't read it or
  /// it names no family.
  static std::optional<FontFileInfo> read(const std::string& path);
};

}  // namespace vorno
