#include "kit/lint/linter.h"

#include "kit/model/project.h"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <gtest/gtest.h>

#include <memory>
#include <string_view>
#include <random>
#include <string>
#include <vector>

namespace vorno::play_policy_test {
namespace {

Project playProject(const std::string& headline, std::vector<std::string> targets = {"play.phone"}) {
  Project p;
  p.locales = {"en-US"};
  p.targets = std::move(targets);
  Slide s;
  s.id = "intro";
  s.headline = LocalizedText{{{"en-US", headline}}};
  p.slides = {s};
  return p;
}

std::vector<std::string> claimedWords(const std::vector<Issue>& issues) {
  std::vector<std::string> words;
  for (const Issue& issue : issues) {
    EXPECT_EQ(issue.code, "play.policy");
    // The message opens with the word in double quotes.
    words.push_back(issue.message.substr(1, issue.message.find('"', 1) - 1));
  }
  return words;
}

TEST(PlayPolicy, BestAppOnIOSOnlyProjectGivesNoFinding) {
  EXPECT_TRUE(Linter::playPolicyIssues(playProject("Best app", {"ios.iphone-6.9", "ios.ipad-13"})).empty());
}

TEST(PlayPolicy, UnknownTargetsDoNotCountAsAndroid) {
  EXPECT_TRUE(Linter::playPolicyIssues(playProject("Best app", {"play.watch"})).empty());
}

TEST(PlayPolicy, TheBestMatchesBestAsAWord) {
  std::vector<Issue> issues = Linter::playPolicyIssues(playProject("The best planner"));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].severity, Issue::Severity::error);
  EXPECT_EQ(issues[0].message, "\"best\" is a ranking or promotional claim Google Play rejects in graphics.");
  EXPECT_EQ(issues[0].slide, "intro");
  EXPECT_EQ(issues[0].locale, "en-US");
}

TEST(PlayPolicy, BestsellerDoesNotMatchBestBecauseOfWordBoundaries) {
  EXPECT_TRUE(Linter::playPolicyIssues(playProject("A bestseller of planners")).empty());
}

TEST(PlayPolicy, FiftyPercentOffMatchesPercentOffAsSubstring) {
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(playProject("50% off this week"))), std::vector<std::string>{"% off"});
}

TEST(PlayPolicy, HashOneInFitnessMatchesByPlainSubstring) {
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(playProject("#1 in Fitness"))), std::vector<std::string>{"#1"});
}

TEST(PlayPolicy, UpperCaseIsLoweredBeforeMatching) {
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(playProject("DOWNLOAD NOW"))), std::vector<std::string>{"download now"});
}

TEST(PlayPolicy, MarkupIsNotRemovedButAsterisksAreNoWordCharacters) {
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(playProject("The **best** planner"))), std::vector<std::string>{"best"});
}

TEST(PlayPolicy, PunctuationInAWordIsMatchedLiterally) {
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(playProject("Rated No. 1 by crews"))), std::vector<std::string>{"no. 1"});
  // The "." of "no. 1" is no wildcard.
  EXPECT_TRUE(Linter::playPolicyIssues(playProject("Rated nox 1 by crews")).empty());
}

TEST(PlayPolicy, OneTextCanGiveSeveralIssuesInListOrder) {
  std::vector<Issue> issues = Linter::playPolicyIssues(playProject("Free: the top app of the year, #1"));
  EXPECT_EQ(claimedWords(issues), (std::vector<std::string>{"#1", "top", "free", "app of the year"}));
}

TEST(PlayPolicy, EyebrowAndSubheadAreReadButFreeElementsAreNot) {
  Project p = playProject("Plan your day");
  p.slides[0].eyebrow = LocalizedText{{{"en-US", "Editor's Choice"}}};
  p.slides[0].subhead = LocalizedText{{{"en-US", "Install now"}}};
  SlideElement caption;
  caption.id = "caption";
  caption.text = LocalizedText{{{"en-US", "Best of all"}}};
  p.slides[0].elements.push_back(caption);
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(p)), (std::vector<std::string>{"editor's choice", "install now"}));
}

