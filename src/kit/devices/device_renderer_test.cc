#include "kit/devices/device_renderer.h"

#include "kit/devices/builtin_specs.h"
#include "kit/devices/custom_frame.h"
#include "kit/devices/device_drawing_test_support.h"
#include "kit/devices/device_fixtures.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace vorno::device_renderer_test {
namespace {

TEST(DeviceRendererInit, FinishFallsBackToTheSpecsDefaultThenBlack) {
  const DeviceFrame& pro = BuiltinSpecs::fallbackFrames()[3];
  EXPECT_EQ(DeviceRenderer(pro).finish().id, "deep-blue");
  EXPECT_EQ(DeviceRenderer(pro, Finish::named("silver")).finish().id, "silver");
  DeviceFrame odd = pro;
  odd.spec.defaultFinish = "gold";
  EXPECT_EQ(DeviceRenderer(odd).finish().id, "black");
  EXPECT_EQ(DeviceRenderer(odd).frame(), odd);
}

TEST(DeviceRendererSize, ScreenPlusBezelAndBandAtScale) {
  DeviceRenderer pro(BuiltinSpecs::fallbackFrames()[3]);  // 1206 by 2622, bezel 10.5, band 5, scale 3
  EXPECT_EQ(pro.nativeBodySize(), (Size{1206 + 2 * 3 * 15.5, 2622 + 2 * 3 * 15.5}));
  EXPECT_DOUBLE_EQ(pro.bodyAspect(), (1206 + 93.0) / (2622 + 93.0));
}

TEST(DeviceRendererSize, HingeWidensAndTurnSwaps) {
  DeviceRenderer closed(BuiltinSpecs::duoClosedFrame());  // bezel 10, band 6, hinge 9.67, scale 3
  Size size = closed.nativeBodySize();
  EXPECT_DOUBLE_EQ(size.width, 1398 + 2 * 3 * 16 + 3 * 9.67);
  EXPECT_DOUBLE_EQ(size.height, 2034 + 2 * 3 * 16);
  DeviceRenderer open(BuiltinSpecs::duoOpenFrame().turned());
  Size turned = open.nativeBodySize();
  EXPECT_DOUBLE_EQ(turned.width, 2853 + 2 * 3 * 20.67);
  EXPECT_DOUBLE_EQ(turned.height, 2007 + 2 * 3 * 20.67);
  EXPECT_GT(open.bodyAspect(), 1);
}

TEST(DeviceRendererSize, OverlayIsTheImageSize) {
  DeviceFrame custom = BuiltinSpecs::fallbackFrames()[3];
  custom.overlay = DeviceFrame::Overlay{"/f.png", 900, 1800, 50, 60};
  DeviceRenderer renderer(custom);
  EXPECT_EQ(renderer.nativeBodySize(), (Size{900, 1800}));
  EXPECT_DOUBLE_EQ(renderer.bodyAspect(), 0.5);
  // A copyable value.
  DeviceRenderer copy = renderer;
  EXPECT_EQ(copy, renderer);
}

TEST(DeviceRendererSize, FramelessScreenIsTheScreen) {
  DeviceRenderer bare(BuiltinSpecs::fallbackFrames()[3].screenOnly());
  EXPECT_EQ(bare.nativeBodySize(), (Size{1206, 2622}));
}


using testing::Pixel;
using testing::TestCanvas;

const RGBColor red{1, 0, 0, 1}, green{0, 1, 0, 1}, blue{0, 0, 1, 1}, magenta{1, 0, 1, 1};
const RGBColor background{0.9, 0.9, 0.9, 1};

const DeviceFrame& iphone17Pro() { return BuiltinSpecs::fallbackFrames()[3]; }  // 1206 by 2622, bezel 10.5, band 5

// The body of `renderer` at `scale` of its native size, its top left corner at (40, 40).
Rect bodyAt(const DeviceRenderer& renderer, double scale) {
  Size native = renderer.nativeBodySize();
  return {40, 40, native.width * scale, native.height * scale};
}

bool isBackground(const Pixel& pixel) { return pixel.distance(background) < 2; }

// At a quarter of its size the iPhone's screen is 301.5 by 655.5, inset 11.625 from the body.
TEST(DeviceRendererDraw, ScreenShowsTheCaptureAndTheBandItsFinish) {
  DeviceRenderer renderer(iphone17Pro());  // deep-blue: light #4A5C7A, dark #1F2A3D
  Rect body = bodyAt(renderer, 0.25);
  TestCanvas canvas(420, 780, background);
  DeviceRenderer::Result result =
      renderer.draw(canvas.context(), body, testing::solidCapture(1206, 2622, green), false);
  EXPECT_NEAR(result.screenRect.x, 40 + 11.625, 1e-9);
  EXPECT_NEAR(result.screenRect.width, 301.5, 1e-9);
  EXPECT_NEAR(result.screenRect.height, 655.5, 1e-9);
  EXPECT_FALSE(result.captureAspectMismatch);
  EXPECT_LT(canvas.at(result.screenRect.midX(), result.screenRect.midY()).distance(green), 1);
  // The band (3.75 wide) shows the finish, between its dark and its light colour.
  Pixel band = canvas.at(body.minX() + 2, body.midY());
  EXPECT_GE(band.b, 0x3D - 4);
  EXPECT_LE(band.b, 0x7A + 4);
  EXPECT_GT(band.b, band.r + 10);  // blue, not the grey of the slide or the black of the bezel
  // The bezel (7.875 wide) is near black.
  EXPECT_LT(canvas.at(body.minX() + 3.75 + 4, body.midY()).distance({0.02, 0.02, 0.025, 1}), 2);
  // Outside the body, the slide.
  EXPECT_TRUE(isBackground(canvas.at(body.minX() - 5, body.midY())));
}

TEST(DeviceRendererDraw, ShadowFallsBelowTheDevice) {
  DeviceRenderer renderer(iphone17Pro());
  Rect body = bodyAt(renderer, 0.25);
  TestCanvas plain(420, 820, background), shadowed(420, 820, background);
  renderer.draw(plain.context(), body, Image(), false);
  renderer.draw(shadowed.context(), body, Image(), true);
  double m = body.width;
  Pixel below = shadowed.at(body.midX(), body.maxY() + m * 0.05);
  Pixel above = shadowed.at(body.midX(), body.minY() - m * 0.05);
  EXPECT_TRUE(isBackground(plain.at(body.midX(), body.maxY() + m * 0.05)));
  EXPECT_LT(below.brightness(), background.r * 255 - 15);
  EXPECT_GT(above.brightness(), below.brightness() + 10);
  // The device itself is drawn over its shadow, unchanged.
  EXPECT_LT(shadowed.at(body.midX(), body.midY()).distance({0x22 / 255.0, 0x27 / 255.0, 0x31 / 255.0, 1}), 12);
  EXPECT_LT(plain.at(body.minX() + 2, body.midY()).distance(
                [&] { Pixel p = shadowed.at(body.minX() + 2, body.midY()); return RGBColor{p.r / 255, p.g / 255, p.b / 255, 1}; }()),
            1);
}

TEST(DeviceRendererDraw, FrameWithoutEdgeIsDrawnPolished) {
  DeviceFrame none = iphone17Pro(), polished = none, rounded = none;
  ASSERT_FALSE(none.spec.edge);
  polished.spec.edge = FrameSpec::Edge::polished;
  rounded.spec.edge = FrameSpec::Edge::rounded;
  TestCanvas a(420, 780, background), b(420, 780, background), c(420, 780, background);
  Rect body = bodyAt(DeviceRenderer(none), 0.25);
  DeviceRenderer(none).draw(a.context(), body, Image(), false);
  DeviceRenderer(polished).draw(b.context(), body, Image(), false);
  DeviceRenderer(rounded).draw(c.context(), body, Image(), false);
  EXPECT_TRUE(a.samePixels(b));
  EXPECT_FALSE(a.samePixels(c));
}

TEST(DeviceRendererDraw, FlatFinishDrawsNoBezelNorEdgeButKeepsButtonsAndCameras) {
  const RGBColor flatWhite{0xF6 / 255.0, 0xF6 / 255.0, 0xF4 / 255.0, 1};
  DeviceRenderer flat(iphone17Pro(), Finish::named("flat-white"));
  DeviceRenderer metal(iphone17Pro());
  Rect body = bodyAt(flat, 0.5);  // band 7.5, bezel 15.75, buttons 1.35 out of the body
  TestCanvas canvas(760, 1460, magenta), reference(760, 1460, magenta);
  DeviceRenderer::Result result = flat.draw(canvas.context(), body, testing::solidCapture(1206, 2622, green), false);
  metal.draw(reference.context(), body, testing::solidCapture(1206, 2622, green), false);
  // Band and bezel are one flat silhouette.
  EXPECT_LT(canvas.at(body.minX() + 3.5, body.midY()).distance(flatWhite), 3);
  EXPECT_LT(canvas.at(body.minX() + 7.5 + 8, body.midY()).distance(flatWhite), 3);
  EXPECT_LT(reference.at(body.minX() + 7.5 + 8, body.midY()).distance({0.02, 0.02, 0.025, 1}), 2);
  // A left button (0.255 of the height, 0.07 long) still shows beside the body, in the finish.
  double buttonY = body.minY() + 0.29 * body.height;
  EXPECT_LT(canvas.at(body.minX() - 0.5, buttonY).distance(flatWhite), 3);
  EXPECT_LT(canvas.at(body.minX() - 0.5, body.minY() + 0.5 * body.height).distance(magenta), 3);
  // The island: 126 by 37.33 points, 11 below the screen's top.
  Rect screen = result.screenRect;
  EXPECT_LT(canvas.at(screen.midX(), screen.minY() + (11 + 37.33 / 2) * 1.5).distance({0, 0, 0, 1}), 2);
}

TEST(DeviceRendererDraw, CapturesOfTheScreensAspectHaveNoMismatch) {
  DeviceRenderer renderer(iphone17Pro());
  TestCanvas canvas(420, 780);
  DeviceRenderer::Result result =
      renderer.draw(canvas.context(), bodyAt(renderer, 0.25), testing::solidCapture(1206, 2622, green), false);
  EXPECT_EQ(result.captureAspectMismatch, std::nullopt);
}

TEST(DeviceRendererDraw, ShortCaptureHasAMismatchAndItsLastRowsFillTheStrip) {
  DeviceRenderer renderer(iphone17Pro());
  TestCanvas canvas(420, 780);
  // 1206 by 2600: blue, with its last two rows red.
  Image capture = testing::paintedCapture(1206, 2600, [](int, int y) { return y >= 2598 ? red : blue; });
  DeviceRenderer::Result result = renderer.draw(canvas.context(), bodyAt(renderer, 0.25), capture, false);
  ASSERT_TRUE(result.captureAspectMismatch);
  EXPECT_NEAR(*result.captureAspectMismatch, 2622.0 / 2600 - 1, 1e-9);
  EXPECT_NEAR(*result.captureAspectMismatch, 0.0085, 0.0001);
  Rect screen = result.screenRect;
  // The capture ends 650 units down the 655.5 screen; below it the red rows run on.
  double x = screen.minX() + screen.width * 0.3;
  EXPECT_LT(canvas.at(x, screen.midY()).distance(blue), 1);
  EXPECT_LT(canvas.at(x, screen.minY() + 652).distance(red), 1);
  EXPECT_LT(canvas.at(x, screen.maxY() - 1.5).distance(red), 1);
  // Just above the strip the capture itself: blue, whose last row before red is there.
  EXPECT_LT(canvas.at(x, screen.minY() + 645).distance(blue), 1);
}

TEST(DeviceRendererDraw, TallCaptureIsAlignedToTheTopAndClippedAtTheBottom) {
  DeviceRenderer renderer(iphone17Pro());
  TestCanvas canvas(420, 780);
  // 1206 by 3000: green at the top, magenta below the screen's height, blue between.
  Image capture = testing::paintedCapture(1206, 3000, [](int, int y) { return y < 100 ? green : y >= 2622 ? magenta : blue; });
  DeviceRenderer::Result result = renderer.draw(canvas.context(), bodyAt(renderer, 0.25), capture, false);
  ASSERT_TRUE(result.captureAspectMismatch);
  EXPECT_NEAR(*result.captureAspectMismatch, 1 - 2622.0 / 3000, 1e-9);
  Rect screen = result.screenRect;
  double x = screen.minX() + screen.width * 0.25;
  EXPECT_LT(canvas.at(x, screen.minY() + 10).distance(green), 1);
  EXPECT_LT(canvas.at(x, screen.maxY() - 2).distance(blue), 1);
  // Nothing of the magenta rows below the screen: the bezel is there.
  EXPECT_LT(canvas.at(x, screen.maxY() + 3).distance({0.02, 0.02, 0.025, 1}), 2);
}

TEST(DeviceRendererDraw, NoCaptureShowsThePlaceholderGradientAndNoMismatch) {
  DeviceRenderer renderer(iphone17Pro().screenOnly());
  TestCanvas canvas(400, 760);
  DeviceRenderer::Result result = renderer.draw(canvas.context(), bodyAt(renderer, 0.25), Image(), false);
  EXPECT_FALSE(result.captureAspectMismatch);
  Rect screen = result.screenRect;
  EXPECT_LT(canvas.at(screen.midX(), screen.minY() + 0.5).distance({0x2A / 255.0, 0x2F / 255.0, 0x3A / 255.0, 1}), 1.5);
  EXPECT_LT(canvas.at(screen.midX(), screen.maxY() - 1.5).distance({0x12 / 255.0, 0x15 / 255.0, 0x1B / 255.0, 1}), 1.5);
  EXPECT_LT(canvas.at(screen.midX(), screen.midY()).distance({0x1E / 255.0, 0x22 / 255.0, 0x2A / 255.0, 1}), 1.5);
}

TEST(DeviceRendererDraw, TurnedFrameWithCaptureReturnsTheLandscapeScreen) {
  DeviceRenderer renderer(iphone17Pro().turned());  // counterclockwise: the top goes left
  Rect body = bodyAt(renderer, 0.25);
  ASSERT_GT(body.width, body.height);
  TestCanvas canvas(760, 420, background);
  // A landscape capture, red on its left half and blue on its right.
  Image capture = testing::paintedCapture(2622, 1206, [](int x, int) { return x < 1311 ? red : blue; });
  DeviceRenderer::Result result = renderer.draw(canvas.context(), body, capture, false);
  EXPECT_FALSE(result.captureAspectMismatch);
  Rect screen = result.screenRect;
  EXPECT_NEAR(screen.width, 655.5, 1e-9);
  EXPECT_NEAR(screen.height, 301.5, 1e-9);
  EXPECT_NEAR(screen.midX(), body.midX(), 1e-9);
  EXPECT_NEAR(screen.midY(), body.midY(), 1e-9);
  // The capture stands upright in the turned device.
  EXPECT_LT(canvas.at(screen.minX() + screen.width * 0.3, screen.midY() + 40).distance(red), 1);
  EXPECT_LT(canvas.at(screen.minX() + screen.width * 0.7, screen.midY() + 40).distance(blue), 1);
  // The island, at the device's top, is now on the left.
  EXPECT_LT(canvas.at(screen.minX() + (11 + 37.33 / 2) * 0.75, screen.midY()).distance({0, 0, 0, 1}), 2);
  // The drawn device is wider than tall: its band at the far left and right, the slide above and below.
  EXPECT_FALSE(isBackground(canvas.at(body.minX() + 2, body.midY())));
  EXPECT_FALSE(isBackground(canvas.at(body.maxX() - 2, body.midY())));
  EXPECT_TRUE(isBackground(canvas.at(body.midX() - 100, body.minY() - 5)));
  EXPECT_TRUE(isBackground(canvas.at(body.midX(), body.maxY() + 5)));
}

TEST(DeviceRendererDraw, BareScreenWithOutlineDrawsARing) {
  const DeviceFrame& pro = iphone17Pro();
  DeviceFrame detail = pro.detail({0, 0, 1, 1}, 1206, 2622).outlined({1, 1, 1, 1});
  DeviceRenderer renderer(detail);
  Rect body = bodyAt(renderer, 0.25);  // the screen itself: 301.5 by 655.5
  TestCanvas canvas(400, 760, {0.2, 0.2, 0.2, 1});
  DeviceRenderer::Result result = renderer.draw(canvas.context(), body, testing::solidCapture(1206, 2622, green), false);
  EXPECT_EQ(result.screenRect, body);
  double w = 301.5 * 0.035;  // above the floor of 2
  EXPECT_LT(canvas.at(body.minX() - w / 2, body.midY()).distance({1, 1, 1, 1}), 1);
  EXPECT_LT(canvas.at(body.minX() + 3, body.midY()).distance(green), 1);
  EXPECT_LT(canvas.at(body.minX() - w - 2, body.midY()).distance({0.2, 0.2, 0.2, 1}), 1);
  // Without the ring, the bare screen alone.
  TestCanvas bare(400, 760, {0.2, 0.2, 0.2, 1});
  DeviceRenderer(pro.detail({0, 0, 1, 1}, 1206, 2622)).draw(bare.context(), body, Image(), false);
  EXPECT_LT(bare.at(body.minX() - w / 2, body.midY()).distance({0.2, 0.2, 0.2, 1}), 1);
}

TEST(DeviceRendererDraw, MaskPDFShapesTheScreenAndAMissingOneFallsBackOnContinuousCorners) {
  testing::TempFolder folder;
  std::string mask = folder.file("mask.pdf");
  testing::writeMaskPDF(mask, 1206, 2622, 600);  // far rounder corners than the frame's 186
  DeviceFrame masked = iphone17Pro(), missing = iphone17Pro();
  masked.maskPDFPath = mask;
  missing.maskPDFPath = folder.file("nothing.pdf");
  for (bool withMask : {true, false}) {
    DeviceRenderer renderer(withMask ? masked : missing);
    TestCanvas canvas(420, 780);
    Rect screen = renderer.draw(canvas.context(), bodyAt(renderer, 0.25), testing::solidCapture(1206, 2622, green), false)
                      .screenRect;
    Pixel corner = canvas.at(screen.minX() + 25, screen.minY() + 25);
    if (withMask) {
      EXPECT_LT(corner.distance({0.02, 0.02, 0.025, 1}), 2) << "outside the mask's corner: the bezel";
      EXPECT_LT(canvas.at(screen.midX(), screen.midY()).distance(green), 1);
    } else {
      EXPECT_LT(corner.distance(green), 1) << "inside the continuous corner of radius 46.5";
    }
  }
}

TEST(DeviceRendererDraw, HingeCreaseAndFoldMarksShowOnTheBand) {
  DeviceRenderer closed(BuiltinSpecs::duoClosedFrame());  // hinge 9.67 on the left, band 6
  Rect body = bodyAt(closed, 0.5);
  TestCanvas canvas(800, 1200, background);
  closed.draw(canvas.context(), body, Image(), false);
  double b = 6 * 1.5, h = 9.67 * 1.5;
  double crease = canvas.at(body.minX() + b + h * 0.55, body.midY()).brightness();
  double beside = canvas.at(body.minX() + b + h * 0.15, body.midY()).brightness();
  EXPECT_LT(crease, beside - 4);

  DeviceRenderer open(BuiltinSpecs::duoOpenFrame());  // fold at half the height
  Rect openBody = bodyAt(open, 0.25);
  TestCanvas unfolded(700, 900, background);
  open.draw(unfolded.context(), openBody, Image(), false);
  Pixel mark = unfolded.at(openBody.minX() + 1.5, openBody.midY());
  Pixel band = unfolded.at(openBody.minX() + 1.5, openBody.midY() - 20);
  EXPECT_LT(mark.brightness(), band.brightness() * 0.5);
  EXPECT_LT(unfolded.at(openBody.maxX() - 1.5, openBody.midY()).brightness(),
            unfolded.at(openBody.maxX() - 1.5, openBody.midY() - 20).brightness() * 0.5);
}

TEST(DeviceRendererDraw, PunchHoleShowsItsLensAndGlint) {
  const DeviceFrame& pixel = BuiltinSpecs::fallbackFrames()[5];  // hole 13 points, 9.5 below the top, centred
  DeviceRenderer renderer(pixel);
  TestCanvas canvas(1500, 2900);
  Rect screen = renderer.draw(canvas.context(), bodyAt(renderer, 1), testing::solidCapture(1280, 2856, green), false)
                    .screenRect;
  double d = 13 * pixel.scale;
  Point centre{screen.midX(), screen.minY() + 9.5 * pixel.scale + d / 2};
  EXPECT_LT(canvas.at(centre.x + d * 0.1, centre.y + d * 0.1).distance({0.09, 0.11, 0.16, 1}), 2);
  EXPECT_LT(canvas.at(centre.x, centre.y - d * 0.465).distance({0.24, 0.25, 0.28, 1}), 4);  // the glass's grey ring
  EXPECT_LT(canvas.at(centre.x, centre.y - d * 0.35).distance({0, 0, 0, 1}), 2);      // black between ring and lens
  // The glint is up and to the left on the lens.
  Pixel glint = canvas.at(centre.x - d * 0.46 * 0.5 + d * 0.46 * 0.33, centre.y - d * 0.46 * 0.5 + d * 0.46 * 0.31);
  EXPECT_GT(glint.b, 0.16 * 255 + 30);
}

TEST(DeviceRendererDraw, NothingToDrawIntoGivesAnEmptyResult) {
  DeviceRenderer renderer(iphone17Pro());
  EXPECT_EQ(renderer.draw(nullptr, {0, 0, 100, 200}, Image(), true), DeviceRenderer::Result{});
  TestCanvas canvas(50, 50), untouched(50, 50);
  EXPECT_EQ(renderer.draw(canvas.context(), {10, 10, 0, 0}, Image(), true), DeviceRenderer::Result{});
  EXPECT_TRUE(canvas.samePixels(untouched));
}

// A custom frame: 300 by 600, orange, with a square-cornered transparent screen of 240 by 500 at (30, 40).
std::string writeFrameImage(const testing::TempFolder& folder) {
  std::string path = folder.file("frame.png");
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 300, 600);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 0.5, 0);
  cairo_paint(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cairo_rectangle(cr, 30, 40, 240, 500);
  cairo_fill(cr);
  cairo_destroy(cr);
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_surface_destroy(surface);
  return path;
}

