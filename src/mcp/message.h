// The four JSON-RPC 2.0 message forms and a batch of them, with their decoding from a Value.
//
// | Form                 | Keys                                 |
// | Request              | jsonrpc, id, method, params          |
// | Notification         | jsonrpc, method, params              |
// | Response with result | jsonrpc, id, result                  |
// | Response with error  | jsonrpc, id, error                   |
//
// Every decoder throws MCPError::invalidRequest with one of the sentences below when the value is
// not of its form, so the message loop can try the forms in turn and report the last failure.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "mcp/id.h"
#include "mcp/mcp_error.h"
#include "mcp/value.h"

namespace vorno::mcp {

/// The decoding sentences, exactly as they reach a client or the log.
namespace sentences {
inline constexpr const char* invalidVersion = "Invalid JSON-RPC version";
inline constexpr const char* idType = "ID must be string or number";
inline constexpr const char* missingParams = "Missing required params field";
inline constexpr const char* invalidParams = "Invalid params field";
inline constexpr const char* invalidBatchItem = "Invalid batch item format";
inline constexpr const char* invalidMessage = "Invalid message format";
inline constexpr const char* emptyBatch = "Batch array must not be empty";
inline constexpr const char* missingMethod = "Missing method field";
inline constexpr const char* missingOutcome = "Missing result or error field";
inline constexpr const char* notAnObject = "Message must be a JSON object";
}  // namespace sentences

struct Request {
  ID id;
  std::string method;
  std::optional<Value> params;  // absent when the client left it out (or sent null)
  Value toValue() const;
};

struct Notification {
  std::string method;
  std::optional<Value> params;
  Value toValue() const;
};

struct Response {
  ID id;
  std::variant<Value, MCPError> outcome;  // the result, or the error
  Value toValue() const;
  static Response success(ID id, Value result) { return {std::move(id), std::move(result)}; }
  static Response failure(ID id, MCPError error) { return {std::move(id), std::move(error)}; }
};

using BatchItem = std::variant<Request, Notification>;

/// A request: `jsonrpc` "2.0", an `id`, a string `method`.
Request decodeRequest(const Value& message);
/// A notification: `jsonrpc` "2.0", a string `method`, and no `id` (a null id counts as none).
Notification decodeNotification(const Value& message);
/// A response: `jsonrpc` "2.0", an `id`, no `method`, and `result` or an error object.
Response decodeResponse(const Value& message);
/// A non-empty array of requests and notifications. Throws "Batch array must not be empty" for
/// an empty array and "Invalid batch item format" when any item is neither form.
std::vector<BatchItem> decodeBatch(const Value& message);

/// The id of a message when it has one that reads as an id, whatever else is wrong with it.
std::optional<ID> readableID(const Value& message);

/// The parameters a handler receives: an object, or an empty object when they were left out.
/// Throws invalidParams("Missing required params field") when they are required and absent, and
/// invalidParams("Invalid params field") when they are there but no object.
Value checkedParams(const std::optional<Value>& params, bool required);

}  // namespace vorno::mcp
