#include "mcp/message.h"

#include <gtest/gtest.h>

#include "mcp/protocol_version.h"

namespace vorno::mcp::message_test {
namespace {

Value parsed(const char* text) { return Value::parse(text).value(); }

std::string failureOf(auto&& decode) {
  try {
    decode();
  } catch (const MCPError& error) {
    return error.detail().value_or(error.message());
  }
  return "no failure";
}

TEST(MCPMessage, RequestDecodesWithStringOrIntegerID) {
  Request request = decodeRequest(parsed(R"({"jsonrpc":"2.0","id":"a1","method":"tools/list"})"));
  EXPECT_EQ(request.id, ID("a1"));
  EXPECT_EQ(request.method, "tools/list");
  EXPECT_FALSE(request.params);
  Request numbered = decodeRequest(parsed(R"({"jsonrpc":"2.0","id":42,"method":"ping","params":{"x":1}})"));
  EXPECT_EQ(numbered.id, ID(42));
  EXPECT_EQ(numbered.params->find("x")->intValue(), 1);
}

TEST(MCPMessage, WholeNumberWrittenAsDoubleIsAnIntegerID) {
  EXPECT_EQ(decodeRequest(parsed(R"({"jsonrpc":"2.0","id":7.0,"method":"ping"})")).id, ID(7));
}

TEST(MCPMessage, IDOfAnyOtherKindFails) {
  for (const char* id : {"1.5", "null", "true", "[1]", "{}"}) {
    std::string text = std::string(R"({"jsonrpc":"2.0","method":"ping","id":)") + id + "}";
    EXPECT_EQ(failureOf([&] { decodeRequest(parsed(text.c_str())); }), "ID must be string or number") << id;
  }
}

TEST(MCPMessage, OtherJSONRPCVersionFails) {
  EXPECT_EQ(failureOf([] { decodeRequest(parsed(R"({"jsonrpc":"1.0","id":1,"method":"ping"})")); }),
            "Invalid JSON-RPC version");
  EXPECT_EQ(failureOf([] { decodeNotification(parsed(R"({"method":"x"})")); }), "Invalid JSON-RPC version");
  EXPECT_EQ(failureOf([] { decodeResponse(parsed(R"({"jsonrpc":2.0,"id":1,"result":{}})")); }),
            "Invalid JSON-RPC version");
}

TEST(MCPMessage, NotificationHasNoID) {
  Notification notification = decodeNotification(parsed(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"));
  EXPECT_EQ(notification.method, "notifications/initialized");
  EXPECT_NO_THROW(decodeNotification(parsed(R"({"jsonrpc":"2.0","id":null,"method":"x"})")));
  EXPECT_EQ(failureOf([] { decodeNotification(parsed(R"({"jsonrpc":"2.0","id":[],"method":"x"})")); }),
            "ID must be string or number");
}

TEST(MCPMessage, ResponseDecodesResultOrError) {
  Response result = decodeResponse(parsed(R"({"jsonrpc":"2.0","id":3,"result":{"ok":true}})"));
  EXPECT_EQ(result.id, ID(3));
  EXPECT_TRUE(std::get<Value>(result.outcome).find("ok")->boolValue());
  Response error = decodeResponse(
      parsed(R"({"jsonrpc":"2.0","id":"x","error":{"code":-32601,"message":"Method not found"}})"));
  EXPECT_EQ(std::get<MCPError>(error.outcome).kind(), MCPError::Kind::methodNotFound);
  EXPECT_EQ(failureOf([] { decodeResponse(parsed(R"({"jsonrpc":"2.0","id":3})")); }), "Missing result or error field");
}

TEST(MCPMessage, ResponsesAreWrittenWithSortedKeys) {
  EXPECT_EQ(Response::success(ID(1), Value(Value::Object{})).toValue().wire(), R"({"id":1,"jsonrpc":"2.0","result":{}})");
  EXPECT_EQ(Response::failure(ID("a"), MCPError::methodNotFound("Unknown method: nope")).toValue().wire(),
            R"({"error":{"code":-32601,"data":{"detail":"Unknown method: nope"},"message":"Method not found: Unknown method: nope"},"id":"a","jsonrpc":"2.0"})");
  EXPECT_EQ((Notification{"notifications/progress", Value(Value::Object{{"progress", Value(1.0)}})}).toValue().wire(),
            R"({"jsonrpc":"2.0","method":"notifications/progress","params":{"progress":1}})");
}

TEST(MCPMessage, BatchHoldsRequestsAndNotificationsInOrder) {
  auto items = decodeBatch(parsed(R"([{"jsonrpc":"2.0","id":1,"method":"a"},{"jsonrpc":"2.0","method":"b"}])"));
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(std::get<Request>(items[0]).method, "a");
  EXPECT_EQ(std::get<Notification>(items[1]).method, "b");
}

TEST(MCPMessage, BatchItemOfNoFormFailsTheBatch) {
  EXPECT_EQ(failureOf([] { decodeBatch(parsed(R"([{"jsonrpc":"2.0","id":1,"method":"a"},{"jsonrpc":"2.0","id":2,"result":{}}])")); }),
            "Invalid batch item format");
  EXPECT_EQ(failureOf([] { decodeBatch(parsed(R"([1])")); }), "Invalid batch item format");
  EXPECT_EQ(failureOf([] { decodeBatch(parsed(R"([])")); }), "Batch array must not be empty");
}

TEST(MCPMessage, ReadableIDSurvivesOtherFaults) {
  EXPECT_EQ(readableID(parsed(R"({"jsonrpc":"1.0","id":5,"method":"x"})")), ID(5));
  EXPECT_FALSE(readableID(parsed(R"({"id":{"a":1}})")));
  EXPECT_FALSE(readableID(parsed(R"([1,2])")));
}

TEST(MCPMessage, MissingRequiredParamsAndUnreadableParamsFail) {
  EXPECT_EQ(failureOf([] { checkedParams(std::nullopt, true); }), "Missing required params field");
  EXPECT_EQ(failureOf([] { checkedParams(Value(5), false); }), "Invalid params field");
  EXPECT_EQ(failureOf([] { checkedParams(Value(Value::Array{}), true); }), "Invalid params field");
  EXPECT_EQ(checkedParams(std::nullopt, false), Value(Value::Object{}));
  try {
    checkedParams(std::nullopt, true);
  } catch (const MCPError& error) {
    EXPECT_EQ(error.code(), -32602);
  }
}

TEST(MCPProtocolVersion, KnownVersionIsKeptAndUnknownGetsLatest) {
  EXPECT_EQ(latestProtocolVersion(), "2025-11-25");
  for (const char* version : {"2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05"}) {
    EXPECT_EQ(negotiateProtocolVersion(version), version);
  }
  EXPECT_EQ(negotiateProtocolVersion("2099-01-01"), "2025-11-25");
  EXPECT_EQ(negotiateProtocolVersion(""), "2025-11-25");
}

}  // namespace
}  // namespace vorno::mcp::message_test
