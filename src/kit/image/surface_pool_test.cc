#include "kit/image/surface_pool.h"

#include "kit/image/canvas.h"

#include <cairo.h>
#include <gtest/gtest.h>

namespace vorno::surface_pool_test {
namespace {

// A 1024 × 512 canvas (2 MiB, large enough to be kept) painted one colour.
Image painted(bool opaque, double red) {
  Canvas canvas = opaque ? Canvas::opaque(1024, 512) : Canvas::transparent(1024, 512);
  cairo_set_source_rgb(canvas.context(), red, 0.5, 0.25);
  cairo_paint(canvas.context());
  return canvas.finish();
}

uint32_t firstPixel(const Image& image) { return *reinterpret_cast<const uint32_t*>(image.data()); }

class SurfacePoolTest : public ::testing::Test {
 protected:
  void SetUp() override { SurfacePool::drain(); }
  void TearDown() override { SurfacePool::drain(); }
};

TEST_F(SurfacePoolTest, AFinishedPictureLetGoServesTheNextCanvasOfItsSizeCleared) {
  const uint8_t* pixels = nullptr;
  {
    Image first = painted(true, 1);
    pixels = first.data();
    EXPECT_EQ(SurfacePool::byteCount(), 0);
  }
  EXPECT_EQ(SurfacePool::byteCount(), int64_t{1024} * 512 * 4);
  Canvas next = Canvas::opaque(1024, 512);
  Image reused = next.finish();
  EXPECT_EQ(reused.data(), pixels);               // the same memory, not fresh pages
  EXPECT_EQ(firstPixel(reused) & 0xFFFFFF, 0u);   // black again, as a new canvas is
  EXPECT_EQ(SurfacePool::byteCount(), 0);
}

TEST_F(SurfacePoolTest, ALayerComesBackTransparent) {
  { Image first = painted(false, 1); }
  Image reused = Canvas::transparent(1024, 512).finish();
  EXPECT_EQ(firstPixel(reused), 0u);
}

TEST_F(SurfacePoolTest, APictureStillInUseIsNeverHandedOut) {
  Image kept = painted(true, 1);
  Image copy = kept;
  Image other = Canvas::opaque(1024, 512).finish();
  EXPECT_NE(other.data(), kept.data());
  EXPECT_EQ(firstPixel(kept) & 0xFF0000, 0xFF0000u);  // untouched by the new canvas
}

TEST_F(SurfacePoolTest, SmallSurfacesAndSurfacesBeyondTheBudgetAreFreed) {
  { Image small = Canvas::opaque(64, 64).finish(); }
  EXPECT_EQ(SurfacePool::byteCount(), 0);
  {
    std::vector<Image> many;
    for (int i = 0; i < 60; ++i) many.push_back(Canvas::opaque(1024, 512).finish());
  }
  EXPECT_LE(SurfacePool::byteCount(), SurfacePool::budget);
  EXPECT_GT(SurfacePool::byteCount(), SurfacePool::budget - int64_t{1024} * 512 * 4 - 1);
  SurfacePool::drain();
  EXPECT_EQ(SurfacePool::byteCount(), 0);
}

TEST_F(SurfacePoolTest, AnotherSizeOrFormatIsNotServedFromThePool) {
  { Image first = painted(true, 1); }
  Image wider = Canvas::opaque(1025, 512).finish();
  Image layer = Canvas::transparent(1024, 512).finish();
  EXPECT_EQ(SurfacePool::byteCount(), int64_t{1024} * 512 * 4);
}

}  // namespace
}  // namespace vorno::surface_pool_test