TEST(PlayPolicy, FieldsJoinWithABlankSoWordsDoNotRunTogether) {
  Project p = playProject("one");
  p.slides[0].eyebrow = LocalizedText{{{"en-US", "number"}}};
  p.slides[0].headline = LocalizedText{{{"en-US", "one"}}};
  EXPECT_EQ(claimedWords(Linter::playPolicyIssues(p)), std::vector<std::string>{"number one"});
}

TEST(PlayPolicy, IssuesFollowSlidesThenLocales) {
  Project p = playProject("Top planner");
  p.locales = {"en-US", "de-DE"};
  p.slides[0].headline.values["de-DE"] = "Kostenlos und gratis";
  Slide second;
  second.id = "second";
  second.headline = LocalizedText{{{"en-US", "Free"}, {"de-DE", "Free"}}};
  p.slides.push_back(second);
  std::vector<Issue> issues = Linter::playPolicyIssues(p);
  ASSERT_EQ(issues.size(), 3u);
  EXPECT_EQ(issues[0].slide, "intro");
  EXPECT_EQ(issues[0].locale, "en-US");
  EXPECT_EQ(issues[1].slide, "second");
  EXPECT_EQ(issues[1].locale, "en-US");
  EXPECT_EQ(issues[2].slide, "second");
  EXPECT_EQ(issues[2].locale, "de-DE");
}

// The word list as the store states it, matched the plain way: ICU lower-cases every text and
// checks every word. The rule's shortcuts (a substring search first, ASCII lowered without ICU)
// must not change a single finding.
std::vector<std::string> referenceClaims(const std::string& text) {
  static const std::vector<std::string> words{"#1",          "best",        "top",           "free",
                                              "number one",  "no. 1",       "editor's choice", "app of the year",
                                              "% off",       "download now", "install now"};
  icu::UnicodeString lowered = icu::UnicodeString::fromUTF8(text);
  lowered.toLower(icu::Locale::getRoot());
  std::string loweredUTF8;
  lowered.toUTF8String(loweredUTF8);
  std::vector<std::string> found;
  for (const std::string& word : words) {
    bool hit;
    if (u_isalpha(static_cast<unsigned char>(word.front()))) {
      std::string escaped;
      for (char c : word) {
        if (std::string_view("\\^$.|?*+()[]{}#-/").find(c) != std::string_view::npos) escaped += '\\';
        escaped += c;
      }
      UErrorCode status = U_ZERO_ERROR;
      UParseError parseError;
      std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(
          icu::UnicodeString::fromUTF8("\\b" + escaped + "\\b"), 0, parseError, status));
      std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(lowered, status));
      hit = matcher->find(0, status);
    } else {
      hit = loweredUTF8.find(word) != std::string::npos;
    }
    if (hit) found.push_back(word);
  }
  return found;
}

TEST(PlayPolicy, ClaimsAreThoseOfEveryWordCheckedOnEveryText) {
  const std::vector<std::string> pieces{"The",      "BEST",     "bestseller", "Top",      "topping",   "FREE",
                                        "freedom",  "Number",   "one",        "No.",      "1",         "#1",
                                        "Editor's", "Choice",   "App",        "of",       "the",       "Year",
                                        "50%",      "Off",      "Download",   "Now",      "Install",   "Größe",
                                        "İstanbul", "Beste",    "**best**",   "top-rated", "no. 10",   "ñbest",
                                        "plan",     "your",     "day"};
  std::mt19937 rng(1618);
  auto randomText = [&] {
    std::string text;
    for (int n = std::uniform_int_distribution<int>(1, 6)(rng); n > 0; --n) {
      if (!text.empty()) text += ' ';
      text += pieces[std::uniform_int_distribution<size_t>(0, pieces.size() - 1)(rng)];
    }
    return text;
  };
  int claims = 0;
  for (int i = 0; i < 1500; ++i) {
    Project p = playProject(randomText());
    p.slides[0].eyebrow = LocalizedText{{{"en-US", randomText()}}};
    std::string joined = *p.slides[0].eyebrow->resolve("en-US") + " " + *p.slides[0].headline.resolve("en-US");
    std::vector<std::string> expected = referenceClaims(joined);
    ASSERT_EQ(claimedWords(Linter::playPolicyIssues(p)), expected) << "text: " << joined;
    claims += static_cast<int>(expected.size());
  }
  EXPECT_GT(claims, 1500);
}

}  // namespace
}  // namespace vorno::play_policy_test
