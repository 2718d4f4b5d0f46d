// `vorno lint`: schema findings on the raw file first, then the project's own rules, then the
// layout's findings on every slide, target and locale.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "kit/layout/layout_findings.h"
#include "kit/model/issue.h"
#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "kit/util/paths.h"

#include <algorithm>
#include <iostream>

namespace vorno::cli {

int runLint(const ParsedArguments& args) {
  FileProjectStore store(standardizePath(*args.string("project")));

  // Findings come from the raw JSON, before decoding, so a misspelled key is reported even
  // though the reader ignores it. They are only shown if the package loads.
  std::vector<Issue> issues;
  for (const auto& finding : SchemaCheck::projectFile(store.project())) issues.push_back(finding.issue(std::nullopt));

  Project project = store.load();
  const std::vector<Issue> rules = Linter::lint(project);
  issues.insert(issues.end(), rules.begin(), rules.end());
  // Then what the renders of every slide, target and locale would report.
  for (auto& issue : layoutFindings(project, store.root().string(), rules)) issues.push_back(std::move(issue));

  if (issues.empty()) {
    std::cout << "No issues.\n";
    return 0;
  }
  for (const auto& issue : issues) std::cout << issue.description() << "\n";
  bool failed = std::any_of(issues.begin(), issues.end(),
                            [](const Issue& issue) { return issue.severity == Issue::Severity::error; });
  return failed ? 1 : 0;
}

}  // namespace vorno::cli
