// The soft shadow under a device.
//
// How it works. The shape is filled in black at the shadow's alpha into a bitmap of its own that
// covers, in device pixels, the shape grown by three standard deviations of the blur (1.5 times
// the blur, which is twice the deviation) and the same moved down by the offset, cut to the clip.
// The bitmap is blurred and painted back with the identity transform, so "down" is down on the
// final picture however the device is turned or rotated, as a shadow cast by light from above.
//
// At export sizes the big shadow is costly: a phone 1320 pixels wide casts a blur of about 120
// pixels over a region of some 1700 by 2900 pixels, ten megabytes to fill and blur. A blur that
// wide has no detail to keep, so when the context's transform is a plain uniform scale the bitmap
// is made smaller by f = min(6, blur in pixels / 8) (only when that is at least 1.5), the shape
// is filled and blurred there, and the result is scaled back up with a smooth filter. Under a
// rotation or a stretch the shadow is painted at full resolution, where such a shortcut could
// show. Any failure of the small bitmap falls back on the full one.
#include "kit/devices/device_drawing.h"

#include "kit/image/blur.h"
#include "kit/image/cairo_util.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::DeviceDrawing {
namespace {

Rect deviceBounds(cairo_t* cr, const Rect& user) {
  double xs[4] = {user.minX(), user.maxX(), user.maxX(), user.minX()};
  double ys[4] = {user.minY(), user.minY(), user.maxY(), user.maxY()};
  double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
  for (int i = 0; i < 4; ++i) {
    cairo_user_to_device(cr, &xs[i], &ys[i]);
    x0 = std::min(x0, xs[i]), x1 = std::max(x1, xs[i]);
    y0 = std::min(y0, ys[i]), y1 = std::max(y1, ys[i]);
  }
  return {x0, y0, x1 - x0, y1 - y0};
}

Rect deviceClip(cairo_t* cr) {
  double x0, y0, x1, y1;
  cairo_clip_extents(cr, &x0, &y0, &x1, &y1);
  return deviceBounds(cr, {x0, y0, x1 - x0, y1 - y0});
}

// The shadow a shape casts, in device pixels.
struct Cast {
  double blurPixels;
  double offsetPixels;  // downwards
  double alpha;
};

// Paints the shadow through a bitmap `factor` times smaller than `region` (device pixels).
// False when the bitmap can't be had; the target is then untouched.
bool paintThrough(cairo_t* cr, const ShapePainter& shape, const cairo_matrix_t& ctm, const Rect& region, double factor,
                  const Cast& cast, const std::optional<Rect>& hidden) {
  const auto [blurPixels, offsetPixels, alpha] = cast;
  int width = std::max(1, static_cast<int>(std::ceil(region.width / factor)));
  int height = std::max(1, static_cast<int>(std::ceil(region.height / factor)));
  // The shape is cast and blurred as coverage alone (a quarter of the work of blurring black
  // ARGB), then spread into the alpha of an ARGB bitmap, which pixman scales fastest. A blur of
  // 12 pixels or more (a full-size cast under a turn) goes through the ARGB blur, which shrinks
  // such blurs itself.
  const double sigma = blurPixels / 2 / factor;
  const bool single = sigma < 12;
  CairoSurfacePtr bitmap(newImageSurface(CAIRO_FORMAT_ARGB32, width, height));
  CairoSurfacePtr coverage(single ? newImageSurface(CAIRO_FORMAT_A8, width, height) : nullptr);
  if (cairo_surface_status(bitmap.get()) != CAIRO_STATUS_SUCCESS ||
      (single && cairo_surface_status(coverage.get()) != CAIRO_STATUS_SUCCESS))
    return false;
  {
    CairoContextPtr shadow(cairo_create(single ? coverage.get() : bitmap.get()));
    cairo_t* scr = shadow.get();
    cairo_scale(scr, 1 / factor, 1 / factor);
    cairo_translate(scr, -region.x, -region.y + offsetPixels);
    cairo_transform(scr, &ctm);
    cairo_set_source_rgba(scr, 0, 0, 0, alpha);
    shape(scr);
    if (cairo_status(scr) != CAIRO_STATUS_SUCCESS) return false;
  }
  cairo_surface_flush(bitmap.get());
  uint8_t* argb = cairo_image_surface_get_data(bitmap.get());
  const int argbStride = cairo_image_surface_get_stride(bitmap.get());
  if (single) {
    cairo_surface_flush(coverage.get());
    uint8_t* a8 = cairo_image_surface_get_data(coverage.get());
    const int a8Stride = cairo_image_surface_get_stride(coverage.get());
    if (!blurA8(a8, width, height, a8Stride, sigma)) return false;
    for (int y = 0; y < height; ++y) {
      const uint8_t* from = a8 + static_cast<size_t>(y) * a8Stride;
      auto* to = reinterpret_cast<uint32_t*>(argb + static_cast<size_t>(y) * argbStride);
      for (int x = 0; x < width; ++x) to[x] = uint32_t(from[x]) << 24;
    }
  } else if (!blurARGB32(argb, width, height, argbStride, sigma)) {
    return false;
  }
  cairo_surface_mark_dirty(bitmap.get());

  CairoSaved saved(cr);
  cairo_identity_matrix(cr);
  CairoPatternPtr pattern(cairo_pattern_create_for_surface(bitmap.get()));
  cairo_matrix_t matrix;
  cairo_matrix_init_scale(&matrix, 1 / factor, 1 / factor);
  cairo_matrix_translate(&matrix, -region.x, -region.y);
  cairo_pattern_set_matrix(pattern.get(), &matrix);
  cairo_pattern_set_filter(pattern.get(), factor > 1 ? CAIRO_FILTER_GOOD : CAIRO_FILTER_NEAREST);
  cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
  cairo_set_source(cr, pattern.get());
  addRect(cr, region);
  if (hidden) {
    addRect(cr, *hidden);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
  }
  cairo_fill(cr);
  return true;
}

}  // namespace

