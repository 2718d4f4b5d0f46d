#include "kit/image/fill_painter.h"

#include "kit/image/image_fill_renderer.h"
#include "kit/image/image_test_support.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace vorno::fill_painter_test {
namespace {

using testing::TempFolder;
using testing::writeBytes;

const RGBColor red{1, 0, 0, 1}, blue{0, 0, 1, 1}, green{0, 1, 0, 1};

// A transparent canvas to paint into and read back, straight (not premultiplied) colour.
class Canvas {
 public:
  Canvas(int width, int height)
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)), cr_(cairo_create(surface_)) {}
  ~Canvas() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
  }
  cairo_t* cr() const { return cr_; }

  RGBColor at(int x, int y) const {
    cairo_surface_flush(surface_);
    uint32_t word;
    std::memcpy(&word, cairo_image_surface_get_data(surface_) + y * cairo_image_surface_get_stride(surface_) + x * 4, 4);
    double a = (word >> 24) / 255.0;
    if (a == 0) return {0, 0, 0, 0};
    return {((word >> 16) & 0xFF) / 255.0 / a, ((word >> 8) & 0xFF) / 255.0 / a, (word & 0xFF) / 255.0 / a, a};
  }

  void save(const std::string& path) const { cairo_surface_write_to_png(surface_, path.c_str()); }

 private:
  cairo_surface_t* surface_;
  cairo_t* cr_;
};

void expectColor(RGBColor actual, RGBColor expected, double tolerance, const std::string& where) {
  EXPECT_NEAR(actual.r, expected.r, tolerance) << where;
  EXPECT_NEAR(actual.g, expected.g, tolerance) << where;
  EXPECT_NEAR(actual.b, expected.b, tolerance) << where;
  EXPECT_NEAR(actual.a, expected.a, tolerance) << where;
}

Fill linear(std::vector<RGBColor> colors, double angle) { return Fill{LinearFill{std::move(colors), angle}}; }

// The painted ramp must agree with the document's own sampling of the fill everywhere.
void expectMatchesSampling(const Fill& fill, int width, int height) {
  Canvas canvas(width, height);
  FillPainter::paint(fill, canvas.cr(), {0, 0, double(width), double(height)});
  for (int y = 0; y < height; y += 7)
    for (int x = 0; x < width; x += 7) {
      RGBColor expected = fill.sample((x + 0.5) / width, (y + 0.5) / height, {double(width), double(height)});
      expectColor(canvas.at(x, y), expected, 0.02, "at " + std::to_string(x) + "," + std::to_string(y));
    }
}

TEST(FillPainter, SolidFillsItsRectangleOnly) {
  Canvas canvas(20, 20);
  FillPainter::paint(Fill::solid({0.2, 0.4, 0.6, 1}), canvas.cr(), {5, 5, 10, 10});
  expectColor(canvas.at(10, 10), {0.2, 0.4, 0.6, 1}, 0.005, "inside");
  expectColor(canvas.at(2, 2), {0, 0, 0, 0}, 0, "outside");
  expectColor(canvas.at(16, 10), {0, 0, 0, 0}, 0, "right of it");
}

TEST(FillPainter, LinearFillAt180HasItsFirstColourOnTop) {
  Canvas canvas(40, 100);
  FillPainter::paint(linear({red, blue}, 180), canvas.cr(), {0, 0, 40, 100});
  expectColor(canvas.at(20, 0), red, 0.02, "top");
  expectColor(canvas.at(20, 99), blue, 0.02, "bottom");
  expectColor(canvas.at(0, 50), canvas.at(39, 50), 1.5 / 255, "a row is one colour, to the dither's one level");
}

TEST(FillPainter, LinearFillAt0RunsUpward) {
  Canvas canvas(40, 100);
  FillPainter::paint(linear({red, blue}, 0), canvas.cr(), {0, 0, 40, 100});
  expectColor(canvas.at(20, 99), red, 0.02, "bottom");
  expectColor(canvas.at(20, 0), blue, 0.02, "top");
}

