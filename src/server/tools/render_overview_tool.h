// render_overview: every slide of one target and locale side by side, like the store page, with
// the story outline and the issues, for one look or for the base and every variant.
#pragma once

#include "server/tool.h"

namespace vorno {

class RenderOverviewTool final : public Tool {
 public:
  std::string name() const override { return "render_overview"; }
  std::string description() const override;
  mcp::Value inputSchema() const override;
  ToolAnnotations annotations() const override;
  bool drawsPictures() const override { return true; }
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
                            ToolProgress& progress) const override;
  ToolActivity activity(const Arguments& arguments) const override;
};

}  // namespace vorno
