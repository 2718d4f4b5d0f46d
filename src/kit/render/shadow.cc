// The shadow's blur: a CoreGraphics-style shadow "blur" is about twice the standard deviation of
// the Gaussian it looks like (the same convention as CSS shadows), so sigma is blur / 2.
//
// A wide shadow has no detail to keep at full resolution. The stock shadow of a card 1100 pixels
// wide has a deviation of 33 pixels: on its 1500 x 2700 layer, casting, blurring and painting it
// with the content took 46 ms at full size and takes 24 ms reduced. From a deviation of 8 pixels on, the content's coverage is averaged down by a whole
// factor f (at most 8, so that the reduced deviation stays at 4 pixels or more), tinted and
// blurred there at sigma / f, and painted back enlarged with a bilinear filter; the box average
// and the enlargement add well under a level of error to so soft a picture.
#include "kit/render/shadow.h"

#include "kit/image/blur.h"
#include "kit/image/cairo_util.h"
#include "kit/image/canvas.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vorno::Shadow {

namespace {

// The content averaged down by `factor` (each small pixel the mean of a factor x factor block),
// whole blocks only at the edges so nothing is cut off; a null Image when memory runs out.
Image reducedCoverage(const Image& content, int factor) {
  const int width = (content.width() + factor - 1) / factor, height = (content.height() + factor - 1) / factor;
  try {
    Canvas small = Canvas::transparent(width, height);
    cairo_t* cr = small.context();
    cairo_scale(cr, 1.0 / factor, 1.0 / factor);
    cairo_set_source_surface(cr, content.surface(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
    cairo_paint(cr);
    return small.finish();
  } catch (const VornoError&) {
    return {};
  }
}

int reduction(double sigma) { return static_cast<int>(std::clamp(std::floor(sigma / 4), 1.0, 8.0)); }

}  // namespace

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
  const int factor = shadow.sigma >= 8 ? reduction(shadow.sigma) : 1;
  if (shadow.color.a > 0 && factor > 1) {
    Image small = reducedCoverage(content, factor);
    LayerShadow reduced = shadow;
    reduced.sigma = shadow.sigma / factor;
    Image cast = small ? Shadow::cast(small, reduced) : Image();
    if (cast) {
      CairoSaved saved(cr);
      cairo_translate(cr, shadow.dx, shadow.dy);
      cairo_scale(cr, factor, factor);
      cairo_set_source_surface(cr, cast.surface(), 0, 0);
      cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_BILINEAR);
      cairo_paint(cr);
    }
  } else if (shadow.color.a > 0) {
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
