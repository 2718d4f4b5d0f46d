// Apple's guidance on the words of store art, and the lint rule that applies it to every board.
//
// How it works: each text is resolved per locale, stripped of markup, put on one line and
// lower-cased; the patterns are written in lower case and run without the case-insensitive flag.
// Of each rule only the first match counts. A board keeps the findings it has made, keyed by the
// rule's tail and the snippet, so a price that every locale falls back to is reported once, for
// the first locale that shows it.
//
// The patterns hold currency symbols and word edges, so they run on ICU's engine over UTF-16:
// the same syntax and the same `\b` as the platform's own regular expressions.
#include "kit/lint/app_store_policy.h"

#include "kit/lint/ascii_lowering.h"
#include "kit/lint/linter.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/model/text_markup.h"

#include <unicode/locid.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

namespace vorno {
namespace {

// Each rule with the literal fragments that any match of its pattern must contain. The regular
// expression engine has no literal to skip ahead to in these patterns and tries every position,
// which made the six rules the slowest part of a lint; a text that holds none of a rule's
// fragments cannot match it and is passed over with a plain search. Keep the fragments in step
// with the pattern when either changes.
struct Rule {
  const char* pattern;
  std::string tail;
  std::vector<std::string_view> fragments;
};

constexpr const char* pricesTail =
    "Apple asks store art to leave out prices and discounts, so it's right in every country and stays true.";

const std::vector<Rule>& rules() {
  static const std::vector<Rule> table{
      {R"([$€£¥₹]\s?\d+(?:[.,]\d+)?|\d+(?:[.,]\d+)?\s?(?:[$€£¥₹]|usd\b|eur\b|gbp\b))",
       std::string("is a price. ") + pricesTail,
       {"$", "€", "£", "¥", "₹", "usd", "eur", "gbp"}},
      {R"(\d+\s?%\s?off\b|\bdiscount|\bhalf[- ]price\b)", std::string("is a discount. ") + pricesTail,
       {"%", "discount", "half"}},
      {R"(https?://[^\s]+|\bwww\.[^\s]+|\b[a-z0-9-]+\.(?:com|app|io|net|org|co|dev)\b(?:/[^\s]*)?)",
       "is a web address. Apple asks store art to leave out URLs.",
       {"://", "www.", ".co", ".app", ".io", ".net", ".org", ".dev"}},
      {R"(©|\(c\)\s?\d{4})", "is a copyright mark. Apple asks store art to leave out ©.", {"©", "(c)"}},
      {R"(\bapps? of the (?:day|year)\b|\bgames? of the (?:day|year)\b|\beditors?['’]?s?['’]? choice\b|\bapple design award|\bapp store award)",
       "is an Apple recognition. The App Store shows those itself; Apple asks store art not to repeat them.",
       {"of the ", "choice", "award"}},
      {R"(\bgoogle play\b|\bplay store\b|\bandroid\b)",
       "names another platform or store. Apple asks App Store art to leave out other platforms.",
       {"google play", "play store", "android"}},
  };
  return table;
}

struct CompiledRule {
  std::unique_ptr<icu::RegexPattern> pattern;
  const Rule* rule;
};

// Compiled once per process, without options. A pattern that does not compile is dropped: the
// other rules still stand.
const std::vector<CompiledRule>& compiledRules() {
  static const std::vector<CompiledRule> compiled = [] {
    std::vector<CompiledRule> list;
    for (const Rule& rule : rules()) {
      UErrorCode status = U_ZERO_ERROR;
      UParseError parseError;
      std::unique_ptr<icu::RegexPattern> pattern(
          icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(rule.pattern), 0, parseError, status));
      if (U_FAILURE(status) || !pattern) continue;
      list.push_back({std::move(pattern), &rule});
    }
    return list;
  }();
  return compiled;
}

// The rules whose fragments occur in `lowered`, as bits by their place in `rules()`. One pass over
// the text, comparing only where a byte can begin some fragment: searching the text for each
// fragment in turn cost nearly as much as the matching itself.
uint32_t rulesWithFragments(std::string_view lowered) {
  using Starts = std::array<std::vector<std::pair<std::string_view, uint32_t>>, 256>;
  static const Starts starts = [] {
    Starts table;
    const std::vector<Rule>& list = rules();
    for (size_t r = 0; r < list.size(); ++r)
      for (std::string_view fragment : list[r].fragments)
        table[static_cast<unsigned char>(fragment.front())].emplace_back(fragment, uint32_t{1} << r);
    return table;
  }();
  const uint32_t all = (uint32_t{1} << rules().size()) - 1;
  uint32_t found = 0;
  // Fragments are a few bytes long and most candidates differ in the second, so a plain loop
  // beats a call to memcmp here.
  auto occursAt = [&](size_t at, std::string_view fragment) {
    if (lowered.size() - at < fragment.size()) return false;
    for (size_t k = 1; k < fragment.size(); ++k)
      if (lowered[at + k] != fragment[k]) return false;
    return true;
  };
  for (size_t i = 0; i < lowered.size() && found != all; ++i)
    for (const auto& [fragment, bit] : starts[static_cast<unsigned char>(lowered[i])])
      if ((found & bit) == 0 && occursAt(i, fragment)) found |= bit;
  return found;
}

bool isTrimmed(UChar32 c) { return u_isblank(c) || (c < 0x80 && std::string_view(".,;:!?)").find(char(c)) != std::string_view::npos); }

std::string trimmedSnippet(const icu::UnicodeString& match) {
  int32_t start = 0, end = match.length();
  while (start < end && isTrimmed(match.char32At(start))) start = match.moveIndex32(start, 1);
  while (end > start && isTrimmed(match.char32At(match.moveIndex32(end, -1)))) end = match.moveIndex32(end, -1);
  std::string snippet;
  icu::UnicodeString(match, start, end - start).toUTF8String(snippet);
  return snippet;
}

}  // namespace

