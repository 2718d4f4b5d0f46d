// The shadow's blur: a CoreGraphics-style shadow "blur" is about twice the standard deviation of
// the Gaussian it looks like (the same convention as CSS shadows), so sigma is blur / 2.
#include "kit/render/shadow.h"

#include "kit/image/blur.h"
#include "kit/image/canvas.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vorno::Shadow {

LayerShadow of(const std::optional<ShadowStyle>& style, double frameWidth, double scale) {
  RGBColor color{0, 0, 0, 1};
  double opacity = 0.28, x = 0, y = 0.025, blur = 0.06;
  if (style) {
    if (style->color) color = *style->color;
    if (style->opacity) opacity = std::isfinite(*style->opacity) ? std::clamp(*style->opacity, 0.0, 1.0) : 0.28;
    if (style->x && std::isfinite(*style->x)) x = *style->x;
    if (style->y && std::isfinite(*style->y)) y = *style->y;
    if (style->blur && std::isfinite(*style->blur)) blur = std::max(0.0, *style->blur);
  }
  color.a *= opacity;
  const double w = frameWidth * scale;
  // The document's y is measured downward on the screen; so is cairo's.
  return LayerShadow{color, x * w, y * w, blur * w / 2};
}

Image cast(const Image& content, const LayerShadow& shadow) {
  if (!content) return {};
  const int width = content.width(), height = content.height();
  Image result;
  try {
    result = Canvas::transparent(width, height).finish();
  } catch (const VornoError&) {
    return {};
  }
  const double alpha = std::clamp(shadow.color.a, 0.0, 1.0);
  // Premultiplied shadow colour at full coverage, in 8.8 fixed point per unit of coverage.
  const uint32_t a = static_cast<uint32_t>(std::lround(alpha * 255));
  const uint32_t r = static_cast<uint32_t>(std::lround(std::clamp(shadow.color.r, 0.0, 1.0) * a));
  const uint32_t g = static_cast<uint32_t>(std::lround(std::clamp(shadow.color.g, 0.0, 1.0) * a));
  const uint32_t b = static_cast<uint32_t>(std::lround(std::clamp(shadow.color.b, 0.0, 1.0) * a));
  uint8_t* out = cairo_image_surface_get_data(result.surface());
  const int stride = result.stride();
  const bool hasAlpha = content.hasAlpha();
  for (int yy = 0; yy < height; ++yy) {
    const uint8_t* sourceRow = content.data() + static_cast<size_t>(yy) * content.stride();
    uint8_t* row = out + static_cast<size_t>(yy) * stride;
    for (int xx = 0; xx < width; ++xx) {
      uint32_t pixel;
      std::memcpy(&pixel, sourceRow + 4 * xx, 4);
      const uint32_t coverage = hasAlpha ? pixel >> 24 : 255;
      if (coverage == 0) continue;
      auto times = [coverage](uint32_t v) { return (v * coverage + 127) / 255; };
      uint32_t word = (times(a) << 24) | (times(r) << 16) | (times(g) << 8) | times(b);
      std::memcpy(row + 4 * xx, &word, 4);
    }
  }
  // A blur that can't get its scratch memory leaves a sharp shadow: better than none.
  blurARGB32(out, width, height, stride, shadow.sigma);
  cairo_surface_mark_dirty(result.surface());
  return result;
}

void paintWithShadow(cairo_t* cr, const Image& content, const LayerShadow& shadow) {
  if (!content) return;
  if (shadow.color.a > 0) {
    Image cast = Shadow::cast(content, shadow);
    if (cast) {
      cairo_set_source_surface(cr, cast.surface(), shadow.dx, shadow.dy);
      cairo_paint(cr);
    }
  }
  cairo_set_source_surface(cr, content.surface(), 0, 0);
  cairo_paint(cr);
}

}  // namespace vorno::Shadow
