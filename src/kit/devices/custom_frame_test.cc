#include "kit/devices/custom_frame.h"

#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>

namespace vorno::custom_frame_test {
namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

// An opaque device image of `width` by `height` with holes cut by `cut` (drawn with CLEAR).
Surface frameImage(int width, int height, const std::function<void(cairo_t*)>& cut) {
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height), cairo_surface_destroy);
  cairo_t* cr = cairo_create(surface.get());
  cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
  cairo_paint(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cut(cr);
  cairo_destroy(cr);
  cairo_surface_flush(surface.get());
  return surface;
}

void expectError(cairo_surface_t* surface, const std::string& sentence) {
  try {
    CustomFrame::measureSurface(surface);
    ADD_FAILURE() << "no error, expected: " << sentence;
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(), sentence);
  }
}

TEST(CustomFrameMeasure, TwentyByFortyIsTooSmallAndTwentyOneSquarePasses) {
  auto small = frameImage(20, 40, [](cairo_t* cr) {
    cairo_rectangle(cr, 3, 3, 14, 34);
    cairo_fill(cr);
  });
  expectError(small.get(), "The frame image is too small.");
  auto least = frameImage(21, 21, [](cairo_t* cr) {
    cairo_rectangle(cr, 3, 3, 15, 15);
    cairo_fill(cr);
  });
  auto m = CustomFrame::measureSurface(least.get());
  EXPECT_EQ(m.rect, (CustomFrame::Measurement::PixelRect{3, 3, 15, 15}));
}

TEST(CustomFrameMeasure, NotchedScreenFillFollowsTheNotchAndRectStaysTheExtremes) {
  auto notched = frameImage(200, 400, [](cairo_t* cr) {
    cairo_rectangle(cr, 20, 20, 160, 360);
    cairo_fill(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_rectangle(cr, 70, 20, 60, 25);  // the notch hangs from the top edge
    cairo_fill(cr);
  });
  auto m = CustomFrame::measureSurface(notched.get());
  EXPECT_EQ(m.rect, (CustomFrame::Measurement::PixelRect{20, 20, 160, 360}));
  EXPECT_EQ(m.cornerRadius, 0);
}

TEST(CustomFrameMeasure, TransparentBackgroundRunsToTheEdgeAndFails) {
  Surface clear(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 100, 200), cairo_surface_destroy);
  {
    cairo_t* cr = cairo_create(clear.get());
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_set_line_width(cr, 8);
    cairo_rectangle(cr, 20, 20, 60, 160);  // a ring of body whose inside opens to the outside
    cairo_stroke(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_rectangle(cr, 45, 10, 10, 20);  // a gap in the ring
    cairo_fill(cr);
    cairo_destroy(cr);
  }
  expectError(clear.get(),
              "The frame's transparent screen reaches the image edge. The device body must surround the screen.");
}

TEST(CustomFrameMeasure, SmallCameraHoleAtTheCentreIsTooSmall) {
  auto hole = frameImage(300, 600, [](cairo_t* cr) {
    cairo_arc(cr, 150, 300, 10, 0, 2 * M_PI);
    cairo_fill(cr);
  });
  expectError(hole.get(), "The transparent area at the frame's center is too small to be the screen.");
}

TEST(CustomFrameMeasure, OpaqueCentreNeedsAScreenCutOut) {
  auto solid = frameImage(100, 100, [](cairo_t*) {});
  expectError(solid.get(),
              "The frame image needs a transparent screen: the pixel at its center is opaque. Export the PNG with the "
              "screen cut out.");
}

TEST(CustomFrameMeasure, RectangularScreenGivesRadiusZeroAndRoundOneItsRadius) {
  auto square = frameImage(300, 600, [](cairo_t* cr) {
    cairo_rectangle(cr, 30, 40, 240, 520);
    cairo_fill(cr);
  });
  auto m = CustomFrame::measureSurface(square.get());
  EXPECT_EQ(m.rect, (CustomFrame::Measurement::PixelRect{30, 40, 240, 520}));
  EXPECT_EQ(m.cornerRadius, 0);

  auto round = frameImage(300, 600, [](cairo_t* cr) {
    const double r = 40, x = 30, y = 40, w = 240, h = 520;
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -M_PI / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, M_PI / 2);
    cairo_arc(cr, x + r, y + h - r, r, M_PI / 2, M_PI);
    cairo_arc(cr, x + r, y + r, r, M_PI, 3 * M_PI / 2);
    cairo_close_path(cr);
    cairo_fill(cr);
  });
  auto rounded = CustomFrame::measureSurface(round.get());
  EXPECT_EQ(rounded.rect, (CustomFrame::Measurement::PixelRect{30, 40, 240, 520}));
  EXPECT_NEAR(rounded.cornerRadius, 40, 4);  // one pixel on the diagonal is 3.4 pixels of radius
}

