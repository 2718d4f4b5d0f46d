#include "kit/image/box_resampler.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace vorno::box_resampler_test {
namespace {

uint32_t pixelAt(const Image& image, int x, int y) {
  uint32_t word;
  std::memcpy(&word, image.data() + static_cast<size_t>(y) * image.stride() + 4 * x, 4);
  return word;
}

Image filled(cairo_format_t format, int width, int height, void (*draw)(cairo_t*)) {
  cairo_surface_t* surface = cairo_image_surface_create(format, width, height);
  cairo_t* cr = cairo_create(surface);
  draw(cr);
  cairo_destroy(cr);
  return Image::adopt(surface);
}

// Stripes, discs and a ramp: detail at every scale.
void busy(cairo_t* cr) {
  cairo_pattern_t* ramp = cairo_pattern_create_linear(0, 0, 400, 600);
  cairo_pattern_add_color_stop_rgba(ramp, 0, 0.2, 0.3, 0.9, 1);
  cairo_pattern_add_color_stop_rgba(ramp, 1, 0.9, 0.5, 0.1, 0.6);
  cairo_set_source(cr, ramp);
  cairo_paint(cr);
  cairo_pattern_destroy(ramp);
  for (int i = 0; i < 40; ++i) {
    cairo_set_source_rgba(cr, (i % 3) / 2.0, (i % 5) / 4.0, (i % 7) / 6.0, 0.4 + 0.015 * i);
    cairo_arc(cr, (i * 97) % 400, (i * 61) % 600, 8 + i % 30, 0, 2 * M_PI);
    cairo_fill(cr);
    cairo_rectangle(cr, 0, i * 15, 400, 3);
    cairo_fill(cr);
  }
}

ResampleGrid wholeImage(const Image& image, double scale, double offset = 0) {
  ResampleGrid grid{0, 0, image.width(), image.height(), scale, scale, offset, offset};
  grid.outWidth = static_cast<int>(std::ceil(image.width() * scale + offset));
  grid.outHeight = static_cast<int>(std::ceil(image.height() * scale + offset));
  return grid;
}

TEST(BoxResampler, FlatColourStaysExact) {
  Image image = filled(CAIRO_FORMAT_ARGB32, 101, 77, [](cairo_t* cr) {
    cairo_set_source_rgba(cr, 0.2, 0.4, 0.6, 0.8);
    cairo_paint(cr);
  });
  Image small = BoxResampler::resample(image, wholeImage(image, 0.37, 0.3));
  ASSERT_TRUE(small);
  for (int y = 0; y < small.height(); ++y)
    for (int x = 0; x < small.width(); ++x) ASSERT_EQ(pixelAt(small, x, y), pixelAt(image, 0, 0)) << x << "," << y;
}

TEST(BoxResampler, HalfSizeAveragesBlocksOfFour) {
  Image image = filled(CAIRO_FORMAT_RGB24, 4, 2, [](cairo_t* cr) {
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_rectangle(cr, 0, 0, 1, 2);  // left block: half white
    cairo_rectangle(cr, 2, 0, 2, 1);  // right block: half white
    cairo_fill(cr);
  });
  Image small = BoxResampler::resample(image, wholeImage(image, 0.5));
  ASSERT_TRUE(small);
  ASSERT_EQ(small.width(), 2);
  ASSERT_EQ(small.height(), 1);
  EXPECT_EQ(pixelAt(small, 0, 0), 0xFF808080u);
  EXPECT_EQ(pixelAt(small, 1, 0), 0xFF808080u);
}

// Below a quarter an output pixel covers more than four source pixels and the general pass runs.
TEST(BoxResampler, StrongReductionAveragesEveryCoveredPixel) {
  Image image = filled(CAIRO_FORMAT_RGB24, 200, 200, [](cairo_t* cr) {
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 1, 1, 1);
    for (int y = 0; y < 200; ++y)
      for (int x = (y % 2); x < 200; x += 2) cairo_rectangle(cr, x, y, 1, 1);
    cairo_fill(cr);
  });
  Image small = BoxResampler::resample(image, wholeImage(image, 0.1));
  ASSERT_TRUE(small);
  ASSERT_EQ(small.width(), 20);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) {
      uint32_t p = pixelAt(small, x, y);
      ASSERT_NEAR(int(p & 0xFF), 128, 1) << x << "," << y;  // half the pixels white
      ASSERT_EQ(p >> 24, 0xFFu);
    }
}

