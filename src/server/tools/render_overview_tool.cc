#include "server/tools/render_overview_tool.h"

#include <nlohmann/json.hpp>

#include <algorithm>

#include "kit/model/store_target.h"
#include "kit/render/contact_sheet.h"
#include "kit/render/slide_renderer.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools/render_tool_support.h"

namespace vorno {

namespace {

// Tiles of 900 pixels keep a sheet of ten slides legible once it is shrunk to the preview.
constexpr int tileHeight = 900;

bool isCaptureIssue(const Issue& issue) { return issue.code.rfind("capture.", 0) == 0; }

// "Base · base", or a variant's display name (its id without one) and its id.
std::string lookHeader(const Project& base, const std::optional<std::string>& look) {
  if (!look) return "Base · base";
  const Variant* variant = base.variant(*look);
  std::string name = variant && variant->name && !variant->name->empty() ? *variant->name : *look;
  return name + " · " + *look;
}

std::string storyText(const Project& project, const std::string& locale) {
  std::string text = "Story (" + locale + "):\n";
  std::vector<std::string> lines = project.storyOutline(locale);
  for (size_t i = 0; i < lines.size(); ++i) text += (i ? "\n" : "") + lines[i];
  return text;
}

}  // namespace

std::string RenderOverviewTool::description() const {
  return "Render every slide for one target and locale side by side, like the store page. Use it to judge rhythm, "
         "consistency and the first three slides together. Returns the story outline too (eyebrow, headline, "
         "subhead per slide). words_only hides every device and image: if the words alone read like a feature "
         "list, rewrite them before polishing the design.";
}

ToolAnnotations RenderOverviewTool::annotations() const { return ToolAnnotations::readOnly(); }

mcp::Value RenderOverviewTool::inputSchema() const {
  return Schema::object(
      {{"project", Schema::project()},
       {"target", Schema::string("Target id. Default: the project's first target.")},
       {"locale", Schema::string("Locale. Default: the project's first locale.")},
       {"words_only", Schema::boolean("Hide devices and images to test the words alone. Default false.")},
       {"variant", Schema::variant()},
       {"all_variants", Schema::boolean("Render the base and every variant, one sheet each, to compare looks "
                                        "(instead of variant). Default false.")}},
      {"project"});
}

ToolActivity RenderOverviewTool::activity(const Arguments& arguments) const {
  bool wordsOnly = arguments.boolean("words_only").value_or(false);
  return {wordsOnly ? "Read the headlines alone" : "Reviewed the whole set", std::nullopt,
          arguments.string("target"), arguments.string("locale")};
}

std::vector<Content> RenderOverviewTool::call(const Arguments& arguments, const ToolContext& context,
                                              ToolProgress& progress) const {
  FileProjectStore store = context.store(arguments.requireString("project"));
  Project base = store.load();

  std::vector<std::optional<std::string>> looks;
  if (arguments.boolean("all_variants").value_or(false)) {
    looks.push_back(std::nullopt);
    for (const Variant& variant : base.variants) looks.push_back(variant.id);
  } else {
    looks.push_back(arguments.string("variant"));
  }
  const bool wordsOnly = arguments.boolean("words_only").value_or(false);
  const bool several = looks.size() >= 2;

  // Everything is gathered first and returned at the end: a look that fails ends the call with
  // its error alone, never with part of the answer.
  std::vector<Content> content;
  std::vector<Issue> firstIssues;
  nlohmann::json lookIssues = nlohmann::json::array();
  std::vector<Issue> single;
  for (size_t index = 0; index < looks.size(); ++index) {
    const std::optional<std::string>& look = looks[index];
    Project project = base.resolved(look);
    const StoreTarget& target = resolveTarget(arguments.string("target"), project);
    std::string locale = localeArgument(arguments, project);
    if (wordsOnly) project = project.wordsOnly();

    ContactSheet::Sheet sheet =
        ContactSheet::render(project, store.root().string(), target, locale, context.renderer, tileHeight);

    std::vector<Issue> issues;
    for (const RenderReport& report : sheet.reports)
      for (const Issue& issue : report.issues)
        // The words view hides the captures, so what it says of them is noise.
        if (!(wordsOnly && isCaptureIssue(issue))) issues.push_back(issue);
    if (index == 0) {
      firstIssues = issues;
    } else {
      std::erase_if(issues, [&](const Issue& issue) {
        return std::find(firstIssues.begin(), firstIssues.end(), issue) != firstIssues.end();
      });
    }
    lookIssues.push_back({{"look", look.value_or("base")}, {"issues", issuesJSON(issues)}});
    single = issues;

    if (several) content.push_back(Content::plain(lookHeader(base, look)));
    content.push_back(previewImage(sheet.image, several ? 1400 : 2000));
    content.push_back(Content::plain(storyText(project, locale)));
    progress.report(static_cast<double>(index + 1), static_cast<double>(looks.size()),
                    "Rendered " + look.value_or("base"));
  }

  if (several) {
    content.push_back(Content::plain("Issues per look. A look lists only the issues the base doesn't also have."));
    content.push_back(Content::json(lookIssues));
  } else {
    content.push_back(Content::json(issuesJSON(single)));
  }
  return content;
}

}  // namespace vorno
