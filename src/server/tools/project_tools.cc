// The project tools: project_create makes a package in the app's repository, project_get reads it
// with what lies on disk beside it, project_update changes the settings above the slides.
#include "server/tools.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/codings.h"
#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/model/store_target.h"
#include "kit/model/theme.h"
#include "kit/store/file_name.h"
#include "kit/store/file_project_store.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "server/argument_decoding.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"

namespace vorno {

namespace {

namespace fs = std::filesystem;

// Shared by project_create and project_update, so that both teach the same theme.
const std::string& themeDescription() {
  static const std::string text =
      "Theme: {\"background\": \"#EEF0F3\" | {\"linear\": [...], \"angle\": 180}, \"invertedBackground\": \"#14171D\", "
      "\"foreground\": \"#14171D\", \"invertedForeground\": \"#EEF0F3\", \"accent\": \"#C8216A\", \"muted\": "
      "\"#4A515E\", \"fontFamily\": \"SF Pro Rounded\" (optional, must be installed), \"headlineWeight\": "
      "\"regular|medium|semibold|bold|heavy|black\", \"emphasisStyle\": \"color|highlight|marker|sticker\" (optional: "
      "how **accent** words stand out; highlight = solid accent block, sticker = every headline line on its own "
      "tilted block), \"textStyles\": {\"headline\": {\"fontFamily\": \"Archivo Black\", \"uppercase\": true, "
      "\"tracking\": 0.01, \"slant\": 6, \"effect\": {\"outline\": \"#14171D\", \"outlineWidth\": 0.1, \"shadow\": "
      "\"#14171D\"}, \"fill\": {\"linear\": [...]}}, \"eyebrow\": {...}} (optional per-role looks; add fonts with "
      "asset_add)}";
  return text;
}

/// Locales that were given and not empty, each checked because it becomes a folder name; none
/// when absent or empty, which means "keep the default".
std::optional<std::vector<std::string>> checkedLocales(const Arguments& arguments) {
  std::optional<std::vector<std::string>> locales = arguments.strings("locales");
  if (!locales || locales->empty()) return std::nullopt;
  for (const std::string& locale : *locales) FileName::check(locale, "Locale");
  return locales;
}

std::optional<std::vector<std::string>> givenTargets(const Arguments& arguments) {
  std::optional<std::vector<std::string>> targets = arguments.strings("targets");
  if (!targets || targets->empty()) return std::nullopt;
  return targets;
}

/// Whether a folder at or above `folder` holds a repository; "/" itself is not tried, since a
/// package whose nearest repository is the whole disk is as good as outside one.
bool insideRepository(fs::path folder) {
  while (!folder.empty() && folder != folder.root_path()) {
    std::error_code error;
    if (fs::exists(folder / ".git", error)) return true;
    folder = folder.parent_path();
  }
  return false;
}

class ProjectCreateTool final : public Tool {
 public:
  std::string name() const override { return "project_create"; }
  std::string description() const override {
    return "Create a .vorno package (project.json + captures/ + renders/ + exports/). Put it in the app's repo at an "
           "absolute path, e.g. /path/to/repo/store/MyApp.vorno. Theme defaults to Vorno's palette; set one from the "
           "app's brand.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"app_name", Schema::string("App name.")},
         {"locales", Schema::strings("Store locales, e.g. [\"en-US\", \"de-DE\"]. Default [\"en-US\"].")},
         {"targets", Schema::strings("Target ids. Default [\"ios.iphone-6.9\"]. Known: " + knownTargetIDs())},
         {"theme", Schema::record(themeDescription())}},
        {"project", "app_name"});
  }
  ToolActivity activity(const Arguments&) const override { return {"Created the project", {}, {}, {}}; }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const std::string path = arguments.requireString("project");
    const std::string appName = arguments.requireString("app_name");
    if (loweredExtension(path) != "vorno")
      throw VornoError::invalid("project must be a .vorno package path inside the app's repo, e.g. <repo>/store/" +
                                appName + ".vorno.");
    // A GUI host starts servers in "/": a relative package there would be lost to the repository.
    const bool relative = !path.starts_with("/") && !path.starts_with("~");
    if (relative && context.workingDirectory == fs::path("/"))
      throw VornoError::invalid("Pass an absolute path, e.g. <repo>/store/" + appName +
                                ".vorno: this server's working directory is /, so a relative path wouldn't land in "
                                "the app's repo.");
    const FileProjectStore store = context.store(path);

    Project project(appName, {"en-US"}, {StoreTarget::iphone69().id}, Theme::vorno(), {}, {});
    if (auto locales = checkedLocales(arguments)) project.locales = *locales;
    if (auto targets = givenTargets(arguments)) project.targets = *targets;
    if (auto theme = arguments.decode<Theme>("theme")) project.theme = *theme;

    store.withLock([&] { store.create(project); });

    // A new project has no slides yet: saying so would only be noise.
    std::vector<Issue> issues = Linter::lint(project);
    std::erase_if(issues, [](const Issue& issue) { return issue.code == "slides.empty"; });

