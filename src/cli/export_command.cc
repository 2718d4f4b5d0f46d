// `vorno export`: the store-ready files of the base, of one variant (--variant), or of every look
// (--all-variants), in the vorno or fastlane folder layout, with what the replacement removed and
// every issue found. Issues never change the status: `lint` is the gate.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "kit/export/exporter.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/store/file_project_store.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"

#include <chrono>
#include <iostream>

namespace vorno::cli {

namespace {

// Given --target ids: store slots and creative canvases alike; nothing given means all of them.
std::optional<std::vector<StoreTarget>> requestedTargets(const ParsedArguments& args) {
  std::vector<std::string> ids = args.list("target");
  if (ids.empty()) return std::nullopt;
  std::vector<StoreTarget> targets;
  for (const auto& id : ids) {
    const StoreTarget* target = StoreTarget::named(id);
    if (!target) target = StoreTarget::canvas(id);
    if (!target)
      throw UsageError("Unknown target " + id + ". Known: " + knownTargetIDs(KnownTargets::slotsAndCanvases));
    targets.push_back(*target);
  }
  return targets;
}

void report(const ExportSummary& summary, const std::string& prefix) {
  std::cout << prefix << "Wrote " << summary.files.size() << " files to " << summary.directory << "\n";
  for (const auto& path : summary.removed) std::cout << prefix << "Removed " << path << " (no longer produced)\n";
  for (const auto& issue : summary.issues) std::cout << prefix << issue.description() << "\n";
}

}  // namespace

int runExport(const ParsedArguments& args) {
  const auto start = std::chrono::steady_clock::now();
  FileProjectStore store(standardizePath(*args.string("project")));
  Project base = store.load();
  // The layout is checked only after loading, so a bad path reports the missing package first.
  std::optional<ExportLayout> layout = enumCase<ExportLayout>(args.string("layout").value_or("vorno"));
  if (!layout) throw UsageError("Layout must be vorno or fastlane.");
  const auto targets = requestedTargets(args);
  std::optional<std::vector<std::string>> locales;
  if (auto given = args.list("locale"); !given.empty()) locales = given;

  Exporter exporter;
  if (args.flag("allVariants")) {
    LooksExport looks = exporter.exportLooks(base, store, {targets, locales, *layout});
    for (const auto& path : looks.removed) std::cout << "Removed " << path << " (that look is gone)\n";
    for (const auto& look : looks.looks) report(look.summary, "[" + look.variant.value_or("base") + "] ");
  } else {
    const auto variant = args.string("variant");
    Project project = base.resolved(variant);
    report(exporter.exportProject(project, store, {targets, locales, *layout, Exporter::folder(variant, store)}), "");
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::cout << formatted("Done in %.1fs", seconds.count()) << "\n";
  return 0;
}

}  // namespace vorno::cli
