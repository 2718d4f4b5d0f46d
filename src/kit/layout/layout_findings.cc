#include "kit/layout/layout_findings.h"

#include "kit/util/thread_pool.h"

#include <algorithm>

namespace vorno {

std::vector<Issue> layoutFindings(const Project& project, const std::string& root,
                                  const std::vector<Issue>& alreadyFound, const SlideLayoutEngine& engine) {
  std::vector<const StoreTarget*> targets;
  for (const auto& id : project.targets)
    if (const StoreTarget* target = StoreTarget::named(id)) targets.push_back(target);
  const std::vector<std::string> locales =
      project.locales.empty() ? std::vector<std::string>{"en-US"} : project.locales;

  struct Job {
    const Slide* slide;
    const StoreTarget* target;
    const std::string* locale;
  };
  std::vector<Job> jobs;
  for (const auto& slide : project.slides)
    for (const StoreTarget* target : targets)
      for (const auto& locale : locales) jobs.push_back({&slide, target, &locale});

  // Laid in parallel, gathered by index, so the order never depends on timing.
  std::vector<std::vector<Issue>> found(jobs.size());
  ThreadPool::parallelFor(jobs.size(), [&](size_t i) {
    found[i] = engine.layout(project, root, *jobs[i].slide, *jobs[i].target, *jobs[i].locale).issues;
  });

  auto stated = [&](const Issue& issue) {
    return std::any_of(alreadyFound.begin(), alreadyFound.end(), [&](const Issue& other) {
      return other.code == issue.code && other.slide == issue.slide && other.locale == issue.locale;
    });
  };
  std::vector<Issue> issues;
  for (auto& list : found)
    for (auto& issue : list)
      if (!stated(issue) && std::find(issues.begin(), issues.end(), issue) == issues.end())
        issues.push_back(std::move(issue));
  return issues;
}

}  // namespace vorno
