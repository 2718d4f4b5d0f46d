// The boxes behind marked text: highlight and marker boxes per marked run, sticker boxes per
// line. Geometry only; text_draw.cc paints them.
#pragma once

#include "kit/text/text_layout.h"
#include "kit/util/geometry.h"

#include <vector>

namespace vorno {

class LaidText;

/// The paper behind one line of a sticker text.
struct StickerBox {
  int line = 0;
  Rect box;                 ///< before rotation, y down
  double radius = 0;
  double degrees = 0;       ///< tilt: positive turns counter-clockwise as seen
  bool emphasised = false;  ///< the line has a marked run
};

namespace TextMarks {

/// `highlight` when a block colour is set, else the style's own emphasis style.
EmphasisStyle effectiveStyle(const TextLayout::Style& style);

/// Highlight or marker boxes of `text` laid in `frame`; `fittedSize` stands in for a run without
/// a face. Empty for other styles.
std::vector<TextLayout::MarkBox> markBoxes(const LaidText& text, const TextLayout::Style& style, double fittedSize,
                                           const Rect& frame);

/// Sticker boxes of the lines that have visible content, in line order.
std::vector<StickerBox> stickerBoxes(const LaidText& text, const TextLayout::Style& style, double fittedSize,
                                     const Rect& frame);

/// The colour highlight and marker boxes are painted in.
RGBColor markColor(const TextLayout::Style& style);

}  // namespace TextMarks
}  // namespace vorno
