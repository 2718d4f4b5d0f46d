#include "server/guide.h"

namespace vorno {

mcp::Value GuideResource::toValue() const {
  return mcp::Value::Object{{"name", name}, {"uri", uri}, {"description", description}, {"mimeType", mimeType}};
}

const std::vector<GuideResource>& Guide::resources() {
  static const std::vector<GuideResource> list = {
      {"Vorno design guide", "vorno://guide",
       "How to design a screenshot set that converts, and the store rules Vorno enforces."},
      {"Store targets", "vorno://targets", "Every export target with exact sizes and limits."},
      {"Recipes", "vorno://recipes",
       "Copy-ready JSON for components (rating, badge, award, review, stat, checklist, notification, callout), "
       "panoramas, devices across screenshots, two-phone slides and logo lockups."}};
  return list;
}

std::optional<std::string> Guide::text(std::string_view uri) {
  if (uri == "vorno://targets") return targets();
  return std::nullopt;
}

std::string Guide::targets() { return "# Store targets\n"; }

}  // namespace vorno