TEST(BoxResampler, OpaqueImageStaysOpaqueWhateverItsPaddingByte) {
  Image image = filled(CAIRO_FORMAT_RGB24, 30, 30, busy);
  Image small = BoxResampler::resample(image, wholeImage(image, 0.6, 0.5));
  ASSERT_TRUE(small);
  EXPECT_FALSE(small.hasAlpha());
  for (int y = 0; y < small.height(); ++y)
    for (int x = 0; x < small.width(); ++x) ASSERT_EQ(pixelAt(small, x, y) >> 24, 0xFFu);
}

TEST(BoxResampler, PremultipliedColourNeverExceedsAlpha) {
  Image image = filled(CAIRO_FORMAT_ARGB32, 400, 600, busy);
  Image small = BoxResampler::resample(image, wholeImage(image, 0.43, 0.7));
  ASSERT_TRUE(small);
  for (int y = 0; y < small.height(); ++y)
    for (int x = 0; x < small.width(); ++x) {
      uint32_t p = pixelAt(small, x, y), a = p >> 24;
      ASSERT_LE((p >> 16) & 0xFF, a);
      ASSERT_LE((p >> 8) & 0xFF, a);
      ASSERT_LE(p & 0xFF, a);
    }
}

// The box average worked out in doubles from the overlaps, for one channel of one output pixel.
double exactAverage(const Image& image, const ResampleGrid& g, int ox, int oy, int shift) {
  auto overlaps = [](int out, double scale, double offset, int length) {
    std::vector<std::pair<int, double>> spans;
    const double a = (out - offset) / scale, b = (out + 1 - offset) / scale;
    for (int k = int(std::floor(a)); k < int(std::ceil(b)); ++k) {
      const double part = std::min(b, k + 1.0) - std::max(a, double(k));
      if (part > 0) spans.push_back({std::clamp(k, 0, length - 1), part / (b - a)});
    }
    return spans;
  };
  double sum = 0;
  for (auto [sy, wy] : overlaps(oy, g.scaleY, g.offsetY, g.height))
    for (auto [sx, wx] : overlaps(ox, g.scaleX, g.offsetX, g.width))
      sum += wx * wy * double((pixelAt(image, sx, sy) >> shift) & 0xFF);
  return sum;
}

// Scales where an output pixel covers up to two source pixels a side (one pair of taps) and up to
// four (two pairs), over odd widths so that a row ends on a lone pixel: every channel of every
// pixel within a level of the exact average, translucent colour never above its alpha.
TEST(BoxResampler, EveryPixelIsTheExactAverageWithinALevel) {
  Image image = filled(CAIRO_FORMAT_ARGB32, 217, 131, busy);
  for (double scale : {0.93, 0.61, 0.5, 0.37, 0.26}) {
    const ResampleGrid grid = wholeImage(image, scale, 0.41);
    Image small = BoxResampler::resample(image, grid);
    ASSERT_TRUE(small) << scale;
    for (int y = 0; y < small.height(); ++y)
      for (int x = 0; x < small.width(); ++x) {
        const uint32_t p = pixelAt(small, x, y);
        for (int shift : {0, 8, 16, 24})
          ASSERT_NEAR(double((p >> shift) & 0xFF), exactAverage(image, grid, x, y, shift), 1.0)
              << "scale " << scale << " at " << x << "," << y << " channel " << shift / 8;
        for (int shift : {0, 8, 16}) ASSERT_LE((p >> shift) & 0xFF, p >> 24);
      }
  }
}

