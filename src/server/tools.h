// The tools, by family. Each family lives in tools/<family>_tools.cc; the registry puts all of
// them in the order agents see them.
#pragma once

#include <memory>
#include <vector>

#include "server/tool.h"

namespace vorno {

using ToolList = std::vector<std::shared_ptr<const Tool>>;

ToolList projectTools();   ///< project_create, project_get, project_update
ToolList slideTools();     ///< slide_upsert, slide_delete, slides_reorder
ToolList checkTools();     ///< lint, export
ToolList renderTools();    ///< render_slide, render_overview, render_spread, render_creative
ToolList spreadTools();    ///< spread_upsert, spread_delete
ToolList creativeTools();  ///< creative_upsert, creative_delete
ToolList variantTools();   ///< variant_upsert, variant_delete, variant_promote
ToolList assetTools();     ///< asset_add
ToolList deviceTools();    ///< devices_list, device_boot, capture_screenshot, capture_video

}  // namespace vorno
