#include "mcp/value.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vorno::mcp::value_test {
namespace {

TEST(MCPValue, IntegersAndDoublesAreKeptApartWhenRead) {
  Value value = Value::parse(R"({"a":3,"b":3.5,"c":3.0,"d":-7,"e":1e2})").value();
  EXPECT_EQ(value.find("a")->kind(), Value::Kind::integer);
  EXPECT_EQ(value.find("a")->intValue(), 3);
  EXPECT_FALSE(value.find("a")->doubleValue());
  EXPECT_EQ(value.find("b")->kind(), Value::Kind::number);
  EXPECT_EQ(value.find("b")->doubleValue(), 3.5);
  EXPECT_FALSE(value.find("b")->intValue());
  EXPECT_EQ(value.find("c")->kind(), Value::Kind::number);
  EXPECT_EQ(value.find("d")->intValue(), -7);
  EXPECT_EQ(value.find("e")->kind(), Value::Kind::number);
}

TEST(MCPValue, IntegerBeyondInt64ReadsAsDouble) {
  Value value = Value::parse("18446744073709551615").value();
  EXPECT_EQ(value.kind(), Value::Kind::number);
  EXPECT_DOUBLE_EQ(*value.doubleValue(), 18446744073709551615.0);
  EXPECT_EQ(Value::parse("9223372036854775807")->intValue(), INT64_MAX);
}

TEST(MCPValue, WireFormIsOneLineWithSortedKeysAndSlashesUnescaped) {
  Value value(Value::Object{{"zeta", Value("a/b\nc")},
                            {"alpha", Value(Value::Array{Value(1), Value(2.5), Value(true), Value()})},
                            {"mid", Value(Value::Object{{"y", Value(1)}, {"x", Value("é")}})}});
  EXPECT_EQ(value.wire(), R"({"alpha":[1,2.5,true,null],"mid":{"x":"é","y":1},"zeta":"a/b\nc"})");
}

TEST(MCPValue, BinaryDataIsWrittenAsBase64DataURL) {
  Value value(Data{"image/png", std::string("\x89PNG\r\n\x1a\n", 8)});
  EXPECT_EQ(value.wire(), R"("data:image/png;base64,iVBORw0KGgo=")");
  EXPECT_EQ(value.kind(), Value::Kind::data);
}

TEST(MCPValue, DataURLStringStaysAStringWhenRead) {
  Value value = Value::parse(R"("data:image/png;base64,iVBORw0KGgo=")").value();
  ASSERT_NE(value.stringValue(), nullptr);
  auto data = dataFromURL(*value.stringValue());
  ASSERT_TRUE(data);
  EXPECT_EQ(data->mimeType, "image/png");
  EXPECT_EQ(data->bytes, std::string("\x89PNG\r\n\x1a\n", 8));
}

TEST(MCPValue, DataFromURLRejectsOtherStrings) {
  EXPECT_FALSE(dataFromURL("hello"));
  EXPECT_FALSE(dataFromURL("data:text/plain,hello"));
  EXPECT_FALSE(dataFromURL("data:text/plain;base64,@@@"));
}

TEST(MCPValue, Base64RoundTripsEveryLength) {
  std::string bytes;
  for (int length = 0; length < 40; ++length) {
    EXPECT_EQ(base64Decode(base64Encode(bytes)), bytes) << length;
    bytes.push_back(static_cast<char>(length * 37 + 5));
  }
  EXPECT_EQ(base64Encode("Man"), "TWFu");
  EXPECT_EQ(base64Encode("Ma"), "TWE=");
  EXPECT_EQ(base64Encode("M"), "TQ==");
  EXPECT_EQ(base64Decode("TWE"), "Ma");  // padding left out
  EXPECT_FALSE(base64Decode("T"));
}

TEST(MCPValue, TextThatIsNoJSONParsesToNothing) {
  EXPECT_FALSE(Value::parse("hello"));
  EXPECT_FALSE(Value::parse("{\"a\":"));
  EXPECT_FALSE(Value::parse(""));
  EXPECT_FALSE(Value::parse("{\"a\":\"\xff\"}"));  // not UTF-8
}

TEST(MCPValue, NestingBeyondTheLimitParsesToNothing) {
  std::string deep(100000, '[');
  deep += std::string(100000, ']');
  EXPECT_FALSE(Value::parse(deep));
  std::string fine = std::string(100, '[') + std::string(100, ']');
  EXPECT_TRUE(Value::parse(fine));
  // Brackets inside strings don't count.
  EXPECT_TRUE(Value::parse("\"" + std::string(1000, '[') + "\""));
}

TEST(MCPValue, RoundTripsThroughJSONTree) {
  Value value = Value::parse(R"({"a":[1,2.25,"x",{"b":null}],"c":false})").value();
  EXPECT_EQ(Value::fromJSON(value.toJSON()), value);
  EXPECT_EQ(Value::parse(value.wire()).value(), value);
}

TEST(MCPValue, AccessorsAnswerOnlyForTheirKind) {
  Value text("7");
  EXPECT_FALSE(text.intValue());
  EXPECT_FALSE(text.boolValue());
  EXPECT_EQ(text.find("x"), nullptr);
  EXPECT_EQ(Value(true).boolValue(), true);
  EXPECT_TRUE(Value().isNull());
  EXPECT_TRUE(Value(nullptr).isNull());
}

}  // namespace
}  // namespace vorno::mcp::value_test
