// ID: the id of a JSON-RPC request, a string or an integer on the wire and nothing else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "mcp/value.h"

namespace vorno::mcp {

class ID {
 public:
  ID(std::string value) : value_(std::move(value)) {}
  ID(const char* value) : value_(std::string(value)) {}
  ID(int64_t value) : value_(value) {}
  ID(int value) : value_(int64_t{value}) {}

  /// The id of a message's `id` member. A string or a whole number is an id (a client that
  /// writes 7.0 means 7); anything else throws MCPError::invalidRequest("ID must be string or
  /// number").
  static ID fromValue(const Value& value);
  /// Like fromValue, but none instead of the failure.
  static std::optional<ID> read(const Value& value);

  Value toValue() const;
  /// For messages: a string as it stands, an integer in decimal.
  std::string text() const;
  bool isString() const { return std::holds_alternative<std::string>(value_); }

  auto operator<=>(const ID&) const = default;
  bool operator==(const ID&) const = default;

 private:
  std::variant<std::string, int64_t> value_;
};

}  // namespace vorno::mcp
