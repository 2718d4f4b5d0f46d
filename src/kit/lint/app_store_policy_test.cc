#include "kit/lint/app_store_policy.h"

#include "kit/lint/linter.h"
#include "kit/model/project.h"

#include "kit/model/text_markup.h"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vorno::app_store_policy_test {
namespace {

const std::string priceTail =
    "is a price. Apple asks store art to leave out prices and discounts, so it's right in every country and stays "
    "true.";
const std::string webTail = "is a web address. Apple asks store art to leave out URLs.";
const std::string platformTail = "names another platform or store. Apple asks App Store art to leave out other platforms.";

std::vector<std::string> snippets(const std::string& text) {
  AppStorePolicy policy;
  std::vector<std::string> list;
  for (const AppStorePolicy::Finding& finding : policy.findings(text)) list.push_back(finding.snippet);
  return list;
}

Slide slide(const std::string& id, const std::string& headline) {
  Slide s;
  s.id = id;
  s.headline = LocalizedText{{{"en-US", headline}}};
  return s;
}

Project iosProject(std::vector<Slide> slides) {
  Project p;
  p.locales = {"en-US"};
  p.targets = {"ios.iphone-6.9"};
  p.slides = std::move(slides);
  return p;
}

TEST(AppStorePolicy, SaveFiveDollarsGivesSnippetWithoutTheComma) {
  AppStorePolicy policy;
  std::vector<AppStorePolicy::Finding> found = policy.findings("Save $5, today.");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], (AppStorePolicy::Finding{"$5", priceTail}));
}

TEST(AppStorePolicy, PriceAfterTheNumberAndInOtherCurrencies) {
  EXPECT_EQ(snippets("Only 4,99 € a month"), std::vector<std::string>{"4,99 €"});
  EXPECT_EQ(snippets("From ¥500"), std::vector<std::string>{"¥500"});
  EXPECT_EQ(snippets("Just 10 USD"), std::vector<std::string>{"10 usd"});
  EXPECT_EQ(snippets("₹99 only"), std::vector<std::string>{"₹99"});
}

TEST(AppStorePolicy, ExampleComWithFinalPeriodGivesSnippetWithoutIt) {
  AppStorePolicy policy;
  std::vector<AppStorePolicy::Finding> found = policy.findings("Visit example.com.");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0], (AppStorePolicy::Finding{"example.com", webTail}));
}

TEST(AppStorePolicy, V1AppIsAWebAddressByThePattern) { EXPECT_EQ(snippets("New in v1.app"), std::vector<std::string>{"v1.app"}); }

TEST(AppStorePolicy, FileTxtIsNotAWebAddress) { EXPECT_TRUE(snippets("Export to file.txt").empty()); }

TEST(AppStorePolicy, FullAddressKeepsItsPathButLosesTrailingPunctuation) {
  EXPECT_EQ(snippets("See https://crewday.app/pricing)!"), std::vector<std::string>{"https://crewday.app/pricing"});
}

TEST(AppStorePolicy, DiscountCopyrightRecognitionAndPlatforms) {
  EXPECT_EQ(snippets("30 % off today"), std::vector<std::string>{"30 % off"});
  EXPECT_EQ(snippets("Half-price for crews"), std::vector<std::string>{"half-price"});
  EXPECT_EQ(snippets("© Crewday"), std::vector<std::string>{"©"});
  EXPECT_EQ(snippets("(c) 2025 Crewday"), std::vector<std::string>{"(c) 2025"});
  EXPECT_EQ(snippets("Editors’ Choice"), std::vector<std::string>{"editors’ choice"});
  EXPECT_EQ(snippets("Game of the Day"), std::vector<std::string>{"game of the day"});
  EXPECT_EQ(snippets("Also on Android"), std::vector<std::string>{"android"});
}

TEST(AppStorePolicy, MarkupAndLineBreaksAreRemovedBeforeMatching) {
  EXPECT_EQ(snippets("{0.8}Now on **Google**\nPlay"), std::vector<std::string>{"google play"});
}

TEST(AppStorePolicy, EachRuleGivesOnlyItsFirstMatchInRuleOrder) {
  AppStorePolicy policy;
  std::vector<AppStorePolicy::Finding> found = policy.findings("Get it on Google Play for $2 or $3 at crewday.io");
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0].snippet, "$2");
  EXPECT_EQ(found[1].snippet, "crewday.io");
  EXPECT_EQ(found[2], (AppStorePolicy::Finding{"google play", platformTail}));
}

TEST(AppStorePolicy, IssueQuotesTheSnippetAndNamesBoardAndLocale) {
  std::vector<Issue> issues = Linter::appStorePolicyIssues(iosProject({slide("intro", "Save $5, today.")}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].severity, Issue::Severity::warning);
  EXPECT_EQ(issues[0].code, "appstore.policy");
  EXPECT_EQ(issues[0].message, "\"$5\" " + priceTail);
  EXPECT_EQ(issues[0].slide, "intro");
  EXPECT_EQ(issues[0].locale, "en-US");
}

