// Shadows of layers: what a layer's shadow is (the stock one or a shadowStyle, in device
// pixels) and the drawing of it under a finished group of content.
//
// How it works: the content is drawn into its own bitmap first; its alpha, times the shadow's
// colour and opacity, is blurred with our Gaussian (kit/image/blur.h) and painted offset under
// the content. One shadow is cast by the group as a whole, so a shape's fill and stroke (or a
// text's letters) never shadow each other.
#pragma once

#include "kit/image/image.h"
#include "kit/model/color.h"
#include "kit/model/text_style.h"

#include <optional>

typedef struct _cairo cairo_t;

namespace vorno {

struct LayerShadow {
  RGBColor color;     ///< alpha included (opacity folded in)
  double dx = 0;      ///< device pixels, + is right
  double dy = 0;      ///< device pixels, + is down
  double sigma = 0;   ///< standard deviation of the blur, device pixels
  bool operator==(const LayerShadow&) const = default;
};

namespace Shadow {

/// The shadow of an element `frameWidth` wide: the stock shadow (black at 0.28, 0.025 w down,
/// blur 0.06 w) or the style's values, all times `scale`.
LayerShadow of(const std::optional<ShadowStyle>& style, double frameWidth, double scale);

/// The shadow's own bitmap, the size of `content`: content's alpha tinted and blurred, not yet
/// offset. A null Image when memory runs out.
Image cast(const Image& content, const LayerShadow& shadow);

/// Paints `content` with its shadow beneath into `cr` at the device origin (identity matrix).
void paintWithShadow(cairo_t* cr, const Image& content, const LayerShadow& shadow);

}  // namespace Shadow
}  // namespace vorno
