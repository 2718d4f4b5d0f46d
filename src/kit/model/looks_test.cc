#include "kit/model/looks.h"

#include "kit/model/json_value.h"
#include "kit/model/project_json.h"
#include "kit/util/vorno_error.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace vorno::looks_test {
namespace {

Json j(const char* text) { return Json::parse(text); }

Project base() {
  return decodeProject(j(R"({
    "schemaVersion": 5, "appName": "Crew", "locales": ["en-US", "de-DE"], "targets": ["ios.iphone-6.9"],
    "theme": {"background": "#EEF0F3", "invertedBackground": "#14171D", "foreground": "#14171D",
              "invertedForeground": "#EEF0F3", "accent": "#C8216A", "muted": "#4A515E", "headlineWeight": "heavy"},
    "slides": [
      {"id": "week", "eyebrow": "NEW", "headline": {"en-US": "Plan your **week**", "de-DE": "Plane deine Woche"},
       "subhead": "All jobs in one place",
       "device": {"screenshot": "captures/week.png"},
       "elements": [{"id": "zoom", "kind": "image", "image": "assets/zoom.png"},
                    {"id": "phone", "kind": "device", "device": {"screenshot": "captures/b.png"}},
                    {"id": "title", "kind": "text", "text": "Hello"},
                    {"id": "stars", "kind": "component", "component": {"type": "rating", "title": "Loved"}}]},
      {"id": "quote", "headline": "Send quotes", "subhead": "In seconds"},
      {"id": "paid", "headline": "{0.8}Get\npaid"}
    ],
    "spreads": [{"id": "pair", "slides": ["week", "quote"],
                 "elements": [{"id": "band", "kind": "image", "image": "assets/band.png"},
                              {"id": "tag", "kind": "text", "text": "Across"}]}],
    "creatives": [{"id": "header", "canvas": "appstore.header", "eyebrow": "Story"}],
    "variants": [{"id": "bold", "name": "Bold", "patch": {"theme": {"accent": "#FFD23F"},
                                                          "slides": {"quote": {"headline": {"en-US": "Quotes!"}}}}}]
  })"));
}

Project withoutVariants(Project p) {
  p.variants.clear();
  return p;
}

// Ownership of texts.

TEST(TextOwnership, OwnsWhatThePatchCoversUnlessTheUserClaimedOtherwise) {
  TextOwnership ownership{j(R"({"slides": {"quote": {"headline": {"en-US": "Quotes!"}}}})"), {}};
  EXPECT_TRUE(ownership.owns("slides/quote/headline"));
  EXPECT_FALSE(ownership.owns("slides/quote/subhead"));
  ownership.claims["slides/quote/headline"] = false;
  ownership.claims["slides/quote/subhead"] = true;
  EXPECT_FALSE(ownership.owns("slides/quote/headline"));
  EXPECT_TRUE(ownership.owns("slides/quote/subhead"));
}

TEST(TextOwnership, IsLockedWhenTheLookReplacedTheWholeList) {
  TextOwnership ownership{j(R"({"slides": [{"id": "quote", "headline": "x"}], "creatives": {"header": null}})"), {}};
  EXPECT_TRUE(ownership.isLocked("slides/quote/headline"));
  EXPECT_FALSE(ownership.isLocked("creatives/header/eyebrow"));
  EXPECT_FALSE(ownership.isLocked("spreads/pair/elements/tag/text"));
}

TEST(LookTextScope, TellsSharedOwnOnlyHereAndLocked) {
  Project p = base();
  TextOwnership ownership{
      j(R"({"slides": {"quote": {"headline": {"en-US": "Quotes!"}},
                       "week": {"elements": {"new": {"kind": "text", "text": "Only here"}}}},
            "spreads": [{"id": "pair", "slides": ["week", "quote"]}]})"),
      {}};
  EXPECT_EQ(p.textScope("slides/quote/headline", ownership), LookTextScope::own);
  EXPECT_EQ(p.textScope("slides/quote/subhead", ownership), LookTextScope::shared);
  EXPECT_EQ(p.textScope("slides/week/elements/new/text", ownership), LookTextScope::onlyHere);
  EXPECT_EQ(p.textScope("slides/brandnew/headline", ownership), LookTextScope::onlyHere);
  EXPECT_EQ(p.textScope("spreads/pair/elements/tag/text", ownership), LookTextScope::locked);
  ownership.claims["slides/quote/headline"] = false;
  EXPECT_EQ(p.textScope("slides/quote/headline", ownership), LookTextScope::shared);
}

