#include "server/tool_registry.h"

#include <cstdio>
#include <cstdlib>

#include "server/tools.h"

namespace vorno {

namespace {

[[noreturn]] void programmingError(const std::string& message) {
  std::fprintf(stderr, "vorno: tool registry: %s\n", message.c_str());
  std::abort();
}

struct Registry {
  std::vector<std::shared_ptr<const Tool>> tools;
  std::map<std::string, std::shared_ptr<const Tool>, std::less<>> byName;

  Registry() {
    for (const ToolList& family : {projectTools(), slideTools(), checkTools(), renderTools(), spreadTools(),
                                   creativeTools(), variantTools(), assetTools(), deviceTools()})
      for (const std::shared_ptr<const Tool>& tool : family)
        if (!byName.emplace(tool->name(), tool).second) programmingError("two tools are named " + tool->name());
    for (const std::string& name : ToolRegistry::order())
      if (auto found = byName.find(name); found != byName.end()) tools.push_back(found->second);
    if (tools.size() != byName.size()) programmingError("a tool stands outside the registry's order");
  }
};

const Registry& registry() {
  static const Registry shared;
  return shared;
}

}  // namespace

const std::vector<std::string>& ToolRegistry::order() {
  static const std::vector<std::string> names = {
      "project_create",  "project_get",     "project_update",  "slide_upsert", "slide_delete",
      "slides_reorder",  "render_slide",    "render_overview", "spread_upsert", "spread_delete",
      "render_spread",   "creative_upsert", "creative_delete", "render_creative", "asset_add",
      "devices_list",    "device_boot",     "capture_screenshot", "capture_video", "lint",
      "export",          "variant_upsert",  "variant_delete",  "variant_promote"};
  return names;
}

const std::vector<std::shared_ptr<const Tool>>& ToolRegistry::tools() { return registry().tools; }

const Tool* ToolRegistry::named(std::string_view name) {
  const auto& byName = registry().byName;
  auto found = byName.find(name);
  return found == byName.end() ? nullptr : found->second.get();
}

}  // namespace vorno
