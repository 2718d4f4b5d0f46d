#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>

#include "kit/image/images.h"
#include "kit/model/creative.h"
#include "kit/model/store_target.h"
#include "server/tools.h"
#include "server/tools/render_tool_test_support.h"

namespace vorno::render_slide_tool_test {
namespace {

using testing::ToolHarness;
using testing::ToolResult;

using testing::args;

TEST(RenderSlideTool, AnswersWithThePreviewFirstThenTheFileAndReport) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  ASSERT_EQ(result.content.size(), 2u);
  EXPECT_TRUE(result.isImage(0));
  EXPECT_EQ(result.mimeType(0), "image/jpeg");
  nlohmann::json out = result.json(1);
  std::string expected = (std::filesystem::path(package) / "renders" / "intro__ios.iphone-6.9__en-US.png").string();
  EXPECT_EQ(out["file"], expected);
  EXPECT_TRUE(std::filesystem::exists(expected));
  EXPECT_EQ(out["report"]["slide"], "intro");
  EXPECT_EQ(out["report"]["target"], "ios.iphone-6.9");
  EXPECT_EQ(out["report"]["width"], 1320);
  EXPECT_EQ(out["report"]["height"], 2868);
  EXPECT_TRUE(out["report"].contains("headlineFontSize"));

  Image preview = testing::decodeImage(result.imageBytes(0), harness.folder());
  EXPECT_EQ(preview.height(), 1200);  // the default longest side
  EXPECT_EQ(preview.width(), 552);    // 1320 × 1200 / 2868, truncated
}

TEST(RenderSlideTool, PreviewSize200GivesLongestSide200WhileThePNGKeepsTheTargetsExactSize) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro","preview_size":200)"));
  ASSERT_FALSE(result.isError) << result.text(0);
  Image preview = testing::decodeImage(result.imageBytes(0), harness.folder());
  EXPECT_EQ(std::max(preview.width(), preview.height()), 200);
  EXPECT_EQ(preview.width(), 92);
  Image file = Images::load(result.json(1)["file"].get<std::string>());
  EXPECT_EQ(file.width(), 1320);
  EXPECT_EQ(file.height(), 2868);
}

TEST(RenderSlideTool, PreviewSizeAboveTheImagesSizeLeavesThePreviewAtTheImagesSize) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro","preview_size":5000)"));
  ASSERT_FALSE(result.isError) << result.text(0);
  Image preview = testing::decodeImage(result.imageBytes(0), harness.folder());
  EXPECT_EQ(preview.width(), 1320);
  EXPECT_EQ(preview.height(), 2868);
}

TEST(RenderSlideTool, ACreativesIdNamesTheToolToUseAndTheIdOfNeitherListsTheSlides) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro", "plan"});
  testing::editProject(package, [](Project& project) {
    Creative header;
    header.canvas = "ios.header";
    header.slide.id = "header";
    project.creatives.push_back(header);
  });

  ToolResult creative = harness.call("render_slide", args(package, R"(,"slide":"header")"));
  EXPECT_TRUE(creative.isError);
  EXPECT_EQ(creative.text(0), "header is a creative: render it with render_creative.");

  ToolResult neither = harness.call("render_slide", args(package, R"(,"slide":"ghost")"));
  EXPECT_TRUE(neither.isError);
  EXPECT_EQ(neither.text(0), "No slide ghost. Slides: intro, plan.");
  EXPECT_EQ(testing::renderCount(package), 0);
}

TEST(RenderSlideTool, AProjectWithoutLocalesRendersWithEnUSAndWithoutTargetsWithThe69InchIPhone) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  testing::editProject(package, [](Project& project) {
    project.locales.clear();
    project.targets.clear();
  });
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json out = result.json(1);
  EXPECT_EQ(out["report"]["locale"], "en-US");
  EXPECT_EQ(out["report"]["target"], "ios.iphone-6.9");
  EXPECT_EQ(std::filesystem::path(out["file"].get<std::string>()).filename(), "intro__ios.iphone-6.9__en-US.png");
}

TEST(RenderSlideTool, VariantWithASlashFailsInTheFileNameCheckBeforeAnythingIsRendered) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  testing::editProject(package, [](Project& project) {
    project.variants.push_back(Variant{"a/b", std::nullopt, nlohmann::json::object()});
  });
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro","variant":"a/b")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("Variant id \"a/b\" can't be used in a file name", 0), 0u) << result.text(0);
  EXPECT_EQ(testing::renderCount(package), 0);
}

