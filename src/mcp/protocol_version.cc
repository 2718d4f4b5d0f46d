#include "mcp/protocol_version.h"

#include <algorithm>

namespace vorno::mcp {

const std::vector<std::string>& supportedProtocolVersions() {
  static const std::vector<std::string> versions{"2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05"};
  return versions;
}

const std::string& latestProtocolVersion() {
  static const std::string latest = *std::max_element(supportedProtocolVersions().begin(),
                                                      supportedProtocolVersions().end());
  return latest;
}

std::string negotiateProtocolVersion(std::string_view requested) {
  const auto& versions = supportedProtocolVersions();
  if (std::find(versions.begin(), versions.end(), requested) != versions.end()) return std::string(requested);
  return latestProtocolVersion();
}

}  // namespace vorno::mcp
