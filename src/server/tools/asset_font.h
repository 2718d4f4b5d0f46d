// AssetFont: what a font file calls itself, read before the file joins a package's fonts/, so
// that asset_add can tell the agent the family to write as "fontFamily".
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vorno::AssetFont {

struct Faces {
  std::string family;               ///< the name fontconfig matches first, e.g. "Inter"
  std::vector<std::string> styles;  ///< each face's or named instance's style, in file order, once each
};

/// The family and styles of the font file at `path`; nothing when fontconfig can't read it or it
/// names no family.
std::optional<Faces> read(const std::string& path);

}  // namespace vorno::AssetFont
