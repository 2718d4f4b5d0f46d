#include "mcp/message_head.h"

#include <gtest/gtest.h>

#include <string>

namespace vorno::mcp::message_head_test {
namespace {

TEST(MessageHead, IntegerIDBeforeTheParamsIsRead) {
  EXPECT_EQ(idInMessageHead(R"({"jsonrpc":"2.0","id":42,"method":"tools/call","params":{"text":"qqqq)"), ID(42));
}

TEST(MessageHead, StringIDWithEscapesIsRead) {
  EXPECT_EQ(idInMessageHead(R"( { "jsonrpc" : "2.0" , "id" : "a\"b" , "params":{"x":[1,2)"), ID("a\"b"));
}

TEST(MessageHead, IDAfterANestedObjectAtTheTopLevelIsRead) {
  EXPECT_EQ(idInMessageHead(R"({"meta":{"id":1,"deep":[{"id":2}],"s":"}]"},"id":3,"params":{"p":"qq)"), ID(3));
}

TEST(MessageHead, IDInsideTheParamsIsNotTheMessages) {
  EXPECT_EQ(idInMessageHead(R"({"jsonrpc":"2.0","method":"x","params":{"id":9,"text":"qqqq)"), std::nullopt);
}

TEST(MessageHead, IDCutAtTheEndOfTheHeadIsNotGuessed) {
  // "12" may be the start of 1234.
  EXPECT_EQ(idInMessageHead(R"({"jsonrpc":"2.0","id":12)"), std::nullopt);
  EXPECT_EQ(idInMessageHead(R"({"jsonrpc":"2.0","id":"ab)"), std::nullopt);
}

TEST(MessageHead, IDThatIsNeitherStringNorIntegerIsNone) {
  EXPECT_EQ(idInMessageHead(R"({"id":null,"method":"x","params":{"t":"qq)"), std::nullopt);
  EXPECT_EQ(idInMessageHead(R"({"id":{"a":1},"method":"x","params":{"t":"qq)"), std::nullopt);
}

TEST(MessageHead, NotAnObjectHasNoID) {
  EXPECT_EQ(idInMessageHead(R"([{"id":1,"method":"x"},{"id":2)"), std::nullopt);
  EXPECT_EQ(idInMessageHead("qqqqqqqq"), std::nullopt);
  EXPECT_EQ(idInMessageHead(""), std::nullopt);
  EXPECT_EQ(idInMessageHead("{}"), std::nullopt);
}

}  // namespace
}  // namespace vorno::mcp::message_head_test