TEST(FillPainter, LinearFillAt90RunsLeftToRight) {
  Canvas canvas(100, 30);
  FillPainter::paint(linear({red, blue}, 90), canvas.cr(), {0, 0, 100, 30});
  expectColor(canvas.at(0, 15), red, 0.02, "left");
  expectColor(canvas.at(99, 15), blue, 0.02, "right");
  expectColor(canvas.at(50, 0), canvas.at(50, 29), 1.5 / 255, "a column is one colour, to the dither's one level");
}

TEST(FillPainter, LinearFillAt45ReachesTheCornersExactly) {
  // The ramp's ends touch the bottom-left and top-right corners, whatever the aspect.
  Canvas canvas(200, 100);
  FillPainter::paint(linear({red, blue}, 45), canvas.cr(), {0, 0, 200, 100});
  expectColor(canvas.at(0, 99), red, 0.02, "bottom left");
  expectColor(canvas.at(199, 0), blue, 0.02, "top right");
  expectMatchesSampling(linear({red, blue}, 45), 200, 100);
}

TEST(FillPainter, LinearGeometryMatchesSamplingAtManyAngles) {
  for (double angle : {0.0, 90.0, 180.0, 45.0, 30.0, 200.0, -60.0}) {
    SCOPED_TRACE(angle);
    expectMatchesSampling(linear({red, green, blue}, angle), 90, 60);
  }
}

TEST(FillPainter, LinearStopsAreEvenlySpaced) {
  Canvas canvas(10, 101);
  FillPainter::paint(linear({red, green, blue}, 180), canvas.cr(), {0, 0, 10, 101});
  expectColor(canvas.at(5, 50), green, 0.03, "middle colour in the middle");
}

TEST(FillPainter, RadialCentreIsMeasuredFromTheTop) {
  Fill fill{RadialFill{{red, blue}, 0.5, 0.25, 0.5}};
  Canvas canvas(100, 100);
  FillPainter::paint(fill, canvas.cr(), {0, 0, 100, 100});
  expectColor(canvas.at(50, 25), red, 0.03, "centre, a quarter down");
  expectColor(canvas.at(50, 99), blue, 0.02, "past the radius: last colour");
  expectMatchesSampling(fill, 100, 100);
}

TEST(FillPainter, RadialRadiusIsAFractionOfTheLongerSide) {
  Fill fill{RadialFill{{red, blue}, 0.5, 0.5, 0.25}};
  expectMatchesSampling(fill, 160, 80);
}

// A big ramp is evaluated on a coarser grid and enlarged; painted tile by tile under clips too
// small for that, the same fill is evaluated exactly. The two must agree to two levels.
void expectBigFillMatchesExactTiles(const Fill& fill, double scale, double dx, double dy) {
  const int width = 900, height = 1400;
  const Rect rect{-10, 20, 1100, 1800};
  auto prepare = [&](cairo_t* cr) {
    cairo_translate(cr, dx, dy);
    cairo_scale(cr, scale, scale);
  };
  cairo_surface_t* whole = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_surface_t* tiled = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(whole);
  prepare(cr);
  FillPainter::paint(fill, cr, rect);
  cairo_destroy(cr);
  for (int ty = 0; ty < height; ty += 200)
    for (int tx = 0; tx < width; tx += 200) {
      cairo_t* tile = cairo_create(tiled);
      cairo_rectangle(tile, tx, ty, 200, 200);
      cairo_clip(tile);
      prepare(tile);
      FillPainter::paint(fill, tile, rect);
      cairo_destroy(tile);
    }
  cairo_surface_flush(whole);
  cairo_surface_flush(tiled);
  const uint8_t* a = cairo_image_surface_get_data(whole);
  const uint8_t* b = cairo_image_surface_get_data(tiled);
  const int stride = cairo_image_surface_get_stride(whole);
  int worst = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width * 4; ++x) worst = std::max(worst, std::abs(int(a[y * stride + x]) - int(b[y * stride + x])));
  EXPECT_LE(worst, 2);
  cairo_surface_destroy(whole);
  cairo_surface_destroy(tiled);
}

