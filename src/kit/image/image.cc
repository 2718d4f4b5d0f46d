#include "kit/image/image.h"

#include "kit/image/surface_pool.h"

#include <cairo.h>

#include <atomic>

namespace vorno {

Image Image::adoptWith(cairo_surface_t* surface, void (*release)(cairo_surface_t*)) {
  Image image;
  if (!surface) return image;
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS ||
      cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE) {
    cairo_surface_destroy(surface);
    return image;
  }
  // Drawing code may have written through cairo; make the pixels visible to data() readers.
  cairo_surface_flush(surface);
  image.surface_ = std::shared_ptr<cairo_surface_t>(surface, release);
  static std::atomic<uint64_t> lastID{0};
  image.id_ = lastID.fetch_add(1, std::memory_order_relaxed) + 1;
  return image;
}

Image Image::adopt(cairo_surface_t* surface) { return adoptWith(surface, &cairo_surface_destroy); }

Image Image::adoptRecyclable(cairo_surface_t* surface) { return adoptWith(surface, &SurfacePool::give); }

int Image::width() const { return surface_ ? cairo_image_surface_get_width(surface_.get()) : 0; }
int Image::height() const { return surface_ ? cairo_image_surface_get_height(surface_.get()) : 0; }
int Image::stride() const { return surface_ ? cairo_image_surface_get_stride(surface_.get()) : 0; }

bool Image::hasAlpha() const {
  return surface_ && cairo_image_surface_get_format(surface_.get()) != CAIRO_FORMAT_RGB24;
}

const uint8_t* Image::data() const {
  return surface_ ? cairo_image_surface_get_data(surface_.get()) : nullptr;
}

}  // namespace vorno