TEST(AppStorePolicy, SlidesAreNotScannedWithoutAnIOSTarget) {
  Project p = iosProject({slide("intro", "Save $5")});
  p.targets = {"play.phone"};
  EXPECT_TRUE(Linter::appStorePolicyIssues(p).empty());
}

TEST(AppStorePolicy, AndroidOnlyElementGivesNoFindingAndElementWithoutPlatformsDoes) {
  Slide s = slide("intro", "Plan your day");
  SlideElement androidOnly;
  androidOnly.id = "play-badge";
  androidOnly.text = LocalizedText{{{"en-US", "Get it on Google Play"}}};
  androidOnly.platforms = std::vector<Platform>{Platform::android};
  s.elements.push_back(androidOnly);
  EXPECT_TRUE(Linter::appStorePolicyIssues(iosProject({s})).empty());

  SlideElement everywhere = androidOnly;
  everywhere.id = "badge";
  everywhere.platforms.reset();
  s.elements.push_back(everywhere);
  std::vector<Issue> issues = Linter::appStorePolicyIssues(iosProject({s}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].message, "\"google play\" " + platformTail);
}

TEST(AppStorePolicy, CreativeIsScannedEvenWithOnlyGooglePlayTargets) {
  Project p = iosProject({slide("intro", "Save $5")});
  p.targets = {"play.phone"};
  Creative header;
  header.canvas = "ios.header";
  header.slide = slide("header", "Now 50% off");
  p.creatives = {header};
  std::vector<Issue> issues = Linter::appStorePolicyIssues(p);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].slide, "header");
  EXPECT_EQ(issues[0].message.rfind("\"50% off\" is a discount.", 0), 0u) << issues[0].message;
}

TEST(AppStorePolicy, SamePriceInTwoLocalesGivesOneIssueForTheFirstLocaleThatShowsIt) {
  Slide s = slide("intro", "Plan your day");
  s.headline.values["de-DE"] = "Nur $5 heute";
  s.subhead = LocalizedText{{{"en-US", "Only $5"}, {"fr-FR", "Seulement $5"}}};
  Project p = iosProject({s});
  p.locales = {"en-US", "de-DE", "fr-FR"};
  std::vector<Issue> issues = Linter::appStorePolicyIssues(p);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].message, "\"$5\" " + priceTail);
  EXPECT_EQ(issues[0].locale, "de-DE");
}

TEST(AppStorePolicy, SameFindingOnAnotherBoardIsReportedAgain) {
  std::vector<Issue> issues =
      Linter::appStorePolicyIssues(iosProject({slide("one", "Only $5"), slide("two", "Still $5")}));
  ASSERT_EQ(issues.size(), 2u);
  EXPECT_EQ(issues[0].slide, "one");
  EXPECT_EQ(issues[1].slide, "two");
}

TEST(AppStorePolicy, ComponentItemsEntryIsScannedLikeAnyText) {
  Slide s = slide("intro", "Plan your day");
  SlideElement list;
  list.id = "list";
  list.kind = SlideElement::Kind::component;
  ComponentSpec component;
  component.type = ComponentSpec::Kind::checklist;
  component.items = std::vector<LocalizedText>{LocalizedText{{{"en-US", "Plan the day"}}},
                                               LocalizedText{{{"en-US", "Book at crewday.com"}}}};
  list.component = component;
  s.elements.push_back(list);
  std::vector<Issue> issues = Linter::appStorePolicyIssues(iosProject({s}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].message, "\"crewday.com\" " + webTail);
}

// Boards are the slides, then the creatives; within a board the texts run eyebrow, headline,
// subhead, then the elements' texts, and for each text the locales in order.
TEST(AppStorePolicy, IssuesComeInTheDocumentedOrder) {
  Slide s = slide("intro", "Now on Android");
  s.eyebrow = LocalizedText{{{"en-US", "© 2025"}}};
  s.subhead = LocalizedText{{{"en-US", "Plan"}, {"de-DE", "Ab 3 €"}}};
  SlideElement caption;
  caption.id = "caption";
  caption.text = LocalizedText{{{"en-US", "www.crewday.app"}}};
  s.elements.push_back(caption);
  Project p = iosProject({s});
  p.locales = {"en-US", "de-DE"};
  Creative header;
  header.canvas = "ios.header";
  header.slide = slide("header", "App of the Day");
  p.creatives = {header};

  std::vector<std::string> seen;
  for (const Issue& issue : Linter::appStorePolicyIssues(p))
    seen.push_back(*issue.slide + " " + *issue.locale + " " + issue.message.substr(0, issue.message.find("\" ") + 1));
  EXPECT_EQ(seen, (std::vector<std::string>{"intro en-US \"©\"", "intro en-US \"android\"", "intro de-DE \"3 €\"",
                                            "intro en-US \"www.crewday.app\"", "header en-US \"app of the day\""}));
}

