// Server: the MCP message loop and method dispatch on a Transport. It answers; it never asks.
//
//   Server server({"vorno", "Vorno", "1.5.0"}, {.instructions = "...", .capabilities = ...});
//   server.withMethodHandler("tools/list", [](const Value& params, RequestContext&) { ... });
//   server.start(StdioTransport::standardStreams(), [](const ClientInfo& client, const Value&) {});
//   server.waitUntilCompleted();   // returns at the end of standard input
//   std::_Exit(0);                 // requests still running are abandoned, not awaited
//
// How it works. One loop thread takes messages from the transport in order of arrival. A request
// gets a thread of its own and the loop reads on at once, so requests run concurrently with each
// other and with the loop; a long render never holds up a `ping` or a cancellation. A batch and a
// notification are handled on the loop thread, in order, before the next message is read. Every
// request is remembered under its id while it runs, so `notifications/cancelled` can find it:
// cancelling withholds its response (handlers run to their end unless they look at
// RequestContext::isCancelled).
//
// A message that is not JSON, or not a message, is logged and answered only if an id can be read
// from it; the loop goes on after every failure and ends only with the input. `initialize` and
// `ping` are always handled by the server itself.
//
// Destroying the server stops it and waits for the threads of running requests; a program that
// must not wait ends its process instead (as above), which is what a host expects when it closes
// our input.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "mcp/logger.h"
#include "mcp/message.h"
#include "mcp/request_context.h"
#include "mcp/transport.h"
#include "mcp/value.h"

namespace vorno::mcp {

class RequestTask;

/// Who we are, sent as `serverInfo`. An empty title is left out.
struct ServerInfo {
  std::string name;
  std::string title;
  std::string version;
  Value toValue() const;
};

/// Who the client said it is in `initialize`.
struct ClientInfo {
  std::string name;
  std::string version;
  bool operator==(const ClientInfo&) const = default;
};

/// The capabilities we announce. A section that is absent is left out.
struct ServerCapabilities {
  struct Resources {
    bool subscribe = false;
    bool listChanged = false;
  };
  struct Tools {
    bool listChanged = false;
  };
  std::optional<Resources> resources;
  std::optional<Tools> tools;
  Value toValue() const;
};

struct ServerOptions {
  std::string instructions;  // left out of the `initialize` answer when empty
  ServerCapabilities capabilities;
  /// When set, every method but `initialize` and `ping` fails with invalidRequest("Server is
  /// not initialized") until `initialize` succeeded. Off for vorno: clients that skip the
  /// handshake still get their tool calls answered.
  bool strict = false;
  /// Requests whose handlers run at once. While this many run, the loop reads no further line,
  /// so a client that sends faster than calls finish, or stops reading the answers, is held back
  /// by the pipe: no thread and no memory per waiting request.
  size_t maxRequestsInFlight = 8;
};

/// A handler receives the request's parameters (an empty object when there were none) and
/// returns the result, or throws: an MCPError goes out as it stands, anything else as
/// internalError with its text.
using MethodHandler = std::function<Value(const Value& params, RequestContext& context)>;
/// Failures of a notification handler are logged; a notification has nobody to answer.
using NotificationHandler = std::function<void(const Value& params)>;
/// Called with the client's info and capabilities before `initialize` is answered. If it throws,
/// `initialize` fails and may be sent again.
using InitializeHook = std::function<void(const ClientInfo& client, const Value& capabilities)>;

enum class Params { optional, required };

class Server {
 public:
  Server(ServerInfo info, ServerOptions options);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Registers (or replaces) the handler of `method`. With Params::required a request without
  /// params fails with invalidParams("Missing required params field").
  Server& withMethodHandler(const std::string& method, MethodHandler handler,
                            Params params = Params::optional);
  Server& withNotificationHandler(const std::string& method, NotificationHandler handler);

  /// Connects the transport and starts the message loop. Throws MCPError when the transport
  /// can't connect.
  void start(std::shared_ptr<Transport> transport, InitializeHook initializeHook = {});
  /// Returns when the message loop has ended: the input reached its end, or `stop`.
  void waitUntilCompleted();
  /// Like waitUntilCompleted, giving up after `timeout`; returns whether the loop has ended.
  bool waitUntilCompleted(std::chrono::milliseconds timeout);
  /// Withholds the responses of all running requests, disconnects the transport and ends the
  /// loop. Running handlers are not waited for here. Safe to repeat.
  void stop();

  bool isInitialized() const;
  /// The version agreed in `initialize`, none before.
  std::optional<std::string> protocolVersion() const;
  ClientInfo clientInfo() const;
  Value clientCapabilities() const;
  /// Requests whose handlers are running now (batch items not counted).
  size_t runningRequestCount() const;

 private:
  struct MethodEntry {
    MethodHandler handler;
    Params params;
  };

  void messageLoop();
  void processMessage(const std::string& line);
  void refuseOverlongMessage(const Received& message);
  void handleBatch(const Value& message);
  void startRequest(Request request);
  void runRequest(const std::shared_ptr<RequestTask>& task, const Request& request);
  Response respond(const Request& request, const std::shared_ptr<RequestTask>& task);
  void handleNotification(const Notification& notification);
  void handleCancelled(const Value& params);
  void sendErrorResponse(const ID& id, const MCPError& error);
  void reapFinishedRequests();

  Value initialize(const Value& params);

  ServerInfo info_;
  ServerOptions options_;
  Logger logger_{"mcp.server"};
  std::shared_ptr<Transport> transport_;
  InitializeHook initializeHook_;

  mutable std::mutex handlersMutex_;
  std::map<std::string, MethodEntry> methods_;
  std::map<std::string, NotificationHandler> notifications_;

  mutable std::mutex stateMutex_;  // the client's session below, and the loop's end
  bool initialized_ = false;
  bool initializing_ = false;
  std::optional<std::string> protocolVersion_;
  ClientInfo clientInfo_;
  Value clientCapabilities_;
  bool loopEnded_ = false;
  std::condition_variable loopEndedSignal_;
  bool stopped_ = false;

  mutable std::mutex tasksMutex_;
  std::map<ID, std::shared_ptr<RequestTask>> running_;  // by id, while the handler runs
  std::list<std::shared_ptr<RequestTask>> tasks_;       // every thread not yet joined
  size_t inFlight_ = 0;                                 // handlers running, whatever their ids
  bool stopping_ = false;                               // wakes a loop waiting for a free slot
  std::condition_variable slotFreed_;

  std::thread loop_;
};

}  // namespace vorno::mcp
