// RequestTask: one request in flight, shared by the server (which may cancel it) and the
// handler's context (which sends on its behalf). Internal to the protocol layer.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
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

  /// After this returns no message of the request goes out, and none is half-way out: the
  /// check and the write of `sendUnlessCancelled` happen under the same lock.
  void cancel() {
    std::lock_guard lock(mutex_);
    cancelled_ = true;
  }
  bool isCancelled() const {
    std::lock_guard lock(mutex_);
    return cancelled_;
  }
  /// Returns false, sending nothing, once cancelled. Transport failures pass through.
  bool sendUnlessCancelled(const Value& message) {
    std::lock_guard lock(mutex_);
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
  mutable std::mutex mutex_;
  bool cancelled_ = false;
};

}  // namespace vorno::mcp
