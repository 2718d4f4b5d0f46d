#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "kit/model/project.h"
#include "server/tool_registry.h"
#include "server/tool_test_support.h"

namespace vorno::spread_tools_test {
namespace {

using testing::ToolHarness;

// The events of the package's activity log, one JSON object a line.
std::vector<nlohmann::json> activity(const std::string& package) {
  std::vector<nlohmann::json> events;
  std::ifstream log(std::filesystem::path(package) / ".activity.jsonl");
  for (std::string line; std::getline(log, line);)
    if (!line.empty()) events.push_back(nlohmann::json::parse(line));
  return events;
}

std::string spreadCall(const std::string& package, const std::string& spread) {
  return R"({"project": ")" + package + R"(", "spread": )" + spread + "}";
}

TEST(SpreadUpsertTool, SavesASpreadAcrossAdjacentSlidesAndAnswersWithItsIssues) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b", "c"});
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["b", "c"]})"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved spread pano across b, c. Check it with render_spread.");
  EXPECT_TRUE(result.json(1).is_array());
  Project saved = harness.load(package);
  ASSERT_EQ(saved.spreads.size(), 1u);
  EXPECT_EQ(saved.spreads[0].slides, (std::vector<std::string>{"b", "c"}));
}

TEST(SpreadUpsertTool, GapBetweenMembersNamesTheCurrentOrder) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b", "c"});
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["a", "c"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0),
            "Spread slides must be adjacent and in order. Current order: a, b, c. Use slides_reorder first.");
  EXPECT_TRUE(harness.load(package).spreads.empty());
}

TEST(SpreadUpsertTool, MembersOutOfSlideOrderFailLikeAGap) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["b", "a"]})"));
  EXPECT_EQ(result.text(0),
            "Spread slides must be adjacent and in order. Current order: a, b. Use slides_reorder first.");
}

TEST(SpreadUpsertTool, OneMemberIsTooFew) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["a"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "A spread needs at least two slides.");
}

TEST(SpreadUpsertTool, AMemberThatIsNoSlideNamesTheSlides) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["a", "ghost"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "No slide ghost. Slides: a, b.");
}

TEST(SpreadUpsertTool, MembersOfAnotherSpreadNameThatSpreadAndNothingIsSaved) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ASSERT_FALSE(harness.call("spread_upsert", spreadCall(package, R"({"id": "one", "slides": ["a", "b"]})")).isError);
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "two", "slides": ["b", "c"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "b already belong to spread one. Delete or change it first.");
  Project saved = harness.load(package);
  ASSERT_EQ(saved.spreads.size(), 1u);
  EXPECT_EQ(saved.spreads[0].id, "one");
}

TEST(SpreadUpsertTool, ReplacingASpreadOfTheSameIdMayReuseItsMembers) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ASSERT_FALSE(harness.call("spread_upsert", spreadCall(package, R"({"id": "one", "slides": ["a", "b"]})")).isError);
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "one", "slides": ["a", "b", "c"]})"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved spread one across a, b, c. Check it with render_spread.");
  Project saved = harness.load(package);
  ASSERT_EQ(saved.spreads.size(), 1u);
  EXPECT_EQ(saved.spreads[0].slides.size(), 3u);
}

TEST(SpreadUpsertTool, WithoutASpreadSaysItIsRequired) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result = harness.call("spread_upsert", R"({"project": ")" + package + R"(", "spread": null})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "spread_upsert: spread is required.");
}

TEST(SpreadUpsertTool, AnIdThatCantNameAFileFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result = harness.call("spread_upsert", spreadCall(package, R"({"id": "a/b", "slides": ["a", "b"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("Spread id \"a/b\" can't be used in a file name", 0), 0u) << result.text(0);
  EXPECT_TRUE(harness.load(package).spreads.empty());
}

