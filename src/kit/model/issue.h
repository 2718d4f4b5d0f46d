// Issue: the one record in which lint, layout, rendering and export say what is wrong with a set
// that is still legal. Issues are reported, never thrown.
#pragma once

#include <array>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "kit/model/enum_names.h"

namespace vorno {

using Json = nlohmann::json;
class Reader;
template <class T>
struct Coding;

struct Issue {
  /// Ordered by weight: `info` < `warning` < `error`.
  enum class Severity { info, warning, error };

  Severity severity;
  std::string code;                  ///< dotted, e.g. "text.wrap"
  std::string message;               ///< one sentence for the user
  std::optional<std::string> slide;  ///< the slide, spread or creative concerned
  std::optional<std::string> target;
  std::optional<std::string> locale;
  std::optional<std::string> element;
  std::optional<std::string> suggestedColor;  ///< "#RRGGBB"

  Issue(Severity severity, std::string code, std::string message)
      : severity(severity), code(std::move(code)), message(std::move(message)) {}

  bool operator==(const Issue&) const = default;

  /// The text line form: "[warning] text.wrap (intro · ios.iphone-6.9 · de-DE): message".
  /// Only slide, target and locale appear in the parentheses, and only those present.
  std::string description() const;

  /// Keys equal the field names; absent optionals are left out.
  Json toJSON() const;
  /// Throws DecodingError with the coding path on a missing or mistyped field.
  static Issue fromJSON(const Json& json);
};

template <>
struct EnumNames<Issue::Severity> {
  static constexpr std::string_view typeName = "Severity";
  static constexpr std::array<std::string_view, 3> names{"info", "warning", "error"};
};

/// Lets lists of issues, and records that hold them, go through the reader and writer.
template <>
struct Coding<Issue> {
  static Issue read(const Reader& reader);
  static Json write(const Issue& issue);
};

}  // namespace vorno
