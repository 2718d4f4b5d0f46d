#include "kit/render/slide_renderer.h"

#include "kit/render/layer_cache.h"
#include "kit/render/render_test_support.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vorno::slide_renderer_test {
namespace {

using testing::block;
using testing::board;
using testing::FlatLayers;
using testing::rgbAt;
using testing::smallTarget;

constexpr uint32_t red = 0xFF0000, white = 0xFFFFFF;

TEST(SlideRenderer, SpreadSliceCutsElementsCrossingTheSeamAtTheEdge) {
  ComposedSlide composed = board(smallTarget(100, 200), 2);
  composed.elements.push_back(block("bridge", {80, 50, 40, 100}));  // x 80...120, seam at 100
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));

  Image left = SlideRenderer::composite(composed, 0, 1, &cache);
  Image right = SlideRenderer::composite(composed, 1, 1, &cache);
  ASSERT_EQ(left.width(), 100);
  ASSERT_EQ(right.width(), 100);
  EXPECT_EQ(rgbAt(left, 79, 100), white);
  EXPECT_EQ(rgbAt(left, 81, 100), red);
  EXPECT_EQ(rgbAt(left, 99, 100), red);
  EXPECT_EQ(rgbAt(right, 0, 100), red);
  EXPECT_EQ(rgbAt(right, 18, 100), red);
  EXPECT_EQ(rgbAt(right, 21, 100), white);
  EXPECT_EQ(flat.calls.load(), 1);  // one layer served both slices
}

// Drawn without a layer cache, a layer is made on the picture's own pixel grid and copied: an
// element at a fractional position comes out as if drawn straight into the picture.
TEST(SlideRenderer, ElementAtAFractionalPositionMatchesDrawingItInPlace) {
  ComposedSlide composed = board(smallTarget(100, 200), 2, 1);
  ShapeSpec shape;
  shape.kind = ShapeKind::rectangle;
  shape.fill = Fill::solid({1, 0, 0, 1});
  ElementLayout element = block("box", {110.25, 20, 30.5, 40}, "s1");
  element.content = shape;
  element.bleed = 0.5;  // the layer starts half a pixel before the box: its edges fall inside pixels
  composed.elements.push_back(element);
  Image image = SlideRenderer::composite(composed, 1, 1, nullptr);
  ASSERT_EQ(image.width(), 100);

  cairo_surface_t* expected = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 100, 200);
  cairo_t* cr = cairo_create(expected);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_rectangle(cr, 10.25, 20, 30.5, 40);  // whole rows: cairo samples columns finely, rows in fifteenths
  cairo_set_source_rgb(cr, 1, 0, 0);
  cairo_fill(cr);
  cairo_destroy(cr);
  Image reference = Image::adopt(expected);
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 100; ++x) {
      uint32_t a = rgbAt(image, x, y), b = rgbAt(reference, x, y);
      for (int shift = 0; shift < 24; shift += 8)
        ASSERT_NEAR(int((a >> shift) & 0xFF), int((b >> shift) & 0xFF), 2) << x << "," << y;
    }
  // Through a cache the layer is drawn at the element's phase (here whole eighths of a pixel) and
  // copied whole, so it is as sharp as the picture drawn in place.
  LayerCache cache(64 << 20);
  Image cached = SlideRenderer::composite(composed, 1, 1, &cache);
  int worst = 0;
  for (int y = 0; y < 200; ++y)
    for (int x = 0; x < 100; ++x) {
      uint32_t a = rgbAt(cached, x, y), b = rgbAt(reference, x, y);
      for (int shift = 0; shift < 24; shift += 8)
        worst = std::max(worst, std::abs(int((a >> shift) & 0xFF) - int((b >> shift) & 0xFF)));
    }
  EXPECT_LE(worst, 2);
}