TEST(DeviceRendererOverlay, CaptureShowsInTheTransparentScreenUnderTheFrame) {
  testing::TempFolder folder;
  DeviceFrame custom = CustomFrame::load(writeFrameImage(folder), "custom", Platform::ios);
  DeviceRenderer renderer(custom);
  TestCanvas canvas(400, 700, background);
  DeviceRenderer::Result result =
      renderer.draw(canvas.context(), {50, 50, 300, 600}, testing::solidCapture(240, 500, green), false);
  EXPECT_EQ(result.screenRect, (Rect{80, 90, 240, 500}));
  // The capture is measured against the screen grown by two image pixels on each side.
  EXPECT_NEAR(result.captureAspectMismatch.value_or(0), 1 - (240.0 / 500) / (244.0 / 504), 1e-9);
  EXPECT_LT(canvas.at(200, 340).distance(green), 1);
  EXPECT_LT(canvas.at(81, 300).distance(green), 1);
  EXPECT_LT(canvas.at(60, 300).distance({1, 0.5, 0, 1}), 1);  // the frame, drawn over the capture
  EXPECT_LT(canvas.at(78.5, 300).distance({1, 0.5, 0, 1}), 1);
  EXPECT_TRUE(isBackground(canvas.at(200, 665)));  // no shadow asked for

  // Half the size: everything follows the body.
  TestCanvas half(400, 700, background);
  result = renderer.draw(half.context(), {50, 50, 150, 300}, testing::solidCapture(240, 500, green), false);
  EXPECT_EQ(result.screenRect, (Rect{65, 70, 120, 250}));
}