// Texts by field path.

TEST(ProjectText, FindsEveryKindOfTextByFieldPath) {
  Project p = base();
  EXPECT_EQ(p.text("slides/week/headline")->resolve("de-DE"), "Plane deine Woche");
  EXPECT_EQ(p.text("slides/week/eyebrow")->resolve("en-US"), "NEW");
  EXPECT_EQ(p.text("slides/week/elements/title/text")->resolve("en-US"), "Hello");
  EXPECT_EQ(p.text("slides/week/elements/stars/component/title")->resolve("en-US"), "Loved");
  EXPECT_EQ(p.text("slides/week/elements/stars/component/subtitle"), std::nullopt);
  EXPECT_EQ(p.text("spreads/pair/elements/tag/text")->resolve("en-US"), "Across");
  EXPECT_EQ(p.text("creatives/header/eyebrow")->resolve("en-US"), "Story");
  EXPECT_EQ(p.text("creatives/header/headline"), std::nullopt);
  EXPECT_EQ(p.text("slides/quote/eyebrow"), std::nullopt);
  EXPECT_EQ(p.text("slides/ghost/headline"), std::nullopt);
  EXPECT_EQ(p.text("slides/week/device"), std::nullopt);
}

TEST(ProjectTextField, JoinsOwnerIDElementAndField) {
  EXPECT_EQ(Project::textField("slides", "week", std::nullopt, "headline"), "slides/week/headline");
  EXPECT_EQ(Project::textField("spreads", "pair", "tag", "component/title"), "spreads/pair/elements/tag/component/title");
  EXPECT_TRUE(base().text(Project::textField("slides", "week", "title", "text")));
}

// Saving a look.

TEST(ProjectSavingLook, WithoutOwnershipStoresThePatchAndKeepsTheBase) {
  Project p = base();
  Project look = p.resolved("bold");
  look.slide("paid")->inverted = true;
  Project saved = p.savingLook("bold", look, nullptr);
  EXPECT_EQ(withoutVariants(saved), withoutVariants(p));
  ASSERT_EQ(saved.variants.size(), 1u);
  EXPECT_EQ(saved.variants[0].name, "Bold");
  EXPECT_EQ(saved.resolved("bold"), withoutVariants(look));

  Project added = p.savingLook("calm", withoutVariants(p), nullptr);
  ASSERT_EQ(added.variants.size(), 2u);
  EXPECT_EQ(added.variants[1].id, "calm");
  EXPECT_EQ(added.variants[1].patch.json(), Json::object());
}

