#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "kit/model/slide.h"
#include "server/tools/render_tool_test_support.h"

namespace vorno::render_overview_tool_test {
namespace {

using testing::args;
using testing::ToolHarness;
using testing::ToolResult;

int longestSide(const ToolResult& result, size_t index, const ToolHarness& harness) {
  Image image = testing::decodeImage(result.imageBytes(index), harness.folder());
  return std::max(image.width(), image.height());
}

// A slide whose device shows a capture that was never taken: the layout reports it.
void showMissingCapture(Project& project, size_t slide) {
  DeviceSlot slot;
  slot.screenshot = ScreenshotRef::path("captures/{locale}/missing.png");
  project.slides[slide].device = slot;
}

bool hasCaptureIssue(const nlohmann::json& issues) {
  for (const auto& issue : issues)
    if (issue["code"].get<std::string>().rfind("capture.", 0) == 0) return true;
  return false;
}

TEST(RenderOverviewTool, AllVariantsAndNoVariantsAnswersLikeTheBaseAloneWithoutHeadersAtSize2000) {
  ToolHarness harness;
  // Five tiles make a sheet 2250 pixels wide, so the preview's 2000 shows.
  std::string package = harness.package("App.vorno", {"a", "b", "c", "d", "e"});
  ToolResult all = harness.call("render_overview", args(package, R"(,"all_variants":true)"));
  ASSERT_FALSE(all.isError) << all.text(0);
  ASSERT_EQ(all.content.size(), 3u);
  EXPECT_TRUE(all.isImage(0));
  EXPECT_EQ(all.mimeType(0), "image/jpeg");
  EXPECT_EQ(longestSide(all, 0, harness), 2000);
  EXPECT_EQ(all.text(1).rfind("Story (en-US):\n1. Plan your day", 0), 0u) << all.text(1);
  EXPECT_TRUE(all.json(2).is_array());

  ToolResult base = harness.call("render_overview", args(package));
  ASSERT_FALSE(base.isError) << base.text(0);
  ASSERT_EQ(base.content.size(), 3u);
  EXPECT_EQ(base.text(1), all.text(1));
  EXPECT_EQ(base.json(2), all.json(2));
  EXPECT_EQ(testing::renderCount(package), 0);  // an overview writes nothing
}

TEST(RenderOverviewTool, AllVariantsWithOneVariantHasTwoHeadersTwoImagesTwoStoriesAndSharedIssuesLeaveItEmpty) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b", "c", "d"});
  testing::editProject(package, [](Project& project) {
    showMissingCapture(project, 1);
    project.variants.push_back(
        Variant{"bold", std::string("Bold"), nlohmann::json::parse(R"({"theme":{"accent":"#FFD23F"}})")});
  });
  ToolResult result = harness.call("render_overview", args(package, R"(,"all_variants":true,"variant":"ghost")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  ASSERT_EQ(result.content.size(), 8u);
  EXPECT_EQ(result.text(0), "Base · base");
  EXPECT_TRUE(result.isImage(1));
  EXPECT_EQ(longestSide(result, 1, harness), 1400);
  EXPECT_EQ(result.text(2).rfind("Story (en-US):\n", 0), 0u);
  EXPECT_EQ(result.text(3), "Bold · bold");
  EXPECT_TRUE(result.isImage(4));
  EXPECT_EQ(longestSide(result, 4, harness), 1400);
  EXPECT_EQ(result.text(5), result.text(2));
  EXPECT_EQ(result.text(6), "Issues per look. A look lists only the issues the base doesn't also have.");

  nlohmann::json looks = result.json(7);
  ASSERT_EQ(looks.size(), 2u);
  EXPECT_EQ(looks[0]["look"], "base");
  EXPECT_TRUE(hasCaptureIssue(looks[0]["issues"]));
  EXPECT_EQ(looks[1]["look"], "bold");
  EXPECT_EQ(looks[1]["issues"], nlohmann::json::array());
}

TEST(RenderOverviewTool, AVariantsOwnIssuesStayAndAHeaderWithoutANameShowsTheId) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  testing::editProject(package, [](Project& project) {
    project.variants.push_back(
        Variant{"shots", std::nullopt,
                nlohmann::json::parse(R"({"slides":{"b":{"device":{"screenshot":"captures/{locale}/gone.png"}}}})")});
  });
  ToolResult result = harness.call("render_overview", args(package, R"(,"all_variants":true)"));
  ASSERT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(result.text(3), "shots · shots");
  nlohmann::json looks = result.json(7);
  EXPECT_FALSE(hasCaptureIssue(looks[0]["issues"]));
  EXPECT_TRUE(hasCaptureIssue(looks[1]["issues"]));
}

TEST(RenderOverviewTool, AWordsOnlyOverviewOfASlideWithAMissingCaptureShowsNoCaptureIssueForIt) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  testing::editProject(package, [](Project& project) { showMissingCapture(project, 0); });

  ToolResult full = harness.call("render_overview", args(package));
  ASSERT_FALSE(full.isError) << full.text(0);
  EXPECT_TRUE(hasCaptureIssue(full.json(2)));

  ToolResult words = harness.call("render_overview", args(package, R"(,"words_only":true)"));
  ASSERT_FALSE(words.isError) << words.text(0);
  ASSERT_EQ(words.content.size(), 3u);
  EXPECT_FALSE(hasCaptureIssue(words.json(2)));
}

TEST(RenderOverviewTool, AnOverviewOfOneVariantIsThatLookAlone) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a"});
  testing::editProject(package, [](Project& project) {
    project.variants.push_back(
        Variant{"calm", std::nullopt, nlohmann::json::parse(R"({"slides":{"a":{"headline":"Breathe out"}}})")});
  });
  ToolResult result = harness.call("render_overview", args(package, R"(,"variant":"calm","locale":"en-US")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  ASSERT_EQ(result.content.size(), 3u);
  EXPECT_EQ(result.text(1), "Story (en-US):\n1. Breathe out");

  ToolResult unknown = harness.call("render_overview", args(package, R"(,"variant":"loud")"));
  EXPECT_TRUE(unknown.isError);
  EXPECT_EQ(unknown.text(0), "No variant loud. Variants: calm.");
}

TEST(RenderOverviewTool, AProjectWithoutSlidesSaysSo) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {});
  ToolResult result = harness.call("render_overview", args(package));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "The project has no slides.");
}

TEST(RenderOverviewTool, TheActivitySaysWhetherTheWordsWereReadAlone) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a"});
  ASSERT_FALSE(harness.call("render_overview", args(package, R"(,"words_only":true)")).isError);
  ASSERT_FALSE(harness.call("render_overview", args(package)).isError);
  std::ifstream log(std::filesystem::path(package) / ".activity.jsonl");
  std::string line, all;
  while (std::getline(log, line)) all += line + "\n";
  EXPECT_NE(all.find("\"summary\":\"Read the headlines alone\""), std::string::npos) << all;
  EXPECT_NE(all.find("\"summary\":\"Reviewed the whole set\""), std::string::npos) << all;
}

}  // namespace
}  // namespace vorno::render_overview_tool_test
