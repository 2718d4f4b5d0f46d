// ExportManifest: the record `.vorno-export.json` of what an export wrote, and the one safe way
// to replace an earlier export. Nothing is ever removed by looking at what lies in the folder:
// only files that the previous manifest lists, in the scopes the new run covers, go.
//
//   std::vector<std::string> removed = ExportManifest::replace({package, "exports"}, entries,
//                                                              {{ExportLayout::vorno, "play.phone", "en-US"}});
//
// A user's own files in the folder are never touched, and an entry that points outside the folder
// (a tampered "../../etc/hosts") is dropped unread. The manifest itself is written from the
// ExportFolder's root down without following a link, like every file of the export.
#pragma once

#include "kit/export/export_folder.h"
#include "kit/export/export_layout.h"

#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace vorno {

struct ExportManifest {
  /// The file's name at the root of an export folder.
  static constexpr const char* fileName = ".vorno-export.json";

  /// One written file: its path relative to the manifest's folder, and the run's scope it
  /// belongs to.
  struct Entry {
    std::string path;
    ExportLayout layout = ExportLayout::vorno;
    std::string target;
    std::string locale;

    bool operator==(const Entry&) const = default;
  };

  /// This run is the truth for every file of this layout, target and locale.
  struct Scope {
    ExportLayout layout = ExportLayout::vorno;
    std::string target;
    std::string locale;

    bool operator==(const Scope&) const = default;
    bool operator<(const Scope& other) const {
      return std::tie(layout, target, locale) < std::tie(other.layout, other.target, other.locale);
    }
  };

  std::vector<Entry> files;

  bool operator==(const ExportManifest&) const = default;

  /// The folder's manifest; an empty one when the file is missing or can't be read as one.
  static ExportManifest read(const std::filesystem::path& folder);

  /// Before a run places its first file: lists the files it will write in the folder's manifest,
  /// after the entries already there (those already listed are not repeated), atomically. A run
  /// that then fails or is killed has its files on record, and the next run that covers them
  /// removes those it doesn't write again.
  static void announce(const ExportFolder& folder, const std::vector<Entry>& entries);

  /// Removes the old entries of the covered scopes that the new ones don't list again, keeps the
  /// uncovered entries whose files still exist, writes the kept entries followed by `entries`
  /// atomically, and returns the relative paths removed. A file that can't be removed throws
  /// VornoError::io and leaves the manifest as it was.
  static std::vector<std::string> replace(const ExportFolder& folder, const std::vector<Entry>& entries,
                                          const std::set<Scope>& covering);

  /// Removes everything the folder's manifest lists, then the manifest, then the folder if that
  /// left it empty (a ".DS_Store" doesn't count). No manifest: nothing is removed.
  static std::vector<std::string> clear(const ExportFolder& folder);
};

}  // namespace vorno
