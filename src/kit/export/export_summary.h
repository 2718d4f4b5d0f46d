// ExportSummary and LooksExport: what an export did, for the command line and the agent.
#pragma once

#include "kit/model/issue.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace vorno {

using Json = nlohmann::json;

struct ExportSummary {
  std::string directory;             ///< the export folder, absolute
  std::vector<std::string> files;    ///< absolute paths written, in job order, then the videos
  std::vector<std::string> removed;  ///< absolute paths the replacement removed
  std::vector<Issue> issues;

  bool operator==(const ExportSummary&) const = default;
  /// Every key always present.
  Json toJSON() const;
};

struct LooksExport {
  struct Look {
    std::optional<std::string> variant;  ///< absent for the base
    ExportSummary summary;

    bool operator==(const Look&) const = default;
    Json toJSON() const;
  };

  std::vector<Look> looks;
  std::vector<std::string> removed;  ///< absolute paths of looks that are gone

  bool operator==(const LooksExport&) const = default;
  Json toJSON() const;
};

}  // namespace vorno
