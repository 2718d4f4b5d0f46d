#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "kit/model/project.h"
#include "server/tool_registry.h"
#include "server/tool_test_support.h"

namespace vorno::variant_tools_test {
namespace {

using testing::ToolHarness;

std::string upsertCall(const std::string& package, const std::string& id, const std::string& patch) {
  return R"({"project": ")" + package + R"(", "id": ")" + id + R"(", "patch": )" + patch + "}";
}

std::string idCall(const std::string& package, const std::string& id) {
  return R"({"project": ")" + package + R"(", "id": ")" + id + R"("})";
}

TEST(VariantUpsertTool, SavesAPatchAndSaysHowToRenderIt) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("variant_upsert",
                             R"({"project": ")" + package +
                                 R"(", "id": "bold", "name": "Bold", "patch": {"theme": {"accent": "#FFD23F"}}})");
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved variant bold. Variants: bold. Render it with \"variant\": \"bold\".");
  EXPECT_TRUE(result.json(1).is_array());
  Project saved = harness.load(package);
  ASSERT_EQ(saved.variants.size(), 1u);
  EXPECT_EQ(saved.variants[0].name, "Bold");
  EXPECT_EQ(saved.applying(saved.variants[0]).theme.accent, *RGBColor::fromHex("#FFD23F"));
}

