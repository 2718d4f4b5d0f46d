// Test-only: a bitmap to draw a device into and read pixels back from, and captures made of
// plain colours, so drawing tests can say what colour must be where.
#pragma once

#include "kit/image/image.h"
#include "kit/model/color.h"

#include <cairo.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>

namespace vorno::testing {

/// Colour of one pixel, straight (not premultiplied), channels 0...255.
struct Pixel {
  double r = 0, g = 0, b = 0, a = 0;
  /// Largest channel difference from an opaque `color`, in 0...255 units.
  double distance(const RGBColor& color) const {
    return std::fmax(std::fmax(std::fabs(r - color.r * 255), std::fabs(g - color.g * 255)),
                     std::fmax(std::fabs(b - color.b * 255), std::fabs(a - color.a * 255)));
  }
  double brightness() const { return (r + g + b) / 3; }
};

class TestCanvas {
 public:
  TestCanvas(int width, int height, const RGBColor& background = {1, 1, 1, 1})
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)), cr_(cairo_create(surface_)) {
    cairo_set_source_rgba(cr_, background.r, background.g, background.b, background.a);
    cairo_paint(cr_);
  }
  ~TestCanvas() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
  }
  TestCanvas(const TestCanvas&) = delete;
  TestCanvas& operator=(const TestCanvas&) = delete;

  cairo_t* context() const { return cr_; }
  cairo_surface_t* surface() const { return surface_; }
  int width() const { return cairo_image_surface_get_width(surface_); }
  int height() const { return cairo_image_surface_get_height(surface_); }

  Pixel at(double x, double y) const {
    cairo_surface_flush(surface_);
    int ix = static_cast<int>(std::floor(x)), iy = static_cast<int>(std::floor(y));
    if (ix < 0 || iy < 0 || ix >= width() || iy >= height()) return {};
    const uint8_t* row = cairo_image_surface_get_data(surface_) + static_cast<size_t>(iy) * cairo_image_surface_get_stride(surface_);
    uint32_t word;
    std::memcpy(&word, row + 4 * ix, 4);
    double a = (word >> 24) & 0xFF;
    auto channel = [&](int shift) { return a > 0 ? ((word >> shift) & 0xFF) * 255.0 / a : 0.0; };
    return {channel(16), channel(8), channel(0), a};
  }

  /// Mean of the largest channel difference over all pixels, 0...255.
  double meanDifference(const TestCanvas& other) const {
    double total = 0;
    for (int y = 0; y < height(); ++y)
      for (int x = 0; x < width(); ++x) {
        Pixel p = at(x, y), q = other.at(x, y);
        total += std::fmax(std::fmax(std::fabs(p.r - q.r), std::fabs(p.g - q.g)),
                           std::fmax(std::fabs(p.b - q.b), std::fabs(p.a - q.a)));
      }
    return total / (static_cast<double>(width()) * height());
  }

  bool samePixels(const TestCanvas& other) const {
    cairo_surface_flush(surface_);
    cairo_surface_flush(other.surface_);
    int stride = cairo_image_surface_get_stride(surface_);
    return width() == other.width() && height() == other.height() &&
           std::memcmp(cairo_image_surface_get_data(surface_), cairo_image_surface_get_data(other.surface_),
                       static_cast<size_t>(stride) * height()) == 0;
  }

 private:
  cairo_surface_t* surface_;
  cairo_t* cr_;
};

/// An opaque capture whose colour depends on the pixel.
inline Image paintedCapture(int width, int height, const std::function<RGBColor(int x, int y)>& color) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  uint8_t* data = cairo_image_surface_get_data(surface);
  int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      RGBColor c = color(x, y);
      uint32_t word = 0xFF000000u | (uint32_t(std::lround(c.r * 255)) << 16) | (uint32_t(std::lround(c.g * 255)) << 8) |
                      uint32_t(std::lround(c.b * 255));
      std::memcpy(data + static_cast<size_t>(y) * stride + 4 * x, &word, 4);
    }
  cairo_surface_mark_dirty(surface);
  return Image::adopt(surface);
}

inline Image solidCapture(int width, int height, const RGBColor& color) {
  return paintedCapture(width, height, [&](int, int) { return color; });
}

}  // namespace vorno::testing
