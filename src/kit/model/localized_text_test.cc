#include "kit/model/localized_text.h"

#include "kit/model/codings.h"

#include <gtest/gtest.h>

namespace vorno::localized_text_test {
namespace {

LocalizedText texts(std::map<std::string, std::string> values) { return LocalizedText{std::move(values)}; }

TEST(LocalizedText, EmptyTextResolvesToNothingForEveryLocale) {
  LocalizedText empty;
  for (const char* locale : {"en-US", "en", "de-DE", "", "-", "zh-Hans-CN"}) EXPECT_FALSE(empty.resolve(locale)) << locale;
}

TEST(LocalizedText, OnlyEnKeyResolvedForEnUSGivesItsTextAtLanguageStep) {
  auto text = texts({{"en", "Hello"}, {"de", "Hallo"}});
  EXPECT_EQ(text.resolve("en-US"), "Hello");
  // Step 2 is the language itself, ahead of the English fallback.
  EXPECT_EQ(text.resolve("de-AT"), "Hallo");
}

TEST(LocalizedText, ExactKeyWinsFirst) {
  auto text = texts({{"de", "Hallo"}, {"de-DE", "Servus"}, {"en-US", "Hello"}});
  EXPECT_EQ(text.resolve("de-DE"), "Servus");
  EXPECT_EQ(text.resolve("de-CH"), "Hallo");
}

TEST(LocalizedText, LowestRegionalKeyOfTheLanguageIsChosen) {
  auto text = texts({{"de-CH", "Grüezi"}, {"de-AT", "Servus"}, {"en-US", "Hello"}});
  EXPECT_EQ(text.resolve("de-DE"), "Servus");
  // A key that merely starts with the language's letters is not of that language.
  auto lookalike = texts({{"den", "no"}, {"en-US", "Hello"}});
  EXPECT_EQ(lookalike.resolve("de-DE"), "Hello");
}

TEST(LocalizedText, EmptyPartsAreSkippedWhenTakingTheLanguage) {
  auto text = texts({{"pt", "Olá"}, {"en-US", "Hello"}});
  EXPECT_EQ(text.resolve("-pt-BR"), "Olá");
}

TEST(LocalizedText, FallsBackToEnUSThenEn) {
  EXPECT_EQ(texts({{"en", "Hi"}, {"en-US", "Hello"}, {"fr", "Salut"}}).resolve("ja-JP"), "Hello");
  EXPECT_EQ(texts({{"en", "Hi"}, {"fr", "Salut"}}).resolve("ja-JP"), "Hi");
}

TEST(LocalizedText, LastResortIsTheLowestKeyOfAll) {
  EXPECT_EQ(texts({{"ko", "안녕"}, {"fr", "Salut"}, {"it", "Ciao"}}).resolve("ja-JP"), "Salut");
  EXPECT_EQ(texts({{"ko", "안녕"}}).resolve(""), "안녕");
}

TEST(LocalizedText, HasNeedsTheExactKey) {
  auto text = texts({{"en", "Hi"}});
  EXPECT_TRUE(text.has("en"));
  EXPECT_FALSE(text.has("en-US"));
}

TEST(LocalizedText, PlainStringRoundTripsToEnUSObject) {
  Json written = Coding<LocalizedText>::write(Reader(Json("Plan your week")).decode<LocalizedText>());
  EXPECT_EQ(written, Json::parse(R"({"en-US": "Plan your week"})"));
}

TEST(LocalizedText, ObjectOfStringsReadsEveryLocale) {
  auto text = Reader(Json::parse(R"({"en-US": "Hi", "ja-JP": "やあ"})")).decode<LocalizedText>();
  EXPECT_EQ(text, texts({{"en-US", "Hi"}, {"ja-JP", "やあ"}}));
  EXPECT_EQ(Coding<LocalizedText>::write(text), Json::parse(R"({"en-US": "Hi", "ja-JP": "やあ"})"));
}

TEST(LocalizedText, ObjectAttemptsErrorIsReported) {
  Json doc = Json::parse(R"({"a": 3, "b": {"en-US": 3}, "c": ["x"]})");
  auto summaryOf = [&](const char* key) -> std::string {
    try {
      Reader(doc).get<LocalizedText>(key);
    } catch (const DecodingError& error) {
      return error.summary();
    }
    return "no error";
  };
  EXPECT_EQ(summaryOf("a"), "expected Dictionary at .a");
  EXPECT_EQ(summaryOf("b"), "expected String at .b.en-US");
  EXPECT_EQ(summaryOf("c"), "expected Dictionary at .c");
}

}  // namespace
}  // namespace vorno::localized_text_test
