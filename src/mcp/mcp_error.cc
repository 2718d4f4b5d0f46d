#include "mcp/mcp_error.h"

namespace vorno::mcp {

MCPError MCPError::standard(Kind kind, int code, const char* text, std::optional<std::string> detail) {
  std::string message = text;
  if (detail) message += ": " + *detail;
  return MCPError(kind, code, std::move(message), std::move(detail));
}

MCPError MCPError::parseError(std::optional<std::string> detail) {
  return standard(Kind::parseError, -32700, "Parse error: Invalid JSON", std::move(detail));
}
MCPError MCPError::invalidRequest(std::optional<std::string> detail) {
  return standard(Kind::invalidRequest, -32600, "Invalid Request", std::move(detail));
}
MCPError MCPError::methodNotFound(std::optional<std::string> detail) {
  return standard(Kind::methodNotFound, -32601, "Method not found", std::move(detail));
}
MCPError MCPError::invalidParams(std::optional<std::string> detail) {
  return standard(Kind::invalidParams, -32602, "Invalid params", std::move(detail));
}
MCPError MCPError::internalError(std::optional<std::string> detail) {
  return standard(Kind::internalError, -32603, "Internal error", std::move(detail));
}
MCPError MCPError::serverError(int code, std::string message) {
  return MCPError(Kind::serverError, code, std::move(message), std::nullopt);
}
MCPError MCPError::connectionClosed() {
  return MCPError(Kind::connectionClosed, -32000, "Connection closed", std::nullopt);
}
MCPError MCPError::transportError(std::string error) {
  // The underlying text is the detail: a client sees what broke without parsing the message.
  return MCPError(Kind::transportError, -32001, "Transport error: " + error, error);
}

Value MCPError::toValue() const {
  Value::Object object{{"code", Value(code_)}, {"message", Value(message_)}};
  if (detail_) object.emplace("data", Value(Value::Object{{"detail", Value(*detail_)}}));
  return Value(std::move(object));
}

MCPError MCPError::fromValue(const Value& value) {
  const Value* code = value.find("code");
  const Value* message = value.find("message");
  if (!code || !code->intValue() || !message || !message->stringValue()) {
    throw invalidRequest("Invalid error object");
  }
  std::optional<std::string> detail;
  if (const Value* data = value.find("data")) {
    if (const Value* text = data->find("detail"); text && text->stringValue()) detail = *text->stringValue();
  }
  switch (*code->intValue()) {
    case -32700: return parseError(detail);
    case -32600: return invalidRequest(detail);
    case -32601: return methodNotFound(detail);
    case -32602: return invalidParams(detail);
    case -32603: return internalError(detail);
    case -32000: return connectionClosed();
    case -32001: {
      const std::string& text = *message->stringValue();
      constexpr std::string_view prefix = "Transport error: ";
      return transportError(detail ? *detail
                            : text.rfind(prefix, 0) == 0 ? text.substr(prefix.size())
                                                         : text);
    }
    default: return serverError(static_cast<int>(*code->intValue()), *message->stringValue());
  }
}

}  // namespace vorno::mcp
