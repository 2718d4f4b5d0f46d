// Exporter: every slide for every target and locale, and every creative for every locale, as
// store-ready PNGs in one of the two folder layouts, then the safe replacement of the earlier
// export through the manifest.
//
//   Exporter exporter;
//   ExportSummary summary = exporter.exportProject(project, store, ExportRequest{});
//   LooksExport looks = exporter.exportLooks(project, store, {.layout = ExportLayout::fastlane});
//
// Names that become paths are checked before anything is drawn. The files are drawn in parallel
// on the process pool with one LayerCache shared by all of them; each is read back and checked
// against its slot. A failed file doesn't stop the others: the first failure is thrown at the
// end, before the old export is touched.
#pragma once

#include "kit/export/export_layout.h"
#include "kit/export/export_summary.h"
#include "kit/render/slide_renderer.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

class FileProjectStore;
struct ExportPlan;
struct Project;
struct Slide;
struct StoreTarget;

/// Where a running export stands, after each written file and while a video encodes: `finished`
/// of `files` in look `look` of `looks` (one look unless every variant is exported). A video
/// counts as one file, done in fractions as its frames are encoded.
struct ExportProgress {
  size_t look = 0;
  size_t looks = 1;
  double finished = 0;
  size_t files = 0;
  std::string file;  ///< the file just written, relative to its export folder
  bool encoding = false;  ///< `file` is a video still being encoded
};

/// What one export covers and where it goes. `targets` absent: the project's targets and every
/// creative canvas; `locales` absent: the project's; `into` absent: the package's exports folder
/// (a look of a variant always goes to its own folder in the package).
struct ExportRequest {
  std::optional<std::vector<StoreTarget>> targets;
  std::optional<std::vector<std::string>> locales;
  ExportLayout layout = ExportLayout::vorno;
  std::optional<std::filesystem::path> into;
};

class Exporter {
 public:
  explicit Exporter(SlideRenderer renderer = SlideRenderer()) : renderer_(std::move(renderer)) {}

  /// Called after each file is written and as videos encode, from the thread that did the work,
  /// one call at a time.
  Exporter& reportingProgress(std::function<void(const ExportProgress&)> handler) {
    progress_ = std::move(handler);
    return *this;
  }

  /// One export of one look (`export` is a keyword here). Throws VornoError for a name that can't
  /// be a file name, an unknown canvas, the first file that failed, or a file of the old export
  /// that can't be removed.
  ExportSummary exportProject(const Project& project, const FileProjectStore& store,
                              const ExportRequest& request) const;

  /// The base into exports/ (or `request.into`), then each variant into exports/variants/<id>/,
  /// then the removal of the looks whose variant is gone. A look lists only the issues the base
  /// doesn't also have.
  LooksExport exportLooks(const Project& project, const FileProjectStore& store, const ExportRequest& request) const;

  /// exports/variants/<name> for a variant, after the name passes FileName::check as "Variant id";
  /// nothing for the base (its folder is the default).
  static std::optional<std::filesystem::path> folder(const std::optional<std::string>& variant,
                                                     const FileProjectStore& store);

  /// A slide's file, relative to the export folder; `index` counts from 1 within its target and
  /// locale.
  static std::string path(ExportLayout layout, const StoreTarget& target, const std::string& locale, int index,
                          const Slide& slide);
  /// A creative's file with the extension "png" or "mp4", relative to the export folder.
  static std::string creativePath(ExportLayout layout, const StoreTarget& canvas, const std::string& locale,
                                  const std::string& creativeID, const std::string& extension);

  /// The first issue of each description, then sorted by severity (info first), ties by
  /// description.
  static std::vector<Issue> dedupe(const std::vector<Issue>& issues);

  /// Bytes of element layers kept for one whole export.
  static constexpr int64_t layerBudget = 268435456;
  /// What decoded images (captures) may keep resident during an export: a few captures, since
  /// the drawing order uses each one soon after it is decoded.
  static constexpr int64_t captureBudget = 67108864;
  /// Resampled captures kept during an export: each serves one picture, so only the newest stays.
  static constexpr int64_t resampleBudget = 0;

 private:
  /// One look's export worked out before anything is drawn or written: its targets, locales and
  /// files, every name and every place a file goes checked. ExportPlan is defined in exporter.cc.
  static ExportPlan plan(const Project& project, const FileProjectStore& store, const ExportRequest& request);
  /// Lays out, draws, writes and checks every file of `plan`, then replaces the manifest. `look`
  /// of `looks` is only for progress.
  ExportSummary exportLook(const ExportPlan& plan, const Project& project, const FileProjectStore& store, size_t look,
                           size_t looks) const;

  SlideRenderer renderer_;
  std::function<void(const ExportProgress&)> progress_;
};

}  // namespace vorno
