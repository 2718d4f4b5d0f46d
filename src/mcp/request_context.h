// RequestContext: what a method handler may know and do besides computing its result.
//
// It tells whether the client has cancelled the request (handlers may look; the protocol layer
// withholds the response either way), and sends notifications on the request's behalf. When the
// request carried `_meta.progressToken`, `progress` sends `notifications/progress`:
//
//   for (size_t i = 0; i < files.size(); ++i) {
//     context.progress(i, files.size(), "Exporting " + files[i]);
//     ...
//   }
//
// Nothing is sent for a cancelled request, and progress that doesn't grow is dropped, since a
// client may take a step backwards for a protocol fault. Every operation is safe to call from
// several threads of one handler.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "mcp/id.h"
#include "mcp/value.h"

namespace vorno::mcp {

class RequestTask;

class RequestContext {
 public:
  /// `task` links the context to the request's cancellation and to the transport.
  RequestContext(std::shared_ptr<RequestTask> task, std::optional<Value> progressToken);

  const ID& requestID() const;
  const std::string& method() const;
  bool isCancelled() const;

  /// Sends a notification unless the request was cancelled; returns whether it went out. Throws
  /// MCPError when the transport fails.
  bool notify(const std::string& method, Value params);

  bool hasProgressToken() const { return progressToken_.has_value(); }
  /// Sends `notifications/progress` with the request's token, `progress`, and `total` and
  /// `message` when given. Returns whether it went out: not without a token, not for a cancelled
  /// request, not when `progress` isn't greater than the last sent, not when the transport fails
  /// (which is logged; a tool's work doesn't fail for its progress).
  bool progress(double progress, std::optional<double> total = std::nullopt, std::string message = {});

 private:
  std::shared_ptr<RequestTask> task_;
  std::optional<Value> progressToken_;
  std::mutex progressMutex_;  // orders the check and the send of one progress step
  std::optional<double> lastProgress_;
};

/// The progress token of a request's parameters, `_meta.progressToken`, when it is a string or an
/// integer.
std::optional<Value> progressTokenOf(const Value& params);

}  // namespace vorno::mcp
