#include "mcp/mcp_error.h"

#include <gtest/gtest.h>

namespace vorno::mcp::mcp_error_test {
namespace {

TEST(MCPError, EveryCaseHasItsCodeAndMessage) {
  EXPECT_EQ(MCPError::parseError().code(), -32700);
  EXPECT_EQ(MCPError::parseError().message(), "Parse error: Invalid JSON");
  EXPECT_EQ(MCPError::parseError("line 3").message(), "Parse error: Invalid JSON: line 3");
  EXPECT_EQ(MCPError::invalidRequest().code(), -32600);
  EXPECT_EQ(MCPError::invalidRequest().message(), "Invalid Request");
  EXPECT_EQ(MCPError::invalidRequest("Server is already initialized").message(),
            "Invalid Request: Server is already initialized");
  EXPECT_EQ(MCPError::methodNotFound().code(), -32601);
  EXPECT_EQ(MCPError::methodNotFound("Unknown method: nope").message(), "Method not found: Unknown method: nope");
  EXPECT_EQ(MCPError::invalidParams().code(), -32602);
  EXPECT_EQ(MCPError::invalidParams("Unknown resource vorno://x").message(),
            "Invalid params: Unknown resource vorno://x");
  EXPECT_EQ(MCPError::internalError().code(), -32603);
  EXPECT_EQ(MCPError::internalError("boom").message(), "Internal error: boom");
  EXPECT_EQ(MCPError::serverError(-32050, "Busy").code(), -32050);
  EXPECT_EQ(MCPError::serverError(-32050, "Busy").message(), "Busy");
  EXPECT_EQ(MCPError::connectionClosed().code(), -32000);
  EXPECT_EQ(MCPError::connectionClosed().message(), "Connection closed");
  EXPECT_EQ(MCPError::transportError("Broken pipe").code(), -32001);
  EXPECT_EQ(MCPError::transportError("Broken pipe").message(), "Transport error: Broken pipe");
}

TEST(MCPError, ErrorObjectCarriesDetailOnlyWhenThereIsOne) {
  EXPECT_EQ(MCPError::methodNotFound("Unknown method: nope").toValue().wire(),
            R"({"code":-32601,"data":{"detail":"Unknown method: nope"},"message":"Method not found: Unknown method: nope"})");
  EXPECT_EQ(MCPError::invalidRequest().toValue().wire(), R"({"code":-32600,"message":"Invalid Request"})");
  EXPECT_EQ(MCPError::serverError(-32050, "Busy").toValue().wire(), R"({"code":-32050,"message":"Busy"})");
  EXPECT_EQ(MCPError::connectionClosed().toValue().wire(), R"({"code":-32000,"message":"Connection closed"})");
}

TEST(MCPError, ErrorObjectsDecodeToTheirCase) {
  for (const MCPError& error :
       {MCPError::parseError(), MCPError::parseError("x"), MCPError::invalidRequest("y"), MCPError::methodNotFound(),
        MCPError::invalidParams("z"), MCPError::internalError("w"), MCPError::serverError(-31000, "Custom"),
        MCPError::connectionClosed(), MCPError::transportError("Broken pipe")}) {
    EXPECT_EQ(MCPError::fromValue(error.toValue()), error) << error.message();
  }
}

TEST(MCPError, ObjectWithoutCodeOrMessageDoesNotDecode) {
  EXPECT_THROW(MCPError::fromValue(Value(Value::Object{{"message", Value("x")}})), MCPError);
  EXPECT_THROW(MCPError::fromValue(Value(Value::Object{{"code", Value(1)}})), MCPError);
  EXPECT_THROW(MCPError::fromValue(Value("oops")), MCPError);
}

}  // namespace
}  // namespace vorno::mcp::mcp_error_test