TEST(SlideRenderer, ElementOffTheSliceIsNotRenderedEvenWithALargeBlur) {
  ComposedSlide composed = board(smallTarget(100, 200), 2);
  ElementLayout blurred = block("glow", {150, 50, 30, 30}, "s1");
  blurred.bleed = 45;  // its layer reaches x 105: still clear of slice 0
  composed.elements.push_back(blurred);
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  SlideRenderer::composite(composed, 0, 1, &cache);
  EXPECT_EQ(flat.calls.load(), 0);

  composed.elements[0].bleed = 55;  // now the bleed crosses the seam and the blur could reach in
  composed.elements[0].contentKey += "|wide";
  SlideRenderer::composite(composed, 0, 1, &cache);
  EXPECT_EQ(flat.calls.load(), 1);
}

TEST(SlideRenderer, ScaleTwoIsTakenAsOneAndTheReportSaysWidthByHeight) {
  ComposedSlide composed = board(smallTarget(100, 200));
  composed.elements.push_back(block("a", {10, 10, 20, 20}));
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  Image image = SlideRenderer::composite(composed, 2, &cache);
  EXPECT_EQ(image.width(), 100);
  EXPECT_EQ(image.height(), 200);
  RenderReport report = SlideRenderer::report(composed, image);
  EXPECT_EQ(report.width, 100);
  EXPECT_EQ(report.height, 200);
}

TEST(SlideRenderer, PreviewAtHalfScaleReportsHalfTheSize) {
  ComposedSlide composed = board(smallTarget(100, 200));
  Image image = SlideRenderer::composite(composed, 0.5);
  RenderReport report = SlideRenderer::report(composed, image);
  EXPECT_EQ(report.width, 50);
  EXPECT_EQ(report.height, 100);
  EXPECT_FALSE(image.hasAlpha());
}

TEST(SlideRenderer, DeviceRectOnTheSecondMemberOfASpreadIsRelativeToThatMember) {
  ComposedSlide composed = board(smallTarget(100, 200), 2, 1);
  ElementLayout device = block("device", {130, 20, 40, 100}, "s1");
  device.kind = ElementLayout::Kind::device;
  composed.elements.push_back(block("device", {10, 20, 40, 100}, "s0"));  // the first member's own
  composed.elements.push_back(device);
  ElementLayout headline = block("headline", {110, 160, 80, 20}, "s1");
  composed.elements.push_back(headline);

  RenderReport report = SlideRenderer::report(composed, Image());
  ASSERT_TRUE(report.deviceRect);
  EXPECT_DOUBLE_EQ(report.deviceRect->x, 0.3);
  EXPECT_DOUBLE_EQ(report.deviceRect->y, 0.1);
  EXPECT_DOUBLE_EQ(report.deviceRect->width, 0.4);
  EXPECT_DOUBLE_EQ(report.deviceRect->height, 0.5);
  ASSERT_TRUE(report.textRect);
  EXPECT_DOUBLE_EQ(report.textRect->x, 0.1);
  EXPECT_DOUBLE_EQ(report.textRect->y, 0.8);
  EXPECT_EQ(report.slide, "s1");
}

TEST(SlideRenderer, ReportWithoutDeviceOrHeadlineLeavesTheRectsOut) {
  ComposedSlide composed = board(smallTarget(100, 200));
  composed.frameID = "iphone-17-pro-max";
  composed.headlineFontSize = 42.5;
  RenderReport report = SlideRenderer::report(composed, Image());
  EXPECT_FALSE(report.deviceRect);
  EXPECT_FALSE(report.textRect);
  EXPECT_EQ(report.frame, "iphone-17-pro-max");
  EXPECT_EQ(report.headlineFontSize, 42.5);
}

