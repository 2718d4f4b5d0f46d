#include "server/tools/render_tool_support.h"

#include <algorithm>

#include "kit/image/image.h"
#include "kit/image/images.h"
#include "kit/util/write_paths.h"
#include "server/arguments.h"
#include "server/tool_context.h"

namespace vorno {

RenderLook loadLook(const Arguments& arguments, const ToolContext& context) {
  FileProjectStore store = context.store(arguments.requireString("project"));
  std::optional<std::string> variant = arguments.string("variant");
  Project project = store.load().resolved(variant);
  return RenderLook{std::move(store), std::move(project), std::move(variant)};
}

int previewSize(const Arguments& arguments, int fallback) {
  std::optional<int64_t> size = arguments.integer("preview_size");
  if (!size) return fallback;
  return static_cast<int>(std::clamp<int64_t>(*size, 1, 16384));
}

std::string writeRender(const FileProjectStore& store, const Image& image, const std::string& name) {
  // Never through a link planted in the package: renders/ and the file must be its own.
  const std::filesystem::path relative = std::filesystem::path("renders") / name;
  Images::writeBelow(image, store.root(), relative, Images::ImageType::png);
  return (store.root() / relative).string();
}

std::string joinedIDs(const std::vector<std::string>& ids, const std::string& none) {
  if (ids.empty()) return none;
  std::string joined;
  for (const std::string& id : ids) joined += (joined.empty() ? "" : ", ") + id;
  return joined;
}

}  // namespace vorno
