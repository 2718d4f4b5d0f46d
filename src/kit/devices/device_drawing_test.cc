#include "kit/devices/device_drawing.h"

#include "kit/devices/builtin_specs.h"
#include "kit/devices/device_drawing_test_support.h"
#include "kit/devices/device_renderer.h"
#include "kit/image/cairo_util.h"

#include <cairo.h>
#include <gtest/gtest.h>

namespace vorno::device_drawing_test {
namespace {

using namespace DeviceDrawing;
using testing::TestCanvas;

const DeviceFrame& iphone17Pro() { return BuiltinSpecs::fallbackFrames()[3]; }  // 1206 by 2622, bezel 10.5, band 5

TEST(DeviceGeometry, HalfWidthBodyHalvesEveryLength) {
  for (const DeviceFrame& frame : {iphone17Pro(), BuiltinSpecs::duoClosedFrame(), BuiltinSpecs::fallbackFrames()[5]}) {
    Size native = DeviceRenderer(frame).nativeBodySize();
    Geometry full = Geometry::make(frame, {0, 0, native.width, native.height});
    Geometry half = Geometry::make(frame, {0, 0, native.width / 2, native.height / 2});
    EXPECT_DOUBLE_EQ(full.k, 1) << frame.id;
    EXPECT_DOUBLE_EQ(half.k, 0.5) << frame.id;
    EXPECT_DOUBLE_EQ(half.px, frame.scale * 0.5);
    for (auto length : {&Geometry::a, &Geometry::b, &Geometry::h, &Geometry::r, &Geometry::hr, &Geometry::R, &Geometry::H})
      EXPECT_DOUBLE_EQ(half.*length, full.*length / 2) << frame.id;
    EXPECT_DOUBLE_EQ(half.screen.x, full.screen.x / 2);
    EXPECT_DOUBLE_EQ(half.screen.width, full.screen.width / 2);
    EXPECT_DOUBLE_EQ(half.screen.height, full.screen.height / 2);
    // At native size the screen is the frame's screen, pixel for pixel.
    EXPECT_NEAR(full.screen.width, frame.screenWidth, 1e-9);
    EXPECT_NEAR(full.screen.height, frame.screenHeight, 1e-9);
  }
}

TEST(DeviceGeometry, HalfWidthBodyDrawsTheSamePictureAtHalfSize) {
  // Drawn straight at half width, or at full width under a half scale: every length follows
  // the body, so the two pictures agree but for antialiasing.
  const DeviceFrame& frame = iphone17Pro();
  DeviceRenderer renderer(frame);
  Size native = renderer.nativeBodySize();
  Image capture = testing::solidCapture(120, 261, {0.2, 0.6, 0.9, 1});
  TestCanvas half(700, 1400), scaled(700, 1400);
  renderer.draw(half.context(), {20, 20, native.width / 2, native.height / 2}, capture, false);
  cairo_scale(scaled.context(), 0.5, 0.5);
  renderer.draw(scaled.context(), {40, 40, native.width, native.height}, capture, false);
  EXPECT_LT(half.meanDifference(scaled), 0.5);
}

TEST(DeviceGeometry, HingeNarrowsTheScreenOnItsSide) {
  const DeviceFrame& closed = BuiltinSpecs::duoClosedFrame();  // bezel 10, band 6, hinge 9.67 on the left
  Size native = DeviceRenderer(closed).nativeBodySize();
  Geometry g = Geometry::make(closed, {0, 0, native.width, native.height});
  EXPECT_NEAR(g.h, 9.67 * 3, 1e-9);
  EXPECT_NEAR(g.screen.x, 16 * 3 + 9.67 * 3, 1e-9);
  EXPECT_NEAR(g.screen.width, 1398, 1e-9);
  EXPECT_NEAR(g.hr, 8 * 3, 1e-9);
  EXPECT_NEAR(g.H, g.h + g.a + g.b + g.hr, 1e-9);
  EXPECT_NEAR(g.R, g.a + g.b + 177, 1e-9);  // no body radius in the spec: it follows the screen's
  EXPECT_DOUBLE_EQ(g.leftOf(1, 2), 2);
  EXPECT_DOUBLE_EQ(g.rightOf(1, 2), 1);
}

TEST(DeviceGeometry, SpecBodyRadiusWins) {
  const DeviceFrame& pixel = BuiltinSpecs::fallbackFrames()[5];  // body radius 62 points
  Size native = DeviceRenderer(pixel).nativeBodySize();
  Geometry g = Geometry::make(pixel, {0, 0, native.width, native.height});
  EXPECT_NEAR(g.R, 62 * pixel.scale, 1e-9);
}

TEST(DeviceGeometry, ClockwiseTurnPutsTheTopOnTheRight) {
  AffineTransform turn = turnRotation(FrameTurn::clockwise, {50, 50});
  Point top = turn.apply({50, 0});
  EXPECT_NEAR(top.x, 100, 1e-9);
  EXPECT_NEAR(top.y, 50, 1e-9);
  Point left = turnRotation(FrameTurn::counterclockwise, {50, 50}).apply({50, 0});
  EXPECT_NEAR(left.x, 0, 1e-9);
  EXPECT_EQ(turnRotation(std::nullopt, {50, 50}), AffineTransform::identity());
  EXPECT_EQ(swapped({0, 0, 100, 50}), (Rect{25, -25, 50, 100}));
}

TEST(DeviceDrawingSample, MixesBetweenTheStopsAroundT) {
  std::vector<Stop> stops{{0, {0, 0, 0, 1}}, {0.5, {1, 1, 1, 1}}, {1, {1, 0, 0, 0}}};
  EXPECT_EQ(sample(stops, 0), (RGBColor{0, 0, 0, 1}));
  EXPECT_EQ(sample(stops, -1), (RGBColor{0, 0, 0, 1}));
  RGBColor quarter = sample(stops, 0.25);
  EXPECT_NEAR(quarter.r, 0.5, 1e-12);
  EXPECT_NEAR(quarter.a, 1, 1e-12);
  RGBColor late = sample(stops, 0.75);  // alpha is mixed like the colour channels
  EXPECT_NEAR(late.g, 0.5, 1e-12);
  EXPECT_NEAR(late.a, 0.5, 1e-12);
  EXPECT_EQ(sample(stops, 1), (RGBColor{1, 0, 0, 0}));
  // Past the last stop there is no stop at or after t: the first colour, as for the first.
  EXPECT_EQ(sample(stops, 1.5), (RGBColor{0, 0, 0, 1}));
}

TEST(DeviceDrawingButtons, EmptyListDrawsNothingAndDoesNotTouchTheState) {
  TestCanvas canvas(60, 60), untouched(60, 60);
  cairo_t* cr = canvas.context();
  cairo_set_source_rgb(cr, 0.3, 0.4, 0.5);
  cairo_set_line_width(cr, 7);
  cairo_translate(cr, 3, 4);
  cairo_move_to(cr, 10, 10);
  drawButtons(cr, {}, {10, 10, 40, 40}, 2, {1, 0, 0, 1});
  EXPECT_TRUE(canvas.samePixels(untouched));
  EXPECT_TRUE(cairo_has_current_point(cr));
  double x, y;
  cairo_get_current_point(cr, &x, &y);
  EXPECT_EQ(x, 10);
  EXPECT_EQ(y, 10);
  EXPECT_EQ(cairo_get_line_width(cr), 7);
  double r, g, b, a;
  cairo_pattern_get_rgba(cairo_get_source(cr), &r, &g, &b, &a);
  EXPECT_DOUBLE_EQ(g, 0.4);
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  EXPECT_EQ(m.x0, 3);
}

TEST(DeviceDrawingButtons, ButtonsShowAsSliversBesideTheBody) {
  TestCanvas canvas(100, 120);
  using Side = FrameSpec::Button::Side;
  Rect body{20, 20, 60, 80};
  drawButtons(canvas.context(), {{Side::left, 0.25, 0.5}, {Side::right, 0.25, 0.25}, {Side::top, 0.5, 0.25}}, body, 2,
              {1, 0, 0, 1});
  // Left: from 0.25 of the height for half of it, standing 2 out of the body.
  EXPECT_LT(canvas.at(18.5, 60).distance({1, 0, 0, 1}), 1);
  EXPECT_LT(canvas.at(18.5, 30).distance({1, 1, 1, 1}), 1);
  EXPECT_LT(canvas.at(81.5, 45).distance({1, 0, 0, 1}), 1);
  EXPECT_LT(canvas.at(81.5, 60).distance({1, 1, 1, 1}), 1);
  // Top: from half the width, standing 2 above the body.
  EXPECT_LT(canvas.at(57, 18.5).distance({1, 0, 0, 1}), 1);
  EXPECT_LT(canvas.at(40, 18.5).distance({1, 1, 1, 1}), 1);
  EXPECT_LT(canvas.at(57, 16).distance({1, 1, 1, 1}), 1);
}

// A square whose shadow is measured: the mean darkness of rows below and above it.
double darknessAt(const TestCanvas& canvas, double y) {
  double total = 0;
  for (int x = 0; x < canvas.width(); ++x) total += 255 - canvas.at(x, y).brightness();
  return total / canvas.width();
}

ShapePainter square(const Rect& rect) {
  return [rect](cairo_t* cr) {
    addRect(cr, rect);
    cairo_fill(cr);
  };
}

TEST(DeviceShadow, LargeShadowIsPaintedAtReducedResolution) {
  Rect body{150, 150, 300, 300};
  TestCanvas reduced(600, 700), full(600, 700);
  // Blur 100 pixels: factor min(6, 12.5) = 6.
  EXPECT_DOUBLE_EQ(paintShadow(reduced.context(), square(body), body, 100, 30, 0.5), 6);
  EXPECT_DOUBLE_EQ(paintShadow(full.context(), square(body), body, 100, 30, 0.5, ShadowResolution::full), 1);
  // The picture is the same to the eye: a blur that wide has no detail to lose.
  EXPECT_LT(reduced.meanDifference(full), 1.0);
  // And the shadow falls down: darker below the square than above it.
  EXPECT_GT(darknessAt(full, 480), darknessAt(full, 120) + 5);
}

TEST(DeviceShadow, SmallBlurOrRotatedContextPaintsAtFullResolution) {
  Rect body{50, 50, 100, 100};
  TestCanvas small(200, 200);
  EXPECT_DOUBLE_EQ(paintShadow(small.context(), square(body), body, 10, 3, 0.5), 1);  // 10 / 8 < 1.5
  TestCanvas scaled(400, 400);
  cairo_scale(scaled.context(), 2, 2);
  EXPECT_DOUBLE_EQ(paintShadow(scaled.context(), square(body), body, 10, 3, 0.5), 2.5);  // 20 pixels / 8
  TestCanvas stretched(400, 400);
  cairo_scale(stretched.context(), 2, 1.5);
  EXPECT_DOUBLE_EQ(paintShadow(stretched.context(), square(body), body, 60, 3, 0.5), 1);
  TestCanvas turned(400, 400);
  cairo_translate(turned.context(), 200, 200);
  cairo_rotate(turned.context(), 0.3);
  EXPECT_DOUBLE_EQ(paintShadow(turned.context(), square({-50, -50, 100, 100}), {-50, -50, 100, 100}, 60, 3, 0.5), 1);
}

TEST(DeviceShadow, OffsetIsDownOnThePictureUnderARotation) {
  // Under a quarter turn the user's y axis points left; the shadow must still fall down.
  TestCanvas canvas(400, 400);
  cairo_translate(canvas.context(), 200, 200);
  cairo_rotate(canvas.context(), M_PI / 2);
  Rect shape{-40, -40, 80, 80};
  paintShadow(canvas.context(), square(shape), shape, 10, 40, 0.8);
  EXPECT_GT(255 - canvas.at(200, 270).brightness(), 100);  // below the square
  EXPECT_LT(255 - canvas.at(200, 130).brightness(), 20);   // above it
  EXPECT_LT(255 - canvas.at(130, 200).brightness(), 100);  // left of it, where the user's +y points
}

TEST(DeviceShadow, ShadowOutsideTheClipPaintsNothing) {
  TestCanvas canvas(100, 100), untouched(100, 100);
  Rect shape{400, 400, 50, 50};
  EXPECT_EQ(paintShadow(canvas.context(), square(shape), shape, 40, 10, 0.5), 0);
  EXPECT_TRUE(canvas.samePixels(untouched));
}

TEST(DeviceShadow, CoveredRectangleIsLeftUnpainted) {
  Rect body{100, 100, 200, 200};
  TestCanvas canvas(400, 400);
  paintShadow(canvas.context(), square(body), body, 40, 10, 0.5, ShadowResolution::automatic, body.insetBy(20, 20));
  EXPECT_LT(canvas.at(200, 200).distance({1, 1, 1, 1}), 1);  // under the body: untouched
  EXPECT_GT(255 - canvas.at(200, 310).brightness(), 20);    // beside it: the shadow
  EXPECT_GT(255 - canvas.at(110, 200).brightness(), 20);    // inside the shape but outside the covered part
}

}  // namespace
}  // namespace vorno::device_drawing_test
