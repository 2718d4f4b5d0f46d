#include "kit/model/coding.h"

#include <gtest/gtest.h>

namespace vorno::coding_test {
namespace {

DecodingError errorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const DecodingError& error) {
    return error;
  }
  ADD_FAILURE() << "no DecodingError";
  return DecodingError(DecodingError::Kind::dataCorrupted, "", "");
}

TEST(Decoding, MissingKeyNamesKeyAndContainerPath) {
  Json doc = parseJSON(R"({"slides": [{"id": "a"}, {"id": "b"}, {"id": "c"}]})");
  auto error = errorOf([&] { Reader(doc)["slides"].elements()[2].get<std::string>("headline"); });
  EXPECT_EQ(error.kind(), DecodingError::Kind::keyNotFound);
  EXPECT_EQ(error.summary(), "missing headline at .slides[2]");
}

TEST(Decoding, TypeMismatchNamesExpectedType) {
  Json doc = parseJSON(R"({"appName": 3})");
  EXPECT_EQ(errorOf([&] { Reader(doc).get<std::string>("appName"); }).summary(), "expected String at .appName");
  EXPECT_EQ(errorOf([&] { Reader(doc).get<std::vector<std::string>>("appName"); }).summary(),
            "expected Array at .appName");
  EXPECT_EQ(errorOf([&] { Reader(Json(3)).get<int>("x"); }).summary(), "expected Dictionary");
}

TEST(Decoding, NullForRequiredValueIsValueNotFound) {
  Json doc = parseJSON(R"({"appName": null})");
  auto error = errorOf([&] { Reader(doc).get<std::string>("appName"); });
  EXPECT_EQ(error.kind(), DecodingError::Kind::valueNotFound);
  EXPECT_EQ(error.summary(), "Expected String value but found null instead. at .appName");
}

TEST(Decoding, NullOptionalReadsAsAbsent) {
  Json doc = parseJSON(R"({"name": null})");
  EXPECT_FALSE(Reader(doc).getIfPresent<std::string>("name").has_value());
}

TEST(Decoding, IntegersAcceptWholeDoublesOnly) {
  Json doc = parseJSON(R"({"a": 5.0, "b": 5.5})");
  EXPECT_EQ(Reader(doc).get<int>("a"), 5);
  EXPECT_EQ(errorOf([&] { Reader(doc).get<int>("b"); }).summary(),
            "Parsed JSON number <5.5> does not fit in Int. at .b");
}

TEST(Decoding, SyntaxErrorGivesLineAndColumn) {
  auto error = errorOf([] { parseJSON("{\n  \"a\": [1, 2\n}"); });
  EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error.path(), "");
  EXPECT_EQ(error.summary(), "The given data was not valid JSON (line 3, column 1).");
}

TEST(Decoding, EmptyTextIsNotJSON) {
  EXPECT_EQ(errorOf([] { parseJSON(""); }).summary(), "The given data was not valid JSON (the file is empty).");
}

TEST(Decoding, HugeNumbersAreRefused) {
  auto error = errorOf([] { parseJSON(R"({"a": 1e400})"); });
  EXPECT_EQ(error.summary(), "The given data was not valid JSON (a number is too large for a double).");
}

TEST(Decoding, DeepNestingIsRefusedBeforeParsing) {
  std::string deep(100000, '[');
  auto error = errorOf([&] { parseJSON(deep); });
  EXPECT_EQ(error.summary(), "The given data was not valid JSON (nested deeper than 512 levels).");
  // Brackets inside strings do not count.
  std::string quoted = "[\"" + std::string(1000, '[') + "\"]";
  EXPECT_NO_THROW(parseJSON(quoted));
}

enum class Fruit { apple, blood_orange };
}  // namespace
}  // namespace vorno::coding_test

template <>
struct vorno::EnumNames<vorno::coding_test::Fruit> {
  static constexpr std::string_view typeName = "Fruit";
  static constexpr std::array<std::string_view, 2> names{"apple", "blood-orange"};
};

namespace vorno::coding_test {
namespace {

TEST(Decoding, EnumerationsReadRawValuesAndRefuseOthersNamingTheChoices) {
  Json doc = parseJSON(R"({"a": "blood-orange", "b": "pear"})");
  EXPECT_EQ(Reader(doc).get<Fruit>("a"), Fruit::blood_orange);
  EXPECT_EQ(errorOf([&] { Reader(doc).get<Fruit>("b"); }).summary(),
            "Cannot initialize Fruit from invalid String value pear. Use apple or blood-orange. at .b");
  EXPECT_EQ(Coding<Fruit>::write(Fruit::blood_orange), Json("blood-orange"));
}

TEST(Decoding, MapsAndArraysCarryKeysAndIndicesInThePath) {
  Json doc = parseJSON(R"({"m": {"x": [1, "two"]}})");
  EXPECT_EQ(errorOf([&] { Reader(doc).get<std::map<std::string, std::vector<double>>>("m"); }).summary(),
            "expected Double at .m.x[1]");
}

}  // namespace
}  // namespace vorno::coding_test
