// LayerBounds: how big one layer may be, and what gives way when a document asks for more. A
// legal but wrong value (a shadow blur of 1e9, an element a thousand canvases wide) must not end
// a render, so a layer past the bound is first stripped of the effect that made it so (its
// shadow's blur and offset are limited to one element width, and its bleed to what that needs),
// and if it is still too big it is drawn at a reduced resolution and stretched into place. Each
// reduction is a "layer.reduced" warning in the picture's report.
//
// Decisions are taken at full size, whatever the scale of the picture, so a preview shows what
// an export will: the same shadow, the same softness.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/layout/issue_sink.h"

#include <cstdint>
#include <optional>

namespace vorno::LayerBounds {

/// The most pixels on a side of a layer: half of cairo's own limit, which a group inside a layer
/// of that size already passes (it is drawn empty). A spread element across twelve phones.
inline constexpr int maxSide = 16384;
/// The most pixels of a layer, 2^25 (128 MB of ARGB): a spread element across five tablets.
inline constexpr int64_t maxPixels = int64_t(1) << 25;
/// The most a shadowStyle's blur and offsets may be, in element widths, once a layer is too big.
inline constexpr double maxShadowReach = 1.0;

/// The element with its shadow limited, when its full-size layer is past the bound and the
/// shadow is what made it so; nothing when the element stays as it is.
std::optional<ElementLayout> clamped(const ElementLayout& element);

/// The share of `scale` a layer of `element` can be drawn at: 1 when it fits, less when its
/// layer rectangle at `scale` would be past the bound.
double resolution(const ElementLayout& element, double scale);

/// The element as it is drawn: clamped, or as it stands.
inline const ElementLayout& drawn(const ElementLayout& element, const std::optional<ElementLayout>& clamped) {
  return clamped ? *clamped : element;
}

/// The share of `scale` a spread's whole board (every slice side by side, as one picture) can be
/// drawn at: 1 when it fits the bound of a layer, less when so many or so large slices would be
/// past it. The board is then drawn smaller, never refused.
double boardResolution(const ComposedSlide& composed, double scale);

/// Says in `sink` what drawing the board at `scale` reduces, as a "spread.reduced" warning.
void reportBoardReduction(const ComposedSlide& composed, double scale, IssueSink& sink);

/// Says in `sink` what a full-size picture reduces of `element`'s layer, as "layer.reduced"
/// warnings: its shadow limited, its resolution lowered.
void reportReductions(const ElementLayout& element, IssueSink& sink);

}  // namespace vorno::LayerBounds
