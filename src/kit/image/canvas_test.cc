#include "kit/image/canvas.h"

#include "kit/util/vorno_error.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>

namespace vorno::canvas_test {
namespace {

uint32_t pixelAt(const Image& image, int x, int y) {
  uint32_t word;
  std::memcpy(&word, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  return word;
}

TEST(Canvas, TransparentStartsClearAndKeepsWhatIsDrawn) {
  Canvas canvas = Canvas::transparent(8, 4);
  EXPECT_EQ(canvas.width(), 8);
  EXPECT_EQ(canvas.height(), 4);
  cairo_t* cr = canvas.context();
  cairo_set_source_rgb(cr, 1, 0, 0);
  cairo_rectangle(cr, 0, 0, 4, 4);
  cairo_fill(cr);
  Image image = canvas.finish();
  ASSERT_TRUE(image);
  EXPECT_TRUE(image.hasAlpha());
  EXPECT_EQ(pixelAt(image, 1, 1), 0xFFFF0000u);
  EXPECT_EQ(pixelAt(image, 6, 2), 0x00000000u);
  // The canvas is empty afterwards.
  EXPECT_EQ(canvas.context(), nullptr);
  EXPECT_EQ(canvas.width(), 0);
  EXPECT_FALSE(canvas.finish());
}

TEST(Canvas, OpaqueStartsBlackWithoutAlpha) {
  Canvas canvas = Canvas::opaque(3, 3);
  Image image = canvas.finish();
  ASSERT_TRUE(image);
  EXPECT_FALSE(image.hasAlpha());
  EXPECT_EQ(pixelAt(image, 2, 2) & 0xFFFFFFu, 0u);
}

TEST(Canvas, ZeroSizeFailsWithTheLayerSentence) {
  try {
    Canvas::transparent(0, 5);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_EQ(error.message(), "Could not allocate a 0×5 layer.");
  }
}

TEST(Canvas, TooWideFailsWithTheCanvasSentence) {
  try {
    Canvas::opaque(40000, 10);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Could not allocate a 40000×10 canvas.");
  }
}

TEST(Canvas, HugeRequestFailsWithASentenceOrSucceeds) {
  // 20000 x 20000 is 1.6 GB: depending on the machine it is refused with the sentence or made;
  // either way nothing crashes and no pixel is written by the constructor.
  try {
    Canvas canvas = Canvas::transparent(20000, 20000);
    EXPECT_EQ(canvas.width(), 20000);
    EXPECT_EQ(canvas.height(), 20000);
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Could not allocate a 20000×20000 layer.");
  }
}

TEST(Canvas, MovedCanvasOwnsTheSurface) {
  Canvas a = Canvas::transparent(2, 2);
  Canvas b = std::move(a);
  EXPECT_EQ(a.context(), nullptr);
  EXPECT_EQ(b.width(), 2);
  a = std::move(b);
  EXPECT_EQ(a.width(), 2);
  EXPECT_TRUE(a.finish());
}

}  // namespace
}  // namespace vorno::canvas_test