double paintShadow(cairo_t* cr, const ShapePainter& shape, const Rect& bounds, double blur, double offset,
                   double alpha, ShadowResolution resolution, std::optional<Rect> covered) {
  if (bounds.isEmpty() || !(alpha > 0) || cairo_status(cr) != CAIRO_STATUS_SUCCESS) return 0;
  cairo_matrix_t ctm;
  cairo_get_matrix(cr, &ctm);
  const double s = std::hypot(ctm.xx, ctm.yx);
  const double blurPixels = std::max(0.0, blur * s), offsetPixels = offset * s;

  double factor = 1;
  if (resolution == ShadowResolution::automatic) {
    bool plainScale = ctm.xy == 0 && ctm.yx == 0 && ctm.xx > 0 && ctm.yy > 0 &&
                      std::abs(ctm.xx - ctm.yy) < 1e-6 * ctm.xx;
    double candidate = std::min(6.0, blurPixels * 0.125);
    if (plainScale && candidate >= 1.5) factor = candidate;
  }

  Rect grown = deviceBounds(cr, bounds).outsetBy(1.5 * blurPixels);
  // Cut to the clip grown by the blur's reach, not the clip itself: the blur near the clip's edge
  // must still see the shape beyond it, or the shadow would fade towards a picture's border.
  Rect region = grown.united(grown.offsetBy(0, offsetPixels)).intersection(deviceClip(cr).outsetBy(1.5 * blurPixels));
  if (region.isEmpty()) return 0;
  double x0 = std::floor(region.minX()), y0 = std::floor(region.minY());
  region = {x0, y0, std::ceil(region.maxX()) - x0, std::ceil(region.maxY()) - y0};

  // Most of a device's shadow lies under the device itself. Skipping that part saves most of the
  // cost of scaling the bitmap back up; only an axis-aligned rectangle, whole pixels inside the
  // covered one, is skipped, so its edges stay exact.
  std::optional<Rect> hidden;
  if (covered && ctm.xy == 0 && ctm.yx == 0) {
    Rect inside = deviceBounds(cr, *covered);
    double hx0 = std::ceil(inside.minX()), hy0 = std::ceil(inside.minY());
    double hx1 = std::floor(inside.maxX()), hy1 = std::floor(inside.maxY());
    Rect snapped{hx0, hy0, hx1 - hx0, hy1 - hy0};
    if (!snapped.isEmpty() && region.contains(snapped)) hidden = snapped;
  }
  const Cast cast{blurPixels, offsetPixels, alpha};
  if (factor > 1 && paintThrough(cr, shape, ctm, region, factor, cast, hidden)) return factor;
  return paintThrough(cr, shape, ctm, region, 1, cast, hidden) ? 1 : 0;
}

}  // namespace vorno::DeviceDrawing
