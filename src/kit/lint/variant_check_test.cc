#include "kit/lint/variant_check.h"

#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/util/vorno_error.h"
#include "tests/random_project.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <random>
#include <string>

namespace vorno::variant_check_test {
namespace {

// Two slides in a spread, a third slide, no creatives: read from JSON, as every linted base is.
Project base() {
  return decodeProject(nlohmann::json::parse(R"({
    "schemaVersion": 5, "appName": "Crew", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
    "theme": {"background": "#EEF0F3", "invertedBackground": "#14171D", "foreground": "#14171D",
              "invertedForeground": "#EEF0F3", "accent": "#C8216A", "muted": "#4A515E", "headlineWeight": "heavy"},
    "slides": [
      {"id": "week", "headline": "Plan your week", "elements": [{"id": "title", "kind": "text", "text": "Hi"}]},
      {"id": "quote", "headline": "Send quotes"},
      {"id": "paid", "headline": "Get paid"}
    ],
    "spreads": [{"id": "pair", "slides": ["week", "quote"]}]
  })"));
}

bool appliesInFull(const Project& project, const Variant& variant) {
  try {
    (void)project.applying(variant);
    return true;
  } catch (const VornoError&) {
    return false;
  }
}

// The check's answer, after making sure that it is the answer of applying the look in full.
::testing::AssertionResult agrees(const Project& project, const char* patchText, bool expected) {
  Variant variant{"look", std::nullopt, nlohmann::json::parse(patchText)};
  bool quick = VariantCheck::applies(project, variant);
  bool full = appliesInFull(project, variant);
  if (quick != full) return ::testing::AssertionFailure() << "the check says " << quick << ", applying says " << full;
  if (quick != expected) return ::testing::AssertionFailure() << "both say " << quick;
  return ::testing::AssertionSuccess();
}

TEST(VariantCheck, EmptyPatchApplies) { EXPECT_TRUE(agrees(base(), "{}", true)); }

TEST(VariantCheck, FieldsThatReadBackApply) {
  EXPECT_TRUE(agrees(base(), R"({"appName": "Crew Pro", "theme": {"accent": "#FFD23F"}, "locales": ["de-DE"]})", true));
  EXPECT_TRUE(agrees(base(), R"({"slides": {"week": {"inverted": true, "elements": {"title": null}}}})", true));
  EXPECT_TRUE(agrees(base(), R"({"variants": [], "somethingElse": 5})", true));
}

TEST(VariantCheck, ValueOfTheWrongKindDoesNotApply) {
  EXPECT_TRUE(agrees(base(), R"({"appName": 5})", false));
  EXPECT_TRUE(agrees(base(), R"({"theme": {"accent": "#GG0000"}})", false));
  EXPECT_TRUE(agrees(base(), R"({"slides": {"quote": {"inverted": "yes"}}})", false));
  EXPECT_TRUE(agrees(base(), R"({"slides": {"week": {"elements": {"title": {"text": 7}}}}})", false));
  EXPECT_TRUE(agrees(base(), R"({"variants": 5})", false));
  EXPECT_TRUE(agrees(base(), R"({"schemaVersion": 2.5})", false));
}

TEST(VariantCheck, RemovingARequiredFieldDoesNotApplyButRemovingAList) {
  EXPECT_TRUE(agrees(base(), R"({"appName": null})", false));
  EXPECT_TRUE(agrees(base(), R"({"slides": null})", false));
  EXPECT_TRUE(agrees(base(), R"({"spreads": null, "creatives": null})", true));
}

TEST(VariantCheck, PatchThatIsNoObjectDoesNotApply) {
  EXPECT_TRUE(agrees(base(), "[]", false));
  EXPECT_TRUE(agrees(base(), "5", false));
  EXPECT_TRUE(agrees(base(), "null", false));
}

TEST(VariantCheck, AddedRecordsMustReadAndStrayEntriesAreIgnored) {
  EXPECT_TRUE(agrees(base(), R"({"slides": {"new": {"headline": "Hi"}}})", true));
  EXPECT_TRUE(agrees(base(), R"({"slides": {"new": {"inverted": true}}})", false));
  EXPECT_TRUE(agrees(base(), R"({"slides": {"ghost": null, "stray": 5}})", true));
}

TEST(VariantCheck, ObjectOverAListTheBaseLeavesOutDoesNotApply) {
  // The base has no creatives, so the keyed form has nothing to merge into and stays an object.
  EXPECT_TRUE(agrees(base(), R"({"creatives": {"header": {"canvas": "ios.header"}}})", false));
  EXPECT_TRUE(agrees(base(), R"({"creatives": [{"id": "header", "canvas": "ios.header"}]})", true));
  EXPECT_TRUE(agrees(base(), R"({"spreads": {"pair": {"slides": ["quote", "paid"]}}})", true));
}

TEST(VariantCheck, TwoRecordsWithOneIdDoNotApply) {
  EXPECT_TRUE(agrees(base(), R"({"slides": {"paid": {"id": "week"}}})", false));
  EXPECT_TRUE(agrees(base(), R"({"slides": [{"id": "a", "headline": "x"}, {"id": "a", "headline": "y"}]})", false));
  EXPECT_TRUE(agrees(base(), R"({"spreads": [{"id": "s", "slides": []}, {"id": "s", "slides": []}]})", false));
  // A record moved onto a free id is fine.
  EXPECT_TRUE(agrees(base(), R"({"slides": {"paid": {"id": "cash"}}})", true));
}

TEST(VariantCheck, BaseWithTwoSlidesOfOneIdAppliesNoLook) {
  Project twins = base();
  twins.slides[2].id = "week";
  EXPECT_TRUE(agrees(twins, "{}", false));
  // Unless the look removes both, since an entry for an id reaches every record that has it.
  EXPECT_TRUE(agrees(twins, R"({"slides": {"week": null}})", true));
}

// Over random projects and looks, whole and broken, the check and the full application agree.
TEST(VariantCheck, AgreesWithApplyingInFullOnRandomLooks) {
  std::mt19937 rng(5150);
  int applied = 0, refused = 0;
  for (int i = 0; i < 1500; ++i) {
    Project project = randomProject(rng);
    nlohmann::json patch = project.patchFrom(randomEdit(project, rng)).json();
    for (int breaks = std::uniform_int_distribution<int>(0, 2)(rng); breaks > 0; --breaks)
      patch = randomBreak(patch, rng);
    Variant variant{"look", std::nullopt, patch};
    bool full = appliesInFull(project, variant);
    ASSERT_EQ(VariantCheck::applies(project, variant), full)
        << "case " << i << "\npatch: " << patch.dump() << "\nbase: " << encodeProject(project).dump();
    ++(full ? applied : refused);
  }
  // Both answers must be exercised, and often.
  EXPECT_GT(applied, 400);
  EXPECT_GT(refused, 400);
}

}  // namespace
}  // namespace vorno::variant_check_test
