#include "kit/model/issue.h"

#include <gtest/gtest.h>

#include <vector>

#include "kit/model/coding.h"

namespace vorno::issue_test {
namespace {

Issue sample() {
  Issue issue(Issue::Severity::warning, "text.wrap", "The headline wraps.");
  issue.slide = "intro";
  issue.target = "ios.iphone-6.9";
  issue.locale = "de-DE";
  issue.element = "logo";
  issue.suggestedColor = "#14171D";
  return issue;
}

TEST(Issue, ConstructorLeavesOptionalFieldsAbsent) {
  Issue issue(Issue::Severity::error, "target.unknown", "Unknown target.");
  EXPECT_EQ(issue.severity, Issue::Severity::error);
  EXPECT_EQ(issue.code, "target.unknown");
  EXPECT_EQ(issue.message, "Unknown target.");
  EXPECT_FALSE(issue.slide || issue.target || issue.locale || issue.element || issue.suggestedColor);
}

TEST(Issue, SeverityIsOrderedInfoWarningError) {
  EXPECT_LT(Issue::Severity::info, Issue::Severity::warning);
  EXPECT_LT(Issue::Severity::warning, Issue::Severity::error);
  EXPECT_LT(Issue::Severity::info, Issue::Severity::error);
  EXPECT_FALSE(Issue::Severity::error < Issue::Severity::info);
}

TEST(Issue, SeverityRawValuesAreTheWords) {
  EXPECT_EQ(rawValue(Issue::Severity::info), "info");
  EXPECT_EQ(rawValue(Issue::Severity::warning), "warning");
  EXPECT_EQ(rawValue(Issue::Severity::error), "error");
}

TEST(Issue, DescriptionWithoutLocationHasNoParentheses) {
  Issue issue(Issue::Severity::info, "set.short", "Add a slide.");
  issue.element = "logo";
  issue.suggestedColor = "#FFFFFF";
  EXPECT_EQ(issue.description(), "[info] set.short: Add a slide.");
}

TEST(Issue, DescriptionJoinsSlideTargetLocaleWithMiddleDots) {
  EXPECT_EQ(sample().description(), "[warning] text.wrap (intro · ios.iphone-6.9 · de-DE): The headline wraps.");
}

TEST(Issue, DescriptionShowsOnlyThePresentLocationParts) {
  Issue issue(Issue::Severity::error, "text.missing-locale", "Translate it.");
  issue.locale = "fr-FR";
  EXPECT_EQ(issue.description(), "[error] text.missing-locale (fr-FR): Translate it.");
  issue.slide = "intro";
  EXPECT_EQ(issue.description(), "[error] text.missing-locale (intro · fr-FR): Translate it.");
  issue.slide.reset();
  issue.target = "play.phone";
  EXPECT_EQ(issue.description(), "[error] text.missing-locale (play.phone · fr-FR): Translate it.");
}

TEST(Issue, JSONKeysEqualFieldNames) {
  Json json = sample().toJSON();
  EXPECT_EQ(json, parseJSON(R"({"severity": "warning", "code": "text.wrap", "message": "The headline wraps.",
      "slide": "intro", "target": "ios.iphone-6.9", "locale": "de-DE", "element": "logo",
      "suggestedColor": "#14171D"})"));
}

TEST(Issue, AbsentOptionalsAreNotWritten) {
  Json json = Issue(Issue::Severity::info, "a.b", "M.").toJSON();
  EXPECT_EQ(json, parseJSON(R"({"severity": "info", "code": "a.b", "message": "M."})"));
}

TEST(Issue, JSONRoundTrips) {
  EXPECT_EQ(Issue::fromJSON(sample().toJSON()), sample());
  Issue bare(Issue::Severity::error, "x.y", "Z.");
  EXPECT_EQ(Issue::fromJSON(bare.toJSON()), bare);
}

TEST(Issue, ReadingWithoutMessageIsAnError) {
  try {
    Issue::fromJSON(parseJSON(R"({"severity": "info", "code": "a.b"})"));
    FAIL() << "no DecodingError";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.kind(), DecodingError::Kind::keyNotFound);
    EXPECT_EQ(error.detail(), "message");
  }
}

TEST(Issue, ReadingAnUnknownSeverityIsAnError) {
  EXPECT_THROW(Issue::fromJSON(parseJSON(R"({"severity": "fatal", "code": "a.b", "message": "M."})")), DecodingError);
}

TEST(Issue, NullOptionalsReadAsAbsent) {
  Issue issue = Issue::fromJSON(parseJSON(R"({"severity": "info", "code": "a.b", "message": "M.", "slide": null})"));
  EXPECT_FALSE(issue.slide.has_value());
}

TEST(Issue, ListsGoThroughTheCodingFramework) {
  std::vector<Issue> issues{sample(), Issue(Issue::Severity::info, "a.b", "M.")};
  Json json = Coding<std::vector<Issue>>::write(issues);
  ASSERT_TRUE(json.is_array());
  EXPECT_EQ(Reader(json).decode<std::vector<Issue>>(), issues);
}

}  // namespace
}  // namespace vorno::issue_test
