// Google Play's ban on ranking and promotional claims in store graphics. The store rejects such
// a graphic outright, so each hit is an error.
//
// The words are matched in the lower-cased text of a slide's own three fields, markup left in:
// "**best**" still matches, since "*" is not a word character. A word that starts with a letter
// must stand as a whole word ("the best" but not "bestseller"); one that starts with anything
// else ("#1", "% off") has no word edge to look for and is found as a plain substring.
//
// ICU does the matching, on UTF-16 text: a byte-wise engine would put word edges inside letters
// outside ASCII. It lower-cases whatever isn't plain ASCII, too.
#include "kit/lint/linter.h"

#include "kit/lint/ascii_lowering.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {
namespace {

constexpr std::array<std::string_view, 11> claimWords{
    "#1",          "best",         "top",         "free",        "number one", "no. 1",
    "editor's choice", "app of the year", "% off", "download now", "install now"};

struct ClaimWord {
  std::string word;                          // found as a substring
  std::unique_ptr<icu::RegexPattern> regex;  // a word that starts with a letter must stand whole
};

std::string escapedForRegex(std::string_view word) {
  std::string escaped;
  for (char c : word) {
    if (std::string_view("\\^$.|?*+()[]{}#-/").find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

// Compiled once per process: the list is fixed, and compiling eleven patterns per lint call would
// cost more than the matching.
const std::vector<ClaimWord>& compiledWords() {
  static const std::vector<ClaimWord> words = [] {
    std::vector<ClaimWord> list;
    for (std::string_view word : claimWords) {
      ClaimWord entry{std::string(word), nullptr};
      if (u_isalpha(static_cast<unsigned char>(word.front()))) {
        std::string pattern = "\\b" + escapedForRegex(word) + "\\b";
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError;
        std::unique_ptr<icu::RegexPattern> compiled(
            icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, parseError, status));
        // A word that cannot be compiled is left out rather than matched some other way.
        if (U_FAILURE(status)) continue;
        entry.regex = std::move(compiled);
      }
      list.push_back(std::move(entry));
    }
    return list;
  }();
  return words;
}

}  // namespace

std::vector<Issue> Linter::playPolicyIssues(const Project& project) {
  std::vector<Issue> issues;
  bool forPlay = std::any_of(project.targets.begin(), project.targets.end(), [](const std::string& id) {
    const StoreTarget* target = StoreTarget::named(id);
    return target != nullptr && target->platform == Platform::android;
  });
  if (!forPlay) return issues;

  const std::vector<ClaimWord>& words = compiledWords();
  // One matcher per word for the whole project, reset onto each text: making a matcher allocates.
  std::vector<std::unique_ptr<icu::RegexMatcher>> matchers;
  for (const ClaimWord& word : words) {
    UErrorCode status = U_ZERO_ERROR;
    matchers.emplace_back(word.regex ? word.regex->matcher(status) : nullptr);
    if (U_FAILURE(status)) matchers.back().reset();
  }

  for (const Slide& slide : project.slides) {
    for (const std::string& locale : project.locales) {
      // The three fields as one text, the way a shopper reads them; free elements are not read.
      std::string text;
      auto add = [&](const std::optional<std::string>& part) {
        if (!part) return;
        if (!text.empty()) text += ' ';
        text += *part;
      };
      if (slide.eyebrow) add(slide.eyebrow->resolve(locale));
      add(slide.headline.resolve(locale));
      if (slide.subhead) add(slide.subhead->resolve(locale));
      if (text.empty()) continue;
      // Lower-cased in UTF-8, through ICU only when the text isn't plain ASCII; the UTF-16 form
      // the matchers read is made when a word is there to confirm.
      icu::UnicodeString lowered;
      std::string loweredUTF8;
      bool loweredReady = false;
      if (std::optional<std::string> ascii = asciiLowered(text)) {
        loweredUTF8 = std::move(*ascii);
      } else {
        lowered = icu::UnicodeString::fromUTF8(text);
        lowered.toLower(icu::Locale::getRoot());
        lowered.toUTF8String(loweredUTF8);
        loweredReady = true;
      }

      for (size_t w = 0; w < words.size(); ++w) {
        // Every hit contains the word itself, so a plain search settles most texts; the regular
        // expression only has to confirm the word edges of one that is there.
        bool hit = loweredUTF8.find(words[w].word) != std::string::npos;
        if (hit && words[w].regex) {
          if (!loweredReady) {
            lowered = icu::UnicodeString::fromUTF8(loweredUTF8);
            loweredReady = true;
          }
          icu::RegexMatcher* matcher = matchers[w].get();
          UErrorCode status = U_ZERO_ERROR;
          if (matcher) matcher->reset(lowered);
          hit = matcher && matcher->find(0, status) && U_SUCCESS(status);
        }
        if (!hit) continue;
        Issue issue(Issue::Severity::error, "play.policy",
                    "\"" + words[w].word + "\" is a ranking or promotional claim Google Play rejects in graphics.");
        issue.slide = slide.id;
        issue.locale = locale;
        issues.push_back(std::move(issue));
      }
    }
  }
  return issues;
}

}  // namespace vorno
