// The checking tools: lint says what the stores would refuse, export writes the store-ready files
// and verifies each. Neither fails on an issue: the issues travel in the answer, with severity.
#include "server/tools.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "kit/export/exporter.h"
#include "kit/layout/layout_findings.h"
#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/enum_names.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/store/file_project_store.h"
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"

namespace vorno {

namespace {

class LintTool final : public Tool {
 public:
  std::string name() const override { return "lint"; }
  std::string description() const override {
    return "Check the project against App Store and Google Play rules: counts, aspect limits, policy words, missing "
           "translations; and lay out every slide on every target and locale, reporting what its render would "
           "(text that doesn't fit, elements covering the words or each other, devices cut by the canvas).";
  }
  mcp::Value inputSchema() const override { return Schema::object({{"project", Schema::project()}}, {"project"}); }
  ToolAnnotations annotations() const override { return ToolAnnotations::readOnly(); }
  ToolActivity activity(const Arguments&) const override { return {"Checked store rules", {}, {}, {}}; }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const Project project = store.load();
    // Fields the readers ignored come first: fixing them may change everything below.
    std::vector<Issue> issues = schemaIssues(SchemaCheck::projectFile(store.project()), std::nullopt);
    const std::vector<Issue> rules = Linter::lint(project);
    issues.insert(issues.end(), rules.begin(), rules.end());
    // Then what the renders of every slide, target and locale would report.
    for (Issue& issue : layoutFindings(project, store.root().string(), rules, context.renderer.engine()))
      issues.push_back(std::move(issue));
    const std::string text = issues.empty() ? "No issues." : std::to_string(issues.size()) + " issue(s).";
    return {Content::plain(text), Content::json(issuesJSON(issues))};
  }
};

size_t errorCount(const std::vector<Issue>& issues) {
  size_t count = 0;
  for (const Issue& issue : issues) count += issue.severity == Issue::Severity::error;
  return count;
}

/// "" when nothing was removed; else " Removed <n> file(s) an earlier export wrote that this one
/// no longer produces."
std::string removedNote(const ExportSummary& summary) {
  const size_t n = summary.removed.size();
  if (n == 0) return "";
  return " Removed " + std::to_string(n) + " file" + (n > 1 ? "s" : "") +
         " an earlier export wrote that this one no longer produces.";
}

/// The `targets` argument as store targets: canvas ids as canvases, the rest through the
/// render tools' resolution, which refuses an unknown id. None when absent or empty.
std::optional<std::vector<StoreTarget>> exportTargets(const Arguments& arguments, const Project& project) {
  std::optional<std::vector<std::string>> ids = arguments.strings("targets");
  if (!ids || ids->empty()) return std::nullopt;
  std::vector<StoreTarget> targets;
  for (const std::string& id : *ids) {
    if (const StoreTarget* canvas = StoreTarget::canvas(id))
      targets.push_back(*canvas);
    else
      targets.push_back(resolveTarget(id, project));
  }
  return targets;
}

/// Progress for the client: files written so far across every look, out of the files expected.
/// A look's count is known only once it reports, so the total of the looks still to come is
/// estimated from the current one; `done` only ever grows.
class ExportCounter {
 public:
  explicit ExportCounter(ToolProgress& progress) : progress_(progress) {}

  void operator()(const ExportProgress& step) {
    if (step.look != look_) {
      doneBefore_ += files_;  // the previous look finished all of its files
      look_ = step.look;
    }
    files_ = step.files;
    const double done = static_cast<double>(doneBefore_) + step.finished;
    const size_t total = doneBefore_ + step.files * (step.looks - step.look);
    progress_.report(done, static_cast<double>(total), (step.encoding ? "Encoding " : "Wrote ") + step.file);
  }

 private:
  ToolProgress& progress_;
  size_t look_ = 0;
  size_t files_ = 0;
  size_t doneBefore_ = 0;
};

class ExportTool final : public Tool {
 public:
  std::string name() const override { return "export"; }
  bool drawsPictures() const override { return true; }
  std::string description() const override {
    return "Render every slide × target × locale to store-ready PNGs (exact size, no alpha) and verify each file, and "
           "every creative × locale (ios.header, ios.search-results, ios.universal) into "
           "exports/ios/<canvas>/<locale>/<id>.png. layout \"vorno\" writes exports/<platform>/<target>/<locale>/; "
           "\"fastlane\" writes deliver/supply folders (creatives go to fastlane/creatives/, since deliver doesn't "
           "upload them).";
  }
  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"layout", Schema::string("Folder layout.", {"vorno", "fastlane"})},
         {"targets", Schema::strings("Subset of target and canvas ids, e.g. [\"ios.header\"] for the header alone. "
                                     "Default: all project targets and every creative.")},
         {"locales", Schema::strings("Subset of locales. Default: all project locales.")},
         {"variant", Schema::string("Export this variant instead of the base, into exports/variants/<id>/.")},
         {"all_variants",
          Schema::boolean("Export the base and every variant (each variant into exports/variants/<id>/).")}},
        {"project"});
  }
  ToolActivity activity(const Arguments&) const override { return {"Exported the set", {}, {}, {}}; }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
                            ToolProgress& progress) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const Project base = store.load();

    ExportLayout layout = ExportLayout::vorno;
    if (std::optional<std::string> given = arguments.string("layout")) {
      std::optional<ExportLayout> named = enumCase<ExportLayout>(*given);
      if (!named) throw VornoError::invalid("layout must be vorno or fastlane.");
      layout = *named;
    }
    const std::optional<std::vector<StoreTarget>> targets = exportTargets(arguments, base);
    std::optional<std::vector<std::string>> locales = arguments.strings("locales");
    if (locales && locales->empty()) locales.reset();

    ExportCounter counter(progress);
    Exporter exporter(context.renderer);
    exporter.reportingProgress([&counter](const ExportProgress& step) { counter(step); });

    if (arguments.boolean("all_variants") == true) {
      const LooksExport looks = exporter.exportLooks(base, store, {targets, locales, layout});
      std::string text;
      for (const LooksExport::Look& look : looks.looks) {
        if (!text.empty()) text += "\n";
        text += look.variant.value_or("base") + ": " + std::to_string(look.summary.files.size()) + " files in " +
                look.summary.directory + ", " + std::to_string(errorCount(look.summary.issues)) + " error(s)";
      }
      if (const size_t n = looks.removed.size())
        text += "\nRemoved " + std::to_string(n) + " file" + (n > 1 ? "s" : "") +
                " from the export folders of looks that are gone.";
      nlohmann::json summaries = nlohmann::json::array();
      for (const LooksExport::Look& look : looks.looks) summaries.push_back(look.summary.toJSON());
      return {Content::plain(text), Content::json(summaries)};
    }

    const std::optional<std::string> variant = arguments.string("variant");
    const Project project = base.resolved(variant);
    const ExportSummary summary =
        exporter.exportProject(project, store, {targets, locales, layout, Exporter::folder(variant, store)});
    const size_t errors = errorCount(summary.issues);
    std::string text = "Wrote " + std::to_string(summary.files.size()) + " files to " + summary.directory + "." +
                       removedNote(summary) + " " +
                       (errors ? std::to_string(errors) + " error(s) to fix before upload." : "No blocking issues.");
    return {Content::plain(text), Content::json(summary.toJSON())};
  }
};

}  // namespace

ToolList checkTools() { return {std::make_shared<LintTool>(), std::make_shared<ExportTool>()}; }

}  // namespace vorno
