#include "server/tools.h"
#include "server/tools/render_creative_tool.h"
#include "server/tools/render_overview_tool.h"
#include "server/tools/render_slide_tool.h"
#include "server/tools/render_spread_tool.h"

namespace vorno {

ToolList renderTools() {
  return {std::make_shared<RenderSlideTool>(), std::make_shared<RenderOverviewTool>(),
          std::make_shared<RenderSpreadTool>(), std::make_shared<RenderCreativeTool>()};
}

}  // namespace vorno
