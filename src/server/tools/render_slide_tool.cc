#include "server/tools/render_slide_tool.h"

#include <nlohmann/json.hpp>

#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_name.h"
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools/render_tool_support.h"

#include <future>

namespace vorno {

std::string RenderSlideTool::description() const {
  return "Render one slide and return a preview image plus a report (chosen frame, fitted font size, issues). "
         "The full-resolution PNG is written to renders/. Look at the image before moving on.";
}

ToolAnnotations RenderSlideTool::annotations() const { return ToolAnnotations::readOnly(); }

mcp::Value RenderSlideTool::inputSchema() const {
  return Schema::object({{"project", Schema::project()},
                         {"slide", Schema::string("Slide id.")},
                         {"target", Schema::string("Target id. Default: the project's first target.")},
                         {"locale", Schema::string("Locale. Default: the project's first locale.")},
                         {"variant", Schema::variant()},
                         {"preview_size", Schema::integer("Longest side of the returned preview in px. Default 1200.")}},
                        {"project", "slide"});
}

ToolActivity RenderSlideTool::activity(const Arguments& arguments) const {
  std::optional<std::string> slide = arguments.string("slide");
  return {slide ? "Looked at " + *slide : "Looked at a slide", slide, arguments.string("target"),
          arguments.string("locale")};
}

std::vector<Content> RenderSlideTool::call(const Arguments& arguments, const ToolContext& context,
                                           ToolProgress&) const {
  RenderLook look = loadLook(arguments, context);
  const Project& project = look.project;

  std::string id = arguments.requireString("slide");
  const Slide* slide = project.slide(id);
  if (!slide) {
    if (project.creative(id)) throw VornoError::invalid(id + " is a creative: render it with render_creative.");
    std::vector<std::string> ids;
    for (const Slide& each : project.slides) ids.push_back(each.id);
    throw VornoError::notFound("No slide " + id + ". Slides: " + joinedIDs(ids) + ".");
  }

  const StoreTarget& target = resolveTarget(arguments.string("target"), project);
  std::string locale = localeArgument(arguments, project);
  // The three names that become the file's name are checked before anything is drawn.
  FileName::check(id, "Slide id");
  FileName::check(locale, "Locale");
  FileName::check(look.variant.value_or("base"), "Variant id");

  const int previewSide = previewSize(arguments, 1200);
  RenderOutput output = context.renderer.render(project, look.store.root().string(), *slide, target, locale, 1.0);
  // The preview is made on a second thread while the picture is encoded and written: both only
  // read its pixels, and the encoder alone is most of the call.
  std::future<Content> preview =
      std::async(std::launch::async, [&output, previewSide] { return previewImage(output.image, previewSide); });
  std::string file = writeRender(look.store, output.image, renderFileName(look.variant, {id, target.id, locale}));

  nlohmann::json out = {{"file", file}, {"report", output.report.toJSON()}};
  return {preview.get(), Content::json(out)};
}

}  // namespace vorno
