// What `render`, `overview` and `video` share: the target of a slide, and where a picture or
// video goes (--out as given, else the package's renders/ folder).
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {
struct Project;
struct StoreTarget;
class FileProjectStore;
class Image;
struct FileBelow;
}  // namespace vorno

namespace vorno::cli {

/// The command line's wording of defaultTarget: --target, else the project's first known target,
/// else the 6.9" iPhone. An unknown --target is a usage error. The locale is runLocale's.
const StoreTarget& slideTarget(const Project& project, const std::optional<std::string>& requested);
/// One of the ids or locales a default file name is made of, and what it is ("Slide id").
struct CheckedName {
  std::string_view name;
  std::string_view what;
};

/// A given --out as it stands: its folder must exist, and what is at the path, if anything, must
/// be a regular file (not a folder, device, pipe or symbolic link). Else `name` in renders/, made
/// when needed, after each of `names` has passed FileName::check; neither renders/ nor the file
/// may be a symbolic link.
std::filesystem::path outputPath(const std::optional<std::string>& out, const FileProjectStore& store,
                                 const std::string& name, const std::vector<CheckedName>& names);

/// Where `path`, a path outputPath gave, is written from: the package and the path below it when
/// it lies in the package (every folder below reached without following a link), else its own
/// folder and name as the user gave them.
FileBelow writePlace(const std::filesystem::path& path, const FileProjectStore& store);

/// Writes `image` as a PNG at `path`, a path outputPath gave. Below the package it is written from
/// the package down without following a link (a folder swapped for one since outputPath looked
/// can't carry it outside); a --out elsewhere is the user's own path, written as it stands.
void writePicture(const Image& image, const std::filesystem::path& path, const FileProjectStore& store);

}  // namespace vorno::cli
