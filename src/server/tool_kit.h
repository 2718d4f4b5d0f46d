// The small pieces that many tools share: schema findings as issues and as a sentence, the
// target and locale a render is for, the file names of renders, and the JPEG preview.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

#include "kit/model/issue.h"
#include "kit/lint/schema_check.h"
#include "server/content.h"

namespace vorno {

class Arguments;
class Image;
struct Project;
struct StoreTarget;

/// Findings as `schema.unknown` issues, all about `slide` (or none), in order.
std::vector<Issue> schemaIssues(const std::vector<SchemaCheck::Finding>& findings,
                                const std::optional<std::string>& slide);
/// "" for no findings; else " 1 field was ignored (schema.unknown): fix it first." or
/// " <n> fields were ignored (schema.unknown): fix them first.", blank first.
std::string ignoredNote(const std::vector<SchemaCheck::Finding>& findings);
/// Issues as their JSON array.
nlohmann::json issuesJSON(const std::vector<Issue>& issues);
/// Issues about one slide (or creative) id, in order.
std::vector<Issue> issuesAbout(const std::vector<Issue>& issues, const std::string& slide);

/// The server's wording of defaultTarget: the target named `id`, else the project's first known
/// one, else the 6.9-inch iPhone. An unknown id fails (invalid) with "Unknown target <id>. Known:
/// <ids>".
const StoreTarget& resolveTarget(const std::optional<std::string>& id, const Project& project);
/// runLocale of the `locale` argument: it, else the project's first locale, else "en-US".
std::string localeArgument(const Arguments& arguments, const Project& project);

/// "<variant>__" when there is one, then the parts joined by "__", then ".png": the name of a
/// file under renders/.
std::string renderFileName(const std::optional<std::string>& variant, const std::vector<std::string>& parts);

/// The image scaled down to `longestSide` (never up) as a JPEG at 0.86, as an image item.
Content previewImage(const Image& image, int longestSide);

/// Removes the items whose `idOf(item)` is `id`, for the delete tools; false when there was none.
template <class Item, class IDOf>
bool eraseByID(std::vector<Item>& items, const std::string& id, IDOf idOf) {
  return std::erase_if(items, [&](const Item& item) { return idOf(item) == id; }) > 0;
}

/// The extension of a path or file name, lowered, without its dot; a trailing slash doesn't hide it.
std::string loweredExtension(std::string path);

}  // namespace vorno
