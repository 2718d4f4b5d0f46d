// LocalizedText: one text in every locale of a project, with a fixed fallback when a locale has
// no text of its own.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vorno {

struct LocalizedText {
  std::map<std::string, std::string> values;  ///< locale code to text

  bool operator==(const LocalizedText&) const = default;

  bool isEmpty() const { return values.empty(); }

  /// The exact locale has a text of its own.
  bool has(std::string_view locale) const;

  /// The text for `locale`: the exact key, the language alone ("de" for "de-DE"), the lowest key
  /// of that language ("de-AT" before "de-CH"), "en-US", "en", and finally the lowest key of all.
  /// Nothing only when there is no text at all. A missing locale is lint's to report, not ours.
  std::optional<std::string> resolve(std::string_view locale) const;
};

}  // namespace vorno
