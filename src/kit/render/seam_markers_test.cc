#include "kit/render/seam_markers.h"

#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdint>

#include "kit/image/canvas.h"

namespace vorno::seam_markers_test {
namespace {

// The sum of a pixel's red, green and blue: 0 for black, 765 for white.
int brightnessAt(const Image& image, int x, int y) {
  const uint8_t* row = image.data() + static_cast<size_t>(y) * image.stride();
  const uint32_t value = reinterpret_cast<const uint32_t*>(row)[x];
  return static_cast<int>((value >> 16 & 0xFF) + (value >> 8 & 0xFF) + (value & 0xFF));
}

// A flat mid-grey board, on which both the dark and the light strokes of a marker show.
Image greyBoard(int width, int height) {
  Canvas canvas = Canvas::opaque(width, height);
  cairo_set_source_rgb(canvas.context(), 0.5, 0.5, 0.5);
  cairo_paint(canvas.context());
  return canvas.finish();
}

TEST(SeamMarkers, MarkEachSeamAndLeaveTheSlicesAlone) {
  Image board = greyBoard(2400, 1000);
  Image marked = markSeams(board, 3);
  ASSERT_EQ(marked.width(), 2400);
  ASSERT_EQ(marked.height(), 1000);
  int grey = brightnessAt(board, 10, 10);
  for (int seam : {800, 1600}) {
    // The ticks at both edges are light, and so is the dashed line's first dash below the tick.
    EXPECT_GT(brightnessAt(marked, seam, 5), grey + 150) << seam;
    EXPECT_GT(brightnessAt(marked, seam, 994), grey + 150) << seam;
    // Between the ticks a dashed line: about half the column is drawn.
    int drawn = 0;
    for (int y = 100; y < 900; ++y) drawn += brightnessAt(marked, seam, y) != grey;
    EXPECT_GT(drawn, 300) << seam;
    EXPECT_LT(drawn, 500) << seam;
  }
  for (int x : {100, 400, 790, 810, 1200, 1590, 1610, 2390})
    for (int y : {5, 37, 500, 994}) EXPECT_EQ(brightnessAt(marked, x, y), grey) << x << ", " << y;
}

TEST(SeamMarkers, ABoardOfOneSliceComesBackAsItIs) {
  Image board = greyBoard(300, 600);
  EXPECT_EQ(markSeams(board, 1).surface(), board.surface());
  EXPECT_EQ(markSeams(board, 0).surface(), board.surface());
}

}  // namespace
}  // namespace vorno::seam_markers_test