struct AppStorePolicy::Matchers {
  struct Entry {
    std::unique_ptr<icu::RegexMatcher> matcher;
    const Rule* rule;
    uint32_t bit;  ///< the rule's bit in `rulesWithFragments`
  };
  std::vector<Entry> entries;
  // The matchers read their input in place, so the current text lives here while they run.
  icu::UnicodeString input;
};

AppStorePolicy::AppStorePolicy() : matchers_(std::make_unique<Matchers>()) {
  for (const CompiledRule& rule : compiledRules()) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(rule.pattern->matcher(status));
    if (U_FAILURE(status) || !matcher) continue;
    uint32_t bit = uint32_t{1} << static_cast<size_t>(rule.rule - rules().data());
    matchers_->entries.push_back({std::move(matcher), rule.rule, bit});
  }
}

AppStorePolicy::~AppStorePolicy() = default;

std::vector<AppStorePolicy::Finding> AppStorePolicy::findings(std::string_view text) {
  std::string shown = TextMarkup::plain(text);
  std::replace(shown.begin(), shown.end(), '\n', ' ');
  // The fragments are looked for in UTF-8; the UTF-16 text the matchers need is made only once a
  // rule's fragment is there, which for most texts is never.
  icu::UnicodeString& input = matchers_->input;
  std::string lowered;
  bool inputReady = false;
  if (std::optional<std::string> ascii = asciiLowered(shown)) {
    lowered = std::move(*ascii);
  } else {
    input = icu::UnicodeString::fromUTF8(shown);
    input.toLower(icu::Locale::getRoot());
    input.toUTF8String(lowered);
    inputReady = true;
  }

  std::vector<Finding> found;
  const uint32_t candidates = rulesWithFragments(lowered);
  if (candidates == 0) return found;
  for (Matchers::Entry& entry : matchers_->entries) {
    if ((candidates & entry.bit) == 0) continue;
    if (!inputReady) {
      input = icu::UnicodeString::fromUTF8(lowered);
      inputReady = true;
    }
    UErrorCode status = U_ZERO_ERROR;
    entry.matcher->reset(input);
    if (!entry.matcher->find(0, status) || U_FAILURE(status)) continue;
    icu::UnicodeString match = entry.matcher->group(status);
    if (U_FAILURE(status)) continue;
    found.push_back({trimmedSnippet(match), entry.rule->tail});
  }
  return found;
}

std::vector<Issue> Linter::appStorePolicyIssues(const Project& project) {
  std::vector<const Slide*> boards;
  bool forAppStore = std::any_of(project.targets.begin(), project.targets.end(), [](const std::string& id) {
    const StoreTarget* target = StoreTarget::named(id);
    return target != nullptr && target->platform == Platform::ios;
  });
  if (forAppStore)
    for (const Slide& slide : project.slides) boards.push_back(&slide);
  // Creatives are App Store art whatever the project's targets are.
  for (const Creative& creative : project.creatives) boards.push_back(&creative.slide);

  AppStorePolicy policy;
  std::vector<Issue> issues;
  for (const Slide* board : boards) {
    std::vector<const LocalizedText*> texts;
    if (board->eyebrow) texts.push_back(&*board->eyebrow);
    texts.push_back(&board->headline);
    if (board->subhead) texts.push_back(&*board->subhead);
    for (const SlideElement& element : board->elements) {
      if (element.platforms &&
          std::find(element.platforms->begin(), element.platforms->end(), Platform::ios) == element.platforms->end())
        continue;
      if (element.text) texts.push_back(&*element.text);
      if (const auto& component = element.component) {
        if (component->title) texts.push_back(&*component->title);
        if (component->subtitle) texts.push_back(&*component->subtitle);
        if (component->items)
          for (const LocalizedText& item : *component->items) texts.push_back(&item);
      }
    }

    std::set<std::pair<std::string, std::string>> reported;  // (tail, snippet)
    // A text that several locales fall back to reads the same everywhere: its findings are all in
    // `reported` after the first scan, so it is scanned once.
    std::set<std::string> scanned;
    for (const LocalizedText* text : texts) {
      for (const std::string& locale : project.locales) {
        std::optional<std::string> resolved = text->resolve(locale);
        if (!resolved || !scanned.insert(*resolved).second) continue;
        for (AppStorePolicy::Finding& finding : policy.findings(*resolved)) {
          if (!reported.emplace(finding.tail, finding.snippet).second) continue;
          Issue issue(Issue::Severity::warning, "appstore.policy", "\"" + finding.snippet + "\" " + finding.tail);
          issue.slide = board->id;
          issue.locale = locale;
          issues.push_back(std::move(issue));
        }
      }
    }
  }
  return issues;
}

}  // namespace vorno
