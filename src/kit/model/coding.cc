#include "kit/model/coding.h"

#include "kit/util/json_output.h"

#include <cmath>

namespace vorno {
namespace {

std::string summarise(DecodingError::Kind kind, const std::string& path, const std::string& detail) {
  std::string text;
  switch (kind) {
    case DecodingError::Kind::typeMismatch: text = "expected " + detail; break;
    case DecodingError::Kind::keyNotFound: text = "missing " + detail; break;
    case DecodingError::Kind::valueNotFound:
    case DecodingError::Kind::dataCorrupted: text = detail; break;
  }
  if (!path.empty()) text += " at " + path;
  return text;
}

// 1-based line and column of a byte offset, for a syntax error a person can find.
std::pair<size_t, size_t> lineAndColumn(std::string_view text, size_t offset) {
  size_t line = 1, column = 1;
  for (size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return {line, column};
}

// Reading and writing walk the tree recursively, so nesting is bounded before parsing: no
// document of ours comes close to this depth, and a hostile one cannot exhaust the stack.
constexpr int maximumDepth = 512;

bool nestsTooDeep(std::string_view text) {
  int depth = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (inString) {
      if (c == '\\') ++i;
      else if (c == '"') inString = false;
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > maximumDepth) return true;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return false;
}

}  // namespace

DecodingError::DecodingError(Kind kind, std::string path, std::string detail)
    : kind_(kind), path_(std::move(path)), detail_(std::move(detail)), summary_(summarise(kind_, path_, detail_)) {}

Json parseJSON(std::string_view text) {
  if (nestsTooDeep(text))
    throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                        "The given data was not valid JSON (nested deeper than " + std::to_string(maximumDepth) +
                            " levels).");
  try {
    return Json::parse(text.begin(), text.end());
  } catch (const Json::out_of_range&) {
    // The parser refuses numbers beyond a double's range (1e400) rather than making them infinite.
    throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                        "The given data was not valid JSON (a number is too large for a double).");
  } catch (const Json::parse_error& error) {
    // nlohmann counts the offending byte from 1; point at it.
    size_t offset = error.byte > 0 ? error.byte - 1 : 0;
    auto [line, column] = lineAndColumn(text, offset);
    std::string where = text.empty() ? "the file is empty"
                                     : "line " + std::to_string(line) + ", column " + std::to_string(column);
    throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                        "The given data was not valid JSON (" + where + ").");
  }
}

void Reader::typeMismatch(std::string_view expected) const {
  throw DecodingError(DecodingError::Kind::typeMismatch, path_, std::string(expected));
}

void Reader::corrupted(std::string description) const {
  throw DecodingError(DecodingError::Kind::dataCorrupted, path_, std::move(description));
}

void Reader::requireNotNull(std::string_view expected) const {
  if (value_->is_null())
    throw DecodingError(DecodingError::Kind::valueNotFound, path_,
                        "Expected " + std::string(expected) + " value but found null instead.");
}

std::string Reader::string() const {
  requireNotNull("String");
  if (!value_->is_string()) typeMismatch("String");
  return value_->get<std::string>();
}

double Reader::number() const {
  requireNotNull("Double");
  if (!value_->is_number()) typeMismatch("Double");
  return value_->get<double>();
}

int64_t Reader::integer() const {
  requireNotNull("Int");
  if (value_->is_number_integer()) return value_->get<int64_t>();
  if (value_->is_number_unsigned()) {
    auto v = value_->get<uint64_t>();
    if (v > static_cast<uint64_t>(INT64_MAX)) corrupted("Parsed JSON number <" + std::to_string(v) + "> does not fit in Int.");
    return static_cast<int64_t>(v);
  }
  if (value_->is_number_float()) {
    double v = value_->get<double>();
    if (std::isfinite(v) && v == std::trunc(v) && std::fabs(v) < 9.2e18) return static_cast<int64_t>(v);
    corrupted("Parsed JSON number <" + formatNumber(v) + "> does not fit in Int.");
  }
  typeMismatch("Int");
}

bool Reader::boolean() const {
  requireNotNull("Bool");
  if (!value_->is_boolean()) typeMismatch("Bool");
  return value_->get<bool>();
}

void Reader::requireObject() const {
  requireNotNull("Dictionary");
  if (!value_->is_object()) typeMismatch("Dictionary");
}

bool Reader::has(std::string_view key) const {
  if (!value_->is_object()) return false;
  auto it = value_->find(key);
  return it != value_->end() && !it->is_null();
}

Reader Reader::operator[](std::string_view key) const {
  requireObject();
  auto it = value_->find(key);
  if (it == value_->end()) throw DecodingError(DecodingError::Kind::keyNotFound, path_, std::string(key));
  return child(*it, key);
}

std::optional<Reader> Reader::optional(std::string_view key) const {
  requireObject();
  auto it = value_->find(key);
  if (it == value_->end() || it->is_null()) return std::nullopt;
  return child(*it, key);
}

std::vector<Reader> Reader::elements() const {
  requireNotNull("Array");
  if (!value_->is_array()) typeMismatch("Array");
  std::vector<Reader> out;
  out.reserve(value_->size());
  for (size_t i = 0; i < value_->size(); ++i) out.push_back(child((*value_)[i], i));
  return out;
}

std::vector<std::pair<std::string, Reader>> Reader::members() const {
  requireObject();
  std::vector<std::pair<std::string, Reader>> out;
  out.reserve(value_->size());
  for (auto it = value_->begin(); it != value_->end(); ++it) out.emplace_back(it.key(), child(it.value(), it.key()));
  return out;
}

Reader Reader::child(const Json& value, std::string_view key) const {
  std::string path = path_;
  path += '.';
  path += key;
  return Reader(value, std::move(path));
}

Reader Reader::child(const Json& value, size_t index) const {
  return Reader(value, path_ + "[" + std::to_string(index) + "]");
}

ObjectWriter& ObjectWriter::merge(const Json& other) {
  for (auto it = other.begin(); it != other.end(); ++it) object_[it.key()] = it.value();
  return *this;
}

int Coding<int>::read(const Reader& r) {
  int64_t v = r.integer();
  if (v < INT32_MIN || v > INT32_MAX) r.corrupted("Parsed JSON number <" + std::to_string(v) + "> does not fit in Int.");
  return static_cast<int>(v);
}

void invalidEnumValue(const Reader& r, std::string_view typeName, const std::string& raw,
                      const std::string_view* names, size_t count) {
  std::string allowed;
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) allowed += i + 1 == count ? " or " : ", ";
    allowed += names[i];
  }
  r.corrupted("Cannot initialize " + std::string(typeName) + " from invalid String value " + raw + ". Use " +
              allowed + ".");
}

}  // namespace vorno
