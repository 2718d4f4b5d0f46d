// LaidText: an attributed text laid out by Pango at a width, with the measures the fitting and
// drawing code reads: lines with their origins, string ranges, widths and ink; the x of a string
// index; the face used at an index; glyph outlines and drawing of single lines.
//
// How lines are placed. Every line has a fixed height (the line height of the run it starts
// with: `k x lineSize x lineHeight`) and the lines are stacked from the frame's top, each exactly
// that far below the previous. Within its line box the baseline sits the descent of the line's
// own face (the family its first run asks for) above the bottom, so all extra height (or all of
// the shortfall) goes above the letters: the look of the platform we follow. Faces that stand in
// for other scripts don't move the baseline: Noto Sans Arabic reaches 0.74 em below it, and
// with its descent a tight Arabic headline would ride half an em above its box, where Inter's
// keeps it on the same baseline as Latin text of the same style. Pango's own absolute line height would centre the leading
// instead, so we place lines ourselves and draw them one by one.
//
// Horizontal placement is ours too: alignment moves the line's visible content (trailing
// whitespace left out) to the left edge, the centre or the right edge, in left-to-right and
// right-to-left paragraphs alike.
//
// Breaking is balanced unless asked otherwise: a wrapped paragraph that would end on a lone word
// or CJK character is re-broken narrower within the box (balanced_breaks.h). The line count and
// height are those of greedy breaking either way, which is why fitting, which reads only those,
// lays greedily and pays nothing for it.
#pragma once

#include "kit/text/text_layout.h"
#include "kit/util/geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

typedef struct _cairo cairo_t;
typedef struct _PangoLayout PangoLayout;
typedef struct _PangoLayoutLine PangoLayoutLine;

namespace vorno {

struct LaidLine {
  int start = 0;             ///< first byte of the line in the string
  int length = 0;            ///< bytes, paragraph separator not included
  Point origin;              ///< left end of the baseline, from the frame's top left, y down
  double top = 0;            ///< the line box's top, from the frame's top
  double height = 0;         ///< the fixed line height
  double ascent = 0;         ///< natural ascent of the faces on the line
  double descent = 0;        ///< descent of the line's own face: the baseline's height in its box
  double width = 0;          ///< typographic width (advance), trailing whitespace included
  double trailingWhitespace = 0;
  double contentMinX = 0;    ///< left end of the visible content from the origin (0 left-to-right)
  Rect ink;                  ///< ink of the glyphs, relative to the origin, y down
};

class LaidText {
 public:
  enum class Breaking {
    balanced,  ///< no wrapped paragraph ends on a lone word or CJK character when avoidable
    greedy,    ///< each line takes as much as fits: the same count and height, cheaper
  };

  /// Lays `text` with wrapping at `width`; a width that is not a positive finite number lays each
  /// paragraph on one line.
  LaidText(const TextLayout::AttributedText& text, double width, Breaking breaking = Breaking::balanced);
  ~LaidText();
  LaidText(const LaidText&) = delete;
  LaidText& operator=(const LaidText&) = delete;

  const std::string& string() const { return string_; }
  const std::vector<LaidLine>& lines() const { return lines_; }
  /// The sum of the line heights.
  double height() const { return height_; }
  /// The widest line without its trailing whitespace.
  double contentWidth() const;

  /// The x of a byte index in a line, from the line's origin: the leading edge of that character,
  /// or the trailing edge of the line's last character for the index one past it.
  double offsetForIndex(const LaidLine& line, int byteIndex) const;
  /// The attributed run that holds a byte index; nullptr outside the text.
  const TextLayout::TextRun* runAt(int byteIndex) const;
  /// Cap height of the face Pango used for the character at `byteIndex` of `line`.
  std::optional<double> capHeightAt(const LaidLine& line, int byteIndex) const;
  /// Family name of the face Pango used for the character at `byteIndex`; empty when none.
  std::string faceFamilyAt(int byteIndex) const;
  /// Glyphs Pango had no face for (drawn as boxes).
  int unknownGlyphsCount() const;
  /// Layouts that balanced breaking took beyond the first one.
  int extraLayouts() const { return extraLayouts_; }
  /// Bytes of text this thread has handed to Pango, once per layout and re-layout: the work of
  /// laying out type, which tests read to see that it stays bounded whatever a document holds.
  static uint64_t bytesLaid();

  /// Adds the outlines of a line to the current path of `cr`, its origin placed at (x, y) plus the
  /// line's origin, sheared about the baseline by `shear` (tan of the slant; positive leans right).
  void appendLinePath(cairo_t* cr, const LaidLine& line, double x, double y, double shear) const;
  /// Draws a line with its own colours, placed as appendLinePath places it.
  void showLine(cairo_t* cr, const LaidLine& line, double x, double y, double shear) const;

 private:
  PangoLayoutLine* pangoLine(const LaidLine& line) const;
  /// Reads the laid lines and places them, aligned within `boxWidth` when the text wraps.
  void measureLines(TextAlign alignment, std::optional<double> boxWidth);
  /// Descent of the face a run asks for, whichever faces drew its glyphs; nothing when that
  /// face can't be loaded.
  std::optional<double> ownDescent(const TextLayout::TextRun& run) const;

  std::string string_;
  std::vector<TextLayout::TextRun> runs_;
  std::vector<int> runStarts_;  ///< byte offset of every run
  PangoLayout* layout_ = nullptr;
  std::vector<LaidLine> lines_;
  std::vector<PangoLayoutLine*> pangoLines_;  ///< the Pango line of every laid line, owned by layout_
  double height_ = 0;
  int extraLayouts_ = 0;
};

}  // namespace vorno
