// Mark geometry. The design rules are written for a y-up page: a box's y is its bottom edge,
// measured from the baseline. Here y grows downward, so every box is placed by its bottom edge
// below the baseline and grows upward from there.
#include "kit/text/text_marks.h"

#include "kit/text/laid_text.h"
#include "kit/util/utf8.h"

#include <glib.h>

#include <algorithm>
#include <cmath>

namespace vorno::TextMarks {
namespace {

bool isWhite(gunichar c) {
  return g_unichar_isspace(c) || c == '\n' || c == '\r' || c == 0x85 || c == 0x2028 || c == 0x2029;
}

struct Span {
  int start, end;  // bytes
};

/// The marked ranges of a line, neighbouring marked runs joined, whitespace trimmed at both ends.
std::vector<Span> markedSpans(const LaidText& text, const LaidLine& line) {
  const std::string& s = text.string();
  std::vector<Span> spans;
  int lineEnd = line.start + line.length;
  int at = line.start;
  while (at < lineEnd) {
    const TextLayout::TextRun* run = text.runAt(at);
    if (!run || !run->emphasis) {
      at = static_cast<int>(nextUTF8Character(s.data() + at) - s.data());
      continue;
    }
    int start = at;
    while (at < lineEnd) {
      const TextLayout::TextRun* r = text.runAt(at);
      if (!r || !r->emphasis) break;
      at = static_cast<int>(nextUTF8Character(s.data() + at) - s.data());
    }
    int end = at;
    while (start < end && isWhite(g_utf8_get_char(s.data() + start))) {
      start = static_cast<int>(nextUTF8Character(s.data() + start) - s.data());
    }
    while (end > start) {
      const char* prev = g_utf8_find_prev_char(s.data() + start, s.data() + end);
      if (!prev || !isWhite(g_utf8_get_char(prev))) break;
      end = static_cast<int>(prev - s.data());
    }
    if (start < end) spans.push_back({start, end});
  }
  return spans;
}

double clamp01(double v) { return std::isnan(v) ? 0 : std::clamp(v, 0.0, 1.0); }

}  // namespace

EmphasisStyle effectiveStyle(const TextLayout::Style& style) {
  return style.block ? EmphasisStyle::highlight : style.emphasisStyle;
}

std::vector<TextLayout::MarkBox> markBoxes(const LaidText& text, const TextLayout::Style& style, double fittedSize,
                                           const Rect& frame) {
  EmphasisStyle kind = effectiveStyle(style);
  if (kind != EmphasisStyle::highlight && kind != EmphasisStyle::marker) return {};
  // A block colour is a plain highlight: the tuning of `mark` doesn't apply to it.
  MarkStyle mark = style.block ? MarkStyle{} : style.mark.value_or(MarkStyle{});
  bool highlight = kind == EmphasisStyle::highlight;

  std::vector<TextLayout::MarkBox> boxes;
  const auto& lines = text.lines();
  for (size_t i = 0; i < lines.size(); ++i) {
    const LaidLine& line = lines[i];
    for (Span span : markedSpans(text, line)) {
      const TextLayout::TextRun* run = text.runAt(span.start);
      double s = run ? run->fontSize : fittedSize;
      double cap = text.capHeightAt(line, span.start).value_or(0.7 * s);
      double x0 = text.offsetForIndex(line, span.start), x1 = text.offsetForIndex(line, span.end);
      double p = s * mark.padding.value_or(highlight ? 0.14 : 0.06);
      double height = highlight ? cap + 0.42 * s : cap * mark.height.value_or(0.55);
      // Distance of the box's bottom edge above the baseline.
      double lift = highlight ? -0.2 * s : (mark.offset ? *mark.offset * cap : -0.08 * s);
      double baseline = frame.minY() + line.origin.y;
      double bottom = baseline - lift;
      Rect box{frame.minX() + line.origin.x + std::min(x0, x1) - p, bottom - height, std::abs(x1 - x0) + 2 * p, height};
      double radius = mark.radius ? s * *mark.radius : (highlight ? 0.1 * s : 0.3 * height);
      radius = std::clamp(radius, 0.0, std::max(0.0, height / 2));
      double tilt = mark.tilt.value_or(0);
      if (boxes.size() % 2 == 1) tilt = -tilt;
      boxes.push_back({static_cast<int>(i), box, radius, tilt * M_PI / 180});
    }
  }
  return boxes;
}

std::vector<StickerBox> stickerBoxes(const LaidText& text, const TextLayout::Style& style, double fittedSize,
                                     const Rect& frame) {
  MarkStyle mark = style.mark.value_or(MarkStyle{});
  std::vector<StickerBox> boxes;
  const auto& lines = text.lines();
  for (size_t i = 0; i < lines.size(); ++i) {
    const LaidLine& line = lines[i];
    double advance = line.width - line.trailingWhitespace;
    if (!(advance > 0)) continue;
    const TextLayout::TextRun* first = text.runAt(line.start);
    double s = first ? first->fontSize : fittedSize;
    double cap = text.capHeightAt(line, line.start).value_or(0.7 * s);
    bool emphasised = false;
    for (int at = line.start; at < line.start + line.length;
         at = static_cast<int>(nextUTF8Character(text.string().data() + at) - text.string().data())) {
      const TextLayout::TextRun* run = text.runAt(at);
      if (run && run->emphasis) {
        emphasised = true;
        break;
      }
    }
    double p = s * mark.padding.value_or(0.16);
    double height = cap + 0.34 * s;
    double bottom = frame.minY() + line.origin.y + 0.17 * s;
    Rect box{frame.minX() + line.origin.x + line.contentMinX - p, bottom - height, advance + 2 * p, height};
    // Even lines lean one way, odd lines the other; the count includes lines without a box.
    bool even = i % 2 == 0;
    double degrees = mark.tilt ? (even ? -*mark.tilt : *mark.tilt) : (even ? -1.8 : 1.5);
    double radius = std::min(height * 0.5, s * mark.radius.value_or(0.05));
    boxes.push_back({static_cast<int>(i), box, std::max(0.0, radius), degrees, emphasised});
  }
  return boxes;
}

RGBColor markColor(const TextLayout::Style& style) {
  if (style.block) return *style.block;
  MarkStyle mark = style.mark.value_or(MarkStyle{});
  RGBColor color = mark.color.value_or(style.emphasis);
  bool marker = style.emphasisStyle == EmphasisStyle::marker;
  color.a = mark.opacity ? clamp01(*mark.opacity) : (marker ? 0.42 : 1.0);
  return color;
}

}  // namespace vorno::TextMarks

namespace vorno::TextLayout {

std::vector<MarkBox> markBoxes(const Fitted& fitted, const Rect& frame) {
  LaidText text(fitted.attributed, fitted.size.width);
  return TextMarks::markBoxes(text, fitted.style, fitted.fontSize, frame);
}

bool marksCollide(const TextSpec& spec, double width) {
  Fitted f = laid(spec, width);
  if (TextMarks::effectiveStyle(f.style) != EmphasisStyle::highlight) return false;
  LaidText text(f.attributed, width);
  const auto& lines = text.lines();
  if (lines.size() < 2) return false;
  for (const MarkBox& mark : TextMarks::markBoxes(text, f.style, f.fontSize, {0, 0, width, text.height()})) {
    for (size_t j = 0; j < lines.size(); ++j) {
      if (static_cast<int>(j) == mark.line) continue;
      Rect ink = lines[j].ink.offsetBy(lines[j].origin.x, lines[j].origin.y);
      if (ink.isEmpty()) continue;
      Rect overlap = mark.box.intersection(ink);
      if (overlap.width > 1.0 && overlap.height > 0.12 * ink.height) return true;
    }
  }
  return false;
}

}  // namespace vorno::TextLayout