// The rule table as the guidance states it, run the plain way: every pattern on every text,
// lower-cased by ICU. The policy's shortcuts (fragments looked for first, ASCII lowered without
// ICU) must not change a single finding.
std::vector<AppStorePolicy::Finding> referenceFindings(const std::string& text) {
  static const std::vector<std::pair<std::string, std::string>> table{
      {R"([$€£¥₹]\s?\d+(?:[.,]\d+)?|\d+(?:[.,]\d+)?\s?(?:[$€£¥₹]|usd\b|eur\b|gbp\b))", priceTail},
      {R"(\d+\s?%\s?off\b|\bdiscount|\bhalf[- ]price\b)",
       "is a discount. Apple asks store art to leave out prices and discounts, so it's right in every country and "
       "stays true."},
      {R"(https?://[^\s]+|\bwww\.[^\s]+|\b[a-z0-9-]+\.(?:com|app|io|net|org|co|dev)\b(?:/[^\s]*)?)", webTail},
      {R"(©|\(c\)\s?\d{4})", "is a copyright mark. Apple asks store art to leave out ©."},
      {R"(\bapps? of the (?:day|year)\b|\bgames? of the (?:day|year)\b|\beditors?['’]?s?['’]? choice\b|\bapple design award|\bapp store award)",
       "is an Apple recognition. The App Store shows those itself; Apple asks store art not to repeat them."},
      {R"(\bgoogle play\b|\bplay store\b|\bandroid\b)", platformTail},
  };
  std::string shown = TextMarkup::plain(text);
  std::replace(shown.begin(), shown.end(), '\n', ' ');
  icu::UnicodeString input = icu::UnicodeString::fromUTF8(shown);
  input.toLower(icu::Locale::getRoot());
  std::vector<AppStorePolicy::Finding> found;
  for (const auto& [pattern, tail] : table) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::unique_ptr<icu::RegexPattern> compiled(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, parseError, status));
    EXPECT_TRUE(U_SUCCESS(status)) << pattern;
    std::unique_ptr<icu::RegexMatcher> matcher(compiled->matcher(input, status));
    if (!matcher->find(0, status)) continue;
    icu::UnicodeString match = matcher->group(status);
    auto trimmed = [](UChar32 c) { return u_isblank(c) || (c < 0x80 && std::strchr(".,;:!?)", char(c)) && c != 0); };
    int32_t start = 0, end = match.length();
    while (start < end && trimmed(match.char32At(start))) start = match.moveIndex32(start, 1);
    while (end > start && trimmed(match.char32At(match.moveIndex32(end, -1)))) end = match.moveIndex32(end, -1);
    std::string snippet;
    icu::UnicodeString(match, start, end - start).toUTF8String(snippet);
    found.push_back({snippet, tail});
  }
  return found;
}

TEST(AppStorePolicy, FindingsAreThoseOfEveryPatternRunOnEveryText) {
  const std::vector<std::string> pieces{
      "Save",     "$5",          "4,99 €",     "50% OFF",   "30 % off",     "www.Example.com", "v1.app",
      "file.txt", "©",           "(c) 2025",   "(C)2024",   "App of the Day", "Editors’ Choice", "editor's choice",
      "Google",   "Play",        "ANDROID",    "Play Store", "discounted",  "Half-Price",      "half price",
      "usd",      "10 EUR",      "gbp",        "https://crewday.io/a?b=1", "crew-day.dev/x",    "Größe",
      "İstanbul", "**",          "{0.8}",      "\n",        ".",            ",",               ")",
      "!",        "¥500",        "₹99",        "£",         "apple design awards", "games of the year", "12",
      "3.50",     "x.co",        "IO",         "org",       "plan",         "your",            "day"};
  std::mt19937 rng(2718);
  AppStorePolicy policy;
  int withFindings = 0;
  for (int i = 0; i < 4000; ++i) {
    std::string text;
    for (int n = std::uniform_int_distribution<int>(1, 8)(rng); n > 0; --n) {
      const std::string& piece = pieces[std::uniform_int_distribution<size_t>(0, pieces.size() - 1)(rng)];
      if (!text.empty() && std::uniform_int_distribution<int>(0, 3)(rng) > 0) text += ' ';
      text += piece;
    }
    std::vector<AppStorePolicy::Finding> expected = referenceFindings(text);
    ASSERT_EQ(policy.findings(text), expected) << "text: " << text;
    if (!expected.empty()) ++withFindings;
  }
  EXPECT_GT(withFindings, 2000);
}

}  // namespace
}  // namespace vorno::app_store_policy_test
