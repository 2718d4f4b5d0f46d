// Symbols: which symbol names (as an agent writes them, "checkmark.circle.fill") this machine
// can draw, and the SVG icon that draws each.
//
// The names come from our own table, resources/symbols.tsv ("name TAB icon stem", one a line),
// and the glyphs from an installed icon set with outline and "-fill" faces. Layout asks
// `resolves` to report unknown names; rendering asks `svgPath` for the file to draw.
//
//   if (!Symbols::resolves("bell.fill")) ...;          // "symbol.unknown"
//   std::optional<std::string> svg = Symbols::svgPath("bell.fill");
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

/// One loaded table: names to icon files that exist. Immutable once made, so any number of
/// threads may read it.
class SymbolTable {
 public:
  /// Reads the table at `tablePath` (a missing or unreadable file gives an empty table) and
  /// finds each entry's icon as "<stem>.svg" in the first of `iconFolders` that has it. Entries
  /// whose icon is nowhere do not resolve.
  static SymbolTable load(const std::string& tablePath, const std::vector<std::string>& iconFolders);

  bool resolves(std::string_view name) const { return svgPath(name).has_value(); }
  std::optional<std::string> svgPath(std::string_view name) const;
  /// Up to `count` names that resolve and look most like `name`: those that share its first
  /// word come first, then by edit distance, then by name. What a typo most likely meant.
  std::vector<std::string> closest(std::string_view name, size_t count) const;
  /// Every entry of the table file, name to icon stem, whether its icon was found or not.
  const std::map<std::string, std::string, std::less<>>& stems() const { return stems_; }

 private:
  std::map<std::string, std::string, std::less<>> stems_;
  std::map<std::string, std::string, std::less<>> paths_;
};

namespace Symbols {

/// Whether the name maps to an icon that this machine has.
bool resolves(std::string_view name);
/// `SymbolTable::closest` on the shared table.
std::vector<std::string> closest(std::string_view name, size_t count = 3);
/// The icon's SVG file; nothing for a name that doesn't resolve.
std::optional<std::string> svgPath(std::string_view name);
/// The process-wide table, loaded on first use from the first resource folder that holds
/// symbols.tsv: $VORNO_SHARE_DIR, the share folder installed beside the program (<program
/// folder>/../share/vorno), then the source tree's resources.
const SymbolTable& shared();

/// The resource folders in the order they are searched.
std::vector<std::string> resourceFolders();
/// Where icons are looked for when the table sits in `shareFolder`: its symbols/ folder (an
/// installed copy), then the icon set's own folder from its Debian package.
std::vector<std::string> iconFolders(const std::string& shareFolder);

}  // namespace Symbols

}  // namespace vorno
