#include "mcp/request_context.h"

#include <cmath>

#include "mcp/logger.h"
#include "mcp/request_task.h"

namespace vorno::mcp {

RequestContext::RequestContext(std::shared_ptr<RequestTask> task, std::optional<Value> progressToken)
    : task_(std::move(task)), progressToken_(std::move(progressToken)) {}

const ID& RequestContext::requestID() const { return task_->id(); }
const std::string& RequestContext::method() const { return task_->method(); }
bool RequestContext::isCancelled() const { return task_->isCancelled(); }

bool RequestContext::notify(const std::string& method, Value params) {
  Value::Object message{{"jsonrpc", Value("2.0")}, {"method", Value(method)}};
  if (!params.isNull()) message.emplace("params", std::move(params));
  return task_->sendUnlessCancelled(Value(std::move(message)));
}

bool RequestContext::progress(double progress, std::optional<double> total, std::string message) {
  if (!progressToken_ || !std::isfinite(progress)) return false;
  std::lock_guard lock(progressMutex_);
  if (lastProgress_ && progress <= *lastProgress_) return false;
  Value::Object params{{"progressToken", *progressToken_}, {"progress", Value(progress)}};
  if (total && std::isfinite(*total)) params.emplace("total", Value(*total));
  if (!message.empty()) params.emplace("message", Value(std::move(message)));
  try {
    if (!notify("notifications/progress", Value(std::move(params)))) return false;
  } catch (const std::exception& error) {
    Logger("mcp.server").warning(std::string("Failed to send progress: ") + error.what());
    return false;
  }
  lastProgress_ = progress;
  return true;
}

std::optional<Value> progressTokenOf(const Value& params) {
  const Value* meta = params.find("_meta");
  const Value* token = meta ? meta->find("progressToken") : nullptr;
  if (!token) return std::nullopt;
  if (token->stringValue() || token->intValue()) return *token;
  // A whole number written with a fraction is still the client's integer token.
  if (auto id = ID::read(*token)) return id->toValue();
  return std::nullopt;
}

}  // namespace vorno::mcp
