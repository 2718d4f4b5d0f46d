#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kit/lint/schema_check.h"
#include "kit/model/project.h"
#include "kit/model/slide_element.h"
#include "kit/store/file_project_store.h"
#include "server/tool_test_support.h"
#include "server/tools/slide_upsert_description.h"
#include "tests/read_text.h"

namespace vorno::slide_tools_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;
using testing::ToolResult;

std::string args(const nlohmann::json& arguments) { return arguments.dump(); }

std::vector<std::string> ids(const Project& project) {
  std::vector<std::string> out;
  for (const Slide& slide : project.slides) out.push_back(slide.id);
  return out;
}

std::vector<nlohmann::json> activity(const std::string& package) {
  std::vector<nlohmann::json> events;
  std::ifstream in(fs::path(package) / ".activity.jsonl");
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) events.push_back(nlohmann::json::parse(line));
  return events;
}

nlohmann::json slide(const std::string& id, const std::string& headline = "Plan your week") {
  return {{"id", id}, {"headline", headline}};
}

/// A spread over two slides, written straight into the package.
void addSpread(const std::string& package, const std::string& id, std::vector<std::string> members) {
  FileProjectStore(package).modify([&](Project& project) {
    Spread spread;
    spread.id = id;
    spread.slides = std::move(members);
    project.spreads.push_back(spread);
  });
}

// MARK: slide_upsert

TEST(SlideUpsertTool, NewSlideIsAppendedAndTheOrderIsAnswered) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b"});
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("c")}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved c. Order: a, b, c.");
  EXPECT_EQ(ids(harness.load(package)), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(harness.load(package).slide("c")->headline.resolve("en-US"), "Plan your week");
  EXPECT_TRUE(result.json(1).is_array());
}

TEST(SlideUpsertTool, IndexZeroMovesAnExistingSlideToTheFront) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("c")}, {"index", 0}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved c. Order: c, a, b.");
  EXPECT_EQ(ids(harness.load(package)), (std::vector<std::string>{"c", "a", "b"}));
}

TEST(SlideUpsertTool, Index99MovesAnExistingSlideToTheEnd) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("a")}, {"index", 99}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved a. Order: b, c, a.");
  // A negative index means first.
  result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("a")}, {"index", -3}}));
  EXPECT_EQ(result.text(0), "Saved a. Order: a, b, c.");
}

TEST(SlideUpsertTool, WithoutIndexAnExistingSlideStaysWhereItWas) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("b", "New words")}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved b. Order: a, b, c.");
  Project project = harness.load(package);
  EXPECT_EQ(ids(project), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(project.slide("b")->headline.resolve("en-US"), "New words");
}

TEST(SlideUpsertTool, UnknownFieldSavesTheSlideAndSaysOneFieldWasIgnored) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  nlohmann::json given = slide("b");
  given["headlin"] = "Typo";
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", given}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved b. Order: a, b. 1 field was ignored (schema.unknown): fix it first.");
  ASSERT_TRUE(harness.load(package).slide("b"));
  nlohmann::json issues = result.json(1);
  ASSERT_FALSE(issues.empty());
  EXPECT_EQ(issues[0]["code"], "schema.unknown");
  EXPECT_EQ(issues[0]["slide"], "b");
  EXPECT_NE(issues[0]["message"].get<std::string>().find("Did you mean headline?"), std::string::npos);
}

TEST(SlideUpsertTool, LintIssuesAreOnlyThoseOfThisSlide) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  // Nine words are a long headline on both slides; only the edited one's issue comes back.
  const std::string longHeadline = "One two three four five six seven eight nine";
  harness.call("slide_upsert", args({{"project", package}, {"slide", slide("a", longHeadline)}}));
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("b", longHeadline)}}));
  ASSERT_FALSE(result.isError) << result.text();
  nlohmann::json issues = result.json(1);
  ASSERT_EQ(issues.size(), 1u) << issues.dump();
  EXPECT_EQ(issues[0]["code"], "text.long");
  EXPECT_EQ(issues[0]["slide"], "b");
}