TEST(DeviceRendererOverlay, MissingFrameImageLeavesTheScreenAlone) {
  testing::TempFolder folder;
  DeviceFrame custom = CustomFrame::load(writeFrameImage(folder), "custom", Platform::ios);
  custom.overlay->path = folder.file("gone.png");
  DeviceRenderer renderer(custom);
  TestCanvas canvas(400, 700, background);
  DeviceRenderer::Result result =
      renderer.draw(canvas.context(), {50, 50, 300, 600}, testing::solidCapture(240, 600, green), false);
  EXPECT_NEAR(result.captureAspectMismatch.value_or(0), 1 - (240.0 / 600) / (244.0 / 504), 1e-9);
  EXPECT_LT(canvas.at(200, 340).distance(green), 1);
  // The capture reaches two pixels under where the frame's inner edge would be.
  EXPECT_LT(canvas.at(78.5, 300).distance(green), 1);
  EXPECT_TRUE(isBackground(canvas.at(60, 300)));
}

TEST(DeviceRendererOverlay, ShadowFallsBelowTheFrame) {
  testing::TempFolder folder;
  DeviceRenderer renderer(CustomFrame::load(writeFrameImage(folder), "custom", Platform::ios));
  TestCanvas canvas(400, 760, background);
  renderer.draw(canvas.context(), {50, 50, 300, 600}, testing::solidCapture(240, 500, green), true);
  Pixel below = canvas.at(200, 650 + 300 * 0.03);
  Pixel above = canvas.at(200, 50 - 300 * 0.03);
  EXPECT_LT(below.brightness(), background.r * 255 - 15);
  EXPECT_GT(above.brightness(), below.brightness() + 10);
  // The screen isn't darkened by the frame's shadow.
  EXPECT_LT(canvas.at(200, 100).distance(green), 1);
}