TEST(FillPainter, BigLinearRampMatchesItsExactPaint) {
  expectBigFillMatchesExactTiles(linear({red, green, blue}, 170), 0.8, 3.3, 7.6);
  expectBigFillMatchesExactTiles(linear({{1, 0.85, 0.76, 1}, {0.95, 0.63, 0.48, 1}}, 170), 1, 0, 0);
}

TEST(FillPainter, BigTranslucentRampMatchesItsExactPaint) {
  expectBigFillMatchesExactTiles(linear({{1, 0, 0, 0.2}, {0, 0, 1, 0.9}}, 30), 0.9, 0.5, 0.25);
}

TEST(FillPainter, BigRadialRampMatchesItsExactPaint) {
  expectBigFillMatchesExactTiles(Fill{RadialFill{{red, green, blue}, 0.3, 0.4, 0.7}}, 0.8, 1.5, 2.5);
}

TEST(FillPainter, OffsetRectangleKeepsItsGeometry) {
  Canvas canvas(120, 120);
  FillPainter::paint(linear({red, blue}, 180), canvas.cr(), {20, 30, 50, 60});
  expectColor(canvas.at(40, 30), red, 0.03, "top of the rectangle");
  expectColor(canvas.at(40, 89), blue, 0.03, "bottom of the rectangle");
  expectColor(canvas.at(40, 95), {0, 0, 0, 0}, 0, "below it");
}

TEST(FillPainter, KeepsTheCallersClipAndState) {
  Canvas canvas(20, 20);
  cairo_rectangle(canvas.cr(), 0, 0, 10, 20);
  cairo_clip(canvas.cr());
  cairo_set_source_rgb(canvas.cr(), 0, 1, 0);
  FillPainter::paint(Fill::solid(red), canvas.cr(), {0, 0, 20, 20});
  expectColor(canvas.at(15, 5), {0, 0, 0, 0}, 0, "outside the caller's clip");
  cairo_reset_clip(canvas.cr());
  cairo_paint(canvas.cr());
  expectColor(canvas.at(15, 5), green, 0, "the caller's source is back");
}

TEST(FillPainter, FewerThanTwoColoursPaintPlainOrNothing) {
  Canvas canvas(10, 10);
  FillPainter::paint(linear({green}, 90), canvas.cr(), {0, 0, 10, 10});
  expectColor(canvas.at(5, 5), green, 0, "one colour");
  Canvas empty(10, 10);
  FillPainter::paint(linear({}, 90), empty.cr(), {0, 0, 10, 10});
  expectColor(empty.at(5, 5), {0, 0, 0, 0}, 0, "no colour");
}

// A picture of two halves: red on the left, blue on the right.
std::string writeHalves(const TempFolder& folder, const std::string& name, int width, int height) {
  std::string path = folder.file(name);
  writeBytes(path, testing::encodeRGBAPNG(width, height, testing::rgbaPixels(width, height, [&](int x, int) {
                                            return x < width / 2 ? std::array<uint8_t, 4>{255, 0, 0, 255}
                                                                 : std::array<uint8_t, 4>{0, 0, 255, 255};
                                          })));
  return path;
}

Fill imageFill(const std::string& path, ImageFill::Fit fit, double dim = 0, double blur = 0) {
  return Fill{ImageFill{path, fit, dim, blur}};
}

TEST(FillPainter, ContainLeavesBlackBarsNeverTransparency) {
  TempFolder folder;
  std::string path = writeHalves(folder, "wide.png", 200, 100);
  Canvas canvas(100, 200);
  FillPainter::paint(imageFill(path, ImageFill::Fit::contain), canvas.cr(), {0, 0, 100, 200});
  // The wide picture fits the width: 100 × 50, centred, with bars of 75 above and below.
  expectColor(canvas.at(50, 10), RGBColor::black(), 0, "bar on top");
  expectColor(canvas.at(50, 190), RGBColor::black(), 0, "bar below");
  expectColor(canvas.at(10, 100), red, 0.01, "left half of the picture");
  expectColor(canvas.at(90, 100), blue, 0.01, "right half of the picture");
  for (int y = 0; y < 200; ++y)
    for (int x : {0, 50, 99}) ASSERT_EQ(canvas.at(x, y).a, 1.0) << x << "," << y;
}

