// RequestTask: one request in flight, shared by the server (which may cancel it) and the
// handler's context (which sends on its behalf). Internal to the protocol layer.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "mcp/id.h"
#include "mcp/value.h"

namespace vorno::mcp {

class RequestTask {
 public:
  using Send = std::function<void(const Value& message)>;

  RequestTask(ID id, std::string method, Send send)
      : id_(std::move(id)), method_(std::move(method)), send_(std::move(send)) {}

  const ID& id() const { return id_; }
  const std::string& method() const { return method_; }

  /// From now on the request's messages are dropped. One that has already passed the check is
  /// still written whole: cancelling never waits for a write, because a client that is busy
  /// writing to us may not be reading, and would then wait for us in turn. Clients expect this
  /// race; a response may cross a cancellation on the wire anyway.
  void cancel() { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }
  /// Returns false, sending nothing, once cancelled. Transport failures pass through.
  bool sendUnlessCancelled(const Value& message) {
    if (cancelled_) return false;
    send_(message);
    return true;
  }

  // Owned by the server: the thread that runs the request, and whether it has ended.
  std::thread thread;
  std::atomic<bool> done{false};

 private:
  ID id_;
  std::string method_;
  Send send_;
  std::atomic<bool> cancelled_{false};
};

}  // namespace vorno::mcp