TEST(RenderSlideTool, AVariantRendersItsLookToAFileNamedAfterIt) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  testing::editProject(package, [](Project& project) {
    project.variants.push_back(Variant{"bold", std::nullopt, nlohmann::json::parse(R"({"theme":{"background":"#FF0000"}})")});
  });
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro","variant":"bold")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  std::string file = result.json(1)["file"];
  EXPECT_EQ(std::filesystem::path(file).filename(), "bold__intro__ios.iphone-6.9__en-US.png");
  testing::Pixel corner = testing::pixelAt(Images::load(file), 4, 4);
  EXPECT_GT(corner.r, 200);
  EXPECT_LT(corner.g, 60);

  ToolResult unknown = harness.call("render_slide", args(package, R"(,"slide":"intro","variant":"calm")"));
  EXPECT_TRUE(unknown.isError);
  EXPECT_EQ(unknown.text(0), "No variant calm. Variants: bold.");
}

TEST(RenderSlideTool, AnUnknownTargetListsTheKnownOnes) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro","target":"ios.watch")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("Unknown target ios.watch. Known: ios.iphone-6.9, ", 0), 0u) << result.text(0);
}

TEST(RenderSlideTool, RequiresTheSlide) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("render_slide", args(package));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "render_slide: slide is required.");
}

TEST(RenderSlideTool, ShowsTheDeviceWithItsCaptureAndReportsTheFrame) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  testing::writeCapture(package, "captures/en-US/home.png", 1320, 2868);
  testing::editProject(package, [](Project& project) {
    DeviceSlot slot;
    slot.screenshot = ScreenshotRef::path("captures/{locale}/home.png");
    project.slides[0].device = slot;
  });
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json report = result.json(1)["report"];
  EXPECT_TRUE(report.contains("frame"));
  EXPECT_TRUE(report.contains("deviceRect"));
  for (const auto& issue : report["issues"]) EXPECT_NE(issue["code"].get<std::string>().rfind("capture.", 0), 0u);
}

TEST(RenderSlideTool, ReportNamesWhereEachElementIsAndWhatCoversTheWords) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  testing::editProject(package, [](Project& project) {
    SlideElement days;
    days.id = "days";
    days.kind = SlideElement::Kind::component;
    days.component = ComponentSpec{};
    days.component->type = ComponentSpec::Kind::stat;
    days.component->title = LocalizedText{{{"en-US", "21 days"}}};
    project.slides[0].elements = {days};
    project.slides[0].overrides["ios.iphone-6.9"].placements =
        std::map<std::string, Placement>{{"days", {0.5, 0.1, 0.7, std::nullopt, std::nullopt, std::nullopt}}};
  });
  ToolResult result = harness.call("render_slide", args(package, R"(,"slide":"intro")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json report = result.json(1)["report"];
  ASSERT_TRUE(report["elements"].is_array());
  nlohmann::json days;
  for (const auto& e : report["elements"])
    if (e["id"] == "days") days = e;
  ASSERT_FALSE(days.is_null()) << report.dump();
  EXPECT_EQ(days["kind"], "component");
  EXPECT_EQ(days["width"], 924);  // 0.7 of 1320
  EXPECT_NEAR(days["x"].get<int>() + 462, 660, 1);
  bool reported = false;
  for (const auto& issue : report["issues"])
    reported |= issue["code"] == "layout.overlap" && issue["element"] == "slide:intro/days";
  EXPECT_TRUE(reported) << report["issues"].dump();
}

TEST(RenderSlideTool, IsReadOnlyAndDescribesItselfInItsOwnWords) {
  auto tools = renderTools();
  ASSERT_EQ(tools.size(), 4u);
  EXPECT_EQ(tools[0]->name(), "render_slide");
  EXPECT_EQ(tools[0]->description(),
            "Render one slide and return a preview image plus a report (chosen frame, fitted font size, issues). The "
            "full-resolution PNG is written to renders/. Look at the image before moving on.");
  EXPECT_EQ(tools[0]->annotations().readOnlyHint, true);
  EXPECT_FALSE(tools[0]->annotations().destructiveHint);
  Arguments arguments(mcp::Value::Object{{"slide", "intro"}, {"target", "play.phone"}}, "render_slide");
  ToolActivity activity = tools[0]->activity(arguments);
  EXPECT_EQ(activity.summary, "Looked at intro");
  EXPECT_EQ(activity.slide, "intro");
  EXPECT_EQ(activity.target, "play.phone");
  EXPECT_EQ(tools[0]->activity(Arguments({}, "render_slide")).summary, "Looked at a slide");
}

}  // namespace
}  // namespace vorno::render_slide_tool_test
