#include "kit/text/balanced_breaks.h"

#include "kit/util/utf8.h"

#include <pango/pango.h>

#include <array>
#include <optional>
#include <string>

namespace vorno::BalancedBreaks {
namespace {

constexpr int kSearchSteps = 6;

/// The widths chosen for the last few texts this thread re-broke. One slide lays the same text
/// at the same width several times (fitting aside: its ink, its checks, its drawing), and each
/// search costs up to eight layouts; a remembered answer costs one.
class RecentWidths {
 public:
  RecentWidths() = default;
  RecentWidths(const RecentWidths&) = delete;
  RecentWidths& operator=(const RecentWidths&) = delete;
  ~RecentWidths() {
    for (Entry& e : entries_) forget(e);
  }

  /// The width chosen before for this text, attributes, wrap width and font context.
  std::optional<int> find(PangoLayout* layout, int full) const {
    PangoContext* context = pango_layout_get_context(layout);
    const char* text = pango_layout_get_text(layout);
    PangoAttrList* attrs = pango_layout_get_attributes(layout);
    for (const Entry& e : entries_) {
      if (e.attrs && e.full == full && e.context == context && e.serial == pango_context_get_serial(context) &&
          e.text == text && attrs && pango_attr_list_equal(e.attrs, attrs)) {
        return e.chosen;
      }
    }
    return std::nullopt;
  }

  void remember(PangoLayout* layout, int full, int chosen) {
    PangoAttrList* attrs = pango_layout_get_attributes(layout);
    if (!attrs) return;
    Entry& e = entries_[next_];
    next_ = (next_ + 1) % entries_.size();
    forget(e);
    e.text = pango_layout_get_text(layout);
    e.attrs = pango_attr_list_ref(attrs);
    e.context = pango_layout_get_context(layout);
    e.serial = pango_context_get_serial(e.context);
    e.full = full;
    e.chosen = chosen;
  }

 private:
  struct Entry {
    std::string text;
    PangoAttrList* attrs = nullptr;  // owned
    PangoContext* context = nullptr;  // compared only; a new context gets a new serial
    guint serial = 0;
    int full = 0;
    int chosen = 0;
  };

  static void forget(Entry& e) {
    if (e.attrs) pango_attr_list_unref(e.attrs);
    e.attrs = nullptr;
  }

  std::array<Entry, 8> entries_;
  size_t next_ = 0;
};

thread_local RecentWidths recentWidths;

bool isBlank(gunichar c) { return g_unichar_isspace(c) || c == '\n' || c == '\r'; }

/// Whether the visible text of `line` holds no line-break opportunity: one word, or one CJK
/// character together with the punctuation that may not be parted from it. `offset` is the
/// character index of the line's first byte.
bool isSinglePiece(const char* text, const PangoLogAttr* attrs, int attrCount, const PangoLayoutLine* line,
                   int offset) {
  const char* start = text + line->start_index;
  const char* end = start + line->length;
  int first = -1, last = -1;
  for (const char* p = start; p < end; p = nextUTF8Character(p), ++offset) {
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
  // Character offsets are counted along as the lines go by: counting from the text's start for
  // each line would make a text of many paragraphs cost the square of its length.
  int offset = 0;
  const char* counted = text;
  for (GSList* l = pango_layout_get_lines_readonly(layout); l; l = l->next) {
    auto* line = static_cast<PangoLayoutLine*>(l->data);
    auto* next = l->next ? static_cast<PangoLayoutLine*>(l->next->data) : nullptr;
    const char* start = text + line->start_index;
    offset += static_cast<int>(g_utf8_pointer_to_offset(counted, start));
    counted = start;
    // The last line of a paragraph that took more than one line.
    bool endsParagraph = !next || next->is_paragraph_start;
    if (endsParagraph && !line->is_paragraph_start && isSinglePiece(text, attrs, attrCount, line, offset)) ++count;
  }
  return count;
}

namespace {

struct Search {
  int width = 0;    ///< the wrap width chosen; the full width when nothing better was found
  int layouts = 0;  ///< layouts it took
};

/// The narrowest width that keeps the line count, halving from half the width to all of it, when
/// it leaves fewer short last lines than `before`; the layout is left laid at that width.
Search search(PangoLayout* layout, int full, int before) {
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
    fits = full;
  }
  return {fits, extra};
}

}  // namespace

int rebreak(PangoLayout* layout) {
  const int full = pango_layout_get_width(layout);
  const int before = shortLastLines(layout);
  if (full <= 0 || before == 0) return 0;
  int extra = 0;
  if (std::optional<int> known = recentWidths.find(layout, full)) {
    if (*known == full) return 0;
    // A context at a freed one's address could pass for it: an answer that no longer keeps the
    // line count is searched again.
    const int lines = pango_layout_get_line_count(layout);
    if (lineCount(layout, *known) == lines) return 1;
    lineCount(layout, full);
    extra = 2;
  }
  const Search chosen = search(layout, full, before);
  recentWidths.remember(layout, full, chosen.width);
  return extra + chosen.layouts;
}

}  // namespace vorno::BalancedBreaks
