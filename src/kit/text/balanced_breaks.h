// BalancedBreaks: a wrapped paragraph should not end on a lone word or a lone CJK character
// ("place", "で", "た。」"): the eye reads such a last line as left behind.
//
// How it works. Pango breaks greedily: each line takes as much as fits. When some wrapped
// paragraph ends on one unbreakable piece (no line-break opportunity inside its last line's
// visible text), the wrap width is searched downwards from the box's width for the narrowest one
// that still gives the same number of lines; at that width the lines come out even and the last
// one takes its share. The search halves an interval from half the width to the full width six
// times (a 128th of the width), so a re-break costs at most eight more layouts and only texts
// that end short pay it; each thread remembers its last few answers, so the same text laid again
// at the same width (for its ink, its checks, its drawing) costs one. The line count, and with it the height and the fitted size, never
// change; the lines are still aligned within the full box.
#pragma once

typedef struct _PangoLayout PangoLayout;

namespace vorno::BalancedBreaks {

/// How many wrapped paragraphs of the laid `layout` end on a line of a single unbreakable piece.
int shortLastLines(PangoLayout* layout);

/// Re-breaks `layout`, whose width is set and which wraps, so that fewer paragraphs end short,
/// keeping its line count; leaves it as it was when that can't be done. Returns the number of
/// extra layouts it took: at most 8, and 1 for a text this thread re-broke lately (2 more when
/// that answer has gone stale).
int rebreak(PangoLayout* layout);

}  // namespace vorno::BalancedBreaks