TEST(SlideUpsertTool, NoSlideFailsWithItsOwnSentence) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  for (const nlohmann::json& arguments : {nlohmann::json{{"project", package}}, {{"project", package}, {"slide", nullptr}}}) {
    ToolResult result = harness.call("slide_upsert", args(arguments));
    EXPECT_TRUE(result.isError);
    EXPECT_EQ(result.text(), "slide_upsert: slide is required.");
  }
}

TEST(SlideUpsertTool, UnsafeSlideIdFailsAndWritesNothing) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  const std::string before = testing::readText(fs::path(package) / "project.json");
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide("../x")}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(),
            "Slide id \"../x\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_EQ(testing::readText(fs::path(package) / "project.json"), before);
}

// 70 emoji: 70 characters, but 280 bytes, more than a file name may hold.
std::string seventyEmoji() {
  std::string emoji;
  for (int i = 0; i < 70; ++i) emoji += "\xF0\x9F\x98\x80";
  return emoji;
}

TEST(SlideUpsertTool, SeventyEmojiIdFailsAndWritesNothing) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  const std::string before = testing::readText(fs::path(package) / "project.json");
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", slide(seventyEmoji())}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "Slide id \"" + seventyEmoji() +
                               "\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_EQ(testing::readText(fs::path(package) / "project.json"), before);
}

TEST(SlideUpsertTool, DescriptionListsTheComponentKindsOfTheCatalogue) {
  EXPECT_NE(slideUpsertDescription().find("// type: " + ComponentSpec::kindNames(" | ") + "\n"), std::string::npos);
}

TEST(SlideUpsertTool, DescriptionNamesEveryFieldOfTheSlideDocument) {
  const std::string& text = slideUpsertDescription();
  EXPECT_TRUE(text.starts_with(
      "Create or replace a slide by id. Returns lint issues. Render it afterwards to check the result."));
  for (const char* sentence :
       {"Fields Vorno doesn't know are ignored and reported as schema.unknown warnings with the likely intended field: "
        "fix those first.",
        "Plain strings for text fields mean en-US.",
        "Hand placement (per target, so a phone layout never disturbs the tablet one)", "\"placements\": {"})
    EXPECT_NE(text.find(sentence), std::string::npos) << sentence;
  using Shape = SchemaCheck::Shape;
  for (const Shape* shape : {&Shape::slide(), &Shape::device(), &Shape::look(), &Shape::crop(), &Shape::override(),
                             &Shape::placement(), &Shape::element(), &Shape::component(), &Shape::textStyle(),
                             &Shape::mark(), &Shape::effect(), &Shape::shadowStyle()})
    for (const std::string& key : shape->keys())
      EXPECT_NE(text.find("\"" + key + "\""), std::string::npos) << shape->label() << "." << key;
  // The keys of every form of fill.
  for (const char* key : {"linear", "angle", "radial", "center", "radius", "image", "fit", "dim", "blur"})
    EXPECT_NE(text.find("\"" + std::string(key) + "\""), std::string::npos) << key;
  // Every value of the closed lists a slide uses.
  for (const char* value : {"hero", "device-top", "text-only", "rectangle", "rounded-rectangle", "capsule", "circle",
                            "arrow", "path", "rating", "badge", "award", "review", "stat", "checklist", "notification",
                            "callout", "light", "dark", "accent", "clear", "eyebrow", "headline", "subhead", "caption",
                            "color-dodge", "soft-light", "exclusion", "semibold", "sticker"})
    EXPECT_NE(text.find(value), std::string::npos) << value;
}

// MARK: slide_delete

