#include "kit/model/issue.h"

#include "kit/model/coding.h"

namespace vorno {

std::string Issue::description() const {
  std::string line = "[" + std::string(rawValue(severity)) + "] " + code;
  std::string where;
  for (const auto* part : {&slide, &target, &locale}) {
    if (!*part) continue;
    if (!where.empty()) where += " · ";
    where += **part;
  }
  if (slide || target || locale) line += " (" + where + ")";
  return line + ": " + message;
}

Json Issue::toJSON() const { return Coding<Issue>::write(*this); }

Issue Issue::fromJSON(const Json& json) { return Coding<Issue>::read(Reader(json)); }

Issue Coding<Issue>::read(const Reader& r) {
  r.requireObject();
  Issue issue(r.get<Issue::Severity>("severity"), r.get<std::string>("code"), r.get<std::string>("message"));
  issue.slide = r.getIfPresent<std::string>("slide");
  issue.target = r.getIfPresent<std::string>("target");
  issue.locale = r.getIfPresent<std::string>("locale");
  issue.element = r.getIfPresent<std::string>("element");
  issue.suggestedColor = r.getIfPresent<std::string>("suggestedColor");
  return issue;
}

Json Coding<Issue>::write(const Issue& issue) {
  return ObjectWriter()
      .put("severity", issue.severity)
      .put("code", issue.code)
      .put("message", issue.message)
      .putIfPresent("slide", issue.slide)
      .putIfPresent("target", issue.target)
      .putIfPresent("locale", issue.locale)
      .putIfPresent("element", issue.element)
      .putIfPresent("suggestedColor", issue.suggestedColor)
      .done();
}

}  // namespace vorno