TEST(FillPainter, CoverFillsEverythingAndCropsTheSides) {
  TempFolder folder;
  std::string path = writeHalves(folder, "wide.png", 200, 100);
  Canvas canvas(100, 100);
  FillPainter::paint(imageFill(path, ImageFill::Fit::cover), canvas.cr(), {0, 0, 100, 100});
  expectColor(canvas.at(0, 0), red, 0.01, "top left");
  expectColor(canvas.at(99, 99), blue, 0.01, "bottom right");
  expectColor(canvas.at(45, 50), red, 0.01, "just left of the middle");
  expectColor(canvas.at(55, 50), blue, 0.01, "just right of the middle");
}

TEST(FillPainter, MissingImageFillShowsGreyWithoutError) {
  TempFolder folder;
  Canvas canvas(30, 30);
  EXPECT_NO_THROW(FillPainter::paint(imageFill(folder.file("gone.png"), ImageFill::Fit::contain, 0.5, 0.5),
                                     canvas.cr(), {5, 5, 20, 20}));
  // Grey only: no bars, no dim on top.
  expectColor(canvas.at(15, 15), {0.5, 0.5, 0.52, 1}, 0.005, "inside");
  expectColor(canvas.at(2, 2), {0, 0, 0, 0}, 0, "outside");
}

TEST(FillPainter, UnreadableImageFillShowsGreyToo) {
  TempFolder folder;
  std::ofstream(folder.file("text.png")) << "words";
  Canvas canvas(10, 10);
  FillPainter::paint(imageFill(folder.file("text.png"), ImageFill::Fit::cover), canvas.cr(), {0, 0, 10, 10});
  expectColor(canvas.at(5, 5), {0.5, 0.5, 0.52, 1}, 0.005, "grey");
}

TEST(FillPainter, DimDarkensThePicture) {
  TempFolder folder;
  std::string path = writeHalves(folder, "halves.png", 20, 20);
  Canvas canvas(20, 20);
  FillPainter::paint(imageFill(path, ImageFill::Fit::cover, 0.25), canvas.cr(), {0, 0, 20, 20});
  expectColor(canvas.at(2, 10), {0.75, 0, 0, 1}, 0.01, "red at three quarters");
}

TEST(FillPainter, BlurredImageFillSoftensTheEdgeBetweenHalves) {
  TempFolder folder;
  std::string path = writeHalves(folder, "halves.png", 200, 200);
  Canvas sharp(200, 200), soft(200, 200);
  FillPainter::paint(imageFill(path, ImageFill::Fit::cover), sharp.cr(), {0, 0, 200, 200});
  FillPainter::paint(imageFill(path, ImageFill::Fit::cover, 0, 0.5), soft.cr(), {0, 0, 200, 200});
  expectColor(sharp.at(97, 100), red, 0.01, "sharp edge");
  // Radius 0.5 × 0.04 × 200 = 4 px: three pixels from the edge the colours already mix.
  RGBColor mixed = soft.at(97, 100);
  EXPECT_GT(mixed.b, 0.1);
  EXPECT_GT(mixed.r, 0.5);
  expectColor(soft.at(30, 100), red, 0.01, "far from the edge");
}

TEST(FillPainter, VectorImageFillIsRasterisedAtFourTimesItsSize) {
  TempFolder folder;
  std::string path = folder.file("art.svg");
  std::ofstream(path) << R"(<svg xmlns="http://www.w3.org/2000/svg" width="30" height="20">)"
                      << R"(<rect width="15" height="20" fill="#ff0000"/><rect x="15" width="15" height="20" fill="#0000ff"/></svg>)";
  ImageFillRenderer renderer;
  Image picture = renderer.load(path);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture.width(), 120);
  EXPECT_EQ(picture.height(), 80);
  Canvas canvas(300, 200);
  FillPainter::paint(imageFill(path, ImageFill::Fit::cover), canvas.cr(), {0, 0, 300, 200});
  expectColor(canvas.at(10, 100), red, 0.01, "left");
  expectColor(canvas.at(290, 100), blue, 0.01, "right");
}


