// ToolRegistry: every tool, in the order `tools/list` shows them, and each by name.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/tool.h"

namespace vorno {

struct ToolRegistry {
  /// The 24 names in registry order.
  static const std::vector<std::string>& order();
  /// The tools in that order. Two tools of one name, or a tool whose name isn't in the order,
  /// is a programming error and stops the process.
  static const std::vector<std::shared_ptr<const Tool>>& tools();
  /// The tool of that name; none for another.
  static const Tool* named(std::string_view name);
};

}  // namespace vorno
