// What `render`, `overview` and `video` share: the target of a slide, the locale of a run, and
// where a picture or video goes (--out as given, else the package's renders/ folder).
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vorno {
struct Project;
struct StoreTarget;
class FileProjectStore;
}  // namespace vorno

namespace vorno::cli {

/// --target, else the project's first target, else the 6.9" iPhone. Unknown: a usage error.
const StoreTarget& slideTarget(const Project& project, const std::optional<std::string>& requested);
/// --locale, else the project's first locale, else "en-US".
std::string runLocale(const Project& project, const std::optional<std::string>& requested);
/// A given --out as it stands (its folder must exist); else `name` in renders/, made when needed.
std::filesystem::path outputPath(const std::optional<std::string>& out, const FileProjectStore& store,
                                 const std::string& name);

}  // namespace vorno::cli
