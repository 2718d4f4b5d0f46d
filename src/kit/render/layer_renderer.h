// LayerRenderer: one ElementLayout drawn into one transparent bitmap at a scale, with its
// opacity, shadow, blend-ready content and blur; and the painting of a slide's or spread's
// backgrounds. Inside a layer the content rectangle starts at (bleed, bleed), y down.
#pragma once

#include "kit/image/image.h"
#include "kit/layout/element_layout.h"

typedef struct _cairo cairo_t;

namespace vorno::LayerRenderer {

/// The element's layer: `layerRect` at `scale` (clamped to 0.02...1), at least 1 x 1 pixel.
/// Throws VornoError: a capture or image that can't be read, "Layer render failed."
Image render(const ElementLayout& element, double scale);
/// The same layer drawn on a picture's own pixel grid: `layerRect`'s top left corner lies
/// (`offsetX`, `offsetY`) pixels (each in [0, 1)) into the first pixel, and the bitmap is as big
/// as it takes to cover the rest. Copied at a whole-pixel position it lands exactly, unresampled.
Image render(const ElementLayout& element, double scale, double offsetX, double offsetY);
/// Draws the element straight into `cr` (canvas coordinates: its frame where it stands), cut to
/// its layer rectangle as its layer would be, when a layer would add nothing: full opacity, no
/// layer shadow, no blur. False, with nothing drawn, otherwise.
bool drawInPlace(const ElementLayout& element, cairo_t* cr);
/// Paints the backgrounds of a composed slide: each member's in its slice, or one spanning fill
/// across the board. Canvas coordinates (the board), y down.
void paintBoard(const ComposedSlide& slide, cairo_t* cr);
/// The backgrounds alone, the whole board at `scale`. Throws "Background render failed."
Image background(const ComposedSlide& slide, double scale);

}  // namespace vorno::LayerRenderer
