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

}  // namespace vorno
