#include "kit/model/run_defaults.h"

#include "kit/model/project.h"
#include "kit/model/store_target.h"

namespace vorno {

std::string TargetChoice::refusal() const {
  return "Unknown target " + unknownID.value_or("") + ". Known: " + knownTargetIDs(KnownTargets::slots);
}

TargetChoice defaultTarget(const Project& project, const std::optional<std::string>& requested) {
  if (requested) {
    if (const StoreTarget* target = StoreTarget::named(*requested)) return {target, std::nullopt};
    return {nullptr, *requested};
  }
  for (const std::string& id : project.targets)
    if (const StoreTarget* target = StoreTarget::named(id)) return {target, std::nullopt};
  return {&StoreTarget::iphone69(), std::nullopt};
}

std::string runLocale(const Project& project, const std::optional<std::string>& requested) {
  if (requested) return *requested;
  return project.locales.empty() ? "en-US" : project.locales.front();
}

}  // namespace vorno
