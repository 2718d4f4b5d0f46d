#include "kit/image/cairo_util.h"

#include "kit/image/image.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>

namespace vorno::cairo_util_test {
namespace {

uint32_t at(const Image& image, int x, int y) {
  uint32_t w;
  std::memcpy(&w, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  return w;
}

TEST(CairoUtil, AppendedPathFillsItsShape) {
  CairoSurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 40, 40));
  {
    CairoContextPtr cr(cairo_create(surface.get()));
    Path path;
    path.moveTo({0, 0});
    path.lineTo({40, 0});
    path.lineTo({0, 40});
    path.close();
    Path circle;
    circle.addEllipse({24, 24, 16, 16});
    path.append(circle);
    appendPath(cr.get(), path);
    setColor(cr.get(), {0, 0, 1, 0.5});
    cairo_fill(cr.get());
  }
  Image image = Image::adopt(cairo_surface_reference(surface.get()));
  EXPECT_EQ(at(image, 5, 5), 0x80000080u);    // inside the triangle, half-transparent blue (premultiplied)
  EXPECT_EQ(at(image, 35, 5), 0u);            // the triangle's other side
  EXPECT_EQ(at(image, 32, 32), 0x80000080u);  // inside the circle
  EXPECT_EQ(at(image, 39, 39), 0u);           // the circle's corner is outside
}

TEST(CairoUtil, SavedStateComesBack) {
  CairoSurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 4, 4));
  CairoContextPtr cr(cairo_create(surface.get()));
  cairo_set_line_width(cr.get(), 3);
  {
    CairoSaved saved(cr.get());
    cairo_set_line_width(cr.get(), 9);
  }
  EXPECT_EQ(cairo_get_line_width(cr.get()), 3);
}

}  // namespace
}  // namespace vorno::cairo_util_test