TEST(ProjectSavingLook, SharedWordsGoToTheBaseAndOwnWordsStayInTheLook) {
  Project p = base();
  p.variants.push_back(Variant{"calm", std::nullopt, j(R"({"slides": {"paid": {"headline": "Calm pay"}}})")});
  Project look = p.resolved("bold");
  look.slide("quote")->headline.values["en-US"] = "Quotes, now";  // owned by the look
  look.slide("paid")->headline = LocalizedText{{{"en-US", "Paid sooner"}}};  // shared
  look.slide("week")->subhead = LocalizedText{{{"en-US", "Every job"}}};     // shared
  look.slide("week")->inverted = true;                                        // not a text

  TextOwnership ownership{p.variant("bold")->patch, {}};
  Project saved = p.savingLook("bold", look, &ownership);

  // The base took the shared words, and kept its own words where the look owns the text.
  EXPECT_EQ(saved.slide("paid")->headline.resolve("en-US"), "Paid sooner");
  EXPECT_EQ(saved.slide("week")->subhead->resolve("en-US"), "Every job");
  EXPECT_EQ(saved.slide("quote")->headline.resolve("en-US"), "Send quotes");
  EXPECT_FALSE(saved.slide("week")->inverted);
  Json stored = saved.variant("bold")->patch.json();
  EXPECT_TRUE(covers(stored, splitPath("slides/quote/headline")));
  EXPECT_FALSE(covers(stored, splitPath("slides/paid/headline")));
  EXPECT_FALSE(covers(stored, splitPath("slides/week/subhead")));
  EXPECT_FALSE(stored["slides"].contains("paid"));  // nothing left of that slide's entry
  // The look is unchanged, and the other look follows the shared words but keeps its own.
  EXPECT_EQ(saved.resolved("bold"), withoutVariants(look));
  EXPECT_EQ(saved.resolved("calm").slide("paid")->headline.resolve("en-US"), "Calm pay");
  EXPECT_EQ(saved.resolved("calm").slide("week")->subhead->resolve("en-US"), "Every job");
}

TEST(ProjectSavingLook, AClaimSendsAPatchedTextToTheBase) {
  Project p = base();
  Project look = p.resolved("bold");
  TextOwnership ownership{p.variant("bold")->patch, {{"slides/quote/headline", false}}};
  Project saved = p.savingLook("bold", look, &ownership);
  EXPECT_EQ(saved.slide("quote")->headline.resolve("en-US"), "Quotes!");
  EXPECT_FALSE(covers(saved.variant("bold")->patch.json(), splitPath("slides/quote/headline")));
  EXPECT_EQ(saved.resolved("bold"), withoutVariants(look));
}

TEST(ProjectSavingLook, TextsOfElementsOnlyTheLookHasStayInThePatch) {
  Project p = base();
  Project look = p.resolved("bold");
  SlideElement extra;
  extra.id = "extra";
  extra.text = LocalizedText{{{"en-US", "Only here"}}};
  look.slide("week")->elements.push_back(extra);
  TextOwnership ownership{p.variant("bold")->patch, {}};
  Project saved = p.savingLook("bold", look, &ownership);
  EXPECT_EQ(saved.slide("week")->elements, p.slide("week")->elements);
  EXPECT_TRUE(covers(saved.variant("bold")->patch.json(), splitPath("slides/week/elements/extra/text")));
  EXPECT_EQ(saved.resolved("bold"), withoutVariants(look));
}

TEST(ProjectSavingLook, ALookTheSplitCannotReproduceKeepsTheUnsplitPatch) {
  Project p = base();
  Project look = p.resolved("bold");
  look.slide("paid")->headline = LocalizedText{{{"en-US", "Paid sooner"}}};
  // A spread over slides that aren't adjacent: applying repairs it away, so no patch can give
  // this look back, and the base must not take the words on that account.
  look.spreads.push_back(Spread{"gap", {"week", "paid"}, std::nullopt, {}, {}});
  TextOwnership ownership{p.variant("bold")->patch, {}};
  Project saved = p.savingLook("bold", look, &ownership);
  EXPECT_EQ(withoutVariants(saved), withoutVariants(p));
  EXPECT_EQ(saved.variant("bold")->patch, p.patchFrom(look));
}

// Describing a look.

