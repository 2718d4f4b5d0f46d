// Every JSON sample of the recipes is real input: it decodes as a slide or a spread, has no key the
// readers would ignore, joins a package, lays out and renders on an iPhone and a Google Play phone
// with no error beyond a capture the package lacks, and says nothing the store rules flag.
//
// Set VORNO_RECIPE_PNGS to a folder to keep the pictures for a look.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "kit/image/canvas.h"
#include "kit/image/fill_painter.h"
#include "kit/image/image_decode.h"
#include "kit/image/images.h"
#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/codings.h"
#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "server/guide.h"
#include "server/recipe_samples.h"
#include "tests/temp_folder.h"

namespace vorno::guide_recipes_test {
namespace {

namespace fs = std::filesystem;

std::string sourceFile(const std::string& relative) { return std::string(VORNO_SOURCE_DIR) + "/" + relative; }

RGBColor hex(const char* text) { return *RGBColor::fromHex(text); }

Fill radial(std::vector<RGBColor> colors, double x, double y, double radius) {
  return Fill{RadialFill{std::move(colors), x, y, radius}};
}

// Stand-ins for the user's photos: soft shapes in a scene's colours, enough to judge contrast.
void paintPhoto(const std::string& path, int width, int height, const std::vector<Fill>& layers) {
  Canvas canvas = Canvas::opaque(width, height);
  for (const Fill& fill : layers) FillPainter::paint(fill, canvas.context(), Rect{0, 0, double(width), double(height)});
  Images::write(canvas.finish(), path, Images::ImageType::jpeg, 0.9);
}

// A package like an app's own: the example's theme and captures, its icon, a photo and two
// avatars, and three slides of its own around which a sample is placed.
class RecipePackage {
 public:
  RecipePackage() : folder_("vorno-recipes") {
    root_ = folder_.file("App.vorno");
    fs::create_directories(root_ + "/captures");
    fs::create_directories(root_ + "/assets");
    const std::string demo = sourceFile("examples/Demo.vorno");
    fs::copy(demo + "/captures/en-US", root_ + "/captures/en-US", fs::copy_options::recursive);
    fs::copy_file(demo + "/assets/app-icon.png", root_ + "/assets/app-icon.png");
    paintPhoto(root_ + "/assets/site.jpg", 1200, 800,
               {Fill{LinearFill{{hex("#9CB7D4"), hex("#E9D8BE"), hex("#7A5C3E")}, 180}},
                radial({hex("#F2C14E"), hex("#F2C14E00")}, 0.7, 0.3, 0.3),
                radial({hex("#3E5C76"), hex("#3E5C7600")}, 0.3, 0.75, 0.35)});
    paintPhoto(root_ + "/assets/ana.jpg", 400, 400,
               {Fill::solid(hex("#C9D8E8")), radial({hex("#8C5A3C"), hex("#8C5A3C"), hex("#C9D8E800")}, 0.5, 0.42, 0.3),
                radial({hex("#2F3E5C"), hex("#2F3E5C"), hex("#2F3E5C00")}, 0.5, 1.05, 0.45)});
    paintPhoto(root_ + "/assets/sam.jpg", 400, 400,
               {Fill::solid(hex("#F1DCC2")), radial({hex("#E0B28C"), hex("#E0B28C"), hex("#F1DCC200")}, 0.5, 0.42, 0.3),
                radial({hex("#C2410C"), hex("#C2410C"), hex("#C2410C00")}, 0.5, 1.05, 0.45)});

    std::ifstream file(demo + "/project.json");
    Project example = decodeProject(nlohmann::json::parse(file));
    project_ = Project("Crewday", {"en-US"}, {"ios.iphone-6.9", "play.phone"}, example.theme, {}, {});
    for (const char* id : {"intro", "middle", "outro"}) {
      Slide slide;
      slide.id = id;
      slide.headline = LocalizedText{{{"en-US", "A slide around the sample"}}};
      project_.slides.push_back(slide);
    }
  }

  const std::string& root() const { return root_; }
  Project& project() { return project_; }

