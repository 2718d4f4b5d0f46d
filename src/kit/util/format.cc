#include "kit/util/format.h"

#include <cstdarg>
#include <cstdio>

namespace vorno {

std::string formatted(const char* format, ...) {
  va_list arguments, copy;
  va_start(arguments, format);
  va_copy(copy, arguments);
  int length = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  }
  va_end(arguments);
  return text;
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string text;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) text += separator;
    text += parts[i];
  }
  return text;
}

std::string trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n\f\v";
  const size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(blanks) - begin + 1));
}

}  // namespace vorno
