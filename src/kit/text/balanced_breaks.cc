#include "kit/text/balanced_breaks.h"

#include <pango/pango.h>

namespace vorno::BalancedBreaks {
namespace {

constexpr int kSearchSteps = 6;

bool isBlank(gunichar c) { return g_unichar_isspace(c) || c == '\n' || c == '\r'; }

/// Whether the visible text of `line` holds no line-break opportunity: one word, or one CJK
/// character together with the punctuation that may not be parted from it.
bool isSinglePiece(const char* text, const PangoLogAttr* attrs, int attrCount, const PangoLayoutLine* line) {
  const char* start = text + line->start_index;
  const char* end = start + line->length;
  int offset = static_cast<int>(g_utf8_pointer_to_offset(text, start));
  int first = -1, last = -1;
  for (const char* p = start; p < end; p = g_utf8_next_char(p), ++offset) {
    if (isBlank(g_utf8_get_char(p))) continue;
    if (first < 0) first = offset;
    last = offset;
  }
  if (first < 0) return false;  // a blank line is no orphan
  for (int i = first + 1; i <= last && i < attrCount; ++i) {
    if (attrs[i].is_line_break) return false;
  }
  return true;
}

int lineCount(PangoLayout* layout, int width) {
  pango_layout_set_width(layout, width);
  return pango_layout_get_line_count(layout);
}

}  // namespace

int shortLastLines(PangoLayout* layout) {
  const char* text = pango_layout_get_text(layout);
  int attrCount = 0;
  const PangoLogAttr* attrs = pango_layout_get_log_attrs_readonly(layout, &attrCount);
  int count = 0;
  for (GSList* l = pango_layout_get_lines_readonly(layout); l; l = l->next) {
    auto* line = static_cast<PangoLayoutLine*>(l->data);
    auto* next = l->next ? static_cast<PangoLayoutLine*>(l->next->data) : nullptr;
    // The last line of a paragraph that took more than one line.
    bool endsParagraph = !next || next->is_paragraph_start;
    if (endsParagraph && !line->is_paragraph_start && isSinglePiece(text, attrs, attrCount, line)) ++count;
  }
  return count;
}

int rebreak(PangoLayout* layout) {
  const int full = pango_layout_get_width(layout);
  const int before = shortLastLines(layout);
  if (full <= 0 || before == 0) return 0;
  const int lines = pango_layout_get_line_count(layout);
  int extra = 0;
  // `fits` keeps the line count; `tooNarrow` may not.
  int fits = full, tooNarrow = full / 2, laidAt = full;
  for (int step = 0; step < kSearchSteps && fits - tooNarrow > 1; ++step) {
    int mid = tooNarrow + (fits - tooNarrow) / 2;
    ++extra;
    laidAt = mid;
    if (lineCount(layout, mid) == lines) {
      fits = mid;
    } else {
      tooNarrow = mid;
    }
  }
  if (laidAt != fits) {
    ++extra;
    lineCount(layout, fits);
  }
  if (fits != full && shortLastLines(layout) >= before) {
    // Even lines did not help (a paragraph of two long words, say): the greedy breaks stay.
    ++extra;
    lineCount(layout, full);
  }
  return extra;
}

}  // namespace vorno::BalancedBreaks
