#include "server/tools/render_spread_tool.h"

#include <nlohmann/json.hpp>

#include "kit/lint/linter.h"
#include "kit/model/store_target.h"
#include "kit/render/seam_markers.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_name.h"
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools/render_tool_support.h"

namespace vorno {

namespace {

// The board is drawn 2400 pixels wide whatever its slices' size: enough to read every seam once
// the preview shrinks it to 2000, and cheap for boards of many tall slices.
constexpr double boardWidth = 2400;
constexpr int previewSide = 2000;

}  // namespace

std::string RenderSpreadTool::description() const {
  return "Render a whole spread as one image, with thin markers at the seams, so you can judge how elements flow "
         "across screenshots. Each slide still exports as its own slice.";
}

ToolAnnotations RenderSpreadTool::annotations() const { return ToolAnnotations::readOnly(); }

mcp::Value RenderSpreadTool::inputSchema() const {
  return Schema::object({{"project", Schema::project()},
                         {"spread", Schema::string("Spread id.")},
                         {"target", Schema::string("Target id. Default: the project's first target.")},
                         {"locale", Schema::string("Locale. Default: the project's first locale.")},
                         {"variant", Schema::variant()}},
                        {"project", "spread"});
}

ToolActivity RenderSpreadTool::activity(const Arguments& arguments) const {
  std::optional<std::string> spread = arguments.string("spread");
  return {spread ? "Looked at spread " + *spread : "Looked at a spread", std::nullopt, arguments.string("target"),
          arguments.string("locale")};
}

std::vector<Content> RenderSpreadTool::call(const Arguments& arguments, const ToolContext& context,
                                            ToolProgress&) const {
  RenderLook look = loadLook(arguments, context);
  const Project& project = look.project;

  std::string id = arguments.requireString("spread");
  const Spread* spread = project.spread(id);
  if (!spread) {
    std::vector<std::string> ids;
    for (const Spread& each : project.spreads) ids.push_back(each.id);
    throw VornoError::notFound("No spread " + id + ". Spreads: " + joinedIDs(ids, "none") + ".");
  }
  std::vector<const Slide*> members;
  for (const std::string& member : spread->slides) {
    const Slide* slide = project.slide(member);
    if (!slide) throw VornoError::invalid("Spread " + id + " isn't valid: it names " + member + ", which is no slide.");
    members.push_back(slide);
  }
  if (members.size() < 2) throw VornoError::invalid("Spread " + id + " isn't valid: it needs at least two slides.");

  const StoreTarget& target = resolveTarget(arguments.string("target"), project);
  std::string locale = localeArgument(arguments, project);
  FileName::check(id, "Spread id");
  FileName::check(locale, "Locale");
  // The variant names the file too.
  FileName::check(look.variant.value_or("base"), "Variant id");

  // The spread is laid out as itself, not through its first member: a slide that two spreads
  // claim would otherwise be laid as the other one.
  ComposedSlide composed;
  try {
    composed = context.renderer.engine().layoutSpread(*spread, members, *members.front(), project,
                                                      look.store.root().string(), target, locale);
  } catch (const VornoError& error) {
    throw VornoError::invalid("Spread " + id + " isn't valid: " + error.what());
  }

  const double scale = boardWidth / (static_cast<double>(members.size()) * target.width);
  Image board = markSeams(SlideRenderer::compositeBoard(composed, scale), static_cast<int>(members.size()));
  std::string file = writeRender(look.store, board, renderFileName(look.variant, {"spread-" + id, target.id, locale}));

  // The layout's own findings (text across a seam or off the board, and each member's issues),
  // then what the linter says of spreads.
  std::vector<Issue> issues = composed.issues;
  for (Issue& issue : SlideRenderer::boardIssues(composed, scale)) issues.push_back(std::move(issue));
  for (const Issue& issue : Linter::lint(project))
    if (issue.code.rfind("spread.", 0) == 0) issues.push_back(issue);

  nlohmann::json out = {{"file", file}, {"slides", spread->slides}, {"issues", issuesJSON(issues)}};
  return {previewImage(board, previewSide), Content::json(out)};
}

}  // namespace vorno
