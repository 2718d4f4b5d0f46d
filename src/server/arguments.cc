#include "server/arguments.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace vorno {

const mcp::Value* Arguments::value(std::string_view key) const {
  auto found = values_.find(std::string(key));
  return found == values_.end() ? nullptr : &found->second;
}

std::optional<std::string> Arguments::string(std::string_view key) const {
  const mcp::Value* given = value(key);
  if (!given || !given->stringValue()) return std::nullopt;
  return *given->stringValue();
}

std::string Arguments::requireString(std::string_view key) const {
  std::optional<std::string> given = string(key);
  if (!given || given->empty()) throw VornoError::invalid(tool_ + ": " + std::string(key) + " is required.");
  return *given;
}

std::optional<bool> Arguments::boolean(std::string_view key) const {
  const mcp::Value* given = value(key);
  return given ? given->boolValue() : std::nullopt;
}

std::optional<int64_t> Arguments::integer(std::string_view key) const {
  const mcp::Value* given = value(key);
  if (!given) return std::nullopt;
  if (auto whole = given->intValue()) return whole;
  if (auto number = given->doubleValue()) {
    // A number beyond the integers' range can't be cut to one; NaN neither.
    if (!std::isfinite(*number) || std::fabs(*number) >= 9.2e18) return std::nullopt;
    return static_cast<int64_t>(*number);
  }
  return std::nullopt;
}

std::optional<double> Arguments::number(std::string_view key) const {
  const mcp::Value* given = value(key);
  if (!given) return std::nullopt;
  if (auto number = given->doubleValue()) return number;
  if (auto whole = given->intValue()) return static_cast<double>(*whole);
  return std::nullopt;
}

std::optional<std::vector<std::string>> Arguments::strings(std::string_view key) const {
  const mcp::Value* given = value(key);
  if (!given || !given->arrayValue()) return std::nullopt;
  std::vector<std::string> result;
  for (const mcp::Value& element : *given->arrayValue())
    if (const std::string* text = element.stringValue()) result.push_back(*text);
  return result;
}

const mcp::Value::Object* Arguments::object(std::string_view key) const {
  const mcp::Value* given = value(key);
  return given ? given->objectValue() : nullptr;
}

std::optional<Json> Arguments::rawJSON(std::string_view key) const {
  const mcp::Value* given = value(key);
  if (!given) return std::nullopt;
  return given->toJSON();
}

VornoError Arguments::invalid(std::string_view key, const std::string& summary) const {
  return VornoError::invalid(tool_ + ": " + std::string(key) + " is invalid: " + summary);
}

}  // namespace vorno
