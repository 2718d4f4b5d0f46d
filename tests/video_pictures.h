// Test-only: pictures and short recordings with known colours, for the video writer and the
// frames read back from recordings.
#pragma once

#include "kit/image/image.h"
#include "kit/video/video_writer.h"

#include <cairo.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vorno::testing {

using RGB = std::array<int, 3>;

/// An opaque picture of one sRGB colour.
inline Image solidPicture(int width, int height, RGB color) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, color[0] / 255.0, color[1] / 255.0, color[2] / 255.0);
  cairo_paint(cr);
  cairo_destroy(cr);
  return Image::adopt(surface);
}

/// An opaque picture in vertical bands of the given colours, left to right.
inline Image bandedPicture(int width, int height, const std::vector<RGB>& colors) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(surface);
  double band = static_cast<double>(width) / colors.size();
  for (size_t i = 0; i < colors.size(); ++i) {
    cairo_set_source_rgb(cr, colors[i][0] / 255.0, colors[i][1] / 255.0, colors[i][2] / 255.0);
    cairo_rectangle(cr, band * i, 0, band, height);
    cairo_fill(cr);
  }
  cairo_destroy(cr);
  return Image::adopt(surface);
}

/// The sRGB colour of one pixel.
inline RGB pixelAt(const Image& image, int x, int y) {
  uint32_t word = reinterpret_cast<const uint32_t*>(image.data() + static_cast<size_t>(y) * image.stride())[x];
  return {static_cast<int>(word >> 16 & 0xff), static_cast<int>(word >> 8 & 0xff), static_cast<int>(word & 0xff)};
}

/// The colour the recording of `recordingOfSeconds` shows during second `second`.
inline RGB colorOfSecond(int second) {
  static const std::vector<RGB> colors = {{220, 40, 40}, {40, 200, 60}, {40, 60, 220}, {230, 210, 40}, {200, 40, 200},
                                          {40, 200, 210}, {240, 140, 30}, {120, 120, 120}};
  return colors[static_cast<size_t>(second) % colors.size()];
}

/// A recording of `seconds` whole seconds at `fps`, each second one colour (colorOfSecond).
inline void recordingOfSeconds(const std::string& path, int seconds, int width = 64, int height = 48, int fps = 10) {
  VideoWriter writer(path, width, height, fps);
  for (int second = 0; second < seconds; ++second) {
    Image picture = solidPicture(width, height, colorOfSecond(second));
    for (int i = 0; i < fps; ++i) writer.append(picture);
  }
  writer.finish();
}

}  // namespace vorno::testing
