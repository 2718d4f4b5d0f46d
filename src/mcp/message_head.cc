#include "mcp/message_head.h"

#include <cctype>
#include <string>

#include "mcp/value.h"

namespace vorno::mcp {
namespace {

// A cursor over the head that knows only what it takes to skip JSON values; every step reports
// false when the head ends (or the bytes stop being JSON) before the value does.
class HeadScanner {
 public:
  explicit HeadScanner(std::string_view text) : text_(text) {}

  bool take(char expected) {
    skipSpace();
    if (at_ >= text_.size() || text_[at_] != expected) return false;
    ++at_;
    return true;
  }

  bool peek(char expected) {
    skipSpace();
    return at_ < text_.size() && text_[at_] == expected;
  }

  // A string, with its quotes; the raw bytes, escapes untouched.
  std::optional<std::string_view> string() {
    skipSpace();
    size_t start = at_;
    if (at_ >= text_.size() || text_[at_] != '"') return std::nullopt;
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] == '\\') {
        ++at_;
      } else if (text_[at_] == '"') {
        ++at_;
        return text_.substr(start, at_ - start);
      }
    }
    return std::nullopt;
  }

  // Any value: its raw bytes.
  std::optional<std::string_view> value() {
    skipSpace();
    size_t start = at_;
    if (at_ >= text_.size()) return std::nullopt;
    char first = text_[at_];
    if (first == '"') return string();
    if (first == '{' || first == '[') {
      if (!skipNested()) return std::nullopt;
    } else {
      while (at_ < text_.size() && !std::isspace(static_cast<unsigned char>(text_[at_])) && text_[at_] != ',' &&
             text_[at_] != '}' && text_[at_] != ']') {
        ++at_;
      }
      // A number or literal that runs to the end of the head may have been cut.
      if (at_ >= text_.size()) return std::nullopt;
    }
    return text_.substr(start, at_ - start);
  }

 private:
  void skipSpace() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
  }

  // An object or array, however deep, by counting brackets outside strings.
  bool skipNested() {
    size_t depth = 0;
    while (at_ < text_.size()) {
      char c = text_[at_];
      if (c == '"') {
        if (!string()) return false;
        continue;
      }
      ++at_;
      if (c == '{' || c == '[') {
        ++depth;
      } else if ((c == '}' || c == ']') && --depth == 0) {
        return true;
      }
    }
    return false;
  }

  std::string_view text_;
  size_t at_ = 0;
};

}  // namespace

std::optional<ID> idInMessageHead(std::string_view head) {
  HeadScanner scanner(head);
  if (!scanner.take('{')) return std::nullopt;
  if (scanner.peek('}')) return std::nullopt;
  do {
    auto key = scanner.string();
    if (!key || !scanner.take(':')) return std::nullopt;
    auto member = scanner.value();
    if (!member) return std::nullopt;
    if (*key == "\"id\"") {
      std::optional<Value> id = Value::parse(*member);
      return id ? ID::read(*id) : std::nullopt;
    }
  } while (scanner.take(','));
  return std::nullopt;
}

}  // namespace vorno::mcp
