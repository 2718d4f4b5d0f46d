// Measuring and fitting.
//
// How fitting works: the text is laid at the base size; a size passes when the laid height is
// within the box (half a pixel of slack), no single word is wider than the box, and the lines
// don't pass the limit. A failing size falls by 5% of itself, never below the floor
// `minScale x base`, and the floor is tried once. The word test is what makes a long word in a
// narrow box shrink the text instead of being broken inside.
//
// Scripts that write no spaces (Japanese, Chinese, Thai, Lao, Khmer, Burmese) have no words to
// split on, so their "words" are the pieces between the line-break opportunities Pango finds
// (kinsoku for Japanese, a dictionary for Thai): a long Japanese headline may then wrap, where
// treating it as one word would shrink it to a single line.
//
// The size is chosen on greedy line breaks; the lines are drawn balanced (balanced_breaks.h),
// which never changes their count or height, so the fitted size holds for the drawn text.
#include "kit/text/attributed_text.h"
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"
#include "kit/util/utf8.h"

#include <glib.h>
#include <pango/pango.h>

#include <algorithm>
#include <cmath>

namespace vorno::TextLayout {
namespace {

bool writesWithoutSpaces(gunichar c) {
  switch (g_unichar_get_script(c)) {
    case G_UNICODE_SCRIPT_HAN:
    case G_UNICODE_SCRIPT_HIRAGANA:
    case G_UNICODE_SCRIPT_KATAKANA:
    case G_UNICODE_SCRIPT_BOPOMOFO:
    case G_UNICODE_SCRIPT_THAI:
    case G_UNICODE_SCRIPT_LAO:
    case G_UNICODE_SCRIPT_KHMER:
    case G_UNICODE_SCRIPT_MYANMAR:
      return true;
    default:
      return false;
  }
}

bool needsBreaks(std::string_view word) {
  for (const char* p = word.data(); p < word.data() + word.size(); p = nextUTF8Character(p)) {
    if (writesWithoutSpaces(g_utf8_get_char(p))) return true;
  }
  return false;
}

/// The pieces of `word` between Pango's line-break opportunities.
std::vector<std::string> breakPieces(const std::string& word, const std::string& language) {
  glong chars = g_utf8_strlen(word.data(), static_cast<gssize>(word.size()));
  std::vector<PangoLogAttr> attrs(static_cast<size_t>(chars) + 1);
  std::string tag = TextInternal::faceLanguage(language);
  PangoLanguage* lang = pango_language_from_string(tag.empty() ? nullptr : tag.c_str());
  pango_get_log_attrs(word.data(), static_cast<int>(word.size()), -1, lang, attrs.data(), static_cast<int>(attrs.size()));
  std::vector<std::string> pieces;
  const char* start = word.data();
  const char* p = word.data();
  for (glong i = 0; i < chars; ++i, p = nextUTF8Character(p)) {
    if (i > 0 && attrs[static_cast<size_t>(i)].is_line_break) {
      pieces.emplace_back(start, p);
      start = p;
    }
  }
  pieces.emplace_back(start, word.data() + word.size());
  return pieces;
}

int lineLimit(std::string_view text, std::optional<int> maxLines) {
  if (maxLines) return *maxLines;
  int written = static_cast<int>(TextInternal::splitLines(text).size());
  return written > 3 ? written : 3;
}

}  // namespace

Size suggestedSize(const AttributedText& text, double width) {
  LaidText laid(text, width);
  return {laid.contentWidth(), laid.height()};
}

int lineCount(const AttributedText& text, double width) {
  return static_cast<int>(LaidText(text, width, LaidText::Breaking::greedy).lines().size());
}

double widestWord(std::string_view input, const Style& style) {
  std::string text = TextInternal::bounded(TextInternal::sanitized(input));
  if (style.uppercase) text = TextInternal::uppercased(text);
  // Every word becomes its own paragraph of one layout without wrapping: one Pango layout for
  // the whole text instead of one per word.
  AttributedText words;
  words.language = style.language;
  words.alignment = TextAlign::left;
  auto add = [&](std::string piece, double lineSize) {
    if (!words.runs.empty()) words.runs.push_back(TextInternal::run("\n", style, lineSize));
    words.runs.push_back(TextInternal::run(std::move(piece), style, lineSize));
  };
  for (std::string_view line : TextInternal::splitLines(text)) {
    if (line.empty()) continue;
    double scale = 1.0;
    std::string rest(line);
    if (auto prefix = lineScale(line)) {
      scale = prefix->first;
      rest = std::move(prefix->second);
    }
    rest = TextInternal::withoutEmphasisMarks(rest);
    double lineSize = style.size * scale;
    size_t start = 0;
    while (start <= rest.size()) {
      size_t end = rest.find(' ', start);
      if (end == std::string::npos) end = rest.size();
      if (end > start) {
        std::string word = rest.substr(start, end - start);
        if (needsBreaks(word)) {
          for (std::string& piece : breakPieces(word, style.language)) add(std::move(piece), lineSize);
        } else {
          add(std::move(word), lineSize);
        }
      }
      start = end + 1;
    }
  }
  if (words.runs.empty()) return 0;
  LaidText laid(words, INFINITY);
  double widest = 0;
  for (const LaidLine& line : laid.lines()) widest = std::max(widest, line.width);
  return widest;
}

Fitted fit(std::string_view text, const Style& style, Size box, double minScale, std::optional<int> maxLines) {
  const double base = style.size;
  // A scale below 1% would take thousands of steps to reach; no caller asks for one.
  const double floor = std::max(minScale, 0.01) * base;
  const int limit = lineLimit(text, maxLines);
  double size = base;
  while (true) {
    Style at = withSize(style, size);
    AttributedText string = attributed(text, at);
    // Balanced breaking keeps the line count and height that decide here; only drawing needs it.
    LaidText laid(string, box.width, LaidText::Breaking::greedy);
    double height = laid.height();
    int lines = static_cast<int>(laid.lines().size());
    bool passes = height <= box.height + 0.5 && lines <= limit && widestWord(text, at) <= box.width;
    // The second test also stops a size that is not a number or a floor above the base from
    // looping for ever.
    if (passes || !(size > floor)) {
      return {std::move(string), {box.width, std::ceil(height)}, size, !passes, lines, at};
    }
    size = std::max(size * 0.95, floor);
  }
}

Fitted laid(const TextSpec& spec, double width) {
  Style s = style(spec);
  AttributedText string = attributed(spec.text, s);
  LaidText text(string, width);
  return {std::move(string), {width, std::ceil(text.height())}, spec.size, false, static_cast<int>(text.lines().size()), s};
}

std::optional<std::pair<double, double>> inkSpan(const TextSpec& spec, double width) {
  LaidText text(attributed(spec.text, style(spec)), width);
  std::optional<std::pair<double, double>> span;
  for (const LaidLine& line : text.lines()) {
    if (line.ink.isEmpty()) continue;
    double lo = line.origin.x + line.ink.minX(), hi = line.origin.x + line.ink.maxX();
    span = span ? std::pair{std::min(span->first, lo), std::max(span->second, hi)} : std::pair{lo, hi};
  }
  return span;
}

}  // namespace vorno::TextLayout
