#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>

#include "kit/model/spread.h"
#include "server/tools.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "server/tools/render_tool_test_support.h"

namespace vorno::render_spread_tool_test {
namespace {

using testing::args;
using testing::ToolHarness;
using testing::ToolResult;

// Slides a, b, c with the spread "pano" over a and b, a ramp across both.
std::string spreadPackage(ToolHarness& harness) {
  std::string package = harness.package("App.vorno", {"a", "b", "c"});
  testing::editProject(package, [](Project& project) {
    project.spreads.push_back(testing::decoded<Spread>(
        R"({"id": "pano", "slides": ["a", "b"],
            "background": {"linear": ["#10306A", "#F2A541"], "angle": 90}})"));
  });
  return package;
}

TEST(RenderSpreadTool, RendersTheWholeBoardWithMarkersAtTheSeamOnly) {
  ToolHarness harness;
  std::string package = spreadPackage(harness);
  ToolResult result = harness.call("render_spread", args(package, R"(,"spread":"pano")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  ASSERT_EQ(result.content.size(), 2u);
  EXPECT_TRUE(result.isImage(0));
  EXPECT_EQ(result.mimeType(0), "image/jpeg");

  nlohmann::json out = result.json(1);
  std::string file = out["file"];
  EXPECT_EQ(std::filesystem::path(file).filename(), "spread-pano__ios.iphone-6.9__en-US.png");
  EXPECT_EQ(out["slides"], nlohmann::json({"a", "b"}));
  EXPECT_TRUE(out["issues"].is_array());

  // 2400 pixels across the two slices, the height in proportion.
  Image board = Images::load(file);
  EXPECT_EQ(board.width(), 2400);
  EXPECT_EQ(board.height(), static_cast<int>(2868 * (2400.0 / 2640)));
  Image preview = testing::decodeImage(result.imageBytes(0), harness.folder());
  EXPECT_EQ(std::max(preview.width(), preview.height()), 2000);

  // The same board without markers differs at the seam and nowhere else.
  Project project = harness.load(package);
  const StoreTarget& target = StoreTarget::iphone69();
  ComposedSlide composed = SlideRenderer().engine().layout(project, package, *project.slide("a"), target, "en-US");
  Image clean = SlideRenderer::compositeBoard(composed, 2400.0 / (2 * target.width));
  int differing = 0;
  for (int y = 0; y < board.height(); ++y)
    differing += brightness(testing::pixelAt(board, 1200, y)) != brightness(testing::pixelAt(clean, 1200, y));
  EXPECT_GT(differing, board.height() / 3);
  for (int y : {5, board.height() / 2, board.height() - 5}) {
    testing::Pixel marked = testing::pixelAt(board, 1200, y), plain = testing::pixelAt(clean, 1200, y);
    if (y != board.height() / 2) {
      EXPECT_GT(std::abs(brightness(marked) - brightness(plain)), 40) << "at y " << y;
    }
    for (int x : {600, 1100, 1300, 1800}) {
      testing::Pixel away = testing::pixelAt(board, x, y), reference = testing::pixelAt(clean, x, y);
      EXPECT_EQ(brightness(away), brightness(reference)) << x << ", " << y;
    }
  }
}

TEST(RenderSpreadTool, AVariantAndAnotherTargetNameTheFile) {
  ToolHarness harness;
  std::string package = spreadPackage(harness);
  testing::editProject(package, [](Project& project) {
    project.variants.push_back(Variant{"dark", std::nullopt, nlohmann::json::parse(R"({"theme":{"accent":"#000000"}})")});
  });
  ToolResult result =
      harness.call("render_spread", args(package, R"(,"spread":"pano","variant":"dark","target":"play.phone","locale":"de-DE")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(std::filesystem::path(result.json(1)["file"].get<std::string>()).filename(),
            "dark__spread-pano__play.phone__de-DE.png");
}

TEST(RenderSpreadTool, TextAcrossTheSeamIsAmongTheIssues) {
  ToolHarness harness;
  std::string package = spreadPackage(harness);
  testing::editProject(package, [](Project& project) {
    // Without a placement a spread's element stands in the middle of the board: on the seam.
    project.spreads[0].elements.push_back(testing::decoded<SlideElement>(
        R"({"id": "title", "kind": "text", "text": "Across the seam and far beyond it"})"));
  });
  ToolResult result = harness.call("render_spread", args(package, R"(,"spread":"pano")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  bool seam = false;
  nlohmann::json out = result.json(1);
  for (const auto& issue : out["issues"]) seam = seam || issue["code"] == "text.seam";
  EXPECT_TRUE(seam) << result.text(1);
}

TEST(RenderSpreadTool, AnUnknownSpreadListsTheSpreads) {
  ToolHarness harness;
  std::string package = spreadPackage(harness);
  ToolResult result = harness.call("render_spread", args(package, R"(,"spread":"wide")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "No spread wide. Spreads: pano.");

  std::string bare = harness.package("Bare.vorno", {"a"});
  ToolResult none = harness.call("render_spread", args(bare, R"(,"spread":"wide")"));
  EXPECT_EQ(none.text(0), "No spread wide. Spreads: none.");
  EXPECT_EQ(harness.call("render_spread", args(bare)).text(0), "render_spread: spread is required.");
}

TEST(RenderSpreadTool, DescribesItselfAndLogsWhatWasLookedAt) {
  ToolHarness harness;
  auto tool = renderTools()[2];
  EXPECT_EQ(tool->name(), "render_spread");
  EXPECT_EQ(tool->description(),
            "Render a whole spread as one image, with thin markers at the seams, so you can judge how elements "
            "flow across screenshots. Each slide still exports as its own slice.");
  EXPECT_EQ(tool->annotations().readOnlyHint, true);
  ToolActivity activity = tool->activity(Arguments(mcp::Value::Object{{"spread", "pano"}, {"locale", "de-DE"}}, "render_spread"));
  EXPECT_EQ(activity.summary, "Looked at spread pano");
  EXPECT_EQ(activity.locale, "de-DE");
  EXPECT_FALSE(activity.slide);
}

}  // namespace
}  // namespace vorno::render_spread_tool_test
