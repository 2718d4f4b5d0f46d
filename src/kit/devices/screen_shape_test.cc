#include "kit/devices/screen_shape.h"

#include "kit/devices/device_fixtures.h"
#include "kit/devices/mask_cache.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

namespace vorno::screen_shape_test {
namespace {

using testing::TempFolder;
using testing::writeMaskPDF;

// Curvature of a cubic at parameter t.
double curvature(Point p0, Point p1, Point p2, Point p3, double t) {
  double u = 1 - t;
  double dx = 3 * (u * u * (p1.x - p0.x) + 2 * u * t * (p2.x - p1.x) + t * t * (p3.x - p2.x));
  double dy = 3 * (u * u * (p1.y - p0.y) + 2 * u * t * (p2.y - p1.y) + t * t * (p3.y - p2.y));
  double ddx = 6 * (u * (p2.x - 2 * p1.x + p0.x) + t * (p3.x - 2 * p2.x + p1.x));
  double ddy = 6 * (u * (p2.y - 2 * p1.y + p0.y) + t * (p3.y - 2 * p2.y + p1.y));
  return std::abs(dx * ddy - dy * ddx) / std::pow(std::hypot(dx, dy), 3);
}

TEST(ScreenShapeContinuousRect, CornerEasesInFromTheEdgeAndPeaksAtOneOverRadius) {
  const double r = 100;
  Path path = ScreenShape::continuousRect({0, 0, 1000, 2000}, r);
  EXPECT_EQ(path.bounds(), (Rect{0, 0, 1000, 2000}));
  // The top edge runs until 1.528665 r from each corner: the corner reaches far along the edge.
  const auto& e = path.elements();
  ASSERT_EQ(e[0].verb, Path::Verb::move);
  EXPECT_NEAR(e[0].points[0].x, 1.528665 * r, 1e-9);
  ASSERT_EQ(e[1].verb, Path::Verb::line);
  EXPECT_NEAR(e[1].points[0].x, 1000 - 1.528665 * r, 1e-9);

  // The top-right corner: three cubics. Curvature is 0 where it leaves the edge, rises without
  // falling back, and is 1/r (not more) on the middle arc.
  ASSERT_EQ(e[2].verb, Path::Verb::curve);
  Point start = e[1].points[0];
  double previous = 0, peak = 0;
  Point from = start;
  for (int piece = 0; piece < 2; ++piece) {
    const auto& c = e[2 + piece].points;
    for (int i = 0; i <= 50; ++i) {
      double k = curvature(from, c[0], c[1], c[2], i / 50.0);
      if (piece == 0 && i == 0) {
        EXPECT_NEAR(k, 0, 1e-12);
      }
      if (piece == 0) {
        EXPECT_GE(k, previous - 1e-9);
      }
      previous = k;
      peak = std::max(peak, k);
    }
    from = c[2];
  }
  EXPECT_NEAR(peak, 1 / r, 0.02 / r);
  // On the diagonal the continuous corner bites a little deeper than a circle (0.293 r).
  const auto& arc = e[3].points;
  Point mid{0.125 * e[2].points[2].x + 0.375 * arc[0].x + 0.375 * arc[1].x + 0.125 * arc[2].x,
            0.125 * e[2].points[2].y + 0.375 * arc[0].y + 0.375 * arc[1].y + 0.125 * arc[2].y};
  EXPECT_NEAR(1000 - mid.x, 0.333 * r, 0.01 * r);
  EXPECT_NEAR(mid.y, 0.333 * r, 0.01 * r);
}

TEST(ScreenShapeContinuousRect, NegativeRadiusIsZeroAndEqualSidesArePlainForm) {
  Path square;
  square.addRect({10, 20, 30, 40});
  EXPECT_EQ(ScreenShape::continuousRect({10, 20, 30, 40}, -5), square);
  EXPECT_EQ(ScreenShape::continuousRect({10, 20, 30, 40}, -5, -1), square);
  EXPECT_EQ(ScreenShape::continuousRect({0, 0, 300, 600}, 40, 40), ScreenShape::continuousRect({0, 0, 300, 600}, 40));
  EXPECT_EQ(ScreenShape::continuousRect({0, 0, 300, 600}, 40, -3), ScreenShape::continuousRect({0, 0, 300, 600}, 40, 0));
}

TEST(ScreenShapeContinuousRect, LeftAndRightRadiiShapeTheirOwnSides) {
  Path path = ScreenShape::continuousRect({0, 0, 400, 800}, 10, 60);
  EXPECT_EQ(path.bounds(), (Rect{0, 0, 400, 800}));
  EXPECT_NEAR(path.elements()[0].points[0].x, 1.528665 * 10, 1e-9);
  EXPECT_NEAR(path.elements()[1].points[0].x, 400 - 1.528665 * 60, 1e-9);
}

TEST(ScreenShapeContinuousRect, RadiusTooLargeToEaseBecomesACircularCapsuleInsideTheRect) {
  Path capsule = ScreenShape::continuousRect({0, 0, 100, 300}, 80);
  Rect bounds = capsule.bounds();
  EXPECT_NEAR(bounds.width, 100, 1e-9);
  EXPECT_NEAR(bounds.height, 300, 1e-9);
  EXPECT_NEAR(capsule.elements()[0].points[0].x, 50, 1e-9);  // the radius is clamped to half the width
  EXPECT_TRUE(ScreenShape::continuousRect({0, 0, 0, 10}, 5).isEmpty());
}

TEST(ScreenShapeMask, MissingFileOrEmptySizeGivesNothing) {
  TempFolder folder;
  EXPECT_FALSE(ScreenShape::renderMask(folder.file("none.pdf"), 10, 10));
  writeMaskPDF(folder.file("m.pdf"), 100, 200, 10);
  EXPECT_FALSE(ScreenShape::renderMask(folder.file("m.pdf"), 0, 10));
  std::ofstream(folder.file("bad.pdf")) << "%PDF-1.4 nonsense";
  EXPECT_FALSE(ScreenShape::renderMask(folder.file("bad.pdf"), 10, 10));
}

TEST(ScreenShapeMask, AThirtyThirdMaskOfNewSizesEmptiesTheCacheAndTheNextRequestRendersAgain) {
  TempFolder folder;
  std::string pdf = folder.file("m.pdf");
  writeMaskPDF(pdf, 100, 200, 10);
  MaskCache& cache = MaskCache::shared();
  cache.removeAll();
  for (int i = 1; i <= 32; ++i) ASSERT_TRUE(ScreenShape::renderMask(pdf, 10 + i, 20 + i));
  EXPECT_EQ(cache.count(), 32u);
  EXPECT_TRUE(cache.image(MaskCache::key(pdf, 11, 21)));
  ASSERT_TRUE(ScreenShape::renderMask(pdf, 100, 200));  // the 33rd
  EXPECT_EQ(cache.count(), 0u);
  EXPECT_FALSE(cache.image(MaskCache::key(pdf, 11, 21)));
  auto again = ScreenShape::renderMask(pdf, 11, 21);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->width, 11);
  EXPECT_EQ(cache.count(), 1u);
  // A hit returns the very same bytes.
  EXPECT_EQ(ScreenShape::renderMask(pdf, 11, 21)->bytes, again->bytes);
}

TEST(ScreenShapeFit, FittedRadiusComesBackWithinOnePixel) {
  TempFolder folder;
  struct Case {
    int width, height;
    double radius;
  };
  for (Case c : {Case{1206, 2622, 165.0}, Case{402, 874, 57.5}, Case{300, 420, 12.0}}) {
    std::string pdf = folder.file("m" + std::to_string(c.width) + ".pdf");
    writeMaskPDF(pdf, c.width / 3.0, c.height / 3.0, c.radius / 3.0);  // points, as a bundle's masks are
    auto fitted = ScreenShape::fitCornerRadius(pdf, c.width, c.height, false);
    ASSERT_TRUE(fitted) << c.width;
    EXPECT_NEAR(*fitted, c.radius, 1.0) << c.width;
  }
  EXPECT_FALSE(ScreenShape::fitCornerRadius(folder.file("none.pdf"), 300, 600, false));
}

TEST(ScreenShapeFit, MirroredComparesTheOtherSide) {
  TempFolder folder;
  std::string pdf = folder.file("hinge.pdf");
  writeMaskPDF(pdf, 400, 600, 20, 60);
  EXPECT_NEAR(*ScreenShape::fitCornerRadius(pdf, 400, 600, false), 20, 1.0);
  EXPECT_NEAR(*ScreenShape::fitCornerRadius(pdf, 400, 600, true), 60, 1.0);
}

TEST(ScreenShapeFit, EqualScoresKeepTheEarlierCandidate) {
  TempFolder folder;
  std::string pdf = folder.file("square.pdf");
  writeMaskPDF(pdf, 200, 400, 0);
  // Radii of 0 and 0.01 draw the same pixels: the first stays.
  EXPECT_EQ(ScreenShape::bestRadius(pdf, 200, 400, false, {-1, 0, 0.01}), -1);
  EXPECT_FALSE(ScreenShape::bestRadius(pdf, 200, 400, false, {}));
}

}  // namespace
}  // namespace vorno::screen_shape_test
