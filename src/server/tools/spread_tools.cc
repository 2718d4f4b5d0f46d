// spread_upsert and spread_delete: slides that share one canvas. A spread is checked against the
// slides inside the store's lock, so a spread is never saved over slides that moved meanwhile.
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>

#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/codings.h"
#include "kit/model/project.h"
#include "kit/store/file_name.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "server/argument_decoding.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools.h"

namespace vorno {

namespace {

std::vector<std::string> slideIDs(const Project& project) {
  std::vector<std::string> ids;
  for (const Slide& slide : project.slides) ids.push_back(slide.id);
  return ids;
}

/// The string under `key` of the object argument `object`, if there is one.
std::optional<std::string> innerString(const Arguments& arguments, std::string_view object, std::string_view key) {
  const mcp::Value::Object* record = arguments.object(object);
  if (!record) return std::nullopt;
  auto found = record->find(std::string(key));
  if (found == record->end() || !found->second.stringValue()) return std::nullopt;
  return *found->second.stringValue();
}

// Throws the sentence of the first rule the spread breaks against the slides as they stand.
void validate(const Spread& spread, const Project& project) {
  if (spread.slides.size() < 2) throw VornoError::invalid("A spread needs at least two slides.");
  std::map<std::string, size_t> indexOf;
  for (size_t i = 0; i < project.slides.size(); ++i) indexOf.try_emplace(project.slides[i].id, i);
  for (const std::string& member : spread.slides)
    if (!indexOf.contains(member))
      throw VornoError::invalid("No slide " + member + ". Slides: " + joined(slideIDs(project)) + ".");
  for (size_t i = 1; i < spread.slides.size(); ++i)
    if (indexOf[spread.slides[i]] != indexOf[spread.slides[i - 1]] + 1)
      throw VornoError::invalid("Spread slides must be adjacent and in order. Current order: " +
                                joined(slideIDs(project)) + ". Use slides_reorder first.");
  // A slide stands in one spread only; the spread being replaced doesn't count.
  for (const Spread& other : project.spreads) {
    if (other.id == spread.id) continue;
    std::vector<std::string> shared;
    for (const std::string& member : spread.slides)
      if (std::find(other.slides.begin(), other.slides.end(), member) != other.slides.end()) shared.push_back(member);
    if (!shared.empty())
      throw VornoError::invalid(joined(shared) + " already belong to spread " + other.id +
                                ". Delete or change it first.");
  }
}

class SpreadUpsertTool final : public Tool {
 public:
  std::string name() const override { return "spread_upsert"; }

  std::string description() const override {
    return "Create or replace a spread: consecutive slides sharing one canvas, for panoramas and devices that cross "
           "the seam between screenshots. Coordinates are in slide units across the spread: x 0…n, so x: 1.0 is the "
           "seam between the first and second slide; y and width are as on a slide.\n"
           "{\n"
           "  \"id\": \"panorama\",               // names files: letters, digits, . _ -\n"
           "  \"slides\": [\"plan\", \"track\"],    // two or more slide ids, adjacent and in slide order\n"
           "  \"background\": {\"linear\": [\"#0B1E3F\", \"#3A7BD5\"], \"angle\": 90},  // optional: one fill across "
           "the whole spread (a color, linear, radial or image fill), instead of each slide's own\n"
           "  \"elements\": [                     // optional: free elements of any kind, as in a slide's elements\n"
           "    {\"id\": \"hero\", \"kind\": \"device\", \"device\": {\"screenshot\": \"captures/{locale}/today.png\"}, "
           "\"shadow\": true},\n"
           "    {\"id\": \"wave\", \"kind\": \"shape\", \"shape\": \"capsule\", \"fill\": \"#FFFFFF33\", \"z\": 3},\n"
           "    {\"id\": \"tagline\", \"kind\": \"text\", \"text\": \"Plan it, **track it**\", \"role\": \"caption\"}\n"
           "  ],\n"
           "  \"overrides\": {                    // optional: per target id, as on a slide\n"
           "    \"ios.iphone-6.9\": {\"placements\": {\n"
           "      \"hero\": {\"x\": 1.0, \"y\": 0.62, \"width\": 0.7, \"rotation\": -6},   // x 1.0: on the seam\n"
           "      \"wave\": {\"x\": 1.0, \"y\": 0.9, \"width\": 1.8, \"height\": 0.05},\n"
           "      \"tagline\": {\"x\": 0.5, \"y\": 0.1, \"width\": 0.8}\n"
           "    }}\n"
           "  }\n"
           "}\n"
           "An element without a placement stands at the middle of the spread. Spread elements draw behind each "
           "slide's own content unless their z is above 0. Remove a member's own device (slide.device = null) when a "
           "spread device should be the hero. Check with render_spread.";
  }

  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"spread", Schema::record("The full spread object. Replaces any spread with the same id.")}},
        {"project", "spread"});
  }

  ToolActivity activity(const Arguments& arguments) const override {
    ToolActivity activity;
    std::optional<std::string> id = innerString(arguments, "spread", "id");
    activity.summary = id ? "Edited spread " + *id : "Edited a spread";
    if (const mcp::Value::Object* spread = arguments.object("spread")) {
      auto slides = spread->find("slides");
      if (slides != spread->end() && slides->second.arrayValue())
        for (const mcp::Value& member : *slides->second.arrayValue())
          if (member.stringValue()) {
            activity.slide = *member.stringValue();
            break;
          }
    }
    return activity;
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::optional<Spread> spread = arguments.decode<Spread>("spread");
    if (!spread) throw VornoError::invalid("spread_upsert: spread is required.");
    FileName::check(spread->id, "Spread id");

    Project saved = store.modify([&](Project& project) {
      validate(*spread, project);
      if (Spread* existing = project.spread(spread->id))
        *existing = *spread;
      else
        project.spreads.push_back(*spread);
      return project;
    });

    std::vector<SchemaCheck::Finding> findings = SchemaCheck::spread(arguments.rawJSON("spread").value_or(Json()));
    std::vector<Issue> issues = schemaIssues(findings, spread->id);
    for (const Issue& issue : Linter::lint(saved)) {
      if (!issue.slide) continue;
      bool member = std::find(spread->slides.begin(), spread->slides.end(), *issue.slide) != spread->slides.end();
      if (member || *issue.slide == spread->id) issues.push_back(issue);
    }
    std::string text = "Saved spread " + spread->id + " across " + joined(spread->slides) +
                       ". Check it with render_spread." + ignoredNote(findings);
    return {Content::plain(text), Content::json(issuesJSON(issues))};
  }
};

class SpreadDeleteTool final : public Tool {
 public:
  std::string name() const override { return "spread_delete"; }
  std::string description() const override {
    return "Delete a spread. Its slides stay, as separate slides with their own backgrounds.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()}, {"id", Schema::string("Spread id.")}}, {"project", "id"});
  }
  ToolAnnotations annotations() const override { return ToolAnnotations::destructive(); }

  ToolActivity activity(const Arguments& arguments) const override {
    return {"Deleted spread " + arguments.string("id").value_or(""), std::nullopt, std::nullopt, std::nullopt};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::string id = arguments.requireString("id");
    store.modify([&](Project& project) {
      if (!eraseByID(project.spreads, id, [](const Spread& spread) { return spread.id; }))
        throw VornoError::notFound("No spread " + id + ".");
    });
    return {Content::plain("Deleted spread " + id + ".")};
  }
};

}  // namespace

ToolList spreadTools() { return {std::make_shared<SpreadUpsertTool>(), std::make_shared<SpreadDeleteTool>()}; }

}  // namespace vorno