TEST(VariantUpsertTool, ReplacingAVariantKeepsItsPlace) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  harness.call("variant_upsert", upsertCall(package, "a", R"({"theme": {"accent": "#FF0000"}})"));
  harness.call("variant_upsert", upsertCall(package, "b", R"({"theme": {"accent": "#00FF00"}})"));
  auto result = harness.call("variant_upsert", upsertCall(package, "a", R"({"theme": {"accent": "#0000FF"}})"));
  EXPECT_EQ(result.text(0), "Saved variant a. Variants: a, b. Render it with \"variant\": \"a\".");
  Project saved = harness.load(package);
  ASSERT_EQ(saved.variants.size(), 2u);
  EXPECT_EQ(saved.variants[0].id, "a");
  EXPECT_EQ(saved.applying(saved.variants[0]).theme.accent, *RGBColor::fromHex("#0000FF"));
}

TEST(VariantUpsertTool, AnIdThatCantNameAnExportFolderFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("variant_upsert", upsertCall(package, "test b", "{}"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Variant ids use letters, digits, - and _ (they name export folders).");
  EXPECT_TRUE(harness.load(package).variants.empty());
}

TEST(VariantUpsertTool, ATenThousandLetterIdIsRefusedBeforeItIsSaved) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  const std::string id(10000, 'v');
  auto result = harness.call("variant_upsert", upsertCall(package, id, "{}"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Variant id \"" + id +
                                "\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_TRUE(harness.load(package).variants.empty());
}

TEST(VariantUpsertTool, WithoutAPatchSaysItIsRequired) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("variant_upsert", idCall(package, "bold"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "variant_upsert: patch is required.");
}

TEST(VariantUpsertTool, AnUnknownFieldInThePatchIsNamedInTheSentence) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("variant_upsert", upsertCall(package, "bold", R"({"theme": {"acent": "#FFD23F"}})"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0),
            "Saved variant bold. 1 field was ignored (schema.unknown): fix it first. Variants: bold. Render it with "
            "\"variant\": \"bold\".");
  EXPECT_EQ(result.json(1)[0]["code"], "schema.unknown");
}

TEST(VariantUpsertTool, APatchThatBreaksTheLookIsSavedAndReportedAsInvalid) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("variant_upsert", upsertCall(package, "broken", R"({"slides": [{"id": "intro"}]})"));
  ASSERT_FALSE(result.isError) << result.text();
  bool invalid = false;
  for (const nlohmann::json& issue : result.json(1)) invalid = invalid || issue["code"] == "variant.invalid";
  EXPECT_TRUE(invalid) << result.text(1);
  EXPECT_EQ(harness.load(package).variants.size(), 1u);
}

TEST(VariantUpsertTool, LogsTheSave) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  harness.call("variant_upsert", upsertCall(package, "bold", "{}"));
  std::ifstream log(std::filesystem::path(package) / ".activity.jsonl");
  std::string line;
  ASSERT_TRUE(std::getline(log, line));
  nlohmann::json event = nlohmann::json::parse(line);
  EXPECT_EQ(event["summary"], "Saved variant bold");
  EXPECT_FALSE(event.contains("slide"));
}

TEST(VariantDeleteTool, DeletesAndListsTheRest) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  harness.call("variant_upsert", upsertCall(package, "a", "{}"));
  harness.call("variant_upsert", upsertCall(package, "b", "{}"));
  EXPECT_EQ(harness.call("variant_delete", idCall(package, "a")).text(0), "Deleted variant a. Variants: b.");
  EXPECT_EQ(harness.call("variant_delete", idCall(package, "b")).text(0), "Deleted variant b. Variants: none.");
  EXPECT_TRUE(harness.load(package).variants.empty());
}

TEST(VariantDeleteTool, AnUnknownVariantFails) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("variant_delete", idCall(package, "bold"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "No variant bold.");
}

TEST(VariantPromoteTool, VariantPromoteTwiceInARowBringsTheLookBackWithPreviousBaseRewritten) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro", "week"});
  harness.call("variant_upsert",
               upsertCall(package, "bold", R"({"theme": {"accent": "#FFD23F"}, "slides": {"week": {"inverted": true}}})"));
  Project original = harness.load(package);
  Project boldLook = original.resolved("bold");

  auto first = harness.call("variant_promote", idCall(package, "bold"));
  ASSERT_FALSE(first.isError) << first.text();
  EXPECT_EQ(first.text(0), "bold is the base now. Variants: previous-base.");
  Project promoted = harness.load(package);
  EXPECT_EQ(promoted.resolved(std::nullopt).theme, boldLook.theme);
  EXPECT_TRUE(promoted.slide("week")->inverted);

  auto second = harness.call("variant_promote", idCall(package, "previous-base"));
  ASSERT_FALSE(second.isError) << second.text();
  EXPECT_EQ(second.text(0), "previous-base is the base now. Variants: previous-base.");
  Project back = harness.load(package);
  // The base looks as it did at first, and "previous-base" now holds the bold look.
  Project originalLook = original.resolved(std::nullopt);
  originalLook.variants.clear();
  Project backLook = back;
  backLook.variants.clear();
  EXPECT_EQ(backLook, originalLook);
  ASSERT_EQ(back.variants.size(), 1u);
  EXPECT_EQ(back.variants[0].id, "previous-base");
  EXPECT_EQ(back.resolved("previous-base"), boldLook);
}

TEST(VariantPromoteTool, AnUnknownVariantNamesTheVariants) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  harness.call("variant_upsert", upsertCall(package, "bold", "{}"));
  auto result = harness.call("variant_promote", idCall(package, "calm"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "No variant calm. Variants: bold.");
  EXPECT_EQ(harness.load(package).variants.size(), 1u);
}

}  // namespace
}  // namespace vorno::variant_tools_test

namespace vorno::variant_tools_test {
namespace {

TEST(VariantUpsertTool, TheDescriptionsSamplePatchAppliesWithoutUnknownFields) {
  std::string description = ToolRegistry::named("variant_upsert")->description();
  size_t start = description.find("\n{\n");
  size_t end = description.find("\n}\n", start);
  std::string patch;
  std::istringstream lines(description.substr(start + 1, end - start + 1));
  for (std::string line; std::getline(lines, line);) patch += line.substr(0, line.find("//")) + "\n";

  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro", "week"});
  FileProjectStore(package).modify([](Project& project) {
    SlideElement zoom;
    zoom.id = "zoom";
    zoom.kind = SlideElement::Kind::symbol;
    zoom.symbol = "star";
    project.slide("week")->elements.push_back(zoom);
  });
  auto result = harness.call("variant_upsert", upsertCall(package, "bold", patch));
  ASSERT_FALSE(result.isError) << result.text();
  for (const nlohmann::json& issue : result.json(1)) {
    EXPECT_NE(issue["code"], "schema.unknown") << issue.dump();
    EXPECT_NE(issue["code"], "variant.invalid") << issue.dump();
  }
  Project look = harness.load(package).resolved("bold");
  ASSERT_EQ(look.slides.size(), 3u);
  EXPECT_EQ(look.slides[2].id, "bonus");
  EXPECT_TRUE(look.slide("week")->inverted);
  EXPECT_FALSE(look.slide("intro")->subhead.has_value());
  ASSERT_EQ(look.slide("week")->elements.size(), 1u);
  EXPECT_EQ(look.slide("week")->elements[0].id, "glow");
}

}  // namespace
}  // namespace vorno::variant_tools_test
