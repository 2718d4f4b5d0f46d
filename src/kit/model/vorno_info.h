// The program's version, shown by `vorno --version` and announced by the MCP server.
#pragma once

#include <string_view>

namespace vorno::VornoInfo {

inline constexpr std::string_view version = "1.5.0";

}  // namespace vorno::VornoInfo
