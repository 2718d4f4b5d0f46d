// A ramp's rows are worked out four pixels at a time (a radial one's square roots two at a time);
// every pixel must be exactly what the pixel-at-a-time path gives. Painting through one-pixel-wide clips takes that path for each
// column, so the two pictures must match byte for byte, odd widths and odd offsets included.
#include "kit/image/dithered_ramp.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace vorno::dithered_ramp_test {
namespace {

// The surface's pixels after painting the ramp over `rect`, with a clip of one column at a time
// when `byColumn`.
std::vector<uint8_t> painted(const RampGeometry& ramp, const Rect& rect, bool byColumn) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 41, 17);
  cairo_t* cr = cairo_create(surface);
  const std::vector<RGBColor> colors = {{0.95, 0.4, 0.2, 1}, {0.2, 0.5, 0.9, 1}, {0.1, 0.1, 0.3, 1}};
  for (int x = byColumn ? 0 : -1; x < (byColumn ? 41 : 0); ++x) {
    cairo_save(cr);
    if (byColumn) {
      cairo_rectangle(cr, x, 0, 1, 17);
      cairo_clip(cr);
    }
    cairo_rectangle(cr, rect.x, rect.y, rect.width, rect.height);
    const bool drew = DitheredRamp::paint(cr, ramp, colors, rect);
    if (!byColumn) {
      EXPECT_TRUE(drew);  // the whole rectangle goes the direct way
    }
    if (!drew) cairo_new_path(cr);  // a column with nothing to show
    cairo_restore(cr);
  }
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  const uint8_t* data = cairo_image_surface_get_data(surface);
  std::vector<uint8_t> pixels(data, data + size_t(cairo_image_surface_get_stride(surface)) * 17);
  for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 0;  // RGB24's unused byte
  cairo_surface_destroy(surface);
  return pixels;
}

TEST(DitheredRamp, RowsFourPixelsAtATimeMatchOneAtATime) {
  const RampGeometry radial{RampGeometry::Shape::radial, {13.3, 6.1}, {}, 29};
  // Steep enough along a row to take the per-pixel path, not the repeated one.
  const RampGeometry diagonal{RampGeometry::Shape::linear, {2.5, 1}, {37, 15.5}, 0};
  for (const RampGeometry& ramp : {radial, diagonal})
    for (const Rect& rect : {Rect{0, 0, 41, 17}, Rect{3, 2, 35, 14}, Rect{1, 0, 40, 17}, Rect{5, 1, 6, 9}}) {
      SCOPED_TRACE(testing::Message() << (ramp.shape == RampGeometry::Shape::radial ? "radial" : "linear") << " at "
                                      << rect.x << "," << rect.y << " width " << rect.width);
      const std::vector<uint8_t> whole = painted(ramp, rect, false), columns = painted(ramp, rect, true);
      EXPECT_EQ(std::memcmp(whole.data(), columns.data(), whole.size()), 0);
    }
}

}  // namespace
}  // namespace vorno::dithered_ramp_test
