// render_spread: a spread's whole board as one picture with markers at the seams, to judge how
// elements flow across screenshots, with the spread's issues.
#pragma once

#include "server/tool.h"

namespace vorno {

class RenderSpreadTool final : public Tool {
 public:
  std::string name() const override { return "render_spread"; }
  std::string description() const override;
  mcp::Value inputSchema() const override;
  ToolAnnotations annotations() const override;
  bool drawsPictures() const override { return true; }
  std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
                            ToolProgress& progress) const override;
  ToolActivity activity(const Arguments& arguments) const override;
};

}  // namespace vorno
