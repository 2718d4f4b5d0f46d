// What the render tools share: the package and look a call is about, the preview size an agent
// asks for, and the file under renders/ that keeps the full-size picture.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "server/tool.h"

namespace vorno {

class Arguments;
class Image;
struct ToolContext;

/// One loaded package as the look a call asked for.
struct RenderLook {
  FileProjectStore store;
  Project project;                     ///< resolved: the base, or the variant's look
  std::optional<std::string> variant;  ///< the `variant` argument when it is a string
};

/// Requires `project`, loads the package and resolves the look of `variant`. This comes first in
/// every render tool, so that a bad variant is reported before anything else is looked at.
RenderLook loadLook(const Arguments& arguments, const ToolContext& context);

/// The `preview_size` argument, else `fallback`, kept within 1...16384 so that no value an
/// agent types can ask for an empty or a giant preview.
int previewSize(const Arguments& arguments, int fallback);

/// Writes `image` as a PNG named `name` under the package's renders/ (made when missing),
/// replacing an earlier file of that name; returns the file's path.
std::string writeRender(const FileProjectStore& store, const Image& image, const std::string& name);

/// The ids joined by ", ", or `none` when there are none.
std::string joinedIDs(const std::vector<std::string>& ids, const std::string& none = "");

}  // namespace vorno
