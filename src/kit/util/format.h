// Text for messages: printf-style formatting into a std::string for those that carry numbers
// ("%.1f"), lists joined with commas, and blanks trimmed from either end.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorno {

__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...);

/// The parts with `separator` between them: "a, b, c".
std::string joined(const std::vector<std::string>& parts, std::string_view separator = ", ");

/// The text without the blanks (spaces, tabs, line ends) at either end.
std::string trimmed(std::string_view text);

}  // namespace vorno
