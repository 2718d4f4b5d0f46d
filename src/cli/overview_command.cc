// `vorno overview`: every slide side by side on one sheet per look, then the story outline, so a
// person can judge the set as a whole, and compare looks with --all-variants.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "cli/render_paths.h"
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/run_defaults.h"
#include "kit/model/store_target.h"
#include "kit/render/contact_sheet.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_project_store.h"
#include "kit/util/paths.h"

#include <filesystem>
#include <iostream>
#include <optional>
#include <vector>

namespace vorno::cli {

namespace fs = std::filesystem;

namespace {

// One look's sheet, before it is drawn: the look's document, where and in what words, and its file.
struct PlannedSheet {
  Project project;
  const StoreTarget* target = nullptr;
  std::string locale;
  fs::path path;
};

PlannedSheet planSheet(const ParsedArguments& args, const FileProjectStore& store, const Project& base,
                const std::optional<std::string>& look, bool wordsOnly) {
  Project project = base.resolved(look);
  const StoreTarget& target = slideTarget(project, args.string("target"));
  const std::string locale = runLocale(project, args.string("locale"));
  if (wordsOnly) project = project.wordsOnly();
  std::string name = "overview-" + target.id + "-" + locale + (wordsOnly ? "-words" : "");
  if (look) name += "-" + *look;
  fs::path path = outputPath(args.string("out"), store, name + ".png",
                             {{target.id, "Target"}, {locale, "Locale"}, {look.value_or("base"), "Variant id"}});
  return {std::move(project), &target, locale, std::move(path)};
}

}  // namespace

int runOverview(const ParsedArguments& args) {
  FileProjectStore store(standardizePath(*args.string("project")));
  Project base = store.load();

  std::vector<std::optional<std::string>> looks;
  if (args.flag("allVariants")) {
    looks.push_back(std::nullopt);
    for (const auto& variant : base.variants) looks.push_back(variant.id);
  } else {
    looks.push_back(args.string("variant"));
  }
  if (args.flag("allVariants") && args.string("out") && looks.size() >= 2)
    throw UsageError("--out names one file; leave it out with --all-variants.");

  // Every look is resolved and its file settled before the first sheet is drawn: a variant that
  // can't be written stops the run before any sheet exists.
  const bool wordsOnly = args.flag("wordsOnly");
  std::vector<PlannedSheet> sheets;
  for (const auto& look : looks) sheets.push_back(planSheet(args, store, base, look, wordsOnly));

  SlideRenderer renderer;
  for (const auto& [project, target, locale, path] : sheets) {
    ContactSheet::Sheet sheet = ContactSheet::render(project, store.root().string(), *target, locale, renderer, 900);
    writePicture(sheet.image, path, store);
    std::cout << path.string() << "\n";
    for (const auto& line : project.storyOutline(locale)) std::cout << line << "\n";
  }
  return 0;
}

}  // namespace vorno::cli