 private:
  testing::TempFolder folder_;
  std::string root_;
  Project project_;
};

const std::vector<const StoreTarget*>& renderedTargets() {
  static const std::vector<const StoreTarget*> targets = {&StoreTarget::iphone69(), &StoreTarget::playPhone()};
  return targets;
}

// Errors other than a capture the package lacks, any store-rule finding, and any warning on the
// target the samples' placements are written for, as lines to read.
std::vector<std::string> problems(const std::vector<Issue>& issues) {
  std::vector<std::string> found;
  for (const Issue& issue : issues) {
    bool storeRule = issue.code == "play.policy" || issue.code == "appstore.policy";
    bool error = issue.severity == Issue::Severity::error && issue.code != "capture.missing";
    bool warningWhereDesigned =
        issue.severity == Issue::Severity::warning && issue.target == StoreTarget::iphone69().id;
    if (error || storeRule || warningWhereDesigned) found.push_back(issue.description());
  }
  return found;
}

void keepPicture(const Image& image, const std::string& name) {
  const char* folder = std::getenv("VORNO_RECIPE_PNGS");
  if (folder && *folder) Images::write(image, std::string(folder) + "/" + name + ".png", Images::ImageType::png);
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += "\n  " + line;
  return text;
}

TEST(GuideRecipes, HaveASampleInEverySection) {
  auto samples = testing::jsonSamples(*Guide::text("vorno://recipes"));
  std::set<std::string> sections;
  for (const auto& sample : samples) sections.insert(sample.section);
  for (const char* section :
       {"Panorama: one background, a tilted phone across the seam", "Photo background", "Two phones on one slide",
        "Components: ready-made pieces (use these first)", "Logo lockup",
        "Detail card: zoom into the part of the screen that proves the headline", "Highlighted payoff",
        "Annotation: arrow + sticker", "Sticker headlines (game-ad energy)", "Poster type",
        "Gradient letters, glow and light", "Photos and avatars", "A day in order", "Callout over the UI", "Frames",
        "Rules of thumb"})
    EXPECT_TRUE(sections.count(section)) << section << " has no ```json sample";
}

TEST(GuideRecipes, SamplesShowEveryKindOfComponent) {
  std::string all;
  for (const auto& sample : testing::jsonSamples(*Guide::text("vorno://recipes"))) all += sample.text;
  for (const char* kind : {"rating", "badge", "award", "review", "stat", "checklist", "notification", "callout"})
    EXPECT_NE(all.find("\"type\": \"" + std::string(kind) + "\""), std::string::npos) << kind;
}

TEST(GuideRecipes, EverySampleDecodesChecksCleanAndRendersWithoutErrors) {
  auto samples = testing::jsonSamples(*Guide::text("vorno://recipes"));
  ASSERT_GE(samples.size(), 16u);
  // A spread's members are the recipes' own slides where they give one.
  std::map<std::string, nlohmann::json> slideSamples;
  for (const testing::Sample& sample : samples) {
    auto json = nlohmann::json::parse(sample.text, nullptr, false);
    if (json.is_object() && !json.contains("slides") && json.contains("id")) slideSamples[json["id"]] = json;
  }
  // Contrast over a photo background is judged on the photo's thumbnail.
  installImageLoaders();
  SlideRenderer renderer;
  int index = 0;
  for (const testing::Sample& sample : samples) {
    SCOPED_TRACE(sample.section + "\n" + sample.text);
    ++index;
    nlohmann::json json;
    ASSERT_NO_THROW(json = nlohmann::json::parse(sample.text));
    ASSERT_TRUE(json.is_object());
    RecipePackage package;
    Project& project = package.project();
    std::vector<Issue> issues;
    std::string name = std::to_string(index) + "-" + json.value("id", std::string("sample"));

    if (json.contains("slides")) {
      std::vector<SchemaCheck::Finding> findings = SchemaCheck::spread(json);
      for (const auto& finding : findings) ADD_FAILURE() << finding.message();
      Spread spread;
      try {
        spread = Reader(json).decode<Spread>();
      } catch (const std::exception& error) {
        FAIL() << "doesn't decode as a spread: " << error.what();
      }
      for (const std::string& member : spread.slides) {
        if (project.slide(member)) continue;
        Slide slide;
        slide.id = member;
        slide.headline = LocalizedText{{{"en-US", "One story,\n**two slides**"}}};
        slide.inverted = true;
        if (auto given = slideSamples.find(member); given != slideSamples.end())
          slide = Reader(given->second).decode<Slide>();
        project.upsert(slide);
      }
      project.spreads.push_back(spread);
      for (const StoreTarget* target : renderedTargets()) {
        ComposedSlide composed =
            renderer.engine().layout(project, package.root(), *project.slide(spread.slides.front()), *target, "en-US");
        issues.insert(issues.end(), composed.issues.begin(), composed.issues.end());
        keepPicture(SlideRenderer::compositeBoard(composed, 0.35), name + "-" + target->id);
      }
    } else {
      std::vector<SchemaCheck::Finding> findings = SchemaCheck::slide(json);
      for (const auto& finding : findings) ADD_FAILURE() << finding.message();
      Slide slide;
      try {
        slide = Reader(json).decode<Slide>();
      } catch (const std::exception& error) {
        FAIL() << "doesn't decode as a slide: " << error.what();
      }
      project.upsert(slide);
      ASSERT_NE(project.slide(slide.id), nullptr);
      for (const StoreTarget* target : renderedTargets()) {
        RenderOutput out = renderer.render(project, package.root(), *project.slide(slide.id), *target, "en-US", 0.35);
        issues.insert(issues.end(), out.report.issues.begin(), out.report.issues.end());
        keepPicture(out.image, name + "-" + target->id);
      }
    }
    std::vector<Issue> lint = Linter::lint(project);
    issues.insert(issues.end(), lint.begin(), lint.end());
    if (const char* folder = std::getenv("VORNO_RECIPE_PNGS"); folder && *folder)
      for (const Issue& issue : issues)
        if (issue.severity != Issue::Severity::info) std::cout << name << ": " << issue.description() << "\n";
    std::vector<std::string> found = problems(issues);
    EXPECT_TRUE(found.empty()) << joined(found);
  }
}

}  // namespace
}  // namespace vorno::guide_recipes_test
