// The recipes as an agent uses them: every JSON sample goes through slide_upsert or
// spread_upsert into a package, is rendered with render_slide or render_spread, and neither
// answer carries an error beyond the captures the package lacks.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "kit/image/canvas.h"
#include "kit/image/fill_painter.h"
#include "kit/image/images.h"
#include "kit/model/color.h"
#include "kit/model/fill.h"
#include "server/guide.h"
#include "server/recipe_samples.h"
#include "server/tool_test_support.h"

namespace vorno::recipe_tools_test {
namespace {

namespace fs = std::filesystem;

/// Error issues in a JSON array of issues, but for the captures the package doesn't have.
std::vector<std::string> errorsIn(const nlohmann::json& issues) {
  std::vector<std::string> errors;
  for (const auto& issue : issues)
    if (issue.value("severity", "") == "error" && !issue.value("code", "").starts_with("capture."))
      errors.push_back(issue.dump());
  return errors;
}

/// A stand-in for one of the user's photos: a soft two-colour gradient.
void paintPhoto(const fs::path& path, int width, int height) {
  Canvas canvas = Canvas::opaque(width, height);
  FillPainter::paint(Fill{LinearFill{{*RGBColor::fromHex("#9CB7D4"), *RGBColor::fromHex("#7A5C3E")}, 180}},
                     canvas.context(), Rect{0, 0, double(width), double(height)});
  Images::write(canvas.finish(), path.string(), Images::ImageType::jpeg, 0.9);
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += "\n  " + line;
  return text;
}

TEST(RecipeTools, EverySampleIsValidInputForItsUpsertToolAndRendersWithoutErrors) {
  auto samples = testing::jsonSamples(*Guide::text("vorno://recipes"));
  ASSERT_GE(samples.size(), 16u);
  std::map<std::string, nlohmann::json> slideSamples;
  for (const auto& sample : samples) {
    auto json = nlohmann::json::parse(sample.text, nullptr, false);
    if (json.is_object() && !json.contains("slides") && json.contains("id")) slideSamples[json["id"]] = json;
  }

  for (const auto& sample : samples) {
    SCOPED_TRACE(sample.section + "\n" + sample.text);
    nlohmann::json json = nlohmann::json::parse(sample.text);
    testing::ToolHarness harness;
    std::string package = harness.package("App.vorno", {"intro"});
    fs::copy(fs::path(VORNO_SOURCE_DIR) / "examples/Demo.vorno/captures", fs::path(package) / "captures",
             fs::copy_options::recursive);
    // The user's own pictures that the recipes show, added as an agent adds them.
    paintPhoto(harness.folder() / "site.jpg", 1200, 800);
    paintPhoto(harness.folder() / "ana.jpg", 400, 400);
    for (const auto& [name, source] : std::map<std::string, std::string>{
             {"app-icon.png", std::string(VORNO_SOURCE_DIR) + "/examples/Demo.vorno/assets/app-icon.png"},
             {"site.jpg", "site.jpg"},
             {"ana.jpg", "ana.jpg"}}) {
      auto added = harness.call("asset_add", nlohmann::json{{"project", package}, {"name", name}, {"source_path", source}}.dump());
      ASSERT_FALSE(added.isError) << added.text();
    }

    if (json.contains("slides")) {
      // Members first, in order: the recipes' own slides where they give one.
      for (const auto& member : json["slides"]) {
        nlohmann::json slide = slideSamples.count(member) ? slideSamples[member]
                                                          : nlohmann::json{{"id", member}, {"headline", "One story"}};
        auto saved = harness.call("slide_upsert", nlohmann::json{{"project", package}, {"slide", slide}}.dump());
        ASSERT_FALSE(saved.isError) << saved.text();
      }
      auto saved = harness.call("spread_upsert", nlohmann::json{{"project", package}, {"spread", json}}.dump());
      ASSERT_FALSE(saved.isError) << saved.text();
      EXPECT_EQ(saved.text(0).find("ignored"), std::string::npos) << saved.text(0);
      EXPECT_TRUE(errorsIn(saved.json(1)).empty()) << joined(errorsIn(saved.json(1)));
      auto render = harness.call("render_spread", nlohmann::json{{"project", package}, {"spread", json["id"]}}.dump());
      ASSERT_FALSE(render.isError) << render.text(0);
      ASSERT_TRUE(render.isImage(0));
      EXPECT_TRUE(errorsIn(render.json(1)["issues"]).empty()) << joined(errorsIn(render.json(1)["issues"]));
    } else {
      auto saved = harness.call("slide_upsert", nlohmann::json{{"project", package}, {"slide", json}}.dump());
      ASSERT_FALSE(saved.isError) << saved.text();
      EXPECT_EQ(saved.text(0).find("ignored"), std::string::npos) << saved.text(0);
      EXPECT_TRUE(errorsIn(saved.json(1)).empty()) << joined(errorsIn(saved.json(1)));
      for (const char* target : {"ios.iphone-6.9", "play.phone"}) {
        auto render = harness.call(
            "render_slide",
            nlohmann::json{{"project", package}, {"slide", json["id"]}, {"target", target}, {"preview_size", 300}}
                .dump());
        ASSERT_FALSE(render.isError) << render.text(0);
        ASSERT_TRUE(render.isImage(0));
        EXPECT_TRUE(errorsIn(render.json(1)["report"]["issues"]).empty())
            << target << joined(errorsIn(render.json(1)["report"]["issues"]));
      }
    }
  }
}

}  // namespace
}  // namespace vorno::recipe_tools_test
