#include "server/arguments.h"
#include "server/argument_decoding.h"

#include <gtest/gtest.h>

#include "kit/model/codings.h"
#include "kit/model/slide.h"

namespace vorno::arguments_test {
namespace {

Arguments argumentsOf(const std::string& json) { return Arguments(*mcp::Value::parse(json)->objectValue(), "slide_upsert"); }

std::string failureOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const VornoError& error) {
    return error.what();
  }
  return "";
}

TEST(Arguments, RequireStringNamesToolAndKeyWhenAbsentEmptyOrNotAString) {
  Arguments arguments = argumentsOf(R"({"empty": "", "number": 3, "name": "intro"})");
  EXPECT_EQ(arguments.requireString("name"), "intro");
  for (const char* key : {"absent", "empty", "number"})
    EXPECT_EQ(failureOf([&] { arguments.requireString(key); }), std::string("slide_upsert: ") + key + " is required.");
}

TEST(Arguments, TheStringTrueIsNoBoolean) {
  Arguments arguments = argumentsOf(R"({"yes": true, "text": "true"})");
  EXPECT_EQ(arguments.boolean("yes"), true);
  EXPECT_EQ(arguments.boolean("text"), std::nullopt);
}

TEST(Arguments, IntegersAndNumbersWidenAndCut) {
  Arguments arguments = argumentsOf(R"({"whole": 1200, "fraction": 199.9, "negative": -2.5, "text": "5"})");
  EXPECT_EQ(arguments.integer("whole"), 1200);
  EXPECT_EQ(arguments.integer("fraction"), 199);
  EXPECT_EQ(arguments.integer("negative"), -2);
  EXPECT_EQ(arguments.integer("text"), std::nullopt);
  EXPECT_EQ(arguments.number("whole"), 1200.0);
  EXPECT_EQ(arguments.number("fraction"), 199.9);
  EXPECT_EQ(arguments.number("text"), std::nullopt);
}

TEST(Arguments, StringsDropElementsThatAreNoStrings) {
  Arguments arguments = argumentsOf(R"({"ids": ["a", 1, null, "b"], "one": "a"})");
  EXPECT_EQ(arguments.strings("ids"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(arguments.strings("one"), std::nullopt);
  EXPECT_EQ(arguments.strings("absent"), std::nullopt);
}

TEST(Arguments, NullSlideReadsAsAbsentForDecode) {
  Arguments arguments = argumentsOf(R"({"slide": null})");
  EXPECT_EQ(arguments.decode<Slide>("slide"), std::nullopt);
  EXPECT_EQ(arguments.decode<Slide>("absent"), std::nullopt);
}

TEST(Arguments, UndecodableObjectNamesToolKeyAndTheReadersSummary) {
  Arguments arguments = argumentsOf(R"({"slide": {"id": "intro", "headline": 3}})");
  std::string failure = failureOf([&] { arguments.decode<Slide>("slide"); });
  EXPECT_TRUE(failure.starts_with("slide_upsert: slide is invalid: ")) << failure;
  EXPECT_NE(failure.find("headline"), std::string::npos) << failure;
}

TEST(Arguments, DecodesAWholeSlide) {
  Arguments arguments = argumentsOf(R"({"slide": {"id": "intro", "headline": "Plan your day"}})");
  std::optional<Slide> slide = arguments.decode<Slide>("slide");
  ASSERT_TRUE(slide);
  EXPECT_EQ(slide->id, "intro");
  EXPECT_EQ(slide->headline.resolve("en-US"), "Plan your day");
}

}  // namespace
}  // namespace vorno::arguments_test
