// Schema: the pieces of tools' input schemas, so that every tool describes `project` and
// `variant` in the same words and every object refuses what it doesn't list.
//
//   Schema::object({{"project", Schema::project()},
//                   {"slide", Schema::string("Slide id.")},
//                   {"preview_size", Schema::integer("Longest side ...")}},
//                  {"project", "slide"});
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "mcp/value.h"

namespace vorno {

struct Schema {
  /// The shared `project` property: an absolute path to the package.
  static mcp::Value project();
  /// The shared `variant` property.
  static mcp::Value variant();
  static mcp::Value string(std::string description, std::vector<std::string> allowed = {});
  static mcp::Value strings(std::string description);
  static mcp::Value integer(std::string description);
  static mcp::Value number(std::string description);
  static mcp::Value boolean(std::string description);
  /// An object argument whose fields the tool's description explains.
  static mcp::Value record(std::string description);
  /// `type` object, the properties, `additionalProperties` false, and `required` when not empty.
  static mcp::Value object(mcp::Value::Object properties, std::vector<std::string> required = {});
};

}  // namespace vorno
