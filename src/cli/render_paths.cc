// Where `render`, `overview` and `video` write. Both kinds of path are checked before anything is
// drawn: a default name is made of ids and locales a person may have typed into project.json by
// hand, so each passes FileName and can't climb out of renders/, and renders/ and the file are
// reached without passing a symbolic link (a cloned package may hold one pointing anywhere); a
// given --out must be a regular file or nothing yet, because the write renames a new file over
// whatever is there, and a device, a pipe, a folder or a link there is something the user never
// meant to lose.
#include "cli/render_paths.h"

#include "cli/command_spec.h"
#include "kit/image/images.h"
#include "kit/model/run_defaults.h"
#include "kit/store/file_name.h"
#include "kit/store/file_project_store.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"

#include <sys/stat.h>

namespace vorno::cli {

namespace fs = std::filesystem;

namespace {

// A symbolic link is refused rather than followed or replaced: following it would write wherever
// it points, outside what the user named, and renaming over it would silently turn their link
// into a file. Refusing loses nothing and the sentence says what to give instead.
void checkOut(const fs::path& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return;  // nothing there yet: the write creates it
  const std::string what = notAFileKind(info.st_mode);
  if (what.empty()) return;
  throw VornoError::invalid("The path " + path.string() + " is " + what +
                            ", not a file. Give --out the path of a file, or leave --out off to write into renders/.");
}

}  // namespace

const StoreTarget& slideTarget(const Project& project, const std::optional<std::string>& requested) {
  TargetChoice choice = defaultTarget(project, requested);
  if (!choice.target) throw UsageError(choice.refusal());
  return *choice.target;
}

fs::path outputPath(const std::optional<std::string>& out, const FileProjectStore& store, const std::string& name,
                    const std::vector<CheckedName>& names) {
  if (out) {
    fs::path path = fs::absolute(*out);
    if (!fs::is_directory(path.parent_path()))
      throw VornoError::notFound("The folder " + path.parent_path().string() +
                                 " doesn't exist. Create it, or leave --out off to write into renders/.");
    checkOut(path);
    return path;
  }
  for (const CheckedName& each : names) FileName::check(each.name, each.what);
  return preparedWritePath(store.root(), fs::path("renders") / name);
}

FileBelow writePlace(const fs::path& path, const FileProjectStore& store) {
  const fs::path root = standardizePath(store.root());
  const fs::path relative = standardizePath(path).lexically_relative(root);
  const bool below = !relative.empty() && *relative.begin() != ".." && *relative.begin() != ".";
  if (below) return {root, relative};
  return {path.parent_path(), path.filename()};
}

void writePicture(const Image& image, const fs::path& path, const FileProjectStore& store) {
  const FileBelow place = writePlace(path, store);
  if (place.base == standardizePath(store.root()))
    Images::writeBelow(image, place.base, place.relative, Images::ImageType::png);
  else Images::write(image, path.string(), Images::ImageType::png);
}

}  // namespace vorno::cli
