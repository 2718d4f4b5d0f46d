// ExportFolder: where an export's files and its manifest go, as a base taken as given and a path
// below it that every write walks part by part without following a link. For the package's own
// folders that is the package and "exports/..." (or "exports/variants/<id>"), so a link planted
// at exports/ or anywhere below it is seen; a folder of the caller's own is taken as it stands.
#pragma once

#include "kit/util/write_paths.h"

#include <filesystem>
#include <string>

namespace vorno {

struct ExportFolder {
  std::filesystem::path root;
  std::filesystem::path below;  ///< empty for a folder of the caller's own

  /// The export folder itself.
  std::filesystem::path path() const { return below.empty() ? root : root / below; }
  /// A file of the export, given relative to the export folder, as a path below `root`.
  std::filesystem::path relative(const std::string& file) const { return below / file; }
  /// The same as a file to write.
  FileBelow file(const std::string& file) const { return {root, relative(file)}; }

  bool operator==(const ExportFolder&) const = default;
};

}  // namespace vorno
