// variant_upsert, variant_delete and variant_promote: looks of the project stored as patches over
// the base, so that what a look doesn't change stays shared with it.
#include <nlohmann/json.hpp>

#include <algorithm>

#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/project.h"
#include "kit/store/file_name.h"
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools.h"

namespace vorno {

namespace {

std::string variantList(const Project& project) {
  std::string text;
  for (const Variant& variant : project.variants) text += (text.empty() ? "" : ", ") + variant.id;
  return text;
}

ToolActivity variantActivity(std::string summary) { return {std::move(summary), std::nullopt, std::nullopt, std::nullopt}; }

class VariantUpsertTool final : public Tool {
 public:
  std::string name() const override { return "variant_upsert"; }

  std::string description() const override {
    return "Create or replace a variant: another look of the same project (an A/B test, a bold and a calm version), "
           "stored as a patch over the base so captures, translations and anything it doesn't change stay shared. "
           "Then render_slide / render_overview / export with \"variant\": \"<id>\".\n"
           "The patch: JSON over the project. Objects merge, null removes, anything else replaces. \"slides\" and "
           "\"spreads\" are keyed by id (a new id adds one at the end), and so is each one's \"elements\". "
           "\"creatives\" are keyed by id too. A plain array instead of the keyed object replaces the whole list; "
           "a slide or spread without elements takes its first ones as an array.\n"
           "Example:\n"
           "{\n"
           "  \"theme\": {\"accent\": \"#FFD23F\", \"headlineWeight\": \"black\"},   // merges into the base theme\n"
           "  \"slides\": {\n"
           "    \"week\": {                                  // the slide with id week\n"
           "      \"inverted\": true,\n"
           "      \"headline\": {\"en-US\": \"Your week, **sorted**\"},\n"
           "      \"elements\": {\"zoom\": null,                // removes element zoom\n"
           "                   \"glow\": {\"kind\": \"shape\", \"shape\": \"circle\"}}   // adds element glow\n"
           "    },\n"
           "    \"intro\": {\"subhead\": null},                // removes the subhead\n"
           "    \"bonus\": {\"headline\": \"One more thing\"}    // a new id: a slide added at the end\n"
           "  }\n"
           "}\n"
           "The patch replaces the variant's earlier patch whole. Slide order can't be patched by id: give \"slides\" "
           "as a full array to reorder. Fields Vorno doesn't know are ignored and reported as schema.unknown "
           "warnings.";
  }

  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()},
                           {"id", Schema::string("Variant id, e.g. poster or test-b.")},
                           {"name", Schema::string("Optional display name, e.g. Poster (bold).")},
                           {"patch", Schema::record("The changes over the base project.")}},
                          {"project", "id", "patch"});
  }

  ToolActivity activity(const Arguments& arguments) const override {
    return variantActivity("Saved variant " + arguments.string("id").value_or(""));
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::string id = arguments.requireString("id");
    if (!FileName::isPlainWord(id))
      throw VornoError::invalid("Variant ids use letters, digits, - and _ (they name export folders).");
    FileName::check(id, "Variant id");  // the alphabet says nothing of length: 10,000 letters name no folder
    std::optional<Json> patch = arguments.rawJSON("patch");
    if (!patch || patch->is_null()) throw VornoError::invalid("variant_upsert: patch is required.");

    Variant variant{id, arguments.string("name"), *patch};
    Project saved = store.modify([&](Project& project) {
      if (Variant* existing = project.variant(id))
        *existing = variant;
      else
        project.variants.push_back(variant);
      return project;
    });

    std::vector<SchemaCheck::Finding> findings = SchemaCheck::patch(*patch);
    std::vector<Issue> issues = schemaIssues(findings, std::nullopt);
    // The look as it renders; a patch that makes no valid project says why, as lint would.
    try {
      for (Issue& issue : Linter::lint(saved.applying(variant))) issues.push_back(std::move(issue));
    } catch (const VornoError& error) {
      issues.emplace_back(Issue::Severity::error, "variant.invalid", error.what());
    }
    std::string text = "Saved variant " + id + "." + ignoredNote(findings) + " Variants: " + variantList(saved) +
                       ". Render it with \"variant\": \"" + id + "\".";
    return {Content::plain(text), Content::json(issuesJSON(issues))};
  }
};

class VariantDeleteTool final : public Tool {
 public:
  std::string name() const override { return "variant_delete"; }
  std::string description() const override {
    return "Delete a variant by id. The base project and other variants are untouched.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()}, {"id", Schema::string("Variant id.")}}, {"project", "id"});
  }
  ToolAnnotations annotations() const override { return ToolAnnotations::destructive(); }
  ToolActivity activity(const Arguments& arguments) const override {
    return variantActivity("Deleted variant " + arguments.string("id").value_or(""));
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::string id = arguments.requireString("id");
    Project saved = store.modify([&](Project& project) {
      if (!eraseByID(project.variants, id, [](const Variant& variant) { return variant.id; }))
        throw VornoError::notFound("No variant " + id + ".");
      return project;
    });
    std::string left = variantList(saved);
    return {Content::plain("Deleted variant " + id + ". Variants: " + (left.empty() ? "none" : left) + ".")};
  }
};

class VariantPromoteTool final : public Tool {
 public:
  std::string name() const override { return "variant_promote"; }
  std::string description() const override {
    return "Make a variant the base, e.g. the winner of a store A/B test. The old base is kept as a variant in its "
           "place (id \"previous-base\"), and every other variant is rewritten against the new base, so each still "
           "looks the same.";
  }
  mcp::Value inputSchema() const override {
    return Schema::object({{"project", Schema::project()}, {"id", Schema::string("Variant id.")}}, {"project", "id"});
  }
  ToolActivity activity(const Arguments& arguments) const override {
    return variantActivity("Made " + arguments.string("id").value_or("") + " the base");
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    std::string id = arguments.requireString("id");
    Project saved = store.modify([&](Project& project) {
      project = project.promoting(id);
      return project;
    });
    return {Content::plain(id + " is the base now. Variants: " + variantList(saved) + ".")};
  }
};

}  // namespace

ToolList variantTools() {
  return {std::make_shared<VariantUpsertTool>(), std::make_shared<VariantDeleteTool>(),
          std::make_shared<VariantPromoteTool>()};
}

}  // namespace vorno
