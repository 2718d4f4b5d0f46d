#include "kit/image/images.h"

#include "tests/video_pictures.h"

#include <cairo.h>
#include <gtest/gtest.h>

namespace vorno::pixel_difference_test {
namespace {

using testing::solidPicture;

// A copy of `picture` with the first `count` pixels (in reading order) set to `color`.
Image withPixels(const Image& picture, int count, testing::RGB color) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width(), picture.height());
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_surface(cr, picture.surface(), 0, 0);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  uint8_t* data = cairo_image_surface_get_data(surface);
  int stride = cairo_image_surface_get_stride(surface);
  for (int i = 0; i < count; ++i) {
    int x = i % picture.width(), y = i / picture.width();
    reinterpret_cast<uint32_t*>(data + y * stride)[x] =
        0xff000000u | uint32_t(color[0]) << 16 | uint32_t(color[1]) << 8 | uint32_t(color[2]);
  }
  cairo_surface_mark_dirty(surface);
  return Image::adopt(surface);
}

TEST(PixelDifference, DifferentSizesGiveOne) {
  EXPECT_EQ(Images::pixelDifference(solidPicture(10, 10, {1, 2, 3}), solidPicture(10, 11, {1, 2, 3})), 1);
  EXPECT_EQ(Images::pixelDifference(solidPicture(10, 10, {1, 2, 3}), solidPicture(11, 10, {1, 2, 3})), 1);
  EXPECT_EQ(Images::pixelDifference(solidPicture(10, 10, {1, 2, 3}), Image()), 1);
}

TEST(PixelDifference, IdenticalPicturesGiveZero) {
  Image picture = testing::bandedPicture(40, 20, {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {12, 34, 56}});
  EXPECT_EQ(Images::pixelDifference(picture, picture), 0);
  Image copy = testing::bandedPicture(40, 20, {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {12, 34, 56}});
  EXPECT_EQ(Images::pixelDifference(picture, copy), 0);
}

TEST(PixelDifference, AKnownShareOfChangedPixelsIsThatShare) {
  Image picture = solidPicture(20, 10, {100, 150, 200});
  EXPECT_DOUBLE_EQ(Images::pixelDifference(picture, withPixels(picture, 50, {0, 0, 0})), 0.25);
  EXPECT_DOUBLE_EQ(Images::pixelDifference(withPixels(picture, 1, {255, 255, 255}), picture), 1.0 / 200);
}

TEST(PixelDifference, AChangeOfTwoPerChannelDoesntCount) {
  Image picture = solidPicture(10, 10, {100, 100, 100});
  // |Δr| + |Δg| + |Δb| = 6 is within the threshold; 7 is not.
  EXPECT_EQ(Images::pixelDifference(picture, withPixels(picture, 100, {102, 102, 102})), 0);
  EXPECT_EQ(Images::pixelDifference(picture, withPixels(picture, 100, {98, 102, 100})), 0);
  EXPECT_EQ(Images::pixelDifference(picture, withPixels(picture, 100, {106, 100, 100})), 0);
  EXPECT_EQ(Images::pixelDifference(picture, withPixels(picture, 100, {102, 102, 103})), 1);
}

TEST(PixelDifference, TransparentPicturesAreTakenOverBlack) {
  cairo_surface_t* clear = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 8, 8);
  Image transparent = Image::adopt(clear);
  EXPECT_EQ(Images::pixelDifference(transparent, solidPicture(8, 8, {0, 0, 0})), 0);
  EXPECT_EQ(Images::pixelDifference(transparent, solidPicture(8, 8, {255, 255, 255})), 1);
}

}  // namespace
}  // namespace vorno::pixel_difference_test
