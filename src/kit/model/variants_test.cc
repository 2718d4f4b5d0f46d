#include "kit/model/variants.h"

#include "kit/model/json_value.h"
#include "kit/model/project_json.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace vorno::variants_test {
namespace {

Json j(const char* text) { return Json::parse(text); }

// A small base with two slides in a spread, a third slide and one look.
Project base() {
  return decodeProject(j(R"({
    "schemaVersion": 5, "appName": "Crew", "locales": ["en-US", "de-DE"], "targets": ["ios.iphone-6.9"],
    "theme": {"background": "#EEF0F3", "invertedBackground": "#14171D", "foreground": "#14171D",
              "invertedForeground": "#EEF0F3", "accent": "#C8216A", "muted": "#4A515E", "headlineWeight": "heavy"},
    "slides": [
      {"id": "week", "headline": {"en-US": "Plan your **week**", "de-DE": "Plane deine Woche"},
       "elements": [{"id": "zoom", "kind": "image", "image": "assets/zoom.png"},
                    {"id": "title", "kind": "text", "text": "Hello"}]},
      {"id": "quote", "headline": "Send quotes", "subhead": "In seconds"},
      {"id": "paid", "headline": "Get paid"}
    ],
    "spreads": [{"id": "pair", "slides": ["week", "quote"]}],
    "variants": [{"id": "bold", "name": "Bold", "patch": {"theme": {"accent": "#FFD23F"}}}]
  })"));
}

Variant variant(const char* id, const char* patchText) { return Variant{id, std::nullopt, j(patchText)}; }

std::string errorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const VornoError& error) {
    return error.message();
  }
  return "no error";
}

Project withoutVariants(Project p) {
  p.variants.clear();
  return p;
}

// Applying.

TEST(ProjectApplying, EmptyPatchGivesTheBaseWithoutVariants) {
  Project p = base();
  Project look = p.applying(variant("x", "{}"));
  EXPECT_TRUE(look.variants.empty());
  EXPECT_EQ(look, withoutVariants(p));
}

TEST(ProjectApplying, PatchMergesIntoTheDocument) {
  Project look = base().applying(*base().variant("bold"));
  EXPECT_EQ(look.theme.accent.hex(), "#FFD23F");
  EXPECT_EQ(look.slides, base().slides);
}

TEST(ProjectApplying, NewIDInAKeyedPatchAppendsASlideWithThatID) {
  Project look = base().applying(variant("x", R"({"slides": {"new": {"headline": {"en-US": "Hi"}}}})"));
  ASSERT_EQ(look.slides.size(), 4u);
  EXPECT_EQ(look.slides.back().id, "new");
  EXPECT_EQ(look.slides.back().headline.resolve("en-US"), "Hi");
}

TEST(ProjectApplying, NullForAnUnknownIDDoesNothing) {
  Project look = base().applying(variant("x", R"({"slides": {"ghost": null}})"));
  EXPECT_EQ(look, withoutVariants(base()));
}

TEST(ProjectApplying, RemovingTheOtherMemberOfASpreadLeavesNoSpread) {
  Project look = base().applying(variant("x", R"({"slides": {"quote": null}})"));
  EXPECT_EQ(look.slides.size(), 2u);
  EXPECT_TRUE(look.spreads.empty());
}

TEST(ProjectApplying, NullInsideAnAddedElementStaysInTheElementAndReadsAsAbsent) {
  Json p = j(R"({"slides": {"week": {"elements": {"glow": {"kind": "shape", "shape": "circle", "opacity": null}}}}})");
  Json look = merged(lookJSON(base()), p);
  const Json* glow = valueAt(look, splitPath("slides/week/elements/glow"));
  ASSERT_NE(glow, nullptr);
  ASSERT_TRUE(glow->contains("opacity"));
  EXPECT_TRUE((*glow)["opacity"].is_null());

  Project project = base().applying(Variant{"x", std::nullopt, p});
  const SlideElement& element = project.slide("week")->elements.back();
  EXPECT_EQ(element.id, "glow");
  EXPECT_EQ(element.shape, ShapeKind::circle);
  EXPECT_EQ(element.opacity, std::nullopt);
}

