// How the replacement works: the old manifest is the only memory of what an earlier export wrote.
// Each old entry is first confined to the folder (its path, joined to the folder and standardised,
// must begin with the folder and "/"), then judged by its scope. A covered entry that the new run
// didn't write again is stale: its file goes, and so do the folders that this leaves empty, up to
// but not including the export folder. An uncovered entry belongs to another layout, target or
// locale that this run says nothing about, so it stays listed as long as its file exists.
//
// The manifest is written twice per run, each time atomically. Before the first file is placed,
// the run's files are announced: added to the old entries, nothing removed. At the end it is
// replaced as above. A run that fails or is killed in between leaves a manifest that still lists
// every old file and every file this run may have written, so the next run can finish the job:
// no file an export wrote is ever left unlisted for an uploader to publish.
#include "kit/export/export_manifest.h"

#include "kit/util/json_output.h"
#include "kit/util/paths.h"
#include "kit/util/read_file.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace vorno {

namespace fs = std::filesystem;

namespace {

constexpr const char* finderLitter = ".DS_Store";

bool liesUnder(const fs::path& path, const fs::path& folder) {
  const std::string inner = path.string();
  const std::string outer = folder.string() == "/" ? "" : folder.string();
  return inner.size() > outer.size() + 1 && inner.compare(0, outer.size(), outer) == 0 && inner[outer.size()] == '/';
}

std::optional<ExportManifest::Entry> decodeEntry(const Json& json) {
  if (!json.is_object()) return std::nullopt;
  auto text = [&](const char* key) -> std::optional<std::string> {
    auto it = json.find(key);
    if (it == json.end() || !it->is_string()) return std::nullopt;
    return it->get<std::string>();
  };
  auto path = text("path"), layout = text("layout"), target = text("target"), locale = text("locale");
  if (!path || !layout || !target || !locale) return std::nullopt;
  auto layoutCase = enumCase<ExportLayout>(*layout);
  if (!layoutCase) return std::nullopt;
  return ExportManifest::Entry{*path, *layoutCase, *target, *locale};
}

Json encode(const ExportManifest& manifest) {
  Json files = Json::array();
  for (const auto& entry : manifest.files)
    files.push_back({{"path", entry.path},
                     {"layout", std::string(rawValue(entry.layout))},
                     {"target", entry.target},
                     {"locale", entry.locale}});
  return Json{{"files", files}};
}

// Whether a folder holds nothing but Finder's litter; false when it can't be listed.
bool isEmptyButLitter(const fs::path& folder) {
  std::error_code error;
  fs::directory_iterator it(folder, error);
  if (error) return false;
  for (; it != fs::directory_iterator(); it.increment(error)) {
    if (error) return false;
    if (it->path().filename() != finderLitter) return false;
  }
  return !error;
}

bool removeFolderWithLitter(const fs::path& folder) {
  std::error_code error;
  fs::remove(folder / finderLitter, error);
  return fs::remove(folder, error) && !error;
}

// Climbs from the file's folder towards `folder`, removing each folder that is left empty (but
// for a ".DS_Store"). Any error ends the climb quietly: an empty folder left over is harmless.
void removeEmptyParents(const fs::path& file, const fs::path& folder) {
  for (fs::path current = standardizePath(file.parent_path()); liesUnder(current, folder);
       current = current.parent_path()) {
    if (!isEmptyButLitter(current) || !removeFolderWithLitter(current)) return;
  }
}

// Written atomically and flushed: the manifest is the only memory of what an export placed.
void writeManifest(const ExportFolder& folder, const ExportManifest& manifest) {
  writeFileBelow(folder.root, folder.relative(ExportManifest::fileName), documentJSON(encode(manifest)));
}

}  // namespace

ExportManifest ExportManifest::read(const fs::path& folder) {
  std::optional<std::string> bytes = readRegularFile(folder / fileName);
  if (!bytes) return {};
  Json json = Json::parse(*bytes, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || !json.contains("files") || !json["files"].is_array()) return {};
  ExportManifest manifest;
  for (const auto& element : json["files"]) {
    // One entry that doesn't decode makes the whole file unreadable, and an unreadable manifest
    // removes nothing: guessing at a damaged record is how user files would get lost.
    auto entry = decodeEntry(element);
    if (!entry) return {};
    manifest.files.push_back(std::move(*entry));
  }
  return manifest;
}

void ExportManifest::announce(const ExportFolder& place, const std::vector<Entry>& entries) {
  const fs::path folder = standardizePath(place.path());
  ExportManifest next = read(folder);
  std::set<std::string> listed;
  for (const auto& entry : next.files) listed.insert(entry.path);
  for (const auto& entry : entries)
    if (listed.insert(entry.path).second) next.files.push_back(entry);
  writeManifest(place, next);
}

std::vector<std::string> ExportManifest::replace(const ExportFolder& place, const std::vector<Entry>& entries,
                                                 const std::set<Scope>& covering) {
  const fs::path folder = standardizePath(place.path());
  ExportManifest old = read(folder);

  std::set<std::string> fresh;
  for (const auto& entry : entries) fresh.insert(entry.path);

  std::vector<std::string> removed;
  ExportManifest next;
  for (const auto& entry : old.files) {
    const fs::path file = standardizePath(folder / entry.path);
    if (!liesUnder(file, folder)) continue;
    const bool covered = covering.count(Scope{entry.layout, entry.target, entry.locale}) > 0;
    const bool written = fresh.count(entry.path) > 0;
    if (written) continue;
    std::error_code error;
    const fs::file_status status = fs::symlink_status(file, error);
    // Only files are ours to remove: an entry that names a folder was never written by an export.
    const bool present = !error && fs::exists(status) && !fs::is_directory(status);
    if (covered) {
      // Lexical confinement is not enough when a folder on the way is a symbolic link to
      // elsewhere: the file is reached folder by folder without following one, so a link (there
      // all along or swapped in just now) leads nowhere and nothing outside is removed.
      if (present && removeFileBelow(place.root, place.relative(file.lexically_relative(folder).string()))) {
        removed.push_back(entry.path);
        removeEmptyParents(file, folder);
      }
    } else if (present) {
      next.files.push_back(entry);
    }
  }
  next.files.insert(next.files.end(), entries.begin(), entries.end());
  writeManifest(place, next);
  return removed;
}

std::vector<std::string> ExportManifest::clear(const ExportFolder& place) {
  const fs::path folder = standardizePath(place.path());
  std::error_code error;
  if (!fs::exists(fs::symlink_status(folder / fileName, error))) return {};

  std::set<Scope> scopes;
  for (const auto& entry : read(folder).files) scopes.insert(Scope{entry.layout, entry.target, entry.locale});
  std::vector<std::string> removed = replace(place, {}, scopes);

  removeFileBelow(place.root, place.relative(fileName));
  if (isEmptyButLitter(folder)) removeFolderWithLitter(folder);
  return removed;
}

}  // namespace vorno
