// Rasters are drawn through cairo's GOOD filter (box-weighted when shrinking, bilinear when
// enlarging), the closest match to "high interpolation" at a cost that suits layers. A crop
// reads from a sub-surface of the integral crop rectangle, and the pattern pads its edges, so
// neither the pixels outside the crop nor transparency bleed into the frame's border.
#include "kit/render/image_drawing.h"

#include "kit/devices/screen_shape.h"
#include "kit/image/cairo_util.h"
#include "kit/image/image_cache.h"
#include "kit/image/vector_image.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::ImageDrawing {
namespace {

void drawRaster(const Image& image, const std::optional<CropRect>& crop, const Rect& rect, cairo_t* cr) {
  if (!image || rect.isEmpty()) return;
  const double pw = image.width(), ph = image.height();
  double sx = 0, sy = 0, sw = pw, sh = ph;
  if (crop) {
    // The integral rectangle: outward to whole pixels, then kept inside the image.
    double x0 = std::floor(crop->x * pw), y0 = std::floor(crop->y * ph);
    double x1 = std::ceil((crop->x + crop->width) * pw), y1 = std::ceil((crop->y + crop->height) * ph);
    x0 = std::clamp(x0, 0.0, pw - 1), y0 = std::clamp(y0, 0.0, ph - 1);
    x1 = std::clamp(x1, x0 + 1, pw), y1 = std::clamp(y1, y0 + 1, ph);
    sx = x0, sy = y0, sw = x1 - x0, sh = y1 - y0;
  }
  CairoSurfacePtr sub;
  cairo_surface_t* source = image.surface();
  if (crop) {
    sub.reset(cairo_surface_create_for_rectangle(image.surface(), sx, sy, sw, sh));
    if (cairo_surface_status(sub.get()) != CAIRO_STATUS_SUCCESS) return;
    source = sub.get();
  }
  CairoSaved saved(cr);
  cairo_new_path(cr);
  addRect(cr, rect);
  cairo_clip(cr);
  cairo_translate(cr, rect.minX(), rect.minY());
  cairo_scale(cr, rect.width / sw, rect.height / sh);
  cairo_set_source_surface(cr, source, 0, 0);
  cairo_pattern_t* pattern = cairo_get_source(cr);
  cairo_pattern_set_filter(pattern, CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  cairo_paint(cr);
}

}  // namespace

Path maskPath(const ImageSpec& image, const Rect& rect) {
  Path path;
  if (!image.mask) return path;
  switch (*image.mask) {
    case ShapeKind::rectangle:
    case ShapeKind::arrow:
    case ShapeKind::path:
      path.addRect(rect);
      break;
    case ShapeKind::roundedRectangle:
      path = ScreenShape::continuousRect(rect, std::max(image.cornerRadius, 0.0));
      break;
    case ShapeKind::capsule:
      path = ScreenShape::continuousRect(rect, std::min(rect.width, rect.height) / 2);
      break;
    case ShapeKind::circle:
      path.addEllipse(rect);
      break;
  }
  return path;
}

Rect vectorRect(const CropRect& crop, const Rect& rect) {
  const double cw = std::max(crop.width, 0.0001), ch = std::max(crop.height, 0.0001);
  return {rect.minX() - crop.x * rect.width / cw, rect.minY() - crop.y * rect.height / ch, rect.width / cw,
          rect.height / ch};
}

void drawImage(const ImageSpec& image, const Rect& rect, cairo_t* cr) {
  CairoSaved saved(cr);
  cairo_new_path(cr);
  Path mask = maskPath(image, rect);
  if (!mask.isEmpty()) {
    appendPath(cr, mask);
    cairo_clip(cr);
  }
  if (VectorImage::isVector(image.path)) {
    Rect target = image.crop ? vectorRect(*image.crop, rect) : rect;
    // Without a mask, a cropped drawing would spill past its frame; the crop is a clip too.
    if (image.crop && mask.isEmpty()) {
      addRect(cr, rect);
      cairo_clip(cr);
    }
    if (VectorImage::draw(image.path, cr, target)) return;
  }
  // Also the fallback for a vector file that can't be read: the cache then says why.
  Image raster = ImageCache::shared().image(image.path);
  drawRaster(raster, image.crop, rect, cr);
}

}  // namespace vorno::ImageDrawing