TEST(ProjectApplying, DuplicateIDsAreRefusedWithAHowTo) {
  EXPECT_EQ(errorOf([] { base().applying(variant("twin", R"({"slides": [{"id": "a", "headline": "x"},
                                                                          {"id": "a", "headline": "y"}]})")); }),
            "Variant twin has two slides with the id a. Give each its own id, or patch slides by id: "
            "{\"slides\": {\"a\": {\u2026}}}.");
  EXPECT_EQ(errorOf([] { base().applying(variant("twin", R"({"spreads": [{"id": "s", "slides": []},
                                                                           {"id": "s", "slides": []}]})")); }),
            "Variant twin has two spreads with the id s. Give each its own id, or patch spreads by id: "
            "{\"spreads\": {\"s\": {\u2026}}}.");
  EXPECT_EQ(errorOf([] { base().applying(variant("twin", R"({"creatives": [{"id": "c", "canvas": "x"},
                                                                             {"id": "c", "canvas": "y"}]})")); }),
            "Variant twin has two creatives with the id c. Give each its own id, or patch creatives by id: "
            "{\"creatives\": {\"c\": {\u2026}}}.");
}

TEST(ProjectApplying, TypeMismatchNamesThePathWithoutTheLeadingPoint) {
  std::string message = errorOf([] { base().applying(variant("bad", R"({"slides": {"quote": {"inverted": "yes"}}})")); });
  EXPECT_EQ(message, "Variant bad has the wrong kind of value at slides[1].inverted: Expected Bool but found a string.");
}

TEST(ProjectApplying, NullRequiredValueLeavesThePathEmpty) {
  // A null in an added record is left in place, and a required field that is null is empty.
  EXPECT_EQ(errorOf([] { base().applying(variant("bad", R"({"slides": {"n": {"headline": "x", "archetype": null,
                                                                             "device": {"screenshot": null}}}})")); }),
            "Variant bad leaves slides[3].device.screenshot empty.");
}

TEST(ProjectApplying, MissingKeyNamesTheKey) {
  EXPECT_EQ(errorOf([] { base().applying(variant("bad", R"({"slides": {"n": {"inverted": true}}})")); }),
            "Variant bad leaves slides[3].headline missing.");
  EXPECT_EQ(errorOf([] { base().applying(variant("bad", R"({"appName": null})")); }),
            "Variant bad leaves appName missing.");
}

TEST(ProjectApplying, CorruptedDataGivesTheDescription) {
  EXPECT_EQ(errorOf([] { base().applying(variant("bad", R"({"theme": {"accent": "#GG0000"}})")); }),
            "Variant bad doesn't make a valid project at theme.accent: Invalid color #GG0000. Use #RRGGBB.");
}

TEST(ProjectApplying, APatchThatIsNoObjectReplacesTheDocument) {
  EXPECT_EQ(errorOf([] { base().applying(variant("bad", "[]")); }),
            "Variant bad has the wrong kind of value at the document: Expected Dictionary but found an array.");
}

TEST(ProjectApplying, KeysWithDotsStillFindTheOffendingValue) {
  EXPECT_EQ(errorOf([] {
              base().applying(variant("bad", R"({"slides": {"paid": {"overrides": {"ios.iphone-6.9": {"deviceWidth": "wide"}}}}})"));
            }),
            "Variant bad has the wrong kind of value at slides[2].overrides.ios.iphone-6.9.deviceWidth: "
            "Expected Double but found a string.");
}

// Resolving.

TEST(ProjectResolved, NoIDGivesTheProjectItself) { EXPECT_EQ(base().resolved(std::nullopt), base()); }

TEST(ProjectResolved, KnownIDGivesTheLook) {
  EXPECT_EQ(base().resolved("bold"), base().applying(*base().variant("bold")));
}

TEST(ProjectResolved, UnknownIDListsTheVariants) {
  try {
    base().resolved("calm");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
    EXPECT_EQ(error.message(), "No variant calm. Variants: bold.");
  }
  Project p = base();
  p.variants.push_back(variant("calm", "{}"));
  EXPECT_EQ(errorOf([&] { p.resolved("x"); }), "No variant x. Variants: bold, calm.");
  p.variants.clear();
  EXPECT_EQ(errorOf([&] { p.resolved("x"); }), "No variant x. Variants: none.");
}

// Computing a project's patch.

TEST(ProjectPatchFrom, PatchFromSelfIsAnEmptyObject) {
  EXPECT_EQ(base().patchFrom(base()).json(), Json::object());
  // Variants are never part of a patch.
  Project other = base();
  other.variants.clear();
  EXPECT_EQ(base().patchFrom(other).json(), Json::object());
}

TEST(ProjectPatchFrom, ChangesAreSaidByID) {
  Project look = base();
  look.slide("quote")->inverted = true;
  look.slides.erase(look.slides.begin() + 2);
  EXPECT_EQ(base().patchFrom(look).json(), j(R"({"slides": {"quote": {"inverted": true}, "paid": null}})"));
}

TEST(ProjectPatchFrom, ReorderedSlidesPatchHoldsTheWholeArrayAndReproducesTheLook) {
  Project look = base();
  std::swap(look.slides[1], look.slides[2]);
  look.repairSpreads();
  look.variants.clear();
  Json p = base().patchFrom(look).json();
  ASSERT_TRUE(p.contains("slides"));
  EXPECT_TRUE(p["slides"].is_array());
  EXPECT_EQ(p["slides"].size(), 3u);
  EXPECT_EQ(base().applying(Variant{"moved", std::nullopt, p}), look);
}

TEST(ProjectPatchFrom, NewSlidesOutOfSortedOrderStillReproduceTheLook) {
  // Appended ids land in sorted order through a keyed patch, so "zeta" before "alpha" needs the
  // whole list.
  Project look = withoutVariants(base());
  Slide zeta = look.slides[2], alpha = look.slides[2];
  zeta.id = "zeta";
  alpha.id = "alpha";
  look.slides.push_back(zeta);
  look.slides.push_back(alpha);
  Json p = base().patchFrom(look).json();
  EXPECT_TRUE(p["slides"].is_array());
  EXPECT_EQ(base().applying(Variant{"new", std::nullopt, p}), look);
}

// Promoting.

TEST(ProjectPromoting, OtherVariantsKeepTheirLooksAndPreviousBaseReproducesTheOldBase) {
  Project p = base();
  p.variants.push_back(variant("calm", R"({"slides": {"week": {"inverted": true}, "paid": null}})"));
  p.variants.push_back(variant("wide", R"({"appName": "Crew Pro"})"));
  Project promoted = p.promoting("calm");

  EXPECT_EQ(withoutVariants(promoted), p.applying(*p.variant("calm")));
  ASSERT_EQ(promoted.variants.size(), 3u);
  // The old base takes the promoted one's place in the list.
  EXPECT_EQ(promoted.variants[0].id, "bold");
  EXPECT_EQ(promoted.variants[1].id, "previous-base");
  EXPECT_EQ(promoted.variants[1].name, "Previous base");
  EXPECT_EQ(promoted.variants[2].id, "wide");
  // Every other look is the same document as before, so it draws the same pixels.
  EXPECT_EQ(promoted.resolved("bold"), p.resolved("bold"));
  EXPECT_EQ(promoted.resolved("wide"), p.resolved("wide"));
  EXPECT_EQ(promoted.resolved("previous-base"), withoutVariants(p));
}

TEST(ProjectPromoting, PreviousBaseCountsUpWhenTheNameIsTaken) {
  Project p = base();
  p.variants.push_back(variant("previous-base", "{}"));
  p.variants.push_back(variant("previous-base-2", "{}"));
  Project promoted = p.promoting("bold");
  ASSERT_EQ(promoted.variants.size(), 3u);
  EXPECT_EQ(promoted.variants[0].id, "previous-base-3");
  EXPECT_EQ(promoted.variants[0].name, "Previous base 3");
}

TEST(ProjectPromoting, UnknownVariantIsNotFound) {
  EXPECT_EQ(errorOf([] { base().promoting("nope"); }), "No variant nope. Variants: bold.");
}

TEST(ProjectPromoting, ALookThatNoLongerAppliesKeepsItsPatch) {
  Project p = base();
  p.variants.push_back(variant("stale", R"({"theme": {"accent": 5}})"));
  Project promoted = p.promoting("bold");
  EXPECT_EQ(promoted.variant("stale")->patch.json(), j(R"({"theme": {"accent": 5}})"));
}

// Merging two saves.

TEST(ProjectMerge, EditsOnBothSidesMeetAndSpreadsAreRepaired) {
  Project start = base();
  Project ours = start;
  ours.slide("week")->inverted = true;
  Project theirs = start;
  theirs.appName = "Crew Pro";
  theirs.slides.erase(theirs.slides.begin() + 1);  // "quote" goes, and with it the spread
  Project result = Project::merge(start, ours, theirs);
  EXPECT_EQ(result.appName, "Crew Pro");
  ASSERT_EQ(result.slides.size(), 2u);
  EXPECT_TRUE(result.slide("week")->inverted);
  EXPECT_TRUE(result.spreads.empty());
}

TEST(ProjectMerge, ConflictingEditsLetTheirsWin) {
  Project start = base();
  Project ours = start, theirs = start;
  ours.slide("paid")->headline = LocalizedText{{{"en-US", "Ours"}}};
  theirs.slide("paid")->headline = LocalizedText{{{"en-US", "Theirs"}}};
  EXPECT_EQ(Project::merge(start, ours, theirs).slide("paid")->headline.resolve("en-US"), "Theirs");
  // Different locales of one text are different keys, so both survive.
  ours = start, theirs = start;
  ours.slide("paid")->headline.values["de-DE"] = "Bezahlt";
  theirs.slide("paid")->headline.values["en-US"] = "Paid now";
  LocalizedText both = Project::merge(start, ours, theirs).slide("paid")->headline;
  EXPECT_EQ(both.values, (std::map<std::string, std::string>{{"de-DE", "Bezahlt"}, {"en-US", "Paid now"}}));
}

}  // namespace
}  // namespace vorno::variants_test
