#include "kit/util/json_output.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>

#include "kit/util/utf8.h"

namespace vorno {
namespace {

// Strings hold bytes, and some come from the disk (file names, the working directory), where any
// byte but "/" and NUL may stand; each byte that is no part of valid UTF-8 is written as U+FFFD,
// so every document and message is valid JSON text whatever names the disk holds.
void appendString(std::string& out, const std::string& raw) {
  std::string mended;
  const bool valid = isValidUTF8(raw);
  if (!valid) mended = validUTF8(raw);
  const std::string& text = valid ? raw : mended;
  out += '"';
  for (unsigned char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      default:
        if (c < 0x20) {
          static const char* hex = "0123456789abcdef";
          out += "\\u00";
          out += hex[c >> 4];
          out += hex[c & 15];
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

void newline(std::string& out, int indent) {
  out += '\n';
  out.append(static_cast<size_t>(indent) * 2, ' ');
}

// `pretty` false gives the wire form; `indent` counts levels of two blanks.
void append(std::string& out, const Json& value, bool pretty, int indent) {
  switch (value.type()) {
    case Json::value_t::null: out += "null"; break;
    case Json::value_t::boolean: out += value.get<bool>() ? "true" : "false"; break;
    case Json::value_t::number_integer: out += std::to_string(value.get<int64_t>()); break;
    case Json::value_t::number_unsigned: out += std::to_string(value.get<uint64_t>()); break;
    case Json::value_t::number_float: out += formatNumber(value.get<double>()); break;
    case Json::value_t::string: appendString(out, value.get_ref<const std::string&>()); break;
    case Json::value_t::array: {
      if (value.empty()) { out += "[]"; break; }
      out += '[';
      bool first = true;
      for (const auto& element : value) {
        if (!first) out += ',';
        first = false;
        if (pretty) newline(out, indent + 1);
        append(out, element, pretty, indent + 1);
      }
      if (pretty) newline(out, indent);
      out += ']';
      break;
    }
    case Json::value_t::object: {
      if (value.empty()) { out += "{}"; break; }
      out += '{';
      bool first = true;
      for (const auto& [key, element] : value.items()) {
        if (!first) out += ',';
        first = false;
        if (pretty) newline(out, indent + 1);
        appendString(out, key);
        out += pretty ? ": " : ":";
        append(out, element, pretty, indent + 1);
      }
      if (pretty) newline(out, indent);
      out += '}';
      break;
    }
    case Json::value_t::binary:
    case Json::value_t::discarded: out += "null"; break;
  }
}

}  // namespace

std::string formatNumber(double value) {
  if (!std::isfinite(value)) return "null";  // JSON has no infinity; never produced by readers
  // Whole numbers below 2^53 are exact as integers; print them without a fraction.
  if (value == std::trunc(value) && std::fabs(value) < 9007199254740992.0) {
    if (value == 0) return "0";  // also turns -0 into 0
    return std::to_string(static_cast<int64_t>(value));
  }
  char buffer[32];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string documentJSON(const Json& value) {
  std::string out;
  append(out, value, true, 0);
  out += '\n';
  return out;
}

std::string wireJSON(const Json& value) {
  std::string out;
  append(out, value, false, 0);
  return out;
}

}  // namespace vorno
