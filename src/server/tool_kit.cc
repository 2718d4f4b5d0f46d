#include "server/tool_kit.h"

#include <nlohmann/json.hpp>

#include "kit/image/image.h"
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/util/vorno_error.h"
#include "server/arguments.h"

namespace vorno {

std::vector<Issue> schemaIssues(const std::vector<SchemaCheck::Finding>& findings,
                                const std::optional<std::string>& slide) {
  std::vector<Issue> issues;
  issues.reserve(findings.size());
  for (const SchemaCheck::Finding& finding : findings) issues.push_back(finding.issue(slide));
  return issues;
}

std::string ignoredNote(const std::vector<SchemaCheck::Finding>& findings) {
  if (findings.empty()) return "";
  if (findings.size() == 1) return " 1 field was ignored (schema.unknown): fix it first.";
  return " " + std::to_string(findings.size()) + " fields were ignored (schema.unknown): fix them first.";
}

nlohmann::json issuesJSON(const std::vector<Issue>& issues) {
  nlohmann::json array = nlohmann::json::array();
  for (const Issue& issue : issues) array.push_back(issue.toJSON());
  return array;
}

std::vector<Issue> issuesAbout(const std::vector<Issue>& issues, const std::string& slide) {
  std::vector<Issue> about;
  for (const Issue& issue : issues)
    if (issue.slide == slide) about.push_back(issue);
  return about;
}

const StoreTarget& resolveTarget(const std::optional<std::string>& id, const Project& project) {
  if (!id) {
    if (!project.targets.empty())
      if (const StoreTarget* first = StoreTarget::named(project.targets.front())) return *first;
    return StoreTarget::iphone69();
  }
  if (const StoreTarget* target = StoreTarget::named(*id)) return *target;
  std::string known;
  for (const StoreTarget& target : StoreTarget::all()) known += (known.empty() ? "" : ", ") + target.id;
  throw VornoError::invalid("Unknown target " + *id + ". Known: " + known);
}

std::string localeArgument(const Arguments& arguments, const Project& project) {
  if (auto locale = arguments.string("locale")) return *locale;
  return project.locales.empty() ? "en-US" : project.locales.front();
}

std::string renderFileName(const std::optional<std::string>& variant, const std::vector<std::string>& parts) {
  std::string name = variant ? *variant + "__" : "";
  for (size_t i = 0; i < parts.size(); ++i) name += (i ? "__" : "") + parts[i];
  return name + ".png";
}

Content previewImage(const Image& image, int longestSide) {
  Image preview = Images::downscale(image, longestSide);
  std::vector<uint8_t> bytes = Images::encode(preview, Images::ImageType::jpeg, 0.86);
  return Content::image(std::string(bytes.begin(), bytes.end()), "image/jpeg");
}

}  // namespace vorno
