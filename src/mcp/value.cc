#include "mcp/value.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

#include "kit/util/json_output.h"

namespace vorno::mcp {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int sextet(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

}  // namespace

std::optional<bool> Value::boolValue() const {
  if (auto v = std::get_if<bool>(&storage_)) return *v;
  return std::nullopt;
}

std::optional<int64_t> Value::intValue() const {
  if (auto v = std::get_if<int64_t>(&storage_)) return *v;
  return std::nullopt;
}

std::optional<double> Value::doubleValue() const {
  if (auto v = std::get_if<double>(&storage_)) return *v;
  return std::nullopt;
}

const std::string* Value::stringValue() const { return std::get_if<std::string>(&storage_); }
const Data* Value::dataValue() const { return std::get_if<Data>(&storage_); }
const Value::Array* Value::arrayValue() const { return std::get_if<Array>(&storage_); }
const Value::Object* Value::objectValue() const { return std::get_if<Object>(&storage_); }
Value::Array* Value::arrayValue() { return std::get_if<Array>(&storage_); }
Value::Object* Value::objectValue() { return std::get_if<Object>(&storage_); }

const Value* Value::find(std::string_view key) const {
  const Object* object = objectValue();
  if (!object) return nullptr;
  auto it = object->find(std::string(key));
  return it == object->end() ? nullptr : &it->second;
}

nlohmann::json Value::toJSON() const {
  switch (kind()) {
    case Kind::null: return nullptr;
    case Kind::boolean: return std::get<bool>(storage_);
    case Kind::integer: return std::get<int64_t>(storage_);
    case Kind::number: return std::get<double>(storage_);
    case Kind::string: return std::get<std::string>(storage_);
    case Kind::data: return dataURL(std::get<Data>(storage_));
    case Kind::array: {
      nlohmann::json array = nlohmann::json::array();
      for (const Value& element : std::get<Array>(storage_)) array.push_back(element.toJSON());
      return array;
    }
    case Kind::object: {
      nlohmann::json object = nlohmann::json::object();
      for (const auto& [key, element] : std::get<Object>(storage_)) object[key] = element.toJSON();
      return object;
    }
  }
  return nullptr;
}

Value Value::fromJSON(const nlohmann::json& json) {
  using T = nlohmann::json::value_t;
  switch (json.type()) {
    case T::null:
    case T::discarded: return Value();
    case T::boolean: return Value(json.get<bool>());
    case T::number_integer: return Value(json.get<int64_t>());
    case T::number_unsigned: {
      uint64_t value = json.get<uint64_t>();
      if (value <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
        return Value(static_cast<int64_t>(value));
      }
      return Value(static_cast<double>(value));
    }
    case T::number_float: return Value(json.get<double>());
    case T::string: return Value(json.get<std::string>());
    case T::array: {
      Array array;
      array.reserve(json.size());
      for (const auto& element : json) array.push_back(fromJSON(element));
      return Value(std::move(array));
    }
    case T::object: {
      Object object;
      for (const auto& [key, element] : json.items()) object.emplace(key, fromJSON(element));
      return Value(std::move(object));
    }
    case T::binary: {
      const auto& bytes = json.get_binary();
      return Value(Data{"application/octet-stream", std::string(bytes.begin(), bytes.end())});
    }
  }
  return Value();
}

std::string Value::wire() const { return wireJSON(toJSON()); }

std::optional<Value> Value::parse(std::string_view text) {
  auto json = parseJSON(text);
  if (!json) return std::nullopt;
  return fromJSON(*json);
}

std::optional<nlohmann::json> parseJSON(std::string_view text, int maxDepth) {
  // One pass over the bytes counts the nesting outside strings, so that the tree (and the
  // recursive conversions of Value) is never built for a document that is too deep.
  int depth = 0;
  bool inString = false, escaped = false;
  for (char c : text) {
    if (inString) {
      if (escaped) escaped = false;
      else if (c == '\\') escaped = true;
      else if (c == '"') inString = false;
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > maxDepth) return std::nullopt;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  nlohmann::json json = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) return std::nullopt;
  return json;
}

std::string dataURL(const Data& data) {
  return "data:" + data.mimeType + ";base64," + base64Encode(data.bytes);
}

std::optional<Data> dataFromURL(std::string_view url) {
  constexpr std::string_view prefix = "data:";
  constexpr std::string_view marker = ";base64,";
  if (url.substr(0, prefix.size()) != prefix) return std::nullopt;
  size_t at = url.find(marker);
  if (at == std::string_view::npos) return std::nullopt;
  auto bytes = base64Decode(url.substr(at + marker.size()));
  if (!bytes) return std::nullopt;
  return Data{std::string(url.substr(prefix.size(), at - prefix.size())), std::move(*bytes)};
}

std::string base64Encode(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    uint32_t n = (uint8_t(bytes[i]) << 16) | (uint8_t(bytes[i + 1]) << 8) | uint8_t(bytes[i + 2]);
    out += kAlphabet[n >> 18];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += kAlphabet[n & 63];
  }
  size_t rest = bytes.size() - i;
  if (rest > 0) {
    uint32_t n = uint8_t(bytes[i]) << 16;
    if (rest == 2) n |= uint8_t(bytes[i + 1]) << 8;
    out += kAlphabet[n >> 18];
    out += kAlphabet[(n >> 12) & 63];
    out += rest == 2 ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::optional<std::string> base64Decode(std::string_view text) {
  // Padding is optional on reading: some clients strip it.
  while (!text.empty() && text.back() == '=') text.remove_suffix(1);
  if (text.size() % 4 == 1) return std::nullopt;
  std::string out;
  out.reserve(text.size() * 3 / 4);
  uint32_t buffer = 0;
  int bits = 0;
  for (char c : text) {
    int value = sextet(c);
    if (value < 0) return std::nullopt;
    buffer = (buffer << 6) | uint32_t(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((buffer >> bits) & 0xFF);
    }
  }
  return out;
}

}  // namespace vorno::mcp
