// MCPError: a protocol fault, the one failure that becomes a JSON-RPC error object.
//
// The error object has `code`, `message` and, when a detail text exists, `data` with the one key
// `detail`. The five standard cases put the detail behind their fixed text: invalidParams("Unknown
// resource vorno://x") reads "Invalid params: Unknown resource vorno://x".
//
// Tool failures are no MCPError: a tool answers with its sentence and `isError` true. Only an
// unknown method or resource, a malformed message, or the transport itself fails this way.
#pragma once

#include <exception>
#include <optional>
#include <string>

#include "mcp/value.h"

namespace vorno::mcp {

class MCPError : public std::exception {
 public:
  enum class Kind {
    parseError,       // -32700
    invalidRequest,   // -32600
    methodNotFound,   // -32601
    invalidParams,    // -32602
    internalError,    // -32603
    serverError,      // the given code and message
    connectionClosed, // -32000
    transportError,   // -32001
  };

  static MCPError parseError(std::optional<std::string> detail = std::nullopt);
  static MCPError invalidRequest(std::optional<std::string> detail = std::nullopt);
  static MCPError methodNotFound(std::optional<std::string> detail = std::nullopt);
  static MCPError invalidParams(std::optional<std::string> detail = std::nullopt);
  static MCPError internalError(std::optional<std::string> detail = std::nullopt);
  static MCPError serverError(int code, std::string message);
  static MCPError connectionClosed();
  /// `error` is the underlying failure's text, e.g. "Broken pipe".
  static MCPError transportError(std::string error);

  Kind kind() const { return kind_; }
  int code() const { return code_; }
  /// The text of `message`, detail included.
  const std::string& message() const { return message_; }
  const std::optional<std::string>& detail() const { return detail_; }
  const char* what() const noexcept override { return message_.c_str(); }

  /// The error object: {"code":..,"data":{"detail":..},"message":..}.
  Value toValue() const;
  /// The case of an error object read from the wire: the code picks the case, `data.detail`
  /// gives the detail. A code outside the table is a serverError with the message as sent.
  /// Throws invalidRequest("Invalid error object") for anything without an integer code and a
  /// string message.
  static MCPError fromValue(const Value& value);

  bool operator==(const MCPError& other) const {
    return kind_ == other.kind_ && code_ == other.code_ && message_ == other.message_ &&
           detail_ == other.detail_;
  }

 private:
  MCPError(Kind kind, int code, std::string message, std::optional<std::string> detail)
      : kind_(kind), code_(code), message_(std::move(message)), detail_(std::move(detail)) {}
  static MCPError standard(Kind kind, int code, const char* text, std::optional<std::string> detail);

  Kind kind_;
  int code_;
  std::string message_;
  std::optional<std::string> detail_;
};

}  // namespace vorno::mcp