TEST(SlideRenderer, ElementRotated45DegreesNearTheEdgeIsNotCulledByItsUnrotatedRectangle) {
  ComposedSlide composed = board(smallTarget(100, 200), 2);
  ElementLayout turned = block("turned", {102, 50, 20, 100}, "s1");  // unrotated: all in slice 1
  turned.rotation = 45;
  composed.elements.push_back(turned);
  EXPECT_TRUE(SlideRenderer::reachesSlice(turned, 0, composed.target));
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  Image left = SlideRenderer::composite(composed, 0, 1, &cache);
  EXPECT_EQ(flat.calls.load(), 1);
  // Turned clockwise about (112, 100), its lower end swings left across the seam.
  EXPECT_EQ(rgbAt(left, 95, 125), red);
  EXPECT_EQ(rgbAt(left, 95, 75), white);
}

TEST(SlideRenderer, FadeBlendAndDrawScaleApplyWhenPlacing) {
  ComposedSlide composed = board(smallTarget(100, 200));
  ElementLayout faded = block("faded", {0, 0, 50, 50});
  faded.fade = 0.5;
  ElementLayout shrunk = block("shrunk", {50, 100, 40, 40});
  shrunk.drawScale = 0.5;  // drawn 20 x 20 about (70, 120)
  composed.elements = {faded, shrunk};
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  Image image = SlideRenderer::composite(composed, 1, &cache);
  uint32_t half = rgbAt(image, 25, 25);
  EXPECT_EQ(half >> 16, 0xFFu);
  EXPECT_NEAR(static_cast<int>(half & 0xFF), 0x80, 2);
  EXPECT_EQ(rgbAt(image, 70, 120), red);
  EXPECT_EQ(rgbAt(image, 55, 105), white);

  ComposedSlide multiplied = board(smallTarget(100, 200));
  multiplied.sliceBackgrounds[0] = Fill::solid(RGBColor{0, 1, 0, 1});
  ElementLayout blended = block("blended", {0, 0, 50, 50});
  blended.blend = BlendMode::multiply;  // red over green multiplies to black
  multiplied.elements = {blended};
  EXPECT_EQ(rgbAt(SlideRenderer::composite(multiplied, 1, &cache), 25, 25), 0x000000u);
}

TEST(SlideRenderer, LayersExportBackgroundThenEachElementThatReachesTheSlice) {
  ComposedSlide composed = board(smallTarget(100, 200), 2);
  composed.elements.push_back(block("near", {10, 10, 20, 20}, "s0"));
  composed.elements.push_back(block("far", {150, 10, 20, 20}, "s1"));
  auto layers = SlideRenderer::layers(composed, 0, 1);
  ASSERT_EQ(layers.size(), 2u);
  EXPECT_EQ(layers[0].id, "background");
  EXPECT_EQ(layers[0].label, "Background");
  EXPECT_EQ(layers[1].id, "near");
  EXPECT_EQ(layers[1].image.width(), 100);
  EXPECT_EQ(layers[1].image.height(), 200);
  EXPECT_TRUE(layers[1].image.hasAlpha());
  EXPECT_EQ(testing::alphaAt(layers[1].image, 90, 150), 0);
}

TEST(SlideRenderer, BoardHoldsEverySliceSideBySide) {
  ComposedSlide composed = board(smallTarget(100, 200), 3);
  Image whole = SlideRenderer::compositeBoard(composed, 0.5);
  EXPECT_EQ(whole.width(), 150);
  EXPECT_EQ(whole.height(), 100);
}

TEST(RenderReport, JSONHasTheFieldNamesAndLeavesAbsentOptionalsOut) {
  RenderReport report;
  report.slide = "intro";
  report.target = "ios.iphone-6.9";
  report.locale = "en-US";
  report.width = 1320;
  report.height = 2868;
  report.deviceRect = NormalizedRect{0.1, 0.2, 0.5, 0.25};
  Json json = report.toJSON();
  EXPECT_EQ(json["width"], 1320);
  EXPECT_EQ(json["deviceRect"]["height"], 0.25);
  EXPECT_FALSE(json.contains("frame"));
  EXPECT_FALSE(json.contains("textRect"));
  EXPECT_TRUE(json["issues"].is_array());
}

}  // namespace
}  // namespace vorno::slide_renderer_test
