#include "kit/image/image_fill_renderer.h"

#include "kit/image/blur.h"
#include "kit/image/cairo_util.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/image/vector_image.h"
#include "kit/util/lru_cache.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <cstdio>
#include <mutex>

namespace vorno {
namespace {

std::string timeKey(double mtime) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6f", mtime);
  return text;
}

// A fill's blur as a fraction of the picture's longer side at blur 1.
constexpr double blurAtFull = 0.04;

}  // namespace

struct ImageFillRenderer::State {
  std::mutex lock;
  LRUCache<std::string, Image> derived{LRUCache<std::string, Image>::unlimited, derivedBytes};

  Image find(const std::string& key) {
    std::lock_guard guard(lock);
    return derived.value(key).value_or(Image());
  }
  void store(const std::string& key, const Image& image) {
    std::lock_guard guard(lock);
    derived.setValue(image, key, image.byteCount());
  }
};

ImageFillRenderer& ImageFillRenderer::shared() {
  static ImageFillRenderer renderer;
  return renderer;
}

ImageFillRenderer::ImageFillRenderer() : state_(std::make_unique<State>()) {}
ImageFillRenderer::~ImageFillRenderer() = default;

void ImageFillRenderer::removeAll() {
  std::lock_guard guard(state_->lock);
  state_->derived.removeAll();
}

double ImageFillRenderer::blurRadius(double blur, Size pictureSize) {
  return std::max(0.0, blur) * blurAtFull * std::max(pictureSize.width, pictureSize.height);
}

Image ImageFillRenderer::load(const std::string& path) {
  if (VectorImage::isVector(path)) {
    std::string key = "vector|" + path + "|" + timeKey(Images::modificationTime(path).value_or(0));
    if (Image cached = state_->find(key)) return cached;
    Image raster = VectorImage::rasterize(path, vectorScale);
    if (raster) state_->store(key, raster);
    return raster;
  }
  try {
    return ImageCache::shared().image(path);
  } catch (const std::exception&) {
    // Missing, unreadable, a recording, or no memory for it: the fill shows the missing grey.
    return {};
  }
}

Image ImageFillRenderer::blurredPicture(const Image& picture, const std::string& path, double blur) {
  std::string key =
      "blur|" + path + "|" + timeKey(Images::modificationTime(path).value_or(0)) + "|" + timeKey(blur);
  if (Image cached = state_->find(key)) return cached;
  Image soft = blurred(picture, blurRadius(blur, {double(picture.width()), double(picture.height())}));
  if (!soft) return picture;  // out of memory for the blur: the sharp picture will do
  state_->store(key, soft);
  return soft;
}

void ImageFillRenderer::paint(const ImageFill& fill, cairo_t* cr, const Rect& rect) {
  if (rect.isEmpty()) return;
  Image picture = load(fill.path);
  CairoSaved saved(cr);
  cairo_new_path(cr);
  addRect(cr, rect);
  if (!picture) {
    cairo_set_source_rgba(cr, missingGrey[0], missingGrey[1], missingGrey[2], missingGrey[3]);
    cairo_fill(cr);
    return;
  }
  if (fill.blur > 0) picture = blurredPicture(picture, fill.path, fill.blur);
  cairo_clip(cr);
  if (fill.fit == ImageFill::Fit::contain) {
    // Bars are black, never see-through: a store rejects screenshots with transparency.
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_paint(cr);
  }
  const double width = picture.width(), height = picture.height();
  Rect placed = fill.placement({width, height}, rect);
  if (!placed.isEmpty()) {
    cairo_save(cr);
    cairo_translate(cr, placed.x, placed.y);
    cairo_scale(cr, placed.width / width, placed.height / height);
    cairo_set_source_surface(cr, picture.surface(), 0, 0);
    cairo_pattern_t* source = cairo_get_source(cr);
    cairo_pattern_set_filter(source, CAIRO_FILTER_GOOD);
    // Pad, so the picture's border pixels stay whole at its edges instead of fading out.
    cairo_pattern_set_extend(source, CAIRO_EXTEND_PAD);
    cairo_rectangle(cr, 0, 0, width, height);
    cairo_fill(cr);
    cairo_restore(cr);
  }
  if (fill.dim > 0) {
    cairo_set_source_rgba(cr, 0, 0, 0, std::min(fill.dim, 1.0));
    cairo_paint(cr);
  }
}

}  // namespace vorno
