// Canvas: an owned cairo image surface and its context.
//
// A fresh cairo image surface is zero-filled by pixman's calloc, which already means transparent
// for ARGB32 and black for RGB24, so a new canvas isn't painted; its pages are faulted in by huge
// pages where the kernel offers them. A large one may instead come from the SurfacePool, already
// mapped: that one is cleared, which costs far less than fresh pages.
#include "kit/image/canvas.h"

#include "kit/image/cairo_util.h"
#include "kit/image/surface_pool.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <string>
#include <utility>

namespace vorno {
namespace {

[[noreturn]] void failAllocation(int width, int height, bool opaque) {
  throw VornoError::io("Could not allocate a " + std::to_string(width) + "×" + std::to_string(height) +
                       (opaque ? " canvas." : " layer."));
}

// cairo refuses sides above 32767 itself; the byte count is checked here as well so that a
// stride overflow can never reach the allocator.
bool allocatable(int width, int height) {
  if (width <= 0 || height <= 0 || width > 32767 || height > 32767) return false;
  return static_cast<int64_t>(width) * height * 4 < (int64_t(1) << 32);
}

}  // namespace

// A surface of that format and size with its context, cleared: from the pool, or new.
Canvas Canvas::make(int format, int width, int height) {
  const bool opaque = format == CAIRO_FORMAT_RGB24;
  if (!allocatable(width, height)) failAllocation(width, height, opaque);
  cairo_surface_t* surface = SurfacePool::take(format, width, height);
  const bool recycled = surface != nullptr;
  if (!surface) surface = newImageSurface(format, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    failAllocation(width, height, opaque);
  }
  cairo_t* cr = cairo_create(surface);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    failAllocation(width, height, opaque);
  }
  if (recycled) {
    // Black for an opaque canvas, transparent for a layer: what a fresh surface holds.
    cairo_save(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_paint(cr);
    cairo_restore(cr);
  }
  return Canvas(surface, cr);
}

Canvas Canvas::transparent(int width, int height) { return make(CAIRO_FORMAT_ARGB32, width, height); }

Canvas Canvas::opaque(int width, int height) { return make(CAIRO_FORMAT_RGB24, width, height); }

Canvas::Canvas(Canvas&& other) noexcept
    : surface_(std::exchange(other.surface_, nullptr)), cr_(std::exchange(other.cr_, nullptr)) {}

Canvas& Canvas::operator=(Canvas&& other) noexcept {
  if (this != &other) {
    if (cr_) cairo_destroy(cr_);
    SurfacePool::give(surface_);
    surface_ = std::exchange(other.surface_, nullptr);
    cr_ = std::exchange(other.cr_, nullptr);
  }
  return *this;
}

Canvas::~Canvas() {
  if (cr_) cairo_destroy(cr_);
  SurfacePool::give(surface_);
}

int Canvas::width() const { return surface_ ? cairo_image_surface_get_width(surface_) : 0; }
int Canvas::height() const { return surface_ ? cairo_image_surface_get_height(surface_) : 0; }

Image Canvas::finish() {
  if (cr_) {
    cairo_destroy(cr_);
    cr_ = nullptr;
  }
  // The image takes our reference and flushes pending drawing; when its last copy goes, the
  // surface goes back to the pool.
  return Image::adoptRecyclable(std::exchange(surface_, nullptr));
}

}  // namespace vorno
