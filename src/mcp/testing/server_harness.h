// Test support: a Server on the far end of a PipeClient, started, with helpers for the
// messages tests send most.
#pragma once

#include <string>

#include "mcp/server.h"
#include "mcp/testing/pipe_client.h"

namespace vorno::mcp::testing {

inline ServerOptions testOptions(bool strict = false) {
  ServerOptions options;
  options.instructions = "Be kind.";
  options.capabilities.resources = ServerCapabilities::Resources{};
  options.capabilities.tools = ServerCapabilities::Tools{};
  options.strict = strict;
  return options;
}

struct ServerHarness {
  // The client outlives the server: its destructor closes the pipes the server runs on.
  PipeClient client;
  Server server;

  explicit ServerHarness(ServerOptions options = testOptions()) : server({"vorno", "Vorno", "9.9.9"}, std::move(options)) {}

  void start(InitializeHook hook = {}) { server.start(client.transport(), std::move(hook)); }

  /// What `markAndReadNext` expects back when nothing else was written before it.
  static constexpr const char* markAnswer = R"({"id":"mark","jsonrpc":"2.0","result":{}})";

  /// Sends a ping of the test's own and returns the next line written back: `markAnswer` when
  /// nothing else was written. Whatever the loop wrote for earlier messages comes before it,
  /// because the loop handles messages in order; the answer of a request that is still running
  /// may come later, so a test first waits for those to end (Server::runningRequestCount).
  std::optional<std::string> markAndReadNext() {
    client.sendLine(request("\"mark\"", "ping"));
    return client.readLine();
  }

  /// Sends one line and reads the next line written back.
  Value exchange(const std::string& line) {
    client.sendLine(line);
    return client.readMessage();
  }

  static std::string request(const std::string& id, const std::string& method, const std::string& params = "") {
    std::string text = R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method + "\"";
    if (!params.empty()) text += R"(,"params":)" + params;
    return text + "}";
  }
  static std::string notification(const std::string& method, const std::string& params = "") {
    std::string text = R"({"jsonrpc":"2.0","method":")" + method + "\"";
    if (!params.empty()) text += R"(,"params":)" + params;
    return text + "}";
  }
  static std::string initialize(const std::string& id, const std::string& version = "2025-06-18",
                                const std::string& clientName = "Test Client") {
    return request(id, "initialize",
                   R"({"protocolVersion":")" + version + R"(","capabilities":{},"clientInfo":{"name":")" + clientName +
                       R"(","version":"1.0"}})");
  }
};

/// The error object's fields of a response, for short expectations.
inline int64_t errorCode(const Value& response) {
  const Value* error = response.find("error");
  const Value* code = error ? error->find("code") : nullptr;
  return code && code->intValue() ? *code->intValue() : 0;
}
inline std::string errorMessage(const Value& response) {
  const Value* error = response.find("error");
  const Value* message = error ? error->find("message") : nullptr;
  return message && message->stringValue() ? *message->stringValue() : "";
}

}  // namespace vorno::mcp::testing
