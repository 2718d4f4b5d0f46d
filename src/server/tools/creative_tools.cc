// creative_upsert and creative_delete: App Store art on canvases of its own. A creative shares
// the id space of slides (both name render files and lint issues), so a slide's id is refused.
#include <nlohmann/json.hpp>

#include <algorithm>

#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/codings.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/store/file_name.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "server/argument_decoding.h"
#include "server/creative_docs.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools.h"

namespace vorno {

namespace {

std::vector<std::string> creativeIDs(const Project& project) {
  std::vector<std::string> ids;
  for (const Creative& creative : project.creatives) ids.push_back(creative.id());
  return ids;
}

std::optional<std::string> creativeID(const Arguments& arguments) {
  const mcp::Value::Object* creative = arguments.object("creative");
  if (!creative) return std::nullopt;
  auto id = creative->find("id");
  if (id == creative->end() || !id->second.stringValue()) return std::nullopt;
  return *id->second.stringValue();
}

class CreativeUpsertTool final : public Tool {
 public:
  std::string name() const override { return "creative_upsert"; }
  std::string description() const override { return CreativeDocs::description(); }
  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"creative",
          Schema::record("The full creative: a slide object plus \"canvas\". Replaces any creative with the same id.")}},
        {"project", "creative"});
  }

  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> id = creativeID(arguments);
    return {id ? "Edited " + *id : "Edited store art", id, std::nullopt, std::nullopt};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::optional<Creative> creative = arguments.decode<Creative>("creative");
    if (!creative) throw VornoError::invalid("creative_upsert: creative is required.");
    const std::string id = creative->id();
    FileName::check(id, "Creative id");

    Project saved = store.modify([&](Project& project) {
      if (project.slide(id)) throw VornoError::invalid(id + " is a slide's id. Give the creative its own, e.g. header or search.");
      if (!StoreTarget::canvas(creative->canvas))
        throw VornoError::invalid("Unknown canvas " + creative->canvas +
                                  ". Use one of: " + knownTargetIDs(KnownTargets::canvases) + ".");
      project.upsert(*creative);
      return project;
    });

    std::vector<SchemaCheck::Finding> findings = SchemaCheck::creative(arguments.rawJSON("creative").value_or(Json()));
    std::vector<Issue> issues = schemaIssues(findings, id);
    for (Issue& issue : issuesAbout(Linter::lint(saved), id)) issues.push_back(std::move(issue));

    std::string list;
    for (const Creative& each : saved.creatives)
      list += (list.empty() ? "" : ", ") + each.id() + " (" + each.canvas + ")";
    std::string text = "Saved " + id + ". Creatives: " + list + ". Render it with render_creative." + ignoredNote(findings);
    return {Content::plain(text), Content::json(issuesJSON(issues))};
  }
};

class CreativeDeleteTool final : public Tool {
 public:
  std::string name() const override { return "creative_delete"; }
  std::string description() const override {
    return "Delete a creative (header, search results or universal art) by id.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()}, {"id", Schema::string("Creative id.")}}, {"project", "id"});
  }
  ToolAnnotations annotations() const override { return ToolAnnotations::destructive(); }

  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> id = arguments.string("id");
    return {id ? "Deleted " + *id : "Deleted store art", id, std::nullopt, std::nullopt};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::string id = arguments.requireString("id");
    Project saved = store.modify([&](Project& project) {
      if (!eraseByID(project.creatives, id, [](const Creative& creative) { return creative.id(); })) {
        std::vector<std::string> ids = creativeIDs(project);
        throw VornoError::notFound("No creative " + id + ". Creatives: " +
                                   (ids.empty() ? "none: add one with creative_upsert." : joined(ids) + "."));
      }
      return project;
    });
    std::vector<std::string> left = creativeIDs(saved);
    return {Content::plain("Deleted " + id + ". Creatives left: " + (left.empty() ? "none" : joined(left)) + ".")};
  }
};

}  // namespace

ToolList creativeTools() { return {std::make_shared<CreativeUpsertTool>(), std::make_shared<CreativeDeleteTool>()}; }

}  // namespace vorno
