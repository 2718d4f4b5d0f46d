#include "mcp/id.h"

#include <cmath>

#include "mcp/mcp_error.h"

namespace vorno::mcp {

std::optional<ID> ID::read(const Value& value) {
  if (const std::string* text = value.stringValue()) return ID(*text);
  if (auto integer = value.intValue()) return ID(*integer);
  if (auto number = value.doubleValue()) {
    // Only whole numbers that an int64 holds exactly.
    if (std::isfinite(*number) && *number == std::trunc(*number) && std::fabs(*number) < 9.2e18) {
      return ID(static_cast<int64_t>(*number));
    }
  }
  return std::nullopt;
}

ID ID::fromValue(const Value& value) {
  if (auto id = read(value)) return *id;
  throw MCPError::invalidRequest("ID must be string or number");
}

Value ID::toValue() const {
  if (auto text = std::get_if<std::string>(&value_)) return Value(*text);
  return Value(std::get<int64_t>(value_));
}

std::string ID::text() const {
  if (auto text = std::get_if<std::string>(&value_)) return *text;
  return std::to_string(std::get<int64_t>(value_));
}

}  // namespace vorno::mcp
