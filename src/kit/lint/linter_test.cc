#include "kit/lint/linter.h"

#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/util/vorno_error.h"
#include "tests/random_project.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace vorno::linter_test {
namespace {

Slide slide(const std::string& id, const std::string& headline = "Plan your day") {
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

Variant variant(const std::string& id, std::optional<std::string> name = std::nullopt) {
  Variant v;
  v.id = id;
  v.name = std::move(name);
  v.patch = nlohmann::json::object();
  return v;
}

// A project that no rule has anything to say about: one iPhone Duo and one iPhone target, two
// slides with short headlines in the one locale.
Project cleanProject() {
  Project p;
  p.appName = "Crewday";
  p.locales = {"en-US"};
  p.targets = {"ios.iphone-6.9", "ios.iphone-duo"};
  p.slides = {slide("a"), slide("b")};
  return p;
}

std::vector<Issue> withCode(const std::vector<Issue>& issues, const std::string& code) {
  std::vector<Issue> found;
  std::copy_if(issues.begin(), issues.end(), std::back_inserter(found), [&](const Issue& i) { return i.code == code; });
  return found;
}

std::vector<std::string> codes(const std::vector<Issue>& issues) {
  std::vector<std::string> list;
  for (const Issue& issue : issues) list.push_back(issue.code);
  return list;
}

TEST(Linter, CleanProjectHasNoIssues) { EXPECT_TRUE(Linter::lint(cleanProject()).empty()); }

TEST(Linter, NoSlidesGivesSlidesEmptyAndNoCountMinEvenWhenTargetNeedsTwo) {
  Project p = cleanProject();
  p.targets = {"play.phone"};
  p.slides.clear();
  std::vector<Issue> issues = Linter::lint(p);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0], Issue(Issue::Severity::error, "slides.empty", "The project has no slides."));
  EXPECT_TRUE(withCode(issues, "count.min").empty());
}

TEST(Linter, ThreeVariantsGiveNoStoreLimit) {
  Project p = cleanProject();
  p.variants = {variant("one"), variant("two"), variant("three")};
  EXPECT_TRUE(withCode(Linter::lint(p), "variant.store-limit").empty());
}

TEST(Linter, FourVariantsGiveOneStoreLimitNamingOnlyTheFourth) {
  Project p = cleanProject();
  p.variants = {variant("one", "One"), variant("two"), variant("three"), variant("four", "Bold look")};
  std::vector<Issue> limit = withCode(Linter::lint(p), "variant.store-limit");
  ASSERT_EQ(limit.size(), 1u);
  EXPECT_EQ(limit[0].severity, Issue::Severity::info);
  EXPECT_EQ(limit[0].message,
            "App Store and Google Play test at most 3 looks against the original at once. Bold look won't fit in the "
            "same test; delete a look or run a second test.");
}

TEST(Linter, FifthVariantWithoutNameIsNamedByItsId) {
  Project p = cleanProject();
  p.variants = {variant("one"), variant("two"), variant("three"), variant("four", "Bold"), variant("five")};
  std::vector<Issue> limit = withCode(Linter::lint(p), "variant.store-limit");
  ASSERT_EQ(limit.size(), 1u);
  EXPECT_NE(limit[0].message.find(" Bold, five won't fit"), std::string::npos) << limit[0].message;
}

TEST(Linter, RepeatedVariantIdIsReportedOnceTheFirstPasses) {
  Project p = cleanProject();
  p.variants = {variant("bold"), variant("bold")};
  std::vector<Issue> duplicates = withCode(Linter::lint(p), "variant.duplicate-id");
  ASSERT_EQ(duplicates.size(), 1u);
  EXPECT_EQ(duplicates[0].message, "Two variants share the id bold.");
}

TEST(Linter, VariantThatCannotBeAppliedIsReportedWithItsErrorAndLintGoesOn) {
  Project p = cleanProject();
  Variant broken = variant("broken");
  broken.patch = nlohmann::json{{"appName", 5}};
  p.variants = {broken};
  p.slides.push_back(slide("a"));
  std::vector<Issue> issues = Linter::lint(p);
  std::vector<Issue> invalid = withCode(issues, "variant.invalid");
  ASSERT_EQ(invalid.size(), 1u);
  EXPECT_EQ(invalid[0].severity, Issue::Severity::error);
  EXPECT_EQ(invalid[0].message.rfind("Variant broken ", 0), 0u) << invalid[0].message;
  // The rules after it still ran on the base project.
  EXPECT_EQ(withCode(issues, "slide.duplicate-id").size(), 1u);
}

