// The slide tools: slide_upsert writes one slide whole, slide_delete removes one, slides_reorder
// sets the order. Each changes project.json under the package's lock and answers with the new
// order, so the agent always knows where it stands.
#include "server/tools.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/codings.h"
#include "kit/model/project.h"
#include "kit/store/file_name.h"
#include "kit/store/file_project_store.h"
#include "kit/util/vorno_error.h"
#include "server/argument_decoding.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools/slide_upsert_description.h"

namespace vorno {

namespace {

/// The slide ids in order, joined by ", ".
std::string order(const Project& project) {
  std::string text;
  for (const Slide& slide : project.slides) text += (text.empty() ? "" : ", ") + slide.id;
  return text;
}

class SlideUpsertTool final : public Tool {
 public:
  std::string name() const override { return "slide_upsert"; }
  std::string description() const override { return slideUpsertDescription(); }
  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"slide", Schema::record("The full slide object. Replaces any slide with the same id.")},
         {"index", Schema::integer("Optional 0-based position. Default: keep position, or append for new slides.")}},
        {"project", "slide"});
  }
  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> id;
    if (const mcp::Value::Object* slide = arguments.object("slide"))
      if (auto found = slide->find("id"); found != slide->end() && found->second.stringValue())
        id = *found->second.stringValue();
    return {id ? "Edited slide " + *id : "Edited a slide", id, {}, {}};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const std::optional<Slide> slide = arguments.decode<Slide>("slide");
    if (!slide) throw VornoError::invalid("slide_upsert: slide is required.");
    FileName::check(slide->id, "Slide id");  // the id names render and export files
    const std::optional<int64_t> index = arguments.integer("index");

    const Project saved = store.modify([&](Project& project) {
      project.upsert(*slide);
      if (index) {
        auto found = std::find_if(project.slides.begin(), project.slides.end(),
                                  [&](const Slide& each) { return each.id == slide->id; });
        if (found != project.slides.end()) {
          Slide moved = std::move(*found);
          project.slides.erase(found);
          const int64_t count = static_cast<int64_t>(project.slides.size());
          project.slides.insert(project.slides.begin() + std::clamp<int64_t>(*index, 0, count), std::move(moved));
        }
      }
      return project;
    });

    std::vector<SchemaCheck::Finding> findings;
    if (auto raw = arguments.rawJSON("slide")) findings = SchemaCheck::slide(*raw);
    std::vector<Issue> issues = schemaIssues(findings, slide->id);
    for (Issue& issue : issuesAbout(Linter::lint(saved), slide->id)) issues.push_back(std::move(issue));
    return {Content::plain("Saved " + slide->id + ". Order: " + order(saved) + "." + ignoredNote(findings)),
            Content::json(issuesJSON(issues))};
  }
};

class SlideDeleteTool final : public Tool {
 public:
  std::string name() const override { return "slide_delete"; }
  std::string description() const override { return "Delete a slide by id."; }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()}, {"id", Schema::string("Slide id.")}}, {"project", "id"});
  }
  ToolAnnotations annotations() const override { return ToolAnnotations::destructive(); }
  ToolActivity activity(const Arguments& arguments) const override {
    std::optional<std::string> id = arguments.string("id");
    return {id ? "Deleted slide " + *id : "Deleted a slide", id, {}, {}};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const std::string id = arguments.requireString("id");

    struct Outcome {
      Project project;
      size_t spreadsRemoved = 0;
    };
    const Outcome outcome = store.modify([&](Project& project) {
      if (!eraseByID(project.slides, id, [](const Slide& slide) { return slide.id; }))
        throw VornoError::notFound("No slide " + id + ".");
      const size_t spreads = project.spreads.size();
      project.repairSpreads();
      return Outcome{project, spreads - project.spreads.size()};
    });

    std::string text = "Deleted " + id + ". Order: " + order(outcome.project);
    if (outcome.spreadsRemoved)
      text += ". " + std::to_string(outcome.spreadsRemoved) + " spread(s) no longer had adjacent slides and were removed.";
    else
      text += ".";
    return {Content::plain(text)};
  }
};

class SlidesReorderTool final : public Tool {
 public:
  std::string name() const override { return "slides_reorder"; }
  std::string description() const override {
    return "Set slide order. The first three slides show in App Store search results, so lead with the strongest.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()}, {"ids", Schema::strings("Every slide id, in the new order.")}},
                          {"project", "ids"});
  }
  ToolActivity activity(const Arguments&) const override { return {"Reordered the slides", {}, {}, {}}; }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    const FileProjectStore store = context.store(arguments.requireString("project"));
    const std::vector<std::string> ids = arguments.strings("ids").value_or(std::vector<std::string>{});

    struct Outcome {
      Project project;
      size_t spreadsRemoved = 0;
    };
    const Outcome outcome = store.modify([&](Project& project) {
      const VornoError wrong = VornoError::invalid("ids must list every slide exactly once: " + order(project));
      std::set<std::string> current, given(ids.begin(), ids.end());
      for (const Slide& slide : project.slides) current.insert(slide.id);
      if (given != current || ids.size() != project.slides.size()) throw wrong;
      // Each id takes the first slide of that id not yet taken, so that a document with a repeated
      // slide id keeps every slide.
      std::vector<Slide> remaining = std::move(project.slides), ordered;
      for (const std::string& id : ids) {
        auto found = std::find_if(remaining.begin(), remaining.end(), [&](const Slide& slide) { return slide.id == id; });
        if (found == remaining.end()) throw wrong;
        ordered.push_back(std::move(*found));
        remaining.erase(found);
      }
      project.slides = std::move(ordered);
      const size_t spreads = project.spreads.size();
      project.repairSpreads();
      return Outcome{project, spreads - project.spreads.size()};
    });

    std::string text = "Order: " + order(outcome.project);
    if (outcome.spreadsRemoved)
      text += ". " + std::to_string(outcome.spreadsRemoved) + " spread(s) were split apart by the new order and removed.";
    else
      text += ".";
    return {Content::plain(text)};
  }
};

}  // namespace

ToolList slideTools() {
  return {std::make_shared<SlideUpsertTool>(), std::make_shared<SlideDeleteTool>(),
          std::make_shared<SlidesReorderTool>()};
}

}  // namespace vorno
