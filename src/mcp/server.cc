#include "mcp/server.h"

#include "kit/util/atomic_write.h"
#include "mcp/mcp_error.h"
#include "mcp/message_head.h"
#include "mcp/protocol_version.h"
#include "mcp/request_task.h"

#include <algorithm>

namespace vorno::mcp {
namespace {

std::string textOf(const Value* value) {
  return value && value->stringValue() ? *value->stringValue() : std::string();
}

}  // namespace

Value ServerInfo::toValue() const {
  Value::Object object{{"name", Value(name)}, {"version", Value(version)}};
  if (!title.empty()) object.emplace("title", Value(title));
  return Value(std::move(object));
}

Value ServerCapabilities::toValue() const {
  Value::Object object;
  if (resources) {
    object.emplace("resources", Value(Value::Object{{"subscribe", Value(resources->subscribe)},
                                                    {"listChanged", Value(resources->listChanged)}}));
  }
  if (tools) object.emplace("tools", Value(Value::Object{{"listChanged", Value(tools->listChanged)}}));
  return Value(std::move(object));
}

Server::Server(ServerInfo info, ServerOptions options) : info_(std::move(info)), options_(std::move(options)) {
  withMethodHandler("initialize", [this](const Value& params, RequestContext&) { return initialize(params); },
                    Params::required);
  withMethodHandler("ping", [](const Value&, RequestContext&) { return Value(Value::Object{}); });
}

Server::~Server() {
  stop();
  // Only the loop started threads, and it has ended: the list no longer changes.
  for (auto& task : tasks_) {
    if (task->thread.joinable()) task->thread.join();
  }
}

Server& Server::withMethodHandler(const std::string& method, MethodHandler handler, Params params) {
  std::lock_guard lock(handlersMutex_);
  methods_[method] = MethodEntry{std::move(handler), params};
  return *this;
}

Server& Server::withNotificationHandler(const std::string& method, NotificationHandler handler) {
  std::lock_guard lock(handlersMutex_);
  notifications_[method] = std::move(handler);
  return *this;
}

void Server::start(std::shared_ptr<Transport> transport, InitializeHook initializeHook) {
  if (loop_.joinable()) throw MCPError::internalError("Server is already started");
  transport_ = std::move(transport);
  initializeHook_ = std::move(initializeHook);
  transport_->connect();
  logger_.info("Server started name=" + info_.name + " version=" + info_.version);
  loop_ = std::thread([this] { messageLoop(); });
}

void Server::waitUntilCompleted() {
  std::unique_lock lock(stateMutex_);
  loopEndedSignal_.wait(lock, [&] { return loopEnded_; });
}

bool Server::waitUntilCompleted(std::chrono::milliseconds timeout) {
  std::unique_lock lock(stateMutex_);
  return loopEndedSignal_.wait_for(lock, timeout, [&] { return loopEnded_; });
}

void Server::stop() {
  {
    std::lock_guard lock(stateMutex_);
    if (stopped_) return;
    stopped_ = true;
  }
  {
    std::lock_guard lock(tasksMutex_);
    stopping_ = true;
    for (auto& [id, task] : running_) task->cancel();
  }
  slotFreed_.notify_all();
  if (transport_) transport_->disconnect();
  // A handler of a batch item runs on the loop thread; stopping from there lets the loop end by
  // itself instead of waiting for itself.
  if (loop_.joinable() && loop_.get_id() != std::this_thread::get_id()) loop_.join();
  // A request that the loop started between the cancellation above and its end.
  std::lock_guard lock(tasksMutex_);
  for (auto& [id, task] : running_) task->cancel();
}

bool Server::isInitialized() const {
  std::lock_guard lock(stateMutex_);
  return initialized_;
}

std::optional<std::string> Server::protocolVersion() const {
  std::lock_guard lock(stateMutex_);
  return protocolVersion_;
}

ClientInfo Server::clientInfo() const {
  std::lock_guard lock(stateMutex_);
  return clientInfo_;
}

Value Server::clientCapabilities() const {
  std::lock_guard lock(stateMutex_);
  return clientCapabilities_;
}

size_t Server::runningRequestCount() const {
  std::lock_guard lock(tasksMutex_);
  return running_.size();
}

// The loop --------------------------------------------------------------------------------------

void Server::messageLoop() {
  try {
    while (auto received = transport_->receive()) {
      {
        std::lock_guard lock(stateMutex_);
        if (stopped_) break;
      }
      if (received->isWhole()) {
        processMessage(received->text);
      } else {
        refuseOverlongMessage(*received);
      }
      reapFinishedRequests();
    }
  } catch (const std::exception& error) {
    logger_.error(std::string("Fatal error in message handling loop: ") + error.what());
  } catch (...) {
    logger_.error("Fatal error in message handling loop");
  }
  {
    std::lock_guard lock(stateMutex_);
    loopEnded_ = true;
  }
  loopEndedSignal_.notify_all();
}

void Server::processMessage(const std::string& line) {
  std::optional<Value> message = Value::parse(line);
  try {
    if (!message) throw MCPError::parseError();
    if (message->arrayValue()) {
      handleBatch(*message);
      return;
    }
    // Which form to try is decided by the keys, so that a well-formed message decodes once; a
    // message that fails its form is reported, like one of no form, as "Invalid message format",
    // and the log keeps the reason.
    const bool hasMethod = message->find("method") != nullptr;
    const Value* id = message->find("id");
    const bool hasID = id && !id->isNull();
    try {
      if (!hasMethod && (message->find("result") || message->find("error"))) {
        Response response = decodeResponse(*message);
        logger_.warning("Received response for unknown request id=" + response.id.text());
        return;
      }
      if (hasMethod && hasID) {
        startRequest(decodeRequest(*message));
        return;
      }
      if (hasMethod) {
        handleNotification(decodeNotification(*message));
        return;
      }
    } catch (const MCPError& failure) {
      if (failure.kind() != MCPError::Kind::invalidRequest) throw;
      logger_.debug("Message of no known form: " + failure.message());
    }
    throw MCPError::invalidRequest(sentences::invalidMessage);
  } catch (const std::exception& failure) {
    auto* protocolFailure = dynamic_cast<const MCPError*>(&failure);
    logger_.error(std::string("Error processing message: ") + failure.what());
    if (!message) return;
    if (auto id = readableID(*message)) {
      sendErrorResponse(*id, protocolFailure ? *protocolFailure : MCPError::internalError(failure.what()));
    }
  }
}

// The line was never gathered, only its first bytes: enough to answer under its id when the id
// comes before the bulk, as clients write it.
void Server::refuseOverlongMessage(const Received& message) {
  MCPError failure = MCPError::invalidRequest(
      "A message may be at most " + std::to_string(kMaxMessageBytes) + " bytes; this one has " +
      std::to_string(message.length) +
      ". vorno's tools take paths, not contents: write large content to a file and pass its path");
  logger_.error(std::string("Error processing message: ") + failure.what());
  if (auto id = idInMessageHead(message.text)) sendErrorResponse(*id, failure);
}

void Server::handleBatch(const Value& message) {
  std::vector<BatchItem> items;
  try {
    items = decodeBatch(message);
  } catch (const MCPError& failure) {
    if (failure.detail() != sentences::emptyBatch) throw;
    // Nothing in an empty batch has an id to answer under; a fresh one keeps the answer a
    // well-formed response.
    logger_.error(std::string("Error processing message: ") + failure.what());
    sendErrorResponse(ID(randomUUID()), failure);
    return;
  }
  // The items run one after the other on this thread; their answers go out together, in order.
  Value::Array responses;
  for (BatchItem& item : items) {
    if (auto* request = std::get_if<Request>(&item)) {
      // Notifications a handler sends go out at once; its response waits for the others.
      auto task = std::make_shared<RequestTask>(request->id, request->method,
                                                [this](const Value& sent) { transport_->send(sent.wire()); });
      responses.push_back(respond(*request, task).toValue());
    } else {
      try {
        handleNotification(std::get<Notification>(item));
      } catch (const std::exception& failure) {
        logger_.warning(std::string("Error processing message: ") + failure.what());
      }
    }
  }
  if (responses.empty()) return;
  {
    std::lock_guard lock(stateMutex_);
    if (stopped_) return;
  }
  try {
    transport_->send(Value(std::move(responses)).wire());
  } catch (const std::exception& failure) {
    logger_.error(std::string("Failed to send batch response: ") + failure.what());
  }
}

// Requests ---------------------------------------------------------------------------------------

void Server::startRequest(Request request) {
  auto task = std::make_shared<RequestTask>(request.id, request.method, [this](const Value& message) {
    transport_->send(message.wire());
  });
  {
    // Backpressure: the next line stays in the pipe until a running request ends.
    std::unique_lock lock(tasksMutex_);
    const size_t cap = std::max<size_t>(options_.maxRequestsInFlight, 1);
    if (inFlight_ >= cap && !stopping_)
      logger_.info("Reading on when one of the " + std::to_string(cap) + " running requests ends");
    slotFreed_.wait(lock, [&] { return inFlight_ < cap || stopping_; });
    ++inFlight_;
    if (running_.count(request.id)) {
      logger_.warning("Request id " + request.id.text() + " is already running; a cancellation reaches the newer");
    }
    running_[request.id] = task;
    tasks_.push_back(task);
  }
  try {
    task->thread = std::thread([this, task, request = std::move(request)] { runRequest(task, request); });
  } catch (...) {
    {
      std::lock_guard lock(tasksMutex_);
      if (auto it = running_.find(task->id()); it != running_.end() && it->second == task) running_.erase(it);
      tasks_.remove(task);
      --inFlight_;
    }
    slotFreed_.notify_all();
    throw;  // answered as internalError under the request's id
  }
}

void Server::runRequest(const std::shared_ptr<RequestTask>& task, const Request& request) {
  Response response = respond(request, task);
  const bool isError = std::holds_alternative<MCPError>(response.outcome);
  try {
    if (!task->sendUnlessCancelled(response.toValue())) {
      logger_.debug("Response withheld for cancelled request id=" + request.id.text());
    }
  } catch (const std::exception& failure) {
    if (isError) {
      logger_.error(std::string("Failed to send error response: ") + failure.what());
    } else {
      logger_.error(std::string("Failed to send response: ") + failure.what());
      try {
        task->sendUnlessCancelled(Response::failure(request.id, MCPError::internalError(failure.what())).toValue());
      } catch (const std::exception& second) {
        logger_.error(std::string("Failed to send error response: ") + second.what());
      }
    }
  }
  {
    std::lock_guard lock(tasksMutex_);
    if (auto it = running_.find(request.id); it != running_.end() && it->second == task) running_.erase(it);
    --inFlight_;
  }
  slotFreed_.notify_all();
  task->done = true;
}

Response Server::respond(const Request& request, const std::shared_ptr<RequestTask>& task) {
  try {
    MethodEntry entry;
    {
      std::lock_guard lock(handlersMutex_);
      auto it = methods_.find(request.method);
      if (it == methods_.end()) throw MCPError::methodNotFound("Unknown method: " + request.method);
      entry = it->second;
    }
    if (options_.strict && request.method != "initialize" && request.method != "ping" && !isInitialized()) {
      throw MCPError::invalidRequest("Server is not initialized");
    }
    Value params = checkedParams(request.params, entry.params == Params::required);
    RequestContext context(task, progressTokenOf(params));
    return Response::success(request.id, entry.handler(params, context));
  } catch (const MCPError& failure) {
    return Response::failure(request.id, failure);
  } catch (const std::exception& failure) {
    return Response::failure(request.id, MCPError::internalError(failure.what()));
  } catch (...) {
    return Response::failure(request.id, MCPError::internalError("Unknown failure"));
  }
}

void Server::sendErrorResponse(const ID& id, const MCPError& error) {
  try {
    transport_->send(Response::failure(id, error).toValue().wire());
  } catch (const std::exception& failure) {
    logger_.error(std::string("Failed to send error response: ") + failure.what());
  }
}

void Server::reapFinishedRequests() {
  std::list<std::shared_ptr<RequestTask>> finished;
  {
    std::lock_guard lock(tasksMutex_);
    for (auto it = tasks_.begin(); it != tasks_.end();) {
      if ((*it)->done) {
        finished.splice(finished.end(), tasks_, it++);
      } else {
        ++it;
      }
    }
  }
  for (auto& task : finished) {
    if (task->thread.joinable()) task->thread.join();
  }
}

// Notifications ---------------------------------------------------------------------------------

void Server::handleNotification(const Notification& notification) {
  Value params = notification.params ? *notification.params : Value(Value::Object{});
  if (notification.method == "notifications/cancelled") {
    handleCancelled(params);
    return;
  }
  NotificationHandler handler;
  {
    std::lock_guard lock(handlersMutex_);
    auto it = notifications_.find(notification.method);
    if (it != notifications_.end()) handler = it->second;
  }
  if (!handler) {
    logger_.debug("Ignored notification " + notification.method);
    return;
  }
  handler(params);
}

void Server::handleCancelled(const Value& params) {
  const Value* requestID = params.find("requestId");
  std::optional<ID> id = requestID ? ID::read(*requestID) : std::nullopt;
  if (!id) {
    logger_.warning("Received cancellation notification with no requestId (violates spec MUST)");
    return;
  }
  std::shared_ptr<RequestTask> task;
  {
    std::lock_guard lock(tasksMutex_);
    if (auto it = running_.find(*id); it != running_.end()) task = it->second;
  }
  if (!task) {
    logger_.debug("Cancellation notification for unknown or completed request id=" + id->text());
    return;
  }
  std::string reason = textOf(params.find("reason"));
  logger_.info("Cancelled request id=" + id->text() + (reason.empty() ? "" : " reason=" + reason));
  task->cancel();
}

// initialize ------------------------------------------------------------------------------------

Value Server::initialize(const Value& params) {
  const Value* requested = params.find("protocolVersion");
  if (!requested || !requested->stringValue()) throw MCPError::invalidParams(sentences::invalidParams);
  const Value* client = params.find("clientInfo");
  ClientInfo info{textOf(client ? client->find("name") : nullptr), textOf(client ? client->find("version") : nullptr)};
  const Value* capabilitiesValue = params.find("capabilities");
  Value capabilities = capabilitiesValue ? *capabilitiesValue : Value(Value::Object{});

  // Claimed before the hook runs, so two initialize requests running at once can't both pass.
  {
    std::lock_guard lock(stateMutex_);
    if (initialized_ || initializing_) throw MCPError::invalidRequest("Server is already initialized");
    initializing_ = true;
  }
  try {
    if (initializeHook_) initializeHook_(info, capabilities);
  } catch (...) {
    std::lock_guard lock(stateMutex_);
    initializing_ = false;
    throw;
  }
  std::string version = negotiateProtocolVersion(*requested->stringValue());
  {
    std::lock_guard lock(stateMutex_);
    clientInfo_ = info;
    clientCapabilities_ = capabilities;
    protocolVersion_ = version;
    initialized_ = true;
    initializing_ = false;
  }
  Value::Object result{{"protocolVersion", Value(version)},
                       {"capabilities", options_.capabilities.toValue()},
                       {"serverInfo", info_.toValue()}};
  if (!options_.instructions.empty()) result.emplace("instructions", Value(options_.instructions));
  return Value(std::move(result));
}

}  // namespace vorno::mcp