TEST(Linter, SlideIdRepeatedThreeTimesGivesTwoDuplicates) {
  Project p = cleanProject();
  p.slides = {slide("a"), slide("a"), slide("a")};
  std::vector<Issue> duplicates = withCode(Linter::lint(p), "slide.duplicate-id");
  ASSERT_EQ(duplicates.size(), 2u);
  EXPECT_EQ(duplicates[0].message, "Two slides share the id a.");
  EXPECT_EQ(duplicates[0].slide, "a");
}

TEST(Linter, UnsafeNamesOfSlidesSpreadsAndLocales) {
  Project p = cleanProject();
  p.slides = {slide("ok"), slide("a/b"), slide(".hidden")};
  p.spreads = {spread("../up", {"ok", "a/b"})};
  p.locales = {"en-US", "de/DE"};
  p.slides[0].headline.values["de/DE"] = "x";
  p.slides[1].headline.values["de/DE"] = "x";
  p.slides[2].headline.values["de/DE"] = "x";
  std::vector<Issue> issues = Linter::lint(p);
  std::vector<Issue> slideIDs = withCode(issues, "slide.id");
  ASSERT_EQ(slideIDs.size(), 2u);
  EXPECT_EQ(slideIDs[0].message,
            "Slide id \"a/b\" can't be a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_EQ(slideIDs[1].slide, ".hidden");
  std::vector<Issue> spreadIDs = withCode(issues, "spread.id");
  ASSERT_EQ(spreadIDs.size(), 1u);
  EXPECT_EQ(spreadIDs[0].message,
            "Spread id \"../up\" can't be a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_FALSE(spreadIDs[0].slide.has_value());
  std::vector<Issue> locales = withCode(issues, "locale.invalid");
  ASSERT_EQ(locales.size(), 1u);
  EXPECT_EQ(locales[0].message, "Locale \"de/DE\" can't be a folder name. Use store codes like en-US or de-DE.");
  EXPECT_EQ(locales[0].locale, "de/DE");
}

TEST(Linter, HeaderInTargetsIsUnknownButInElementTargetsIsAccepted) {
  Project p = cleanProject();
  p.targets.push_back("ios.header");
  SlideElement badge;
  badge.id = "badge";
  badge.targets = std::vector<std::string>{"ios.header"};
  p.slides[0].elements.push_back(badge);
  std::vector<Issue> issues = Linter::lint(p);
  std::vector<Issue> unknown = withCode(issues, "target.unknown");
  ASSERT_EQ(unknown.size(), 1u);
  EXPECT_EQ(unknown[0].message,
            "Unknown target ios.header. Known: ios.iphone-6.9, ios.iphone-6.5, ios.iphone-duo, ios.ipad-13, play.phone, "
            "play.tablet-7, play.tablet-10.");
  EXPECT_TRUE(withCode(issues, "element.targets").empty());
}

TEST(Linter, ElementLimitedToUnknownTargetsIsReportedOncePerElement) {
  Project p = cleanProject();
  SlideElement badge;
  badge.id = "badge";
  badge.targets = std::vector<std::string>{"ios.watch", "ios.iphone-6.9", "tv"};
  p.slides[1].elements.push_back(badge);
  std::vector<Issue> found = withCode(Linter::lint(p), "element.targets");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].severity, Issue::Severity::warning);
  EXPECT_EQ(found[0].slide, "b");
  EXPECT_EQ(found[0].message.rfind("badge is limited to targets that don't exist: ios.watch, tv. Known: ios.iphone-6.9, ",
                                   0),
            0u)
      << found[0].message;
}

TEST(Linter, SpreadInWrongOrderGivesSpreadOrderAndStillClaimsItsMembers) {
  Project p = cleanProject();
  p.slides = {slide("a"), slide("b"), slide("c")};
  p.spreads = {spread("backwards", {"b", "a"}), spread("later", {"b", "c"})};
  std::vector<Issue> issues = Linter::lint(p);
  std::vector<Issue> order = withCode(issues, "spread.order");
  ASSERT_EQ(order.size(), 1u);
  EXPECT_EQ(order[0].message,
            "Spread backwards slides must be next to each other, in order. Reorder the slides or the spread.");
  std::vector<Issue> overlap = withCode(issues, "spread.overlap");
  ASSERT_EQ(overlap.size(), 1u);
  EXPECT_EQ(overlap[0].message, "Slide b is in two spreads (backwards and later).");
  EXPECT_EQ(overlap[0].slide, "b");
}

TEST(Linter, SpreadWithMissingMemberAndTooFewSlides) {
  Project p = cleanProject();
  p.spreads = {spread("lonely", {"ghost"})};
  std::vector<Issue> issues = Linter::lint(p);
  EXPECT_EQ(codes(issues), (std::vector<std::string>{"spread.missing", "spread.size"}));
  EXPECT_EQ(issues[0].message, "Spread lonely lists slides that don't exist: ghost.");
  EXPECT_EQ(issues[0].slide, "ghost");
  EXPECT_EQ(issues[1].message, "Spread lonely needs at least two slides.");
}

