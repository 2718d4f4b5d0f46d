// The target and locale a render runs for when the user names none, chosen here once for both
// doors: the command line and the server ask the same question of a project and must get the same
// answer. A refusal comes back as a value, so that each door words it as its own kind of error.
//
//   TargetChoice choice = defaultTarget(project, requested);
//   if (!choice.target) throw VornoError::invalid(choice.refusal());
#pragma once

#include <optional>
#include <string>

namespace vorno {

struct Project;
struct StoreTarget;

/// The target of a run, or the id that named none.
struct TargetChoice {
  const StoreTarget* target = nullptr;  ///< null exactly when `unknownID` is set
  std::optional<std::string> unknownID;

  /// "Unknown target <id>. Known: <ids>", the sentence a door refuses an unknown id with.
  std::string refusal() const;
};

/// The screenshot slot named `requested`; else the first of the project's targets that the
/// catalogue knows (an unknown one, which lint reports, is passed over as the export passes it);
/// else the 6.9-inch iPhone. Only an unknown `requested` id is refused.
TargetChoice defaultTarget(const Project& project, const std::optional<std::string>& requested);

/// `requested`, else the project's first locale, else "en-US".
std::string runLocale(const Project& project, const std::optional<std::string>& requested);

}  // namespace vorno