// A device image with a rectangular screen cut out, written as a PNG.
void writeFrame(const std::string& path, int width, int height, int inset) {
  auto image = frameImage(width, height, [&](cairo_t* cr) {
    cairo_rectangle(cr, inset, inset, width - 2 * inset, height - 2 * inset);
    cairo_fill(cr);
  });
  ASSERT_EQ(cairo_surface_write_to_png(image.get(), path.c_str()), CAIRO_STATUS_SUCCESS);
}

TEST(CustomFrameLoad, MakesAnOverlayFrameNamedAfterTheFile) {
  testing::TempFolder folder;
  std::string path = folder.file("My Phone.png");
  writeFrame(path, 400, 800, 20);
  DeviceFrame frame = CustomFrame::load(path, "frames/My Phone.png", Platform::android);
  EXPECT_EQ(frame.id, "frames/My Phone.png");
  EXPECT_EQ(frame.name, "My Phone");
  EXPECT_EQ(frame.platform, Platform::android);
  EXPECT_EQ(frame.family, DeviceFamily::phone);
  EXPECT_EQ(frame.screenWidth, 360);
  EXPECT_EQ(frame.screenHeight, 760);
  EXPECT_EQ(frame.scale, 1);
  EXPECT_EQ(frame.screenCornerRadius, 0);
  EXPECT_EQ(frame.source, DeviceFrame::Source::custom);
  EXPECT_EQ(frame.overlay, (DeviceFrame::Overlay{path, 400, 800, 20, 20}));
  EXPECT_EQ(frame.spec.bezel, 0);
  EXPECT_EQ(frame.spec.band, 0);
  EXPECT_EQ(frame.spec.defaultFinish, "black");
  EXPECT_TRUE(frame.spec.finishes.empty());
  EXPECT_FALSE(frame.maskPDFPath);

  EXPECT_THROW(CustomFrame::load(folder.file("missing.png"), "x", Platform::ios), VornoError);
}

TEST(CustomFrameLoad, AChangedFileUnderTheSamePathIsMeasuredAgain) {
  testing::TempFolder folder;
  std::string path = folder.file("frame.png");
  writeFrame(path, 400, 800, 20);
  EXPECT_EQ(CustomFrame::load(path, "f", Platform::ios).screenWidth, 360);
  EXPECT_EQ(CustomFrame::load(path, "f", Platform::ios).screenWidth, 360);
  writeFrame(path, 600, 800, 40);
  // File times can be coarse: make sure the new file's time differs from the old one's.
  auto time = std::filesystem::last_write_time(path);
  std::filesystem::last_write_time(path, time + std::chrono::seconds(5));
  DeviceFrame changed = CustomFrame::load(path, "f", Platform::ios);
  EXPECT_EQ(changed.screenWidth, 520);
  EXPECT_EQ(changed.screenHeight, 720);
  EXPECT_EQ(changed.family, DeviceFamily::tablet);  // 520 / 720 is above 0.6
  EXPECT_EQ(changed.overlay->imageWidth, 600);
}

}  // namespace
}  // namespace vorno::custom_frame_test
