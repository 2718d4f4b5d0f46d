// Measures arbitrary frame images. The first two bytes choose the size (21 to 100 pixels a side,
// or a little less to reach the too-small refusal), the rest are the pixels, one bit each, set
// for opaque. Measuring either refuses with a sentence or finds a screen that lies inside the
// image, holds its centre and has a sensible corner.
#include "fuzz/fuzz_support.h"
#include "kit/devices/custom_frame.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <cmath>
#include <memory>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

Surface frameImage(fuzz::FuzzBytes& bytes) {
  const int width = 16 + bytes.byte() % 85, height = 16 + bytes.byte() % 85;
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height), cairo_surface_destroy);
  std::string_view bits = bytes.rest();
  unsigned char* pixels = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<uint32_t*>(pixels + static_cast<size_t>(y) * stride);
    for (int x = 0; x < width; ++x) {
      size_t bit = static_cast<size_t>(y) * width + x;
      bool opaque = bit / 8 < bits.size() && (static_cast<uint8_t>(bits[bit / 8]) >> (bit % 8)) & 1;
      row[x] = opaque ? 0xFF202020u : 0u;
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzBytes bytes(data, size);
  Surface surface = frameImage(bytes);
  const int width = cairo_image_surface_get_width(surface.get());
  const int height = cairo_image_surface_get_height(surface.get());
  CustomFrame::Measurement m;
  try {
    m = CustomFrame::measureSurface(surface.get());
  } catch (const VornoError&) {
    return 0;
  }
  const auto& r = m.rect;
  fuzzCheck(r.x > 0 && r.y > 0 && r.x + r.width < width && r.y + r.height < height,
            "a screen reaches the image's edge");
  fuzzCheck(r.x <= width / 2 && width / 2 < r.x + r.width && r.y <= height / 2 && height / 2 < r.y + r.height,
            "a screen misses the image's centre");
  fuzzCheck(std::isfinite(m.cornerRadius) && m.cornerRadius >= 0, "a screen's corner radius is not a length");
  return 0;
}
