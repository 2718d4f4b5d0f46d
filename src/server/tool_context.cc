#include "server/tool_context.h"

#include "kit/devices/device_catalog.h"
#include "kit/image/image_decode.h"
#include "kit/util/paths.h"

namespace vorno {

ToolContext ToolContext::current() {
  // Checks that read an image fill's pixels (text contrast over a photo) read them from the file.
  installImageLoaders();
  const DeviceCatalog& catalog = DeviceCatalog::shared();
  return ToolContext{&catalog, SlideRenderer(catalog), standardizePath(std::filesystem::current_path()), Capturer()};
}

std::filesystem::path ToolContext::resolve(std::string_view path) const {
  std::string expanded = expandingTilde(path);
  if (expanded.starts_with("/")) return standardizePath(expanded);
  return standardizePath(workingDirectory / expanded);
}

}  // namespace vorno