// How a ramp down a canvas shows in the red channel of an opaque fill: the widest band (a run of
// rows that look alike: the same sum over 8 neighbouring pixels, as plain rounding makes them for
// a dozen rows at a time), and the worst distance of an 8 × 8 tile's mean from the exact ramp, in
// 8-bit levels.
struct Banding {
  int widestBand = 0;
  double worstMeanError = 0;
};

Banding banding(const Fill& fill, int width, int height, int x0) {
  Canvas canvas(width, height);
  FillPainter::paint(fill, canvas.cr(), {0, 0, double(width), double(height)});
  auto level = [&](int x, int y) { return int(std::lround(canvas.at(x, y).r * 255)); };
  Banding result;
  int band = 0, previous = -1;
  for (int y = 0; y < height; ++y) {
    int sum = 0;
    for (int x = x0; x < x0 + 8; ++x) sum += level(x, y);
    band = sum == previous ? band + 1 : 1;
    previous = sum;
    result.widestBand = std::max(result.widestBand, band);
  }
  for (int y0 = 0; y0 + 8 <= height; y0 += 8) {
    double sum = 0, exact = 0;
    for (int y = y0; y < y0 + 8; ++y)
      for (int x = x0; x < x0 + 8; ++x) {
        sum += level(x, y);
        exact += fill.sample((x + 0.5) / width, (y + 0.5) / height, {double(width), double(height)}).r * 255;
      }
    result.worstMeanError = std::max(result.worstMeanError, std::fabs(sum - exact) / 64);
  }
  return result;
}

TEST(FillPainter, SlideHeightRampHasNoBandWiderThanAFewPixels) {
  // 228 levels down a 6.9-inch slide: plain rounding makes a step every 12.6 pixels.
  const Fill ramp = linear({{16 / 255.0, 0.2, 0.3, 1}, {244 / 255.0, 0.2, 0.3, 1}}, 180);
  Banding b = banding(ramp, 48, 2868, 0);
  EXPECT_LE(b.widestBand, 4) << "rounding alone makes bands of 12 or 13 rows";
  // Dithering must not move the ramp: every 8 × 8 tile averages to the exact colours.
  EXPECT_LT(b.worstMeanError, 0.1) << "rounding alone is up to half a level off";
}

TEST(FillPainter, CalmRampAcrossTheSlideStaysSmooth) {
  // 13 levels over 2868 pixels: bands of 220 pixels without a dither.
  const Fill calm = linear({{1, 0.91, 0.84, 1}, {242 / 255.0, 0.63, 0.48, 1}}, 180);
  Banding b = banding(calm, 48, 2868, 0);
  // Near a whole level only one pixel in 64 differs, so rows alike run longer, but the step is
  // spread over the whole 220 rows instead of falling at one edge.
  EXPECT_LE(b.widestBand, 16) << "rounding alone makes bands of 220 rows";
  EXPECT_LT(b.worstMeanError, 0.1) << "rounding alone is up to half a level off";
}

TEST(FillPainter, RadialRampIsDitheredToo) {
  const Fill glow = Fill{RadialFill{{{0.9, 0.5, 0.5, 1}, {0.1, 0.5, 0.5, 1}}, 0.5, 0.0, 1.0}};
  Banding b = banding(glow, 40, 2400, 16);
  EXPECT_LE(b.widestBand, 4) << "rounding alone makes bands of 12 rows";
  EXPECT_LT(b.worstMeanError, 0.1);
}

TEST(FillPainter, DitherKeepsTheEndColoursExact) {
  Canvas canvas(16, 600);
  FillPainter::paint(linear({red, blue}, 180), canvas.cr(), {0, 0, 16, 600});
  for (int x = 0; x < 16; ++x) {
    expectColor(canvas.at(x, 0), red, 1.5 / 255, "top");
    expectColor(canvas.at(x, 599), blue, 1.5 / 255, "bottom");
  }
}

}  // namespace
}  // namespace vorno::fill_painter_test
