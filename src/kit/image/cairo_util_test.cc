#include "kit/image/cairo_util.h"

#include "kit/image/image.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <sys/mman.h>

#include <cstdint>
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

TEST(CairoUtil, PictureSizedSurfaceIsClearAlignedAndGivesItsPixelsBack) {
  cairo_surface_t* surface = newImageSurface(CAIRO_FORMAT_ARGB32, 1320, 2868);
  ASSERT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
  unsigned char* data = cairo_image_surface_get_data(surface);
  const size_t bytes = static_cast<size_t>(cairo_image_surface_get_stride(surface)) * 2868;
  // Its own huge-page-aligned block, not the allocator's.
  EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % (size_t{2} << 20), 0u);
  size_t nonZero = 0;
  for (size_t i = 0; i < bytes; i += 509) nonZero += data[i] != 0;
  EXPECT_EQ(nonZero, 0u);

  // Drawn on like any surface.
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 0, 0);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  uint32_t pixel;
  std::memcpy(&pixel, data + bytes - 4, 4);
  EXPECT_EQ(pixel, 0xFFFF0000u);

  cairo_surface_destroy(surface);
  const auto page = reinterpret_cast<uintptr_t>(data) & ~uintptr_t{4095};
  EXPECT_NE(::msync(reinterpret_cast<void*>(page), 4096, MS_ASYNC), 0) << "the pixels are still mapped";
}

TEST(CairoUtil, SmallAndRefusedSurfacesAreCairosOwn) {
  cairo_surface_t* small = newImageSurface(CAIRO_FORMAT_A8, 10, 10);
  EXPECT_EQ(cairo_surface_status(small), CAIRO_STATUS_SUCCESS);
  cairo_surface_destroy(small);
  cairo_surface_t* refused = newImageSurface(CAIRO_FORMAT_ARGB32, 40000, 10);
  EXPECT_NE(cairo_surface_status(refused), CAIRO_STATUS_SUCCESS);
  cairo_surface_destroy(refused);
}

}  // namespace
}  // namespace vorno::cairo_util_test
