// Variant: another look of the same project, stored as a JSON patch over the base document.
//
// The patch is any JSON value. It is held through `JSONValue`, a small owning box around the JSON
// tree, so that this header (and every header that includes the project) needs only the forward
// declaration of the JSON type; code that reads or builds a patch includes the full JSON header.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <optional>
#include <string>

namespace vorno {

using Json = nlohmann::json;

/// A JSON value with value semantics and deep equality. Default is null.
class JSONValue {
 public:
  JSONValue();
  JSONValue(const Json& value);  // NOLINT: implicit, a patch is assigned from a tree
  JSONValue(Json&& value);       // NOLINT
  JSONValue(const JSONValue& other);
  JSONValue(JSONValue&& other) noexcept;
  JSONValue& operator=(const JSONValue& other);
  JSONValue& operator=(JSONValue&& other) noexcept;
  ~JSONValue();

  const Json& json() const;
  Json& json();

  /// Deep: objects by members, arrays by elements, numbers by value.
  bool operator==(const JSONValue& other) const;

 private:
  // Null only after a move; read as JSON null then.
  std::unique_ptr<Json> value_;
};

struct Variant {
  std::string id;  ///< also a file name component: variants name export folders
  std::optional<std::string> name;
  JSONValue patch;  ///< the look's changes over the base document

  bool operator==(const Variant&) const = default;
};

}  // namespace vorno
