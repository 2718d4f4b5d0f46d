// VornoServer: the door for agents. It puts the tools and the guide resources on the MCP server
// and turns every `tools/call` into one tool's call, logged around it in the package's activity
// log, so that a person watching the package sees what the agent does.
//
//   VornoServer::runStdio();   // `vorno mcp`: serves standard input and output until they end
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "mcp/server.h"
#include "mcp/value.h"
#include "server/tool_context.h"

namespace vorno {

struct VornoServer {
  /// The instructions sent in `initialize`, word for word.
  static const std::string& instructions();

  /// The server with its four handlers (tools/list, tools/call, resources/list, resources/read),
  /// not yet started. `context` must outlive it.
  static std::unique_ptr<mcp::Server> make(const ToolContext& context);

  /// How long calls still running may go on once the input has ended.
  static constexpr std::chrono::seconds endOfInputGrace{10};

  /// Serves standard input and output until the input ends and the calls running then have
  /// answered (or endOfInputGrace has passed); the caller ends the process.
  static void runStdio();

  /// `tools/call`: the tool's answer as `{"content":[...],"isError":...}`. Never throws: an
  /// unknown tool and every failure of a tool become an `isError` answer. `request` may be null.
  static mcp::Value callTool(const mcp::Value& params, const ToolContext& context, mcp::RequestContext* request);
  /// `tools/list`.
  static mcp::Value listTools();
  /// `resources/list`.
  static mcp::Value listResources();
  /// `resources/read`; an unknown uri throws MCPError invalidParams "Unknown resource <uri>".
  static mcp::Value readResource(const mcp::Value& params);
};

}  // namespace vorno
