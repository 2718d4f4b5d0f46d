// Canvas: an owned cairo image surface and its context.
//
// A fresh cairo image surface is zero-filled by pixman's calloc, which already means transparent
// for ARGB32 and black for RGB24, so neither constructor paints: a large canvas costs no pixel
// writes until something is drawn, and untouched pages stay unmapped.
#include "kit/image/canvas.h"

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

Canvas Canvas::transparent(int width, int height) {
  if (!allocatable(width, height)) failAllocation(width, height, false);
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    failAllocation(width, height, false);
  }
  cairo_t* cr = cairo_create(surface);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    failAllocation(width, height, false);
  }
  return Canvas(surface, cr);
}

Canvas Canvas::opaque(int width, int height) {
  if (!allocatable(width, height)) failAllocation(width, height, true);
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    failAllocation(width, height, true);
  }
  cairo_t* cr = cairo_create(surface);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    failAllocation(width, height, true);
  }
  return Canvas(surface, cr);
}

Canvas::Canvas(Canvas&& other) noexcept
    : surface_(std::exchange(other.surface_, nullptr)), cr_(std::exchange(other.cr_, nullptr)) {}

Canvas& Canvas::operator=(Canvas&& other) noexcept {
  if (this != &other) {
    if (cr_) cairo_destroy(cr_);
    if (surface_) cairo_surface_destroy(surface_);
    surface_ = std::exchange(other.surface_, nullptr);
    cr_ = std::exchange(other.cr_, nullptr);
  }
  return *this;
}

Canvas::~Canvas() {
  if (cr_) cairo_destroy(cr_);
  if (surface_) cairo_surface_destroy(surface_);
}

int Canvas::width() const { return surface_ ? cairo_image_surface_get_width(surface_) : 0; }
int Canvas::height() const { return surface_ ? cairo_image_surface_get_height(surface_) : 0; }

Image Canvas::finish() {
  if (cr_) {
    cairo_destroy(cr_);
    cr_ = nullptr;
  }
  // Image::adopt takes our reference and flushes pending drawing.
  return Image::adopt(std::exchange(surface_, nullptr));
}

}  // namespace vorno