TEST(DeviceRendererDraw, ManyThreadsDrawTheSamePicture) {
  // A renderer holds only values: drawing it on several threads at once, each into its own
  // bitmap, gives the picture one thread draws alone (mask cache and shadow included).
  testing::TempFolder folder;
  DeviceFrame frame = iphone17Pro();
  frame.maskPDFPath = folder.file("mask.pdf");
  testing::writeMaskPDF(*frame.maskPDFPath, 1206, 2622, 186);
  DeviceRenderer renderer(frame);
  Image capture = testing::solidCapture(603, 1311, green);
  Rect body = bodyAt(renderer, 0.25);
  TestCanvas alone(420, 820, background);
  renderer.draw(alone.context(), body, capture, true);
  std::vector<std::unique_ptr<TestCanvas>> canvases;
  for (int i = 0; i < 4; ++i) canvases.push_back(std::make_unique<TestCanvas>(420, 820, background));
  std::vector<std::thread> threads;
  for (auto& canvas : canvases)
    threads.emplace_back([&, c = canvas.get()] { renderer.draw(c->context(), body, capture, true); });
  for (auto& thread : threads) thread.join();
  for (auto& canvas : canvases) EXPECT_TRUE(canvas->samePixels(alone));
}
}  // namespace
}  // namespace vorno::device_renderer_test
