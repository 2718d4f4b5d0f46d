#include "kit/image/blur.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace vorno::blur_test {
namespace {

// An ARGB32 image from a function of (x, y) giving a premultiplied word.
template <class F>
Image makeImage(int width, int height, F word, cairo_format_t format = CAIRO_FORMAT_ARGB32) {
  cairo_surface_t* surface = cairo_image_surface_create(format, width, height);
  cairo_surface_flush(surface);
  uint8_t* data = cairo_image_surface_get_data(surface);
  int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint32_t w = word(x, y);
      std::memcpy(data + y * stride + x * 4, &w, 4);
    }
  cairo_surface_mark_dirty(surface);
  return Image::adopt(surface);
}

uint32_t at(const Image& image, int x, int y) {
  uint32_t w;
  std::memcpy(&w, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  return w;
}

int alphaAt(const Image& image, int x, int y) { return at(image, x, y) >> 24; }

TEST(Blur, SpreadAcrossAnEdgeMatchesTheRadius) {
  // Left half opaque, right half clear. Across the edge the blurred alpha falls like the
  // Gaussian's integral, so its steps are the Gaussian: their spread is the radius.
  // Wide radii are blurred at a reduced size; they must spread the same.
  const int width = 1000, height = 801;
  Image half = makeImage(width, height, [](int x, int) { return x < 500 ? 0xFFFFFFFFu : 0u; });
  for (double radius : {2.0, 5.0, 12.5, 30.0, 60.0}) {
    Image soft = blurred(half, radius);
    double sum = 0, moment = 0;
    for (int x = 200; x < 800; ++x) {
      double step = alphaAt(soft, x, 400) - alphaAt(soft, x + 1, 400);
      double distance = x + 1 - 500;
      sum += step;
      moment += step * distance * distance;
    }
    EXPECT_NEAR(sum, 255, 1) << radius;
    EXPECT_NEAR(std::sqrt(moment / sum), radius, radius * 0.06 + 0.3) << radius;
  }
}

TEST(Blur, InteriorOfAFlatImageStaysAndEdgesFadeToTransparent) {
  Image flat = makeImage(100, 100, [](int, int) { return 0xFF336699u; });
  Image soft = blurred(flat, 4);
  EXPECT_EQ(soft.width(), 100);
  EXPECT_EQ(soft.height(), 100);
  EXPECT_EQ(at(soft, 50, 50), 0xFF336699u);
  EXPECT_LT(alphaAt(soft, 0, 50), 160);  // the corner sees transparency beyond the edge
  EXPECT_GT(alphaAt(soft, 0, 50), 80);
  EXPECT_LT(alphaAt(soft, 0, 0), alphaAt(soft, 0, 50));
}

TEST(Blur, WideRadiusKeepsAFlatInteriorExactly) {
  Image flat = makeImage(300, 300, [](int, int) { return 0xFF336699u; });
  Image soft = blurred(flat, 30);
  EXPECT_EQ(at(soft, 150, 150), 0xFF336699u);
  EXPECT_EQ(at(soft, 140, 163), 0xFF336699u);
  EXPECT_LT(alphaAt(soft, 0, 150), 160);
}

TEST(Blur, KeepsPremultipliedColourWithinAlpha) {
  Image noisy = makeImage(64, 64, [](int x, int y) {
    uint32_t a = (x * 37 + y * 11) % 256;
    uint32_t c = a * ((x * y) % 7) / 6;
    return a << 24 | c << 16 | (a / 2) << 8 | a;
  });
  for (double radius : {3.0, 20.0}) {
  Image soft = blurred(noisy, radius);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) {
      uint32_t w = at(soft, x, y), a = w >> 24;
      ASSERT_LE((w >> 16) & 0xFF, a);
      ASSERT_LE((w >> 8) & 0xFF, a);
      ASSERT_LE(w & 0xFF, a);
    }
  }
}

TEST(Blur, OpaqueSourceBecomesARGBWithSoftEdges) {
  // An RGB24 image's spare byte means nothing; it must count as opaque.
  Image opaque = makeImage(40, 40, [](int, int) { return 0x00FF0000u; }, CAIRO_FORMAT_RGB24);
  Image soft = blurred(opaque, 2);
  EXPECT_TRUE(soft.hasAlpha());
  EXPECT_EQ(at(soft, 20, 20), 0xFFFF0000u);
  EXPECT_LT(alphaAt(soft, 0, 20), 255);
}

TEST(Blur, TinyRadiusOrNullImageChangesNothing) {
  Image image = makeImage(4, 4, [](int, int) { return 0xFF000000u; });
  EXPECT_EQ(blurred(image, 0).surface(), image.surface());
  EXPECT_EQ(blurred(image, 0.05).surface(), image.surface());
  EXPECT_FALSE(blurred(Image(), 5));
}

TEST(Blur, WorkStaysTheSameWhateverTheRadius) {
  // Three running-sum boxes each way read about two samples a pixel per pass, and a wide radius
  // blurs a reduced copy: a radius of 150 must cost no more than one of 4. A blur whose work grew
  // with the radius would read hundreds per pixel. (How long it takes is in bench/render_bench.)
  Image big = makeImage(2000, 2000, [](int x, int y) { return ((x / 50 + y / 50) % 2) ? 0xFFFFFFFFu : 0xFF000000u; });
  auto samplesOf = [&](double radius) {
    uint64_t before = blurSamplesRead();
    EXPECT_TRUE(blurred(big, radius));
    return blurSamplesRead() - before;
  };
  const uint64_t narrow = samplesOf(4), wide = samplesOf(150);
  const uint64_t pixels = 2000 * 2000;
  EXPECT_GT(narrow, 2 * 3 * 2 * pixels);  // every pixel, both ways, three passes
  EXPECT_LT(narrow, 2 * 3 * 3 * pixels);
  EXPECT_LT(wide, narrow);
}

}  // namespace
}  // namespace vorno::blur_test

namespace vorno::blur_test {
namespace {

// A shadow's coverage is blurred as one channel; it must come out as the alpha of the
// four-channel blur of the same shape, to the bit.
TEST(Blur, SingleChannelMatchesTheAlphaOfTheFourChannelBlur) {
  const int width = 157, height = 93;
  for (double radius : {0.7, 3.0, 5.5, 11.0}) {
    SCOPED_TRACE(radius);
    std::vector<uint32_t> words(size_t(width) * height);
    std::vector<uint8_t> coverage(size_t(width + 3) * height);  // a stride wider than the row
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        uint8_t a = ((x - 60) * (x - 60) + (y - 40) * (y - 40) < 900 || (x > 120 && y < 20)) ? 200 : (x * 7 + y) % 5;
        words[size_t(y) * width + x] = uint32_t(a) << 24;
        coverage[size_t(y) * (width + 3) + x] = a;
      }
    ASSERT_TRUE(blurARGB32(reinterpret_cast<uint8_t*>(words.data()), width, height, width * 4, radius));
    ASSERT_TRUE(blurA8(coverage.data(), width, height, width + 3, radius));
    int changed = 0;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        ASSERT_EQ(coverage[size_t(y) * (width + 3) + x], words[size_t(y) * width + x] >> 24) << x << "," << y;
        changed += coverage[size_t(y) * (width + 3) + x] != 200;
      }
    EXPECT_GT(changed, 0);
  }
}

}  // namespace
}  // namespace vorno::blur_test
