// The markup authors write in every text: "**" toggles emphasis, a line may start with a scale
// such as "{0.7}", and "\n" breaks lines. These helpers read it without laying anything out.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorno::TextMarkup {

/// The line's scale (clamped to 0.2...3.0) and the rest of the line, when the line starts with a
/// well-formed "{n}" with n above 0; nothing otherwise, and the braces stay literal text.
std::optional<std::pair<double, std::string>> lineScale(std::string_view line);

/// The text without "{n}" line prefixes and "**": what a reader sees, for word counts and
/// policy checks.
std::string plain(std::string_view text);

/// The lines of a text split on "\n", empty ones kept: "a\n" is two lines.
std::vector<std::string_view> splitLines(std::string_view text);

}  // namespace vorno::TextMarkup
