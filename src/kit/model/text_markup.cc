#include "kit/model/text_markup.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace vorno::TextMarkup {
namespace {

// The decimal number between the braces; a leading "+" is allowed, blanks are not.
std::optional<double> parseDecimal(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  double value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::pair<double, std::string>> scalePrefix(std::string_view line) {
  if (line.empty() || line.front() != '{') return std::nullopt;
  size_t close = line.find('}');
  if (close == std::string_view::npos) return std::nullopt;
  auto number = parseDecimal(line.substr(1, close - 1));
  if (!number || !(*number > 0)) return std::nullopt;
  return std::pair{*number, std::string(line.substr(close + 1))};
}


}  // namespace

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t start = 0;
  while (true) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(start));
      return lines;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

std::optional<std::pair<double, std::string>> lineScale(std::string_view line) {
  auto prefix = scalePrefix(line);
  if (!prefix) return std::nullopt;
  prefix->first = std::clamp(prefix->first, 0.2, 3.0);
  return prefix;
}

std::string plain(std::string_view text) {
  // Most texts carry no markup at all; the store rules call this for every text in every locale.
  if (std::none_of(text.begin(), text.end(), [](char c) { return c == '*' || c == '{' || c == '\n'; }))
    return std::string(text);
  std::string joined;
  bool first = true;
  for (std::string_view line : splitLines(text)) {
    if (!first) joined += '\n';
    first = false;
    // Here the number only has to be positive; the clamp is the layout's business.
    if (auto prefix = scalePrefix(line)) {
      joined += prefix->second;
    } else {
      joined += line;
    }
  }
  std::string out;
  out.reserve(joined.size());
  for (size_t i = 0; i < joined.size(); ++i) {
    if (joined[i] == '*' && i + 1 < joined.size() && joined[i + 1] == '*') {
      ++i;
      continue;
    }
    out += joined[i];
  }
  return out;
}

}  // namespace vorno::TextMarkup
