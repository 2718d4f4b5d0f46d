// Value: the JSON tree of the protocol, for tool arguments, schemas and results.
//
// It differs from a plain JSON tree in two ways that clients notice. Integers and doubles are kept
// apart when read, so `"width": 3` and `"width": 3.5` reach a tool as different kinds and the tool
// decides whether to widen or cut. Binary data is a kind of its own and is written as a
// `data:<mime type>;base64,<bytes>` URL, the one form JSON has for bytes.
//
//   Value args = Value::parse(R"({"slide":"intro","size":1200})").value();
//   args.find("size")->intValue();          // 1200
//   Value::Object result{{"isError", false}, {"content", Value::Array{}}};
//   Value(result).wire();                   // {"content":[],"isError":false}
//
// Reading never turns a string into binary data, even one that looks like a data URL: a tool that
// wants bytes asks `dataFromURL`, and every other tool sees the string the client sent.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorno::mcp {

/// Bytes with their media type, written as a data URL.
struct Data {
  std::string mimeType;
  std::string bytes;
  bool operator==(const Data&) const = default;
};

class Value {
 public:
  using Array = std::vector<Value>;
  using Object = std::map<std::string, Value>;
  enum class Kind { null, boolean, integer, number, string, data, array, object };

  Value() = default;
  Value(std::nullptr_t) {}
  Value(bool value) : storage_(value) {}
  Value(int value) : storage_(int64_t{value}) {}
  Value(int64_t value) : storage_(value) {}
  Value(double value) : storage_(value) {}
  Value(std::string value) : storage_(std::move(value)) {}
  Value(const char* value) : storage_(std::string(value)) {}
  Value(Data value) : storage_(std::move(value)) {}
  Value(Array value) : storage_(std::move(value)) {}
  Value(Object value) : storage_(std::move(value)) {}

  Kind kind() const { return static_cast<Kind>(storage_.index()); }
  bool isNull() const { return kind() == Kind::null; }

  /// Each accessor answers only for its own kind: no widening, no cutting, no parsing.
  std::optional<bool> boolValue() const;
  std::optional<int64_t> intValue() const;
  std::optional<double> doubleValue() const;
  const std::string* stringValue() const;
  const Data* dataValue() const;
  const Array* arrayValue() const;
  const Object* objectValue() const;
  Array* arrayValue();
  Object* objectValue();

  /// The member `key` of an object; null for any other kind or a missing key.
  const Value* find(std::string_view key) const;

  /// The JSON tree, data as its URL. Doubles that hold whole numbers stay doubles in the tree.
  nlohmann::json toJSON() const;
  /// From a JSON tree: whole numbers become integers (beyond the range of int64, doubles),
  /// numbers with a fraction or exponent doubles.
  static Value fromJSON(const nlohmann::json& json);

  /// One line with sorted keys and "/" unescaped: the form the protocol writes.
  std::string wire() const;
  /// Reads JSON text; none if it is no JSON at all.
  static std::optional<Value> parse(std::string_view text);

  bool operator==(const Value&) const = default;

 private:
  std::variant<std::monostate, bool, int64_t, double, std::string, Data, Array, Object> storage_;
};

/// Reads JSON text into a plain tree; none if it is no JSON or nests deeper than `maxDepth`
/// arrays and objects (a client's "[[[[..." must not take the stack down with it).
std::optional<nlohmann::json> parseJSON(std::string_view text, int maxDepth = 512);

/// The data URL of `data`: "data:image/png;base64,iVBOR...".
std::string dataURL(const Data& data);
/// The bytes of a base64 data URL; none for any other string.
std::optional<Data> dataFromURL(std::string_view url);

std::string base64Encode(std::string_view bytes);
/// None when `text` holds anything but the base64 alphabet and its padding.
std::optional<std::string> base64Decode(std::string_view text);

}  // namespace vorno::mcp
