// `vorno render`: one slide or creative at the target's exact size, to a PNG under renders/ (or
// --out), then the layout's issues. With --layers, also every layer as its own PNG and
// layers.json.
//
// A creative in motion is drawn at one moment (--time, by default its poster), or as a filmstrip
// of eight moments across its loop.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "cli/render_paths.h"
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/run_defaults.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_renderer.h"
#include "kit/render/creative_guides.h"
#include "kit/render/layer_file_name.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_project_store.h"
#include "kit/util/atomic_write.h"
#include "kit/util/format.h"
#include "kit/util/json_output.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <iostream>

namespace vorno::cli {

namespace fs = std::filesystem;

namespace {

constexpr const char* layersFolderName = "the layers folder";

// The --layers folder as given, made when missing; the folders above it are the user's, as for
// --out, but the folder itself must be a real one.
fs::path layersFolder(const std::string& given) {
  const fs::path folder = standardizePath(given);
  if (folder == folder.root_path()) return folder;
  return preparedWriteFolder(folder.parent_path(), folder.filename(), layersFolderName);
}

void writeLayers(const fs::path& folder, const Project& project, const fs::path& root, const Slide& slide,
                 const StoreTarget& target, const std::string& locale, const SlideRenderer& renderer) {
  ComposedSlide composed = renderer.engine().layout(project, root.string(), slide, target, locale);
  auto layers = SlideRenderer::layers(composed, composed.focusIndex(), 1.0);
  // Every file is looked at before the first is written, so a link among them stops the run whole.
  std::vector<std::string> files;
  for (size_t i = 0; i < layers.size(); ++i) files.push_back(layerFileName(i, layers[i].id));
  for (const auto& file : files) checkedWritePath(folder, file, layersFolderName);
  const fs::path index = checkedWritePath(folder, "layers.json", layersFolderName);
  Json list = Json::array();
  for (size_t i = 0; i < layers.size(); ++i) {
    // From the folder above down, like the check of the layers' folder: never through a link.
    Images::writeBelow(layers[i].image, folder.parent_path(), folder.filename() / files[i], Images::ImageType::png);
    list.push_back({{"file", files[i]}, {"id", layers[i].id}, {"label", layers[i].label}});
  }
  writeFileBelow(folder.parent_path(), folder.filename() / "layers.json", documentJSON(list), Durability::flushed,
                 layersFolderName);
  std::cout << index.string() << "\n";
}

// A creative in motion: eight moments on one sheet, or one moment at full size. Layers are never
// written for it: each moment has its own.
int renderMotion(const ParsedArguments& args, const Project& project, const FileProjectStore& store,
                 const Creative& creative, const StoreTarget& target, const std::string& locale, bool guides) {
  MotionRenderer motion;
  const std::string name = creative.id() + "-" + target.id + "-" + locale;
  const std::vector<CheckedName> names{{creative.id(), "Creative id"}, {target.id, "Target"}, {locale, "Locale"}};
  if (args.flag("filmstrip")) {
    MotionRenderer::Filmstrip strip = motion.filmstrip(project, store.root().string(), creative, locale, 8, 2400, guides);
    fs::path path = outputPath(args.string("out"), store, name + "-filmstrip.png", names);
    writePicture(strip.image, path, store);
    std::cout << path.string() << "\n";
    return 0;
  }
  const double seconds = args.number("time").value_or(creative.motion->posterTime());
  fs::path path =
      outputPath(args.string("out"), store, name + "-" + formatted("%05.2f", seconds) + "s" + (guides ? "-guides" : "") + ".png", names);
  MotionRenderer::Frame frame = motion.frame(project, store.root().string(), creative, locale, seconds, 1.0);
  Image image = guides ? CreativeGuides::overlay(frame.image, target) : frame.image;
  writePicture(image, path, store);
  std::cout << path.string() << "\n";
  for (const auto& issue : SlideRenderer::report(frame.composed, frame.image).issues)
    std::cout << issue.description() << "\n";
  return 0;
}

}  // namespace

// Where each element stands, so that whoever reads the output can reason about space without
// opening the picture: "element headline (text) at 97, 172, 1126 × 260 px".
static void printElements(const RenderReport& report) {
  for (const auto& e : report.elements) {
    std::cout << "element " << e.id << " (" << e.kind << ") at " << e.x << ", " << e.y << ", " << e.width << " × "
              << e.height << " px";
    if (e.rotation != 0) std::cout << ", turned " << formatted("%g", e.rotation) << "°";
    std::cout << "\n";
  }
}

int runRender(const ParsedArguments& args) {
  FileProjectStore store(standardizePath(*args.string("project")));
  Project project = store.load().resolved(args.string("variant"));

  const Creative* creative = nullptr;
  const Slide* slide = nullptr;
  if (auto id = args.string("slide")) {
    creative = project.creative(*id);
    slide = creative ? &creative->slide : project.slide(*id);
  } else if (!project.slides.empty()) {
    slide = &project.slides.front();
  }
  if (!slide) throw UsageError("No such slide or creative.");

  const StoreTarget* target = nullptr;
  if (creative) {
    target = StoreTarget::canvas(creative->canvas);
    if (!target) throw VornoError::invalid("Unknown canvas " + creative->canvas + ".");
  } else {
    target = &slideTarget(project, args.string("target"));
  }
  const std::string locale = runLocale(project, args.string("locale"));
  const bool guides = args.flag("guides");
  if (creative && creative->motion) return renderMotion(args, project, store, *creative, *target, locale, guides);

  std::string name = slide->id + "-" + target->id + "-" + locale;
  if (guides) name += "-guides";
  fs::path path = outputPath(args.string("out"), store, name + ".png",
                             {{slide->id, creative ? "Creative id" : "Slide id"}, {target->id, "Target"}, {locale, "Locale"}});
  // The layers' folder is settled before the picture is written, so a refused folder writes nothing.
  std::optional<fs::path> layers;
  if (auto given = args.string("layers")) layers = layersFolder(*given);

  SlideRenderer renderer;
  RenderOutput output = renderer.render(project, store.root().string(), *slide, *target, locale, 1.0);
  Image image = output.image;
  if (guides && creative) image = CreativeGuides::overlay(image, *target);
  writePicture(image, path, store);
  std::cout << path.string() << "\n";
  for (const auto& issue : output.report.issues) std::cout << issue.description() << "\n";
  printElements(output.report);

  if (layers) writeLayers(*layers, project, store.root(), *slide, *target, locale, renderer);
  return 0;
}

}  // namespace vorno::cli
