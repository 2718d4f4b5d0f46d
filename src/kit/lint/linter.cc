// The project rules of the linter. Each rule is one function that appends to the list, and
// `lint` calls them in their fixed order, so the output is stable from run to run and a reader
// finds the same issue in the same place. The policy, creative and asset rules live in their own
// files beside this one.
#include "kit/lint/linter.h"

#include "kit/lint/variant_check.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/model/variants.h"
#include "kit/store/file_name.h"
#include "kit/model/text_markup.h"
#include "kit/util/format.h"

#include <nlohmann/json.hpp>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {
namespace {

using Severity = Issue::Severity;

Issue issueFor(Severity severity, std::string code, std::string message, const std::string* slide = nullptr) {
  Issue issue(severity, std::move(code), std::move(message));
  if (slide) issue.slide = *slide;
  return issue;
}

std::string unsafeNameAdvice() { return "can't be a file name: use letters, digits, - and _ (no /, no leading dot)."; }

// Rule 1. Canvases are not slots for screenshots, so an id of one is as unknown here as a typo.
std::vector<const StoreTarget*> checkTargets(const Project& project, std::vector<Issue>& issues) {
  std::vector<const StoreTarget*> resolved;
  for (const std::string& id : project.targets) {
    if (const StoreTarget* target = StoreTarget::named(id)) {
      resolved.push_back(target);
      continue;
    }
    issues.push_back(issueFor(Severity::error, "target.unknown",
                              "Unknown target " + id + ". Known: " + knownTargetIDs(KnownTargets::slots) + "."));
  }
  return resolved;
}

// Rules 3 and 4. Applying every look here is what keeps a stale patch from surprising the user at
// export time; the rest of the lint reads the base project whatever the looks do. Building each
// look was most of a lint's time, so a quick check that reads back only what the patch touches
// comes first, and only a look that fails it is applied in full, for the sentence of its error.
void checkVariants(const Project& project, std::vector<Issue>& issues) {
  std::set<std::string> seen;
  std::optional<Json> baseLook;  // written once, and only for a look that fails the check
  for (const Variant& variant : project.variants) {
    if (!seen.insert(variant.id).second)
      issues.push_back(issueFor(Severity::error, "variant.duplicate-id", "Two variants share the id " + variant.id + "."));
    if (VariantCheck::applies(project, variant)) continue;
    try {
      if (!baseLook) baseLook = lookJSON(project);
      (void)applyingPatch(*baseLook, variant);
    } catch (const std::exception& error) {
      issues.push_back(issueFor(Severity::error, "variant.invalid", error.what()));
    }
  }
  if (project.variants.size() >= 4) {
    std::vector<std::string> names;
    for (size_t i = 3; i < project.variants.size(); ++i)
      names.push_back(project.variants[i].name.value_or(project.variants[i].id));
    issues.push_back(issueFor(Severity::info, "variant.store-limit",
                              "App Store and Google Play test at most 3 looks against the original at once. " +
                                  joined(names) + " won't fit in the same test; delete a look or run a second test."));
  }
}

// Rules 5, 6 and 7: every name that becomes part of a path on export.
void checkNames(const Project& project, std::vector<Issue>& issues) {
  std::set<std::string> seen;
  for (const Slide& slide : project.slides)
    if (!seen.insert(slide.id).second)
      issues.push_back(issueFor(Severity::error, "slide.duplicate-id", "Two slides share the id " + slide.id + ".", &slide.id));
  for (const Slide& slide : project.slides)
    if (!FileName::isSafeComponent(slide.id))
      issues.push_back(issueFor(Severity::error, "slide.id", "Slide id \"" + slide.id + "\" " + unsafeNameAdvice(), &slide.id));
  for (const Spread& spread : project.spreads)
    if (!FileName::isSafeComponent(spread.id))
      issues.push_back(issueFor(Severity::error, "spread.id", "Spread id \"" + spread.id + "\" " + unsafeNameAdvice()));
  for (const std::string& locale : project.locales) {
    if (FileName::isSafeComponent(locale)) continue;
    Issue issue(Severity::error, "locale.invalid",
                "Locale \"" + locale + "\" can't be a folder name. Use store codes like en-US or de-DE.");
    issue.locale = locale;
    issues.push_back(std::move(issue));
  }
}

// Rule 8. Canvas ids are fine on an element: one element may be meant for a creative only.
void checkElementTargets(const Project& project, std::vector<Issue>& issues) {
  std::set<std::string> knownSet;
  for (const StoreTarget& target : StoreTarget::all()) knownSet.insert(target.id);
  for (const StoreTarget& target : StoreTarget::canvases()) knownSet.insert(target.id);

  auto check = [&](const std::string& board, const std::vector<SlideElement>& elements) {
    for (const SlideElement& element : elements) {
      if (!element.targets) continue;
      std::vector<std::string> unknown;
      for (const std::string& id : *element.targets)
        if (!knownSet.contains(id)) unknown.push_back(id);
      if (unknown.empty()) continue;
      issues.push_back(issueFor(Severity::warning, "element.targets",
                                element.id + " is limited to targets that don't exist: " + joined(unknown) +
                                    ". Known: " + knownTargetIDs(KnownTargets::slotsAndCanvases) + ".",
                                &board));
    }
  };
  for (const Slide& slide : project.slides) check(slide.id, slide.elements);
  for (const Spread& spread : project.spreads) check(spread.id, spread.elements);
  for (const Creative& creative : project.creatives) check(creative.id(), creative.slide.elements);
}

// Rule 9. A spread draws one picture across adjacent slides, so its members must exist, be at
// least two, stand next to each other in order, and belong to no other spread.
void checkSpreads(const Project& project, std::vector<Issue>& issues) {
  std::map<std::string, size_t> indexOf;
  for (size_t i = 0; i < project.slides.size(); ++i) indexOf.try_emplace(project.slides[i].id, i);

  std::map<std::string, size_t> claimedBy;  // slide id to the index of the spread that holds it
  for (size_t s = 0; s < project.spreads.size(); ++s) {
    const Spread& spread = project.spreads[s];
    std::vector<std::string> missing;
    std::vector<size_t> indices;
    for (const std::string& member : spread.slides) {
      auto found = indexOf.find(member);
      if (found == indexOf.end())
        missing.push_back(member);
      else
        indices.push_back(found->second);
    }
    if (!missing.empty())
      issues.push_back(issueFor(Severity::error, "spread.missing",
                                "Spread " + spread.id + " lists slides that don't exist: " + joined(missing) + ".",
                                &spread.slides.front()));
    if (spread.slides.size() < 2)
      issues.push_back(issueFor(Severity::error, "spread.size", "Spread " + spread.id + " needs at least two slides.", &spread.id));
    for (size_t i = 1; i < indices.size(); ++i) {
      if (indices[i] == indices[i - 1] + 1) continue;
      issues.push_back(issueFor(Severity::error, "spread.order",
                                "Spread " + spread.id +
                                    " slides must be next to each other, in order. Reorder the slides or the spread.",
                                &spread.id));
      break;
    }
    for (const std::string& member : spread.slides) {
      auto [claim, isNew] = claimedBy.try_emplace(member, s);
      if (isNew || claim->second == s) continue;
      issues.push_back(issueFor(Severity::error, "spread.overlap",
                                "Slide " + member + " is in two spreads (" + project.spreads[claim->second].id + " and " +
                                    spread.id + ").",
                                &member));
    }
  }
}

// Rule 10. No slides at all is rule 2's finding; saying "needs at least 2" as well adds nothing.
void checkCounts(const Project& project, const std::vector<const StoreTarget*>& targets, std::vector<Issue>& issues) {
  const int count = static_cast<int>(project.slides.size());
  for (const StoreTarget* target : targets) {
    auto add = [&](std::string code, std::string message) {
      Issue issue(Severity::error, std::move(code), std::move(message));
      issue.target = target->id;
      issues.push_back(std::move(issue));
    };
    if (count > target->maxCount)
      add("count.max", target->name + " allows at most " + std::to_string(target->maxCount) +
                           " screenshots; the project has " + std::to_string(count) + ".");
    if (count != 0 && count < target->minCount)
      add("count.min", target->name + " needs at least " + std::to_string(target->minCount) + " screenshot" +
                           (target->minCount == 1 ? "" : "s") + "; the project has " + std::to_string(count) + ".");
    if (target->platform == Platform::android) {
      const double longSide = std::max(target->width, target->height);
      const double shortSide = std::min(target->width, target->height);
      if (longSide / shortSide > 2)
        add("play.ratio", "Google Play rejects images whose long side exceeds twice the short side.");
    }
  }
}

// Rule 11.
void checkDuo(const std::vector<const StoreTarget*>& targets, std::vector<Issue>& issues) {
  auto has = [&](auto predicate) { return std::any_of(targets.begin(), targets.end(), predicate); };
  bool iPhone = has([](const StoreTarget* t) { return t->platform == Platform::ios && t->family == DeviceFamily::phone; });
  bool foldable = has([](const StoreTarget* t) { return t->family == DeviceFamily::foldable; });
  if (iPhone && !foldable)
    issues.push_back(issueFor(
        Severity::info, "target.duo",
        "From April 2027 App Store Connect requires iPhone Duo screenshots for every submission. Add the target "
        "ios.iphone-duo (2007×2853): slides render on it as they are, and a capture from the iPhone Duo simulator shows "
        "the Duo itself."));
}

// Words are runs between Unicode white space, so an ideographic space separates words as a blank
// does, and the markup's asterisks, already removed, count for nothing.
int wordCount(const std::string& text) {
  icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
  int words = 0;
  bool inWord = false;
  for (int32_t i = 0; i < unicode.length(); i = unicode.moveIndex32(i, 1)) {
    bool space = u_isUWhiteSpace(unicode.char32At(i));
    if (!space && !inWord) ++words;
    inWord = !space;
  }
  return words;
}

// Rule 15. Only the first locale's headline is measured: translations run longer by nature, and
// the first locale is the one the author writes.
void checkHeadlines(const Project& project, std::vector<Issue>& issues) {
  const std::string measured = project.locales.empty() ? std::string("en-US") : project.locales.front();
  for (const Slide& slide : project.slides) {
    for (const std::string& locale : project.locales) {
      if (slide.headline.has(locale)) continue;
      Issue issue(Severity::warning, "text.missing-locale", "Headline has no " + locale + " text.");
      issue.slide = slide.id;
      issue.locale = locale;
      issues.push_back(std::move(issue));
    }
    std::optional<std::string> headline = slide.headline.resolve(measured);
    if (!headline) continue;
    int words = wordCount(TextMarkup::plain(*headline));
    if (words > 8)
      issues.push_back(issueFor(Severity::info, "text.long",
                                "Headline has " + std::to_string(words) + " words; 5–7 reads best at thumbnail size.",
                                &slide.id));
  }
}

template <class Rule>
void append(std::vector<Issue>& issues, Rule rule) {
  std::vector<Issue> found = rule();
  issues.insert(issues.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
}

}  // namespace

std::vector<Issue> Linter::lint(const Project& project) {
  std::vector<Issue> issues;
  std::vector<const StoreTarget*> targets = checkTargets(project, issues);
  if (project.slides.empty()) issues.push_back(issueFor(Severity::error, "slides.empty", "The project has no slides."));
  checkVariants(project, issues);
  checkNames(project, issues);
  checkElementTargets(project, issues);
  checkSpreads(project, issues);
  checkCounts(project, targets, issues);
  checkDuo(targets, issues);
  append(issues, [&] { return playPolicyIssues(project); });
  append(issues, [&] { return creativeIssues(project); });
  append(issues, [&] { return appStorePolicyIssues(project); });
  checkHeadlines(project, issues);
  return issues;
}

}  // namespace vorno
