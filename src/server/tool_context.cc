#include "server/tool_context.h"

#include "kit/devices/device_catalog.h"
#include "kit/image/image_decode.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

namespace vorno {

ToolContext ToolContext::current() {
  // Checks that read an image fill's pixels (text contrast over a photo) read them from the file.
  installImageLoaders();
  const DeviceCatalog& catalog = DeviceCatalog::shared();
  return ToolContext{&catalog, SlideRenderer(catalog), standardizePath(std::filesystem::current_path()), Capturer()};
}

std::filesystem::path ToolContext::resolve(std::string_view path) const {
  // JSON carries a NUL ("\u0000") where no file name can: the system would cut the path there and
  // act on its first part, making the folder "a" for "a\u0000b.vorno".
  if (path.find('\0') != std::string_view::npos) {
    std::string shown;
    for (char c : path) shown += c == '\0' ? std::string("\\0") : std::string(1, c);
    throw VornoError::invalid("The path " + shown +
                              " holds a NUL character, which no file name can hold: give the path without it.");
  }
  std::string expanded = expandingTilde(path);
  if (expanded.starts_with("/")) return standardizePath(expanded);
  return standardizePath(workingDirectory / expanded);
}

}  // namespace vorno
