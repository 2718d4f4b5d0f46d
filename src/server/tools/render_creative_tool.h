// render_creative: one creative (App Store header, search results or universal art) drawn clean
// at full size to renders/, and a preview with its safe area outlined, plus its issues.
#pragma once

#include "server/tool.h"

namespace vorno {

class RenderCreativeTool final : public Tool {
 public:
  std::string name() const override { return "render_creative"; }
  std::string description() const override;
  mcp::Value inputSchema() const override;
  ToolAnnotations annotations() const override;
  bool drawsPictures() const override { return true; }
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
                            ToolProgress& progress) const override;
  ToolActivity activity(const Arguments& arguments) const override;
};

}  // namespace vorno
