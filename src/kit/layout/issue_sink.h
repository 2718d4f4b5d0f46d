// IssueSink: collects the issues of one layout call with the slide, target and locale of the
// caller filled in, so each check states only its own words.
#pragma once

#include "kit/model/issue.h"

#include <optional>
#include <string>
#include <vector>

namespace vorno {

class IssueSink {
 public:
  IssueSink(std::string slide, std::string target, std::string locale)
      : slide_(std::move(slide)), target_(std::move(target)), locale_(std::move(locale)) {}

  void add(Issue::Severity severity, std::string code, std::string message,
           std::optional<std::string> element = std::nullopt, std::optional<std::string> suggestedColor = std::nullopt) {
    Issue issue(severity, std::move(code), std::move(message));
    issue.slide = slide_;
    issue.target = target_;
    issue.locale = locale_;
    issue.element = std::move(element);
    issue.suggestedColor = std::move(suggestedColor);
    issues_.push_back(std::move(issue));
  }
  void info(std::string code, std::string message, std::optional<std::string> element = std::nullopt) {
    add(Issue::Severity::info, std::move(code), std::move(message), std::move(element));
  }
  void warning(std::string code, std::string message, std::optional<std::string> element = std::nullopt) {
    add(Issue::Severity::warning, std::move(code), std::move(message), std::move(element));
  }
  void error(std::string code, std::string message, std::optional<std::string> element = std::nullopt) {
    add(Issue::Severity::error, std::move(code), std::move(message), std::move(element));
  }

  /// The same sink, reporting for another slide (a spread element under another member).
  IssueSink forSlide(std::string slide) const { return IssueSink(std::move(slide), target_, locale_); }

  const std::string& slide() const { return slide_; }
  const std::string& locale() const { return locale_; }
  std::vector<Issue>& issues() { return issues_; }
  std::vector<Issue> take() { return std::move(issues_); }

 private:
  std::string slide_, target_, locale_;
  std::vector<Issue> issues_;
};

}  // namespace vorno
