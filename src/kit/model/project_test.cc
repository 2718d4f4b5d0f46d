#include "kit/model/project.h"

#include "kit/model/store_target.h"
#include "kit/model/vorno_info.h"

#include <gtest/gtest.h>

namespace vorno::project_test {
namespace {

Slide slide(const std::string& id, const std::string& headline = "") {
  Slide s;
  s.id = id;
  if (!headline.empty()) s.headline = LocalizedText{{{"en-US", headline}}};
  return s;
}

Spread spread(const std::string& id, std::vector<std::string> members) {
  Spread s;
  s.id = id;
  s.slides = std::move(members);
  return s;
}

Creative creative(const std::string& id, const std::string& canvas) {
  Creative c;
  c.canvas = canvas;
  c.slide = slide(id);
  return c;
}

Project sample() {
  Project p("Crewday", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), {slide("a"), slide("b"), slide("c"), slide("d")},
            {spread("ab", {"a", "b"})});
  p.creatives = {creative("header", "ios.header"), creative("odd", "ios.billboard"), creative("a", "ios.search-results")};
  Variant v;
  v.id = "bold";
  p.variants = {v};
  return p;
}

std::vector<std::string> slideIDs(const Project& p) {
  std::vector<std::string> ids;
  for (const auto& s : p.slides) ids.push_back(s.id);
  return ids;
}

TEST(Project, ConstructorStartsAtTheCurrentSchemaWithNoVariantsOrCreatives) {
  Project p("App", {"en-US", "de-DE"}, {"ios.iphone-6.9"}, Theme::vorno(), {slide("a")}, {});
  EXPECT_EQ(Project::currentSchemaVersion, 5);
  EXPECT_EQ(p.schemaVersion, 5);
  EXPECT_EQ(p.appName, "App");
  EXPECT_EQ(p.locales, (std::vector<std::string>{"en-US", "de-DE"}));
  EXPECT_EQ(p.theme, Theme::vorno());
  EXPECT_TRUE(p.variants.empty());
  EXPECT_TRUE(p.creatives.empty());
}

TEST(Project, VersionOfTheProgram) { EXPECT_EQ(VornoInfo::version, "1.5.0"); }

TEST(Project, LookupsFindTheFirstOfAnId) {
  Project p = sample();
  p.slides.push_back(slide("a", "second a"));
  ASSERT_NE(p.slide("a"), nullptr);
  EXPECT_TRUE(p.slide("a")->headline.isEmpty());
  EXPECT_EQ(p.slide("zz"), nullptr);
  ASSERT_NE(p.spread("ab"), nullptr);
  EXPECT_EQ(p.spread("a"), nullptr);
  ASSERT_NE(p.spreadContaining("b"), nullptr);
  EXPECT_EQ(p.spreadContaining("b")->id, "ab");
  EXPECT_EQ(p.spreadContaining("c"), nullptr);
  ASSERT_NE(p.creative("header"), nullptr);
  EXPECT_EQ(p.creative("header")->canvas, "ios.header");
  ASSERT_NE(p.variant("bold"), nullptr);
  EXPECT_EQ(p.variant("calm"), nullptr);
}

TEST(Project, BoardIsASlideBeforeACreative) {
  const Project p = sample();
  EXPECT_EQ(p.board("a"), p.slide("a"));  // a slide and a creative share the id "a"
  EXPECT_EQ(p.board("header"), &p.creative("header")->slide);
  EXPECT_EQ(p.board("none"), nullptr);
}

TEST(Project, CanvasOfACreative) {
  const Project p = sample();
  ASSERT_NE(p.canvasOf("header"), nullptr);
  EXPECT_EQ(p.canvasOf("header")->id, "ios.header");
  EXPECT_EQ(p.canvasOf("odd"), nullptr);   // unknown canvas id
  EXPECT_EQ(p.canvasOf("b"), nullptr);     // a slide, not a creative
}

TEST(Project, UpsertSlideReplacesInPlaceElseAppends) {
  Project p = sample();
  p.upsert(slide("b", "new b"));
  EXPECT_EQ(slideIDs(p), (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_EQ(p.slide("b")->headline.resolve("en-US"), "new b");
  p.upsert(slide("e", "e"));
  EXPECT_EQ(slideIDs(p), (std::vector<std::string>{"a", "b", "c", "d", "e"}));
}

TEST(Project, UpsertCreativeReplacesInPlaceElseAppends) {
  Project p = sample();
  p.upsert(creative("odd", "ios.header"));
  ASSERT_EQ(p.creatives.size(), 3u);
  EXPECT_EQ(p.creatives[1].canvas, "ios.header");
  p.upsert(creative("new", "ios.universal"));
  ASSERT_EQ(p.creatives.size(), 4u);
  EXPECT_EQ(p.creatives[3].id(), "new");
}

TEST(Project, ModifyBoardSearchesSlidesBeforeCreatives) {
  Project p = sample();
  auto invert = [](Slide& s) { s.inverted = true; };
  EXPECT_TRUE(p.modifyBoard("a", invert));
  EXPECT_TRUE(p.slide("a")->inverted);
  EXPECT_FALSE(p.creative("a")->slide.inverted);
  EXPECT_TRUE(p.modifyBoard("header", invert));
  EXPECT_TRUE(p.creative("header")->slide.inverted);
  EXPECT_FALSE(p.modifyBoard("missing", invert));
}

TEST(Project, ReorderedSpreadThatStaysAdjacentSurvivesInSlideOrder) {
  Project p = sample();
  p.spreads = {spread("cb", {"c", "b"})};
  Spread& s = p.spreads[0];
  s.background = Fill::solid(RGBColor::white());
  p.repairSpreads();
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"b", "c"}));
  EXPECT_EQ(p.spreads[0].background, Fill::solid(RGBColor::white()));
}

TEST(Project, SpreadWhoseMembersAreNoLongerAdjacentIsRemoved) {
  Project p = sample();
  p.slides = {slide("a"), slide("c"), slide("b"), slide("d")};  // "b" moved away from "a"
  p.spreads = {spread("ab", {"a", "b"}), spread("cb", {"c", "b"})};
  p.repairSpreads();
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].id, "cb");
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"c", "b"}));
}

TEST(Project, SpreadWithOneSurvivingMemberIsRemoved) {
  Project p = sample();
  p.slides.erase(p.slides.begin() + 1);  // deletes "b"
  p.spreads = {spread("ab", {"a", "b"}), spread("cd", {"c", "d", "gone"})};
  p.repairSpreads();
  ASSERT_EQ(p.spreads.size(), 1u);
  EXPECT_EQ(p.spreads[0].id, "cd");
  EXPECT_EQ(p.spreads[0].slides, (std::vector<std::string>{"c", "d"}));
}

TEST(Project, RepairKeepsSurvivingSpreadsInTheirOrder) {
  Project p = sample();
  p.spreads = {spread("cd", {"d", "c"}), spread("x", {"a", "c"}), spread("ab", {"a", "b"})};
  p.repairSpreads();
  ASSERT_EQ(p.spreads.size(), 2u);
  EXPECT_EQ(p.spreads[0].id, "cd");
  EXPECT_EQ(p.spreads[1].id, "ab");
}

}  // namespace
}  // namespace vorno::project_test
