// render_slide: one slide drawn at full size to renders/, and a JPEG preview with the report of
// what came out (frame, fitted headline size, issues) for the agent to look at.
#pragma once

#include "server/tool.h"

namespace vorno {

class RenderSlideTool final : public Tool {
 public:
  std::string name() const override { return "render_slide"; }
  std::string description() const override;
  mcp::Value inputSchema() const override;
  ToolAnnotations annotations() const override;
  bool drawsPictures() const override { return true; }
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
                            ToolProgress& progress) const override;
  ToolActivity activity(const Arguments& arguments) const override;
};

}  // namespace vorno