// The picture must look like what cairo's GOOD filter draws at the same place.
TEST(BoxResampler, MatchesGoodFilterAtAFractionalOffset) {
  Image image = filled(CAIRO_FORMAT_RGB24, 400, 600, busy);
  const double scale = 0.7466, x0 = 3.37, y0 = 5.81;
  ResampleGrid grid{0, 0, 400, 600, scale, scale, x0 - 3, y0 - 5};
  grid.outWidth = static_cast<int>(std::ceil(x0 + 400 * scale)) - 3;
  grid.outHeight = static_cast<int>(std::ceil(y0 + 600 * scale)) - 5;
  Image small = BoxResampler::resample(image, grid);
  ASSERT_TRUE(small);

  const int width = 310, height = 460;
  cairo_surface_t* reference = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(reference);
  cairo_translate(cr, x0, y0);
  cairo_scale(cr, scale, scale);
  cairo_set_source_surface(cr, image.surface(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_paint(cr);
  cairo_destroy(cr);
  Image good = Image::adopt(reference);

  // Inside the picture's edges (where the padding differs), channel by channel.
  double total = 0;
  int count = 0, worst = 0;
  for (int y = 8; y < 440; ++y)
    for (int x = 6; x < 295; ++x) {
      uint32_t a = pixelAt(good, x, y), b = pixelAt(small, x - 3, y - 5);
      for (int shift = 0; shift < 24; shift += 8) {
        int d = std::abs(int((a >> shift) & 0xFF) - int((b >> shift) & 0xFF));
        total += d;
        worst = std::max(worst, d);
        ++count;
      }
    }
  EXPECT_LT(total / count, 1.5);
  EXPECT_LT(worst, 64);  // only at hard edges, where the two kernels differ by a fraction of a pixel
}

TEST(BoxResampler, RegionOutsideTheImageIsRefused) {
  Image image = filled(CAIRO_FORMAT_RGB24, 20, 20, busy);
  EXPECT_FALSE(BoxResampler::resample(image, {10, 0, 20, 20, 0.5, 0.5, 0, 0, 10, 10}));
  EXPECT_FALSE(BoxResampler::resample(image, {0, 0, 20, 20, 1.5, 0.5, 0, 0, 10, 10}));  // enlarging
  EXPECT_FALSE(BoxResampler::resample(image, {0, 0, 20, 20, 0.5, 0.5, 0, 0, 0, 10}));
  EXPECT_FALSE(BoxResampler::resample(Image(), {0, 0, 20, 20, 0.5, 0.5, 0, 0, 10, 10}));
}

TEST(BoxResampler, CropRegionReadsOnlyItsOwnPixels) {
  Image image = filled(CAIRO_FORMAT_RGB24, 40, 40, [](cairo_t* cr) {
    cairo_set_source_rgb(cr, 1, 0, 0);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 0, 0, 1);
    cairo_rectangle(cr, 10, 10, 20, 20);
    cairo_fill(cr);
  });
  Image small = BoxResampler::resample(image, {10, 10, 20, 20, 0.5, 0.5, 0.5, 0.5, 11, 11});
  ASSERT_TRUE(small);
  // Edge pixels half outside the region repeat its edge: blue, never the red around it.
  for (int y = 0; y < 11; ++y)
    for (int x = 0; x < 11; ++x) ASSERT_EQ(pixelAt(small, x, y), 0xFF0000FFu);
}

TEST(BoxResampler, CacheReturnsTheSamePixelsAndOutlivesTheCaller) {
  ResampleGrid grid;
  Image first;
  {
    Image image = filled(CAIRO_FORMAT_ARGB32, 400, 600, busy);
    grid = wholeImage(image, 0.5, 0.25);
    first = BoxResampler::cached(image, grid);
    ASSERT_TRUE(first);
    EXPECT_EQ(BoxResampler::cached(image, grid).surface(), first.surface());
    Image other = BoxResampler::cached(image, wholeImage(image, 0.4));
    ASSERT_TRUE(other);
    EXPECT_NE(other.surface(), first.surface());
  }
  // The source went out of scope here; an image made now at the same size must not be served
  // the old pixels, which the cache's own reference keeps from being freed and reused.
  Image fresh = filled(CAIRO_FORMAT_ARGB32, 400, 600, [](cairo_t* cr) {
    cairo_set_source_rgba(cr, 0, 1, 0, 1);
    cairo_paint(cr);
  });
  Image again = BoxResampler::cached(fresh, grid);
  ASSERT_TRUE(again);
  EXPECT_EQ(pixelAt(again, 5, 5), 0xFF00FF00u);
}

TEST(BoxResampler, CacheHoldsNoSourceAndALimitBoundsIt) {
  Image result;
  ResampleGrid grid;
  {
    Image image = filled(CAIRO_FORMAT_RGB24, 300, 300, busy);
    grid = wholeImage(image, 0.5);
    result = BoxResampler::cached(image, grid);
    ASSERT_TRUE(result);
    EXPECT_EQ(BoxResampler::cached(image, grid).surface(), result.surface());
    EXPECT_NE(image.id(), 0u);
    EXPECT_NE(image.id(), result.id());
  }
  {
    BoxResampler::CacheLimit limit(0);  // only the newest entry stays
    Image a = filled(CAIRO_FORMAT_RGB24, 200, 200, busy), b = filled(CAIRO_FORMAT_RGB24, 200, 200, busy);
    Image fromA = BoxResampler::cached(a, wholeImage(a, 0.5));
    Image fromB = BoxResampler::cached(b, wholeImage(b, 0.5));
    EXPECT_EQ(BoxResampler::cachedBytes(), fromB.byteCount());
    // A's copy left the cache: asked again, it is made again, with the same pixels.
    Image again = BoxResampler::cached(a, wholeImage(a, 0.5));
    EXPECT_NE(again.surface(), fromA.surface());
    EXPECT_EQ(pixelAt(again, 37, 41), pixelAt(fromA, 37, 41));
  }
}

}  // namespace
}  // namespace vorno::box_resampler_test