// 70 emoji: 70 characters, but 280 bytes, more than a file name may hold.
std::string seventyEmoji() {
  std::string emoji;
  for (int i = 0; i < 70; ++i) emoji += "\xF0\x9F\x98\x80";
  return emoji;
}

TEST(SpreadUpsertTool, SeventyEmojiIdFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result =
      harness.call("spread_upsert", spreadCall(package, R"({"id": ")" + seventyEmoji() + R"(", "slides": ["a", "b"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("Spread id \"" + seventyEmoji() + "\" can't be used in a file name", 0), 0u);
  EXPECT_TRUE(harness.load(package).spreads.empty());
}

TEST(SpreadUpsertTool, AnUnknownFieldIsSavedWithoutAndNamedAsAnIssue) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result =
      harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["a", "b"], "backgroud": "#000000"})"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0),
            "Saved spread pano across a, b. Check it with render_spread. 1 field was ignored (schema.unknown): fix it "
            "first.");
  nlohmann::json issues = result.json(1);
  ASSERT_FALSE(issues.empty());
  EXPECT_EQ(issues[0]["code"], "schema.unknown");
  EXPECT_EQ(issues[0]["slide"], "pano");
}

TEST(SpreadUpsertTool, LogsTheEditWithTheFirstMember) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["a", "b"]})"));
  std::vector<nlohmann::json> events = activity(package);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["summary"], "Edited spread pano");
  EXPECT_EQ(events[0]["slide"], "a");
}

TEST(SpreadDeleteTool, SpreadDeleteLeavesTheSlidesInPlace) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ASSERT_FALSE(harness.call("spread_upsert", spreadCall(package, R"({"id": "pano", "slides": ["a", "b"]})")).isError);
  auto result = harness.call("spread_delete", R"({"project": ")" + package + R"(", "id": "pano"})");
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Deleted spread pano.");
  Project saved = harness.load(package);
  EXPECT_TRUE(saved.spreads.empty());
  ASSERT_EQ(saved.slides.size(), 3u);
  EXPECT_EQ(saved.slides[0].id, "a");
  EXPECT_EQ(saved.slides[1].id, "b");
  EXPECT_EQ(saved.slides[2].id, "c");
  EXPECT_EQ(activity(package).back()["summary"], "Deleted spread pano");
}

TEST(SpreadDeleteTool, AnUnknownSpreadFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"a", "b"});
  auto result = harness.call("spread_delete", R"({"project": ")" + package + R"(", "id": "pano"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "No spread pano.");
}

}  // namespace
}  // namespace vorno::spread_tools_test

namespace vorno::spread_tools_test {
namespace {

// The JSON sample of a tool description: from the line "{" to the line "}", comments cut.
std::string sampleOf(const std::string& description) {
  size_t start = description.find("\n{\n");
  size_t end = description.find("\n}\n", start);
  std::string sample;
  std::istringstream lines(description.substr(start + 1, end - start + 1));
  for (std::string line; std::getline(lines, line);) {
    size_t comment = line.find("//");
    sample += (comment == std::string::npos ? line : line.substr(0, comment)) + "\n";
  }
  return sample;
}

TEST(SpreadUpsertTool, TheDescriptionsSampleIsASpreadWithEveryField) {
  std::string sample = sampleOf(ToolRegistry::named("spread_upsert")->description());
  nlohmann::json spread = nlohmann::json::parse(sample);
  for (const char* field : {"id", "slides", "background", "elements", "overrides"})
    EXPECT_TRUE(spread.contains(field)) << field;

  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"plan", "track"});
  auto result = harness.call("spread_upsert", spreadCall(package, sample));
  ASSERT_FALSE(result.isError) << result.text();
  for (const nlohmann::json& issue : result.json(1)) EXPECT_NE(issue["code"], "schema.unknown") << issue.dump();
  EXPECT_EQ(harness.load(package).spreads.at(0).elements.size(), 3u);
}

}  // namespace
}  // namespace vorno::spread_tools_test
