#include "server/tool_kit.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "kit/image/image.h"
#include "kit/image/images.h"
#include "kit/model/run_defaults.h"
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
  TargetChoice choice = defaultTarget(project, id);
  if (!choice.target) throw VornoError::invalid(choice.refusal());
  return *choice.target;
}

std::string localeArgument(const Arguments& arguments, const Project& project) {
  return runLocale(project, arguments.string("locale"));
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

std::string loweredExtension(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  std::string extension = std::filesystem::path(path).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace vorno