TEST(Linter, PhoneWithDuoGetsNoDuoAdvice) {
  Project p = cleanProject();
  p.targets = {"ios.iphone-6.9", "ios.iphone-duo"};
  EXPECT_TRUE(withCode(Linter::lint(p), "target.duo").empty());
}

TEST(Linter, TabletOnlyGetsNoDuoAdviceSinceNoPhoneIsThere) {
  Project p = cleanProject();
  p.targets = {"ios.ipad-13"};
  EXPECT_TRUE(withCode(Linter::lint(p), "target.duo").empty());
}

TEST(Linter, PhoneWithoutDuoGetsDuoAdvice) {
  Project p = cleanProject();
  p.targets = {"ios.iphone-6.9"};
  std::vector<Issue> duo = withCode(Linter::lint(p), "target.duo");
  ASSERT_EQ(duo.size(), 1u);
  EXPECT_EQ(duo[0].severity, Issue::Severity::info);
  EXPECT_EQ(duo[0].message,
            "From April 2027 App Store Connect requires iPhone Duo screenshots for every submission. Add the target "
            "ios.iphone-duo (2007×2853): slides render on it as they are, and a capture from the iPhone Duo simulator "
            "shows the Duo itself.");
}

TEST(Linter, HeadlineOfEightWordsIsNotLong) {
  Project p = cleanProject();
  p.slides[0] = slide("a", "one two three four five six seven eight");
  EXPECT_TRUE(withCode(Linter::lint(p), "text.long").empty());
}

TEST(Linter, HeadlineOfNineWordsIsLong) {
  Project p = cleanProject();
  p.slides[0] = slide("a", "one two three four five six seven eight nine");
  std::vector<Issue> found = withCode(Linter::lint(p), "text.long");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].severity, Issue::Severity::info);
  EXPECT_EQ(found[0].slide, "a");
  EXPECT_EQ(found[0].message, "Headline has 9 words; 5–7 reads best at thumbnail size.");
}

TEST(Linter, MarkupAsterisksAddNoWords) {
  Project p = cleanProject();
  // Counted with the asterisks as words this would be nine.
  p.slides[0] = slide("a", "Plan **your** day ** ** ** ** ** **");
  EXPECT_TRUE(withCode(Linter::lint(p), "text.long").empty());
  p.slides[0] = slide("a", "**Plan** your\nwhole **week** at a glance, every day");
  std::vector<Issue> found = withCode(Linter::lint(p), "text.long");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].message, "Headline has 9 words; 5–7 reads best at thumbnail size.");
}

TEST(Linter, PlanYourDayWithMarkupCountsThreeWords) {
  Project p = cleanProject();
  // Five words after "Plan **your** day" make eight, six make nine: only a count of exactly three
  // for the marked-up words puts the line between the two.
  p.slides[0] = slide("a", "Plan **your** day with every crew on time");
  EXPECT_TRUE(withCode(Linter::lint(p), "text.long").empty());
  p.slides[0] = slide("a", "Plan **your** day with every crew on time, always");
  std::vector<Issue> found = withCode(Linter::lint(p), "text.long");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].message, "Headline has 9 words; 5–7 reads best at thumbnail size.");
}

TEST(Linter, LongHeadlineIsMeasuredInTheFirstLocaleOnly) {
  Project p = cleanProject();
  p.locales = {"de-DE", "en-US"};
  p.slides[0].headline = LocalizedText{{{"en-US", "one two three four five six seven eight nine"}, {"de-DE", "Kurz"}}};
  p.slides[1].headline.values["de-DE"] = "Auch kurz";
  EXPECT_TRUE(withCode(Linter::lint(p), "text.long").empty());
}

TEST(Linter, EmptyHeadlineIsNotLongButMissesItsLocales) {
  Project p = cleanProject();
  p.locales = {"en-US", "de-DE"};
  p.slides = {slide("a", "")};
  std::vector<Issue> issues = Linter::lint(p);
  EXPECT_TRUE(withCode(issues, "text.long").empty());
  std::vector<Issue> missing = withCode(issues, "text.missing-locale");
  ASSERT_EQ(missing.size(), 2u);
  EXPECT_EQ(missing[1].message, "Headline has no de-DE text.");
  EXPECT_EQ(missing[1].locale, "de-DE");
  EXPECT_EQ(missing[1].slide, "a");
}

TEST(Linter, PlayPhoneWithOneSlideGivesCountMinWithPlural) {
  Project p = cleanProject();
  p.targets = {"play.phone"};
  p.slides = {slide("a")};
  std::vector<Issue> found = withCode(Linter::lint(p), "count.min");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].message, "Play phone needs at least 2 screenshots; the project has 1.");
  EXPECT_EQ(found[0].target, "play.phone");
}

