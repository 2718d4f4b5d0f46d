// Linter: the file-level check of a set. It reads the document alone, with no rendering and no
// disk, and says what the stores would refuse or what reads badly, as `Issue`s in a fixed order.
//
//   std::vector<Issue> issues = Linter::lint(project);
//   bool blocked = std::any_of(issues.begin(), issues.end(),
//                              [](const Issue& i) { return i.severity == Issue::Severity::error; });
//
// Nothing here throws or changes the project: a variant that cannot be applied, an unknown target
// or a broken motion is reported and the rest of the check goes on.
#pragma once

#include "kit/model/issue.h"

#include <string>
#include <vector>

namespace vorno {

struct Creative;
struct Motion;
struct Project;
struct StoreTarget;

// Each rule family has a file of its own: lint in linter.cc, verifyAsset in verify_asset.cc,
// creativeIssues and motionIssues in creative_rules.cc, playPolicyIssues in play_policy.cc,
// appStorePolicyIssues in app_store_policy.cc.
struct Linter {
  /// Every project rule, in this order: targets, no slides, variants, test size, slide ids, spread
  /// ids, locales, element targets, spreads, counts and ratio, duo, Google Play claims, creatives,
  /// App Store policy, translations and length. Within a rule, issues follow the project's arrays.
  static std::vector<Issue> lint(const Project& project);

  /// Checks one exported PNG against its slot: readable, of the slot's exact size, and without an
  /// alpha channel (an RGBA or gray-and-alpha colour type, or a transparency chunk).
  static std::vector<Issue> verifyAsset(const std::string& path, const StoreTarget& target);

  /// The rules of App Store creatives: known canvas, own and safe id, motion, translations.
  static std::vector<Issue> creativeIssues(const Project& project);

  /// The rules of a creative's loop: what App Store Connect takes, and whether the loop is calm
  /// and seamless. Every issue names the creative.
  static std::vector<Issue> motionIssues(const Motion& motion, const Creative& creative);

  /// Google Play's ban on ranking and promotional words in slide texts, as errors. Runs only when
  /// the project has an Android target.
  static std::vector<Issue> playPolicyIssues(const Project& project);

  /// Apple's guidance on prices, discounts, web addresses, copyright marks, Apple's own awards and
  /// other platforms, as warnings: on the slides when the project has an iOS target, and on every
  /// creative.
  static std::vector<Issue> appStorePolicyIssues(const Project& project);
};

}  // namespace vorno