    const std::string root = store.root().string();
    std::vector<std::string> lines{"Created " + root + "."};
    if (!insideRepository(store.root().parent_path())) {
      std::string line = "It isn't inside a git repository";
      if (relative) line += " (the relative path resolved against " + context.workingDirectory.string() + ")";
      lines.push_back(line + "; if that's not the app's repo, delete it and create it there with an absolute path.");
    }
    // A person follows along from a terminal: the slides side by side, and the log of every call.
    lines.push_back("A person can watch every change: vorno overview -p \"" + root +
                    "\" draws the slides side by side, and .activity.jsonl in the package logs every tool call. "
                    "Then add slides with slide_upsert.");
    return {Content::plain(joined(lines, "\n")), Content::json(issuesJSON(issues))};
  }
};

/// Image files under captures/, package-relative and sorted; recordings aren't listed.
std::vector<std::string> captureFiles(const FileProjectStore& store) {
  std::vector<std::string> files;
  std::error_code error;
  fs::path root = fs::canonical(store.capturesDir(), error);
  if (error) return files;
  const fs::directory_options options = fs::directory_options::follow_directory_symlink |
                                        fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator it(root, options, error), end; !error && it != end; it.increment(error)) {
    std::error_code statusError;
    if (!fs::is_regular_file(it->path(), statusError)) continue;  // follows a file's link
    std::string extension = loweredExtension(it->path().string());
    if (extension != "png" && extension != "jpg" && extension != "jpeg") continue;
    files.push_back((fs::path("captures") / it->path().lexically_relative(root)).generic_string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// The direct entries of assets/, as "assets/<name>", hidden ones left out, sorted.
std::vector<std::string> assetEntries(const FileProjectStore& store) {
  std::vector<std::string> entries;
  std::error_code error;
  for (fs::directory_iterator it(store.root() / "assets", error), end; !error && it != end; it.increment(error)) {
    std::string name = it->path().filename().string();
    if (!name.starts_with(".")) entries.push_back("assets/" + name);
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

class ProjectGetTool final : public Tool {
 public:
  std::string name() const override { return "project_get"; }
  std::string description() const override {
    return "Read project.json plus the list of captures on disk. Call this before editing.";
  }
  mcp::Value inputSchema() const override { return Schema::object({{"project", Schema::project()}}, {"project"}); }
  ToolAnnotations annotations() const override { return ToolAnnotations::readOnly(); }
  ToolActivity activity(const Arguments&) const override { return {"Read the project", {}, {}, {}}; }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const Project project = store.load();
    nlohmann::json out = {{"root", store.root().string()},
                          {"project", encodeProject(project)},
                          {"captures", captureFiles(store)},
                          {"assets", assetEntries(store)}};
    return {Content::json(out)};
  }
};

class ProjectUpdateTool final : public Tool {
 public:
  std::string name() const override { return "project_update"; }
  std::string description() const override {
    return "Change project-level settings. Only the fields you pass change.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()},
                           {"app_name", Schema::string("App name.")},
                           {"locales", Schema::strings("Store locales.")},
                           {"targets", Schema::strings("Target ids. Known: " + knownTargetIDs())},
                           {"theme", Schema::record(themeDescription())}},
                          {"project"});
  }
  /// "Changed the languages, name": the settings given, in words a person watching reads.
  ToolActivity activity(const Arguments& arguments) const override {
    static const std::vector<std::pair<const char*, const char*>> words{
        {"app_name", "name"}, {"locales", "languages"}, {"targets", "devices"}, {"theme", "style"}};
    std::vector<std::string> changed;
    for (const auto& [key, word] : words)
      if (arguments.value(key)) changed.push_back(word);
    std::sort(changed.begin(), changed.end());
    if (changed.empty()) return {"Changed project settings", {}, {}, {}};
    return {"Changed the " + joined(changed, ", "), {}, {}, {}};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const std::optional<std::vector<std::string>> locales = checkedLocales(arguments);
    const std::optional<std::vector<std::string>> targets = givenTargets(arguments);
    const std::optional<Theme> theme = arguments.decode<Theme>("theme");
    const std::optional<std::string> appName = arguments.string("app_name");

    // The lock covers read, change and write; the lint below runs on what this call wrote.
    const Project saved = store.modify([&](Project& project) {
      if (appName) project.appName = *appName;
      if (locales) project.locales = *locales;
      if (targets) project.targets = *targets;
      if (theme) project.theme = *theme;  // whole: nothing of the old theme survives
      return project;
    });

    std::vector<SchemaCheck::Finding> findings;
    if (auto raw = arguments.rawJSON("theme"); raw && !raw->is_null()) findings = SchemaCheck::theme(*raw);
    std::vector<Issue> issues = schemaIssues(findings, std::nullopt);
    for (Issue& issue : Linter::lint(saved)) issues.push_back(std::move(issue));
    return {Content::plain("Saved." + ignoredNote(findings)), Content::json(issuesJSON(issues))};
  }
};

}  // namespace

ToolList projectTools() {
  return {std::make_shared<ProjectCreateTool>(), std::make_shared<ProjectGetTool>(),
          std::make_shared<ProjectUpdateTool>()};
}

}  // namespace vorno