TEST(SlideDeleteTool, DeletingTheLastSlideAnswersAnEmptyOrder) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("slide_delete", args({{"project", package}, {"id", "intro"}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Deleted intro. Order: .");
  EXPECT_TRUE(harness.load(package).slides.empty());
}

TEST(SlideDeleteTool, UnknownSlideFails) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("slide_delete", args({{"project", package}, {"id", "outro"}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "No slide outro.");
}

TEST(SlideDeleteTool, SpreadsLeftWithoutAdjacentSlidesAreRemovedAndCounted) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  addSpread(package, "wide", {"a", "b"});
  ToolResult result = harness.call("slide_delete", args({{"project", package}, {"id", "b"}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Deleted b. Order: a, c. 1 spread(s) no longer had adjacent slides and were removed.");
  EXPECT_TRUE(harness.load(package).spreads.empty());
}

// MARK: slides_reorder

TEST(SlidesReorderTool, NewOrderIsSavedAndAnswered) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  addSpread(package, "wide", {"b", "c"});
  ToolResult result = harness.call("slides_reorder", args({{"project", package}, {"ids", {"b", "c", "a"}}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Order: b, c, a.");
  EXPECT_EQ(ids(harness.load(package)), (std::vector<std::string>{"b", "c", "a"}));
  EXPECT_EQ(harness.load(package).spreads.size(), 1u);
}

TEST(SlidesReorderTool, SpreadsSplitApartByTheOrderAreRemovedAndCounted) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  addSpread(package, "wide", {"a", "b"});
  ToolResult result = harness.call("slides_reorder", args({{"project", package}, {"ids", {"a", "c", "b"}}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Order: a, c, b. 1 spread(s) were split apart by the new order and removed.");
  EXPECT_TRUE(harness.load(package).spreads.empty());
}

TEST(SlidesReorderTool, DuplicateIdWithOneMissingFails) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  const std::string before = testing::readText(fs::path(package) / "project.json");
  ToolResult result = harness.call("slides_reorder", args({{"project", package}, {"ids", {"a", "a", "b"}}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "ids must list every slide exactly once: a, b, c");
  EXPECT_EQ(testing::readText(fs::path(package) / "project.json"), before);
}

TEST(SlidesReorderTool, OneIdTooManyFails) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a", "b", "c"});
  ToolResult result = harness.call("slides_reorder", args({{"project", package}, {"ids", {"c", "b", "a", "a"}}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "ids must list every slide exactly once: a, b, c");
  EXPECT_EQ(ids(harness.load(package)), (std::vector<std::string>{"a", "b", "c"}));
}

// MARK: the activity log

TEST(SlideTools, OneCallLogsStartedAndFinishedWithOneIdAndTheSummary) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  ASSERT_FALSE(harness.call("slide_upsert", args({{"project", package}, {"slide", slide("b")}})).isError);
  ASSERT_FALSE(harness.call("slide_delete", args({{"project", package}, {"id", "b"}})).isError);
  ASSERT_FALSE(harness.call("slides_reorder", args({{"project", package}, {"ids", {"a"}}})).isError);
  std::vector<nlohmann::json> events = activity(package);
  ASSERT_EQ(events.size(), 6u);
  const std::vector<std::string> summaries{"Edited slide b", "Deleted slide b", "Reordered the slides"};
  for (size_t call = 0; call < 3; ++call) {
    const nlohmann::json& started = events[call * 2];
    const nlohmann::json& finished = events[call * 2 + 1];
    EXPECT_EQ(started["phase"], "started");
    EXPECT_EQ(finished["phase"], "finished");
    EXPECT_EQ(started["id"], finished["id"]);
    EXPECT_EQ(started["summary"], summaries[call]);
    EXPECT_EQ(finished["summary"], summaries[call]);
  }
  EXPECT_EQ(events[0]["slide"], "b");
  EXPECT_EQ(events[2]["slide"], "b");
  EXPECT_FALSE(events[4].contains("slide"));
}

TEST(SlideTools, UpsertWithoutAnIdIsLoggedAsEditingASlide) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"a"});
  ToolResult result = harness.call("slide_upsert", args({{"project", package}, {"slide", {{"headline", "x"}}}}));
  EXPECT_TRUE(result.isError);
  std::vector<nlohmann::json> events = activity(package);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["summary"], "Edited a slide");
  EXPECT_EQ(events[1]["phase"], "failed");
}

}  // namespace
}  // namespace vorno::slide_tools_test
