// printf-style formatting into a std::string, for messages that carry numbers ("%.1f").
#pragma once

#include <string>

namespace vorno {

__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...);

}  // namespace vorno
