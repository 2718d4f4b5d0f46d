#include "kit/export/export_summary.h"

#include <nlohmann/json.hpp>

namespace vorno {

Json ExportSummary::toJSON() const {
  Json list = Json::array();
  for (const auto& issue : issues) list.push_back(issue.toJSON());
  return Json{{"directory", directory}, {"files", files}, {"removed", removed}, {"issues", list}};
}

Json LooksExport::Look::toJSON() const {
  Json json{{"summary", summary.toJSON()}};
  if (variant) json["variant"] = *variant;
  return json;
}

Json LooksExport::toJSON() const {
  Json list = Json::array();
  for (const auto& look : looks) list.push_back(look.toJSON());
  return Json{{"looks", list}, {"removed", removed}};
}

}  // namespace vorno
