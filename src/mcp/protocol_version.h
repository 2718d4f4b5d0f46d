// The protocol versions this server speaks, and the choice of one for a client.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorno::mcp {

/// "2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05".
const std::vector<std::string>& supportedProtocolVersions();
/// The greatest of the set by plain string comparison: dates written this way sort as text.
const std::string& latestProtocolVersion();
/// The client's version when we speak it, else the latest. An unknown version is no error: the
/// client decides whether it can live with our answer.
std::string negotiateProtocolVersion(std::string_view requested);

}  // namespace vorno::mcp