TEST(Linter, IPhoneWithNoSlidesGivesNothingFromCounts) {
  Project p = cleanProject();
  p.targets = {"ios.iphone-6.9"};
  p.slides.clear();
  std::vector<Issue> issues = Linter::lint(p);
  EXPECT_TRUE(withCode(issues, "count.min").empty());
  EXPECT_TRUE(withCode(issues, "count.max").empty());
  EXPECT_TRUE(withCode(issues, "play.ratio").empty());
}

TEST(Linter, TooManySlidesGivesCountMaxPerTarget) {
  Project p = cleanProject();
  p.targets = {"play.phone", "ios.iphone-6.9"};
  p.slides.clear();
  for (int i = 0; i < 9; ++i) p.slides.push_back(slide("s" + std::to_string(i)));
  std::vector<Issue> found = withCode(Linter::lint(p), "count.max");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].message, "Play phone allows at most 8 screenshots; the project has 9.");
}

// The documented order of the project rules: targets, no slides, variants, test size, slide ids,
// spread ids, locales, element targets, spreads, counts, duo, Google Play, creatives, App Store,
// translations and length.
TEST(Linter, ProjectRulesComeInTheirDocumentedOrder) {
  Project p;
  p.locales = {"en-US", "de/DE"};
  p.targets = {"play.phone", "ios.nope", "ios.iphone-6.9"};
  p.variants = {variant("one"), variant("one"), variant("two"), variant("three")};
  Slide first = slide("a", "The best way to plan your week with $5 and nine words");
  first.headline.values["de/DE"] = "Top";
  SlideElement badge;
  badge.id = "badge";
  badge.targets = std::vector<std::string>{"tv"};
  first.elements.push_back(badge);
  p.slides = {first};
  p.spreads = {spread("s/1", {"a"})};
  Creative art;
  art.canvas = "ios.header";
  art.slide = slide("a", "Hello");
  art.slide.headline.values["de/DE"] = "Hallo";
  p.creatives = {art};

  EXPECT_EQ(codes(Linter::lint(p)),
            (std::vector<std::string>{"target.unknown", "variant.duplicate-id", "variant.store-limit", "spread.id",
                                      "locale.invalid", "element.targets", "spread.size", "count.min", "target.duo",
                                      "play.policy", "play.policy", "creative.id-taken", "appstore.policy",
                                      "text.long"}));
}

TEST(Linter, NoSlidesComesRightAfterTargets) {
  Project p;
  p.targets = {"nope"};
  EXPECT_EQ(codes(Linter::lint(p)), (std::vector<std::string>{"target.unknown", "slides.empty"}));
}

TEST(Linter, SpreadRulesComeInTheirDocumentedOrder) {
  Project p = cleanProject();
  p.slides = {slide("a"), slide("b"), slide("c")};
  p.spreads = {spread("one", {"a", "b"}), spread("two", {"c", "ghost", "a"})};
  std::vector<Issue> issues = Linter::lint(p);
  EXPECT_EQ(codes(issues), (std::vector<std::string>{"spread.missing", "spread.order", "spread.overlap"}));
  EXPECT_EQ(issues[0].slide, "c");
}

// The looks are checked quickly and applied in full only when the check fails; the issues must be
// exactly those of applying every look in full, on whole looks and broken ones alike.
TEST(Linter, VariantIssuesAreThoseOfApplyingEveryLookInFull) {
  std::mt19937 rng(31337);
  int invalid = 0;
  for (int i = 0; i < 400; ++i) {
    Project p = randomProject(rng);
    p.variants.clear();
    for (int v = std::uniform_int_distribution<int>(1, 4)(rng); v > 0; --v) {
      nlohmann::json patch = p.patchFrom(randomEdit(p, rng)).json();
      if (std::uniform_int_distribution<int>(0, 1)(rng) == 1) patch = randomBreak(patch, rng);
      p.variants.push_back(Variant{"look-" + std::to_string(v), std::nullopt, patch});
    }
    if (i % 10 == 9 && p.slides.size() >= 2) p.slides[1].id = p.slides[0].id;  // no look applies to this base

    std::vector<std::string> expected;
    for (const Variant& variant : p.variants) {
      try {
        (void)p.applying(variant);
      } catch (const VornoError& error) {
        expected.push_back(error.message());
      }
    }
    std::vector<std::string> reported;
    for (const Issue& issue : withCode(Linter::lint(p), "variant.invalid")) reported.push_back(issue.message);
    ASSERT_EQ(reported, expected) << "project " << i;
    invalid += static_cast<int>(expected.size());
  }
  EXPECT_GT(invalid, 100);
}

}  // namespace
}  // namespace vorno::linter_test
