#include <gtest/gtest.h>

#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "server/creative_docs.h"
#include "server/tool_registry.h"
#include "server/tool_test_support.h"

namespace vorno::creative_tools_test {
namespace {

using testing::ToolHarness;

std::string creativeCall(const std::string& package, const std::string& creative) {
  return R"({"project": ")" + package + R"(", "creative": )" + creative + "}";
}

TEST(CreativeUpsertTool, SavesACreativeAndListsEveryCreativeWithItsCanvas) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto first = harness.call("creative_upsert", creativeCall(package, R"({"id": "header", "canvas": "ios.header"})"));
  ASSERT_FALSE(first.isError) << first.text();
  EXPECT_EQ(first.text(0), "Saved header. Creatives: header (ios.header). Render it with render_creative.");
  auto second = harness.call("creative_upsert",
                             creativeCall(package, R"({"id": "search", "canvas": "ios.search-results",
                                                        "headline": "Plan your day"})"));
  ASSERT_FALSE(second.isError) << second.text();
  EXPECT_EQ(second.text(0),
            "Saved search. Creatives: header (ios.header), search (ios.search-results). Render it with "
            "render_creative.");
  for (const nlohmann::json& issue : second.json(1)) EXPECT_EQ(issue["slide"], "search");
  Project saved = harness.load(package);
  ASSERT_EQ(saved.creatives.size(), 2u);
  EXPECT_EQ(saved.creatives[1].canvas, "ios.search-results");
}

TEST(CreativeUpsertTool, CreativeUpsertWithASlidesIdFailsAndNamesTheId) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("creative_upsert", creativeCall(package, R"({"id": "intro", "canvas": "ios.header"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "intro is a slide's id. Give the creative its own, e.g. header or search.");
  EXPECT_TRUE(harness.load(package).creatives.empty());
}

TEST(CreativeUpsertTool, AnUnknownCanvasListsTheKnownOnes) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("creative_upsert", creativeCall(package, R"({"id": "header", "canvas": "ios.poster"})"));
  EXPECT_TRUE(result.isError);
  std::string known;
  for (const StoreTarget& canvas : StoreTarget::canvases()) known += (known.empty() ? "" : ", ") + canvas.id;
  EXPECT_EQ(known, "ios.header, ios.search-results, ios.universal");
  EXPECT_EQ(result.text(0), "Unknown canvas ios.poster. Use one of: " + known + ".");
  EXPECT_TRUE(harness.load(package).creatives.empty());
}

TEST(CreativeUpsertTool, WithoutACreativeSaysItIsRequired) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("creative_upsert", R"({"project": ")" + package + R"("})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "creative_upsert: creative is required.");
}

TEST(CreativeUpsertTool, AnIdThatCantNameAFileFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("creative_upsert", creativeCall(package, R"({"id": ".hidden", "canvas": "ios.header"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("Creative id \".hidden\" can't be used in a file name", 0), 0u) << result.text(0);
}

// 70 emoji: 70 characters, but 280 bytes, more than a file name may hold.
std::string seventyEmoji() {
  std::string emoji;
  for (int i = 0; i < 70; ++i) emoji += "\xF0\x9F\x98\x80";
  return emoji;
}

TEST(CreativeUpsertTool, SeventyEmojiIdFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("creative_upsert",
                             creativeCall(package, R"({"id": ")" + seventyEmoji() + R"(", "canvas": "ios.header"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("Creative id \"" + seventyEmoji() + "\" can't be used in a file name", 0), 0u);
  EXPECT_TRUE(harness.load(package).creatives.empty());
}

TEST(CreativeUpsertTool, AnUnknownFieldIsReportedForThisCreative) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("creative_upsert",
                             creativeCall(package, R"({"id": "header", "canvas": "ios.header", "headlin": "Hi"})"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0),
            "Saved header. Creatives: header (ios.header). Render it with render_creative. 1 field was ignored "
            "(schema.unknown): fix it first.");
  nlohmann::json issues = result.json(1);
  ASSERT_FALSE(issues.empty());
  EXPECT_EQ(issues[0]["code"], "schema.unknown");
  EXPECT_EQ(issues[0]["slide"], "header");
}

TEST(CreativeUpsertTool, DescriptionIsTheCreativeDocs) {
  const Tool* tool = ToolRegistry::named("creative_upsert");
  ASSERT_NE(tool, nullptr);
  EXPECT_EQ(tool->description(), CreativeDocs::description());
}

TEST(CreativeDeleteTool, DeletesAndListsWhatIsLeft) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  harness.call("creative_upsert", creativeCall(package, R"({"id": "header", "canvas": "ios.header"})"));
  harness.call("creative_upsert", creativeCall(package, R"({"id": "search", "canvas": "ios.search-results"})"));
  auto first = harness.call("creative_delete", R"({"project": ")" + package + R"(", "id": "header"})");
  ASSERT_FALSE(first.isError) << first.text();
  EXPECT_EQ(first.text(0), "Deleted header. Creatives left: search.");
  auto second = harness.call("creative_delete", R"({"project": ")" + package + R"(", "id": "search"})");
  EXPECT_EQ(second.text(0), "Deleted search. Creatives left: none.");
  EXPECT_TRUE(harness.load(package).creatives.empty());
  EXPECT_EQ(harness.load(package).slides.size(), 1u);
}

TEST(CreativeDeleteTool, AnUnknownCreativeNamesTheCreativesOrHowToAddOne) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto none = harness.call("creative_delete", R"({"project": ")" + package + R"(", "id": "header"})");
  EXPECT_TRUE(none.isError);
  EXPECT_EQ(none.text(0), "No creative header. Creatives: none: add one with creative_upsert.");
  harness.call("creative_upsert", creativeCall(package, R"({"id": "search", "canvas": "ios.search-results"})"));
  auto some = harness.call("creative_delete", R"({"project": ")" + package + R"(", "id": "header"})");
  EXPECT_EQ(some.text(0), "No creative header. Creatives: search.");
}

}  // namespace
}  // namespace vorno::creative_tools_test
