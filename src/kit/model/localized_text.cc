#include "kit/model/localized_text.h"

#include "kit/model/codings.h"

namespace vorno {
namespace {

// The part of a locale code before its first "-", skipping empty parts, so "-de-DE" is "de".
std::string_view languageOf(std::string_view locale) {
  size_t start = locale.find_first_not_of('-');
  if (start == std::string_view::npos) return {};
  size_t end = locale.find('-', start);
  return locale.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
}

}  // namespace

bool LocalizedText::has(std::string_view locale) const { return values.find(std::string(locale)) != values.end(); }

std::optional<std::string> LocalizedText::resolve(std::string_view locale) const {
  if (values.empty()) return std::nullopt;
  if (auto it = values.find(std::string(locale)); it != values.end()) return it->second;

  if (std::string_view language = languageOf(locale); !language.empty()) {
    if (auto it = values.find(std::string(language)); it != values.end()) return it->second;
    // The map is sorted, so the first key at or after "<language>-" that still has that prefix is
    // the lowest regional variant: the same choice on every run.
    std::string prefix = std::string(language) + "-";
    if (auto it = values.lower_bound(prefix); it != values.end() && it->first.starts_with(prefix)) return it->second;
  }

  for (const char* fallback : {"en-US", "en"})
    if (auto it = values.find(fallback); it != values.end()) return it->second;
  return values.begin()->second;
}

LocalizedText Coding<LocalizedText>::read(const Reader& r) {
  // A plain string is the English text; anything else must be an object of strings, and that
  // attempt's error is the one worth reporting.
  if (r.isString()) return LocalizedText{{{"en-US", r.string()}}};
  return LocalizedText{r.decode<std::map<std::string, std::string>>()};
}

Json Coding<LocalizedText>::write(const LocalizedText& text) { return Coding<std::map<std::string, std::string>>::write(text.values); }

}  // namespace vorno