TEST(ProjectChanges, NamesThemeStoreArtAndSlideEdits) {
  Project p = base();
  Project look = p.resolved(std::nullopt);
  look.theme.accent = RGBColor{1, 0, 0, 1};
  look.creatives[0].slide.inverted = true;
  look.slide("quote")->headline = LocalizedText{{{"en-US", "Send quotes in **one** tap"}}};
  look.slide("week")->elements.erase(look.slide("week")->elements.begin());
  look.slides.erase(look.slides.begin() + 2);
  p.variants.push_back(Variant{"v", std::nullopt, p.patchFrom(look)});
  EXPECT_EQ(p.changes("v"), (std::vector<std::string>{"theme", "removes 1 slide", "headline on slide 2 (5 words)",
                                                      "store art", "removes elements"}));
}

TEST(ProjectChanges, NamesSlideOrderAddedSlidesAndElements) {
  Project p = base();
  Project look = withoutVariants(p);
  std::swap(look.slides[1], look.slides[2]);
  Slide extra = look.slides[2];
  extra.id = "extra";
  look.slides.push_back(extra);
  extra.id = "extra2";
  look.slides.push_back(extra);
  look.slide("week")->elements.push_back(SlideElement{});
  look.slide("week")->elements.back().id = "glow";
  look.slide("week")->inverted = true;
  look.slide("quote")->inverted = true;
  look.repairSpreads();
  p.variants.push_back(Variant{"v", std::nullopt, p.patchFrom(look)});
  EXPECT_EQ(p.changes("v"), (std::vector<std::string>{"slide order", "adds 2 slides", "inverted colors on slides 1, 3",
                                                      "removes 1 spread", "adds elements"}));
}

TEST(ProjectChanges, NoChangeGivesNoPhrasesAndAnUnknownLookIsNotFound) {
  Project p = base();
  p.variants.push_back(Variant{"same", std::nullopt, j(R"({"appName": "Crew"})")});
  EXPECT_TRUE(p.changes("same").empty());
  EXPECT_EQ(p.changes("bold"), (std::vector<std::string>{"theme", "headline on slide 2 (1 word)"}));
  try {
    p.changes("nope");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "No variant nope. Variants: bold, same.");
  }
}

TEST(TreatmentName, CountsThreeTreatmentsThenExtra) {
  EXPECT_EQ(treatmentName(0), "Treatment 1");
  EXPECT_EQ(treatmentName(2), "Treatment 3");
  EXPECT_EQ(treatmentName(3), "Extra");
  EXPECT_EQ(treatmentName(10), "Extra");
}

TEST(Words, CountsWhatAReaderSees) {
  EXPECT_EQ(words("Plan your **week**"), 3);
  EXPECT_EQ(words("{0.7}Big\nday  ahead"), 3);
  EXPECT_EQ(words("** **"), 0);
  EXPECT_EQ(words(""), 0);
}

// Reading the copy alone.

TEST(ProjectWordsOnly, DropsDevicesAndPicturesButKeepsTheWords) {
  Project words = base().wordsOnly();
  EXPECT_FALSE(words.slide("week")->device);
  std::vector<std::string> kept;
  for (const SlideElement& e : words.slide("week")->elements) kept.push_back(e.id);
  EXPECT_EQ(kept, (std::vector<std::string>{"title", "stars"}));
  ASSERT_EQ(words.spreads[0].elements.size(), 1u);
  EXPECT_EQ(words.spreads[0].elements[0].id, "tag");
  EXPECT_EQ(words.slide("week")->headline, base().slide("week")->headline);
}

TEST(ProjectStoryOutline, GivesOneLineASlideInPlainText) {
  Project p = base();
  p.slides.push_back(Slide{});
  p.slides.back().id = "empty";
  EXPECT_EQ(p.storyOutline("en-US"),
            (std::vector<std::string>{"1. NEW \u2014 Plan your week \u2014 All jobs in one place",
                                      "2. Send quotes \u2014 In seconds", "3. Get paid", "4. (no headline)"}));
  EXPECT_EQ(p.storyOutline("de-DE")[0], "1. NEW \u2014 Plane deine Woche \u2014 All jobs in one place");
}

}  // namespace
}  // namespace vorno::looks_test
