// A creative in motion is shown at one moment (`time`, by default its poster) or as a filmstrip of
// moments across its loop, and its answer carries the loop's timeline.
#include "server/tools/render_creative_tool.h"

#include <nlohmann/json.hpp>

#include <algorithm>

#include "kit/image/images.h"
#include "kit/lint/linter.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_renderer.h"
#include "kit/render/creative_guides.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_name.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tool_kit.h"
#include "server/tools/render_tool_support.h"

namespace vorno {

namespace {

// A filmstrip is as wide as the command line's, and holds at most twelve rows of four.
constexpr int kFilmstripWidth = 2400;
constexpr int kMostFilmstripFrames = 48;

std::vector<std::string> keysOf(const auto& map) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : map) keys.push_back(key);
  return keys;
}

// The loop's scenes on the clock: when each starts and ends, which elements it shows, and
// which texts and captures it swaps in (by element id).
nlohmann::json timeline(const Motion& motion) {
  nlohmann::json scenes = nlohmann::json::array();
  if (!motion.scenes) return scenes;
  double from = 0;
  for (const MotionScene& scene : *motion.scenes) {
    double to = from + std::max(scene.duration, 0.0);
    nlohmann::json entry = {{"from", from}, {"to", to}};
    if (scene.show) entry["show"] = *scene.show;
    if (scene.texts) entry["texts"] = keysOf(*scene.texts);
    if (scene.screens) entry["screens"] = keysOf(*scene.screens);
    scenes.push_back(std::move(entry));
    from = to;
  }
  return scenes;
}

}  // namespace

std::string RenderCreativeTool::description() const {
  return "Render one creative and return a preview with its safe area outlined (outside it is dimmed: some devices "
         "crop or cover that part), plus a report. The clean full-size PNG is written to renders/. Look at the "
         "image: is the idea clear at a glance, is every word inside the safe area, does it still work if only the "
         "safe area shows?";
}

ToolAnnotations RenderCreativeTool::annotations() const { return ToolAnnotations::readOnly(); }

mcp::Value RenderCreativeTool::inputSchema() const {
  return Schema::object(
      {{"project", Schema::project()},
       {"creative", Schema::string("Creative id.")},
       {"locale", Schema::string("Locale. Default: the project's first locale.")},
       {"variant", Schema::variant()},
       {"guides", Schema::boolean("Outline the safe area and dim the rest. Default true.")},
       {"time", Schema::number("For a creative in motion: the moment to render, in seconds. Default: its poster "
                               "frame.")},
       {"filmstrip", Schema::boolean("For a creative in motion: frames at even times across the loop in one "
                                     "image, to see the motion.")},
       {"frames", Schema::integer("Frames in the filmstrip. Default 8.")},
       {"preview_size", Schema::integer("Longest side of the returned preview in px. Default 1600.")}},
      {"project", "creative"});
}

ToolActivity RenderCreativeTool::activity(const Arguments& arguments) const {
  std::optional<std::string> creative = arguments.string("creative");
  return {creative ? "Looked at " + *creative : "Looked at store art", creative, std::nullopt,
          arguments.string("locale")};
}

std::vector<Content> RenderCreativeTool::call(const Arguments& arguments, const ToolContext& context,
                                              ToolProgress&) const {
  RenderLook look = loadLook(arguments, context);
  const Project& project = look.project;

  std::string id = arguments.requireString("creative");
  const Creative* creative = project.creative(id);
  if (!creative) {
    std::vector<std::string> ids;
    for (const Creative& each : project.creatives) ids.push_back(each.id());
    throw VornoError::notFound("No creative " + id + ". Creatives: " +
                               joinedIDs(ids, "none: add one with creative_upsert") + ".");
  }
  const StoreTarget* canvas = StoreTarget::canvas(creative->canvas);
  if (!canvas)
    throw VornoError::invalid("Creative " + id + " is on canvas " + creative->canvas +
                              ", which Vorno doesn't know. Known: " + knownTargetIDs(KnownTargets::canvases) + ".");

  std::string locale = localeArgument(arguments, project);
  FileName::check(id, "Creative id");
  FileName::check(locale, "Locale");
  FileName::check(look.variant.value_or("base"), "Variant id");

  const std::optional<Motion>& motion = creative->motion;
  std::vector<std::string> nameParts{id, canvas->id, locale};
  const bool guides = arguments.boolean("guides") != false;
  const bool filmstrip = motion && arguments.boolean("filmstrip").value_or(false);
  const std::string root = look.store.root().string();

  // The picture: the still, one moment of the motion, or a filmstrip of moments.
  Image image;
  Image preview;
  std::vector<Issue> issues;
  if (!motion) {
    RenderOutput output = context.renderer.render(project, root, creative->slide, *canvas, locale, 1.0);
    image = output.image;
    issues = output.report.issues;
  } else if (filmstrip) {
    const int64_t frames = arguments.integer("frames").value_or(8);
    if (frames > kMostFilmstripFrames)
      throw VornoError::invalid(formatted("frames is %lld; a filmstrip holds at most %d.", static_cast<long long>(frames),
                                          kMostFilmstripFrames));
    MotionRenderer motionRenderer(context.renderer);
    MotionRenderer::Filmstrip strip = motionRenderer.filmstrip(project, root, *creative, locale, static_cast<int>(frames), kFilmstripWidth, false);
    image = strip.image;
    issues = strip.issues;
    // The sheet on disk stays clean; the guides go on the preview's tiles only.
    if (guides) preview = motionRenderer.filmstrip(project, root, *creative, locale, static_cast<int>(frames), kFilmstripWidth, true).image;
    nameParts.push_back("filmstrip");
  } else {
    const double seconds = arguments.number("time").value_or(motion->posterTime());
    MotionRenderer::Frame frame = MotionRenderer(context.renderer).frame(project, root, *creative, locale, seconds, 1.0);
    image = frame.image;
    issues = SlideRenderer::report(frame.composed, frame.image).issues;
    nameParts.push_back(formatted("%05.2f", seconds) + "s");
  }
  // The file stays clean: it is what goes to App Store Connect.
  std::string file = writeRender(look.store, image, renderFileName(look.variant, nameParts));

  if (preview) {
    preview = Images::downscale(preview, previewSize(arguments, 1600));
  } else {
    preview = Images::downscale(image, previewSize(arguments, 1600));
    if (guides && !filmstrip) preview = CreativeGuides::overlay(preview, *canvas);
  }

  // What the layout found (the safe area, type too small to read), then the linter's rules of
  // creatives, each once.
  for (const Issue& issue : issuesAbout(Linter::lint(project), id))
    if (std::find(issues.begin(), issues.end(), issue) == issues.end()) issues.push_back(issue);

  nlohmann::json out = {{"file", file},
                        {"canvas", canvas->id},
                        {"size", std::to_string(image.width()) + "×" + std::to_string(image.height())},
                        {"issues", issuesJSON(issues)}};
  if (motion) {
    out["seconds"] = motion->resolvedDuration();
    out["fps"] = motion->resolvedFPS();
    out["frames"] = motion->frameCount();
    out["poster"] = motion->posterTime();
    out["scenes"] = timeline(*motion);
  }
  int side = std::max(preview.width(), preview.height());
  return {previewImage(preview, side), Content::json(out)};
}

}  // namespace vorno
