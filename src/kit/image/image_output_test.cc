// Encoding is checked by decoding every written file with libspng (or libjpeg), never with our
// own writer.
#include "kit/image/canvas.h"
#include "kit/image/images.h"
#include "kit/image/jpeg_writer.h"
#include "kit/image/png_writer.h"
#include "kit/image/scratch_buffers.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <spng.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace vorno::image_output_test {
namespace {

using testing::TempFolder;

struct Decoded {
  spng_ihdr header{};
  std::vector<uint8_t> rgba;  // straight RGBA8
};

std::optional<Decoded> decodeWithSpng(const std::vector<uint8_t>& png) {
  spng_ctx* ctx = spng_ctx_new(0);
  Decoded out;
  bool ok = spng_set_png_buffer(ctx, png.data(), png.size()) == 0 && spng_get_ihdr(ctx, &out.header) == 0;
  size_t size = 0;
  ok = ok && spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &size) == 0;
  if (ok) out.rgba.resize(size);
  // Checksums are verified by default: a bad CRC or Adler-32 fails here.
  ok = ok && spng_decode_image(ctx, out.rgba.data(), size, SPNG_FMT_RGBA8, 0) == 0;
  spng_ctx_free(ctx);
  if (!ok) return std::nullopt;
  return out;
}

// A picture with a vertical ramp, diagonal stripes and a translucent or opaque disc.
Image testPicture(int width, int height, bool opaque, bool translucentDisc) {
  Canvas canvas = opaque ? Canvas::opaque(width, height) : Canvas::transparent(width, height);
  cairo_t* cr = canvas.context();
  cairo_pattern_t* ramp = cairo_pattern_create_linear(0, 0, 0, height);
  cairo_pattern_add_color_stop_rgb(ramp, 0, 0.1, 0.2, 0.7);
  cairo_pattern_add_color_stop_rgb(ramp, 1, 0.9, 0.5, 0.1);
  cairo_set_source(cr, ramp);
  cairo_paint(cr);
  cairo_pattern_destroy(ramp);
  cairo_set_source_rgb(cr, 1, 1, 1);
  for (int i = -height; i < width; i += 9) {
    cairo_move_to(cr, i, 0);
    cairo_line_to(cr, i + height, height);
  }
  cairo_set_line_width(cr, 2);
  cairo_stroke(cr);
  if (translucentDisc) {
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_rgba(cr, 0.2, 0.8, 0.3, 0.4);
    cairo_arc(cr, width / 2.0, height / 2.0, std::min(width, height) / 3.0, 0, 2 * M_PI);
    cairo_fill(cr);
  }
  return canvas.finish();
}

// Straight RGBA of one pixel of an image.
std::array<int, 4> straight(const Image& image, int x, int y) {
  uint32_t p;
  std::memcpy(&p, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  int a = image.hasAlpha() ? int(p >> 24) : 255;
  int r = (p >> 16) & 255, g = (p >> 8) & 255, b = p & 255;
  if (a > 0 && a < 255) r = (r * 255 + a / 2) / a, g = (g * 255 + a / 2) / a, b = (b * 255 + a / 2) / a;
  return {r, g, b, a};
}

void expectSamePixels(const Image& image, const Decoded& decoded, int tolerance) {
  ASSERT_EQ(int(decoded.header.width), image.width());
  ASSERT_EQ(int(decoded.header.height), image.height());
  int worst = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      auto want = straight(image, x, y);
      const uint8_t* got = decoded.rgba.data() + (size_t(y) * image.width() + x) * 4;
      if (want[3] == 0) {
        worst = std::max(worst, int(got[3]));
        continue;
      }
      for (int c = 0; c < 4; ++c) worst = std::max(worst, std::abs(want[c] - int(got[c])));
    }
  EXPECT_LE(worst, tolerance);
}

TEST(PNGWriter, OpaqueImageIsRGBWithoutAlphaAtExactSize) {
  Image image = testPicture(131, 77, true, false);
  auto png = PNGWriter::encode(image);
  ASSERT_TRUE(png);
  auto decoded = decodeWithSpng(*png);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->header.color_type, SPNG_COLOR_TYPE_TRUECOLOR);
  EXPECT_EQ(decoded->header.bit_depth, 8);
  expectSamePixels(image, *decoded, 0);
}

TEST(PNGWriter, ARGBImageWhoseAlphaIsFullIsWrittenAsRGB) {
  Image image = testPicture(40, 30, false, false);
  ASSERT_TRUE(image.hasAlpha());
  EXPECT_TRUE(PNGWriter::isOpaque(image));
  auto decoded = decodeWithSpng(*PNGWriter::encode(image));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->header.color_type, SPNG_COLOR_TYPE_TRUECOLOR);
  expectSamePixels(image, *decoded, 0);
}

TEST(PNGWriter, TranslucentImageKeepsStraightAlpha) {
  Image image = testPicture(64, 48, false, true);
  EXPECT_FALSE(PNGWriter::isOpaque(image));
  auto decoded = decodeWithSpng(*PNGWriter::encode(image));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->header.color_type, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA);
  // The disc's colour comes back un-premultiplied: 0.4 alpha is 102, green 0.8 is 204 within
  // the rounding of premultiplication.
  const uint8_t* centre = decoded->rgba.data() + (size_t(24) * 64 + 32) * 4;
  EXPECT_EQ(centre[3], 102);
  EXPECT_NEAR(centre[1], 204, 2);
  expectSamePixels(image, *decoded, 0);
}

TEST(PNGWriter, EveryFilterAndLevelRoundTrips) {
  Image opaque = testPicture(97, 41, true, false);
  Image translucent = testPicture(97, 41, false, true);
  for (auto filter : {PNGWriter::Filter::none, PNGWriter::Filter::sub, PNGWriter::Filter::up, PNGWriter::Filter::adaptive,
                      PNGWriter::Filter::automatic})
    for (int level : {0, 1, 2, 6, 12})
      for (const Image* image : {&opaque, &translucent}) {
        SCOPED_TRACE(::testing::Message() << "filter " << int(filter) << " level " << level);
        auto png = PNGWriter::encode(*image, {.level = level, .filter = filter});
        ASSERT_TRUE(png);
        auto decoded = decodeWithSpng(*png);
        ASSERT_TRUE(decoded);
        expectSamePixels(*image, *decoded, 0);
      }
}

TEST(PNGWriter, OnePixelAndTallImagesRoundTrip) {
  for (auto [w, h] : {std::pair{1, 1}, std::pair{1, 3000}, std::pair{3000, 1}}) {
    Image image = testPicture(w, h, true, false);
    auto decoded = decodeWithSpng(*PNGWriter::encode(image));
    ASSERT_TRUE(decoded);
    expectSamePixels(image, *decoded, 0);
  }
}

// Opaque rows are packed four pixels at a time and the last few one at a time: every width up to
// a few groups, under each filter, comes back exactly.
TEST(PNGWriter, EveryNarrowWidthRoundTrips) {
  for (int width = 1; width <= 14; ++width)
    for (auto filter : {PNGWriter::Filter::none, PNGWriter::Filter::up, PNGWriter::Filter::adaptive}) {
      SCOPED_TRACE(::testing::Message() << "width " << width << " filter " << int(filter));
      Image image = testPicture(width, 9, true, false);
      auto decoded = decodeWithSpng(*PNGWriter::encode(image, {.level = 1, .filter = filter}));
      ASSERT_TRUE(decoded);
      expectSamePixels(image, *decoded, 0);
    }
}

TEST(PNGWriter, LargeImageSpansSeveralDataChunks) {
  // Noise does not compress, so the stream passes 1 MiB and is cut into several IDAT chunks.
  Canvas canvas = Canvas::opaque(800, 600);
  Image image = canvas.finish();
  uint8_t* data = cairo_image_surface_get_data(image.surface());
  uint32_t seed = 12345;
  for (int i = 0; i < image.stride() * image.height(); ++i) {
    seed = seed * 1664525 + 1013904223;
    data[i] = uint8_t(seed >> 24);
  }
  cairo_surface_mark_dirty(image.surface());
  auto png = PNGWriter::encode(image, {.level = 1});
  ASSERT_TRUE(png);
  EXPECT_GT(png->size(), size_t(1) << 20);
  auto decoded = decodeWithSpng(*png);
  ASSERT_TRUE(decoded);
  expectSamePixels(image, *decoded, 0);
}

TEST(PNGWriter, LevelTwoOnlyForCalmPicturesFilteredUp) {
  using PNGWriter::Filter;
  EXPECT_EQ(PNGWriter::levelFor({Filter::up, 0.03}), PNGWriter::calmLevel);  // copy and an interface
  EXPECT_EQ(PNGWriter::levelFor({Filter::up, 0.0}), PNGWriter::calmLevel);
  EXPECT_EQ(PNGWriter::levelFor({Filter::up, 0.27}), 1);  // busy: level 2's chains cost most there
  EXPECT_EQ(PNGWriter::levelFor({Filter::none, 0.03}), 1);  // unfiltered rows: level 1 is far faster
  EXPECT_EQ(PNGWriter::levelFor({Filter::adaptive, 0.27}), 1);
  EXPECT_EQ(PNGWriter::levelFor({Filter::adaptive, 0.05}), 1);
}

// Three pictures, each packed best by another filter. Built from a fixed random texture so that
// only one way of predicting the rows finds their order.
Image texturedPicture(int kind) {
  const int width = 480, height = 320;
  Canvas canvas = Canvas::opaque(width, height);
  Image image = canvas.finish();
  uint8_t* data = cairo_image_surface_get_data(image.surface());
  std::vector<uint8_t> texture(static_cast<size_t>(width + height) * 4);
  uint32_t seed = 2024;
  for (uint8_t& byte : texture) {
    seed = seed * 1664525 + 1013904223;
    byte = uint8_t(seed >> 24);
  }
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint8_t* pixel = data + static_cast<size_t>(y) * image.stride() + 4 * x;
      for (int c = 0; c < 3; ++c) {
        if (kind == 0) {
          // Each row the one above it plus one: Up leaves rows of ones, unfiltered rows never repeat.
          pixel[c] = uint8_t(texture[4 * x + c] + y);
        } else if (kind == 1) {
          // Each row the one above it moved a pixel: a match a row back, but noise to Up.
          pixel[c] = texture[4 * (x + y) + c];
        } else {
          // A smooth photograph with sensor noise: every filter leaves noise, the best per row least.
          const double smooth = 128 + 60 * std::sin(x / 37.0 + c) + 50 * std::cos(y / 23.0);
          seed = seed * 1664525 + 1013904223;
          pixel[c] = uint8_t(std::clamp(smooth + int(seed >> 29) - 4, 0.0, 255.0));
        }
      }
      pixel[3] = 0xFF;
    }
  cairo_surface_mark_dirty(image.surface());
  return image;
}

TEST(PNGWriter, AutomaticTakesTheFilterThatPacksTheSampleSmallest) {
  using PNGWriter::Filter;
  const Image rising = texturedPicture(0), sliding = texturedPicture(1), photo = texturedPicture(2);
  EXPECT_EQ(PNGWriter::measure(rising).filter, Filter::up);
  EXPECT_EQ(PNGWriter::measure(sliding).filter, Filter::none);
  const PNGWriter::Sample busy = PNGWriter::measure(photo);
  EXPECT_EQ(busy.filter, Filter::adaptive);
  EXPECT_GE(busy.ratio, PNGWriter::busyRatio);

  // The choice is what the whole picture gets, at the level that goes with it, and it is the
  // smallest file of the three ways.
  for (const Image* image : {&rising, &sliding, &photo}) {
    const PNGWriter::Sample sample = PNGWriter::measure(*image);
    const auto chosen = PNGWriter::encode(*image);
    ASSERT_TRUE(chosen);
    EXPECT_EQ(*chosen, PNGWriter::encode(*image, {.level = PNGWriter::levelFor(sample), .filter = sample.filter}));
    for (Filter other : {Filter::none, Filter::up, Filter::adaptive}) {
      const auto file = PNGWriter::encode(*image, {.level = 1, .filter = other});
      ASSERT_TRUE(file);
      EXPECT_LE(chosen->size(), file->size() * 102 / 100) << int(other);
    }
  }
}

TEST(PNGWriter, CalmPictureFilteredUpGetsTheCalmLevel) {
  const Image rising = texturedPicture(0);
  const PNGWriter::Sample sample = PNGWriter::measure(rising);
  ASSERT_EQ(sample.filter, PNGWriter::Filter::up);
  ASSERT_LT(sample.ratio, PNGWriter::busyRatio);
  EXPECT_EQ(PNGWriter::encode(rising), PNGWriter::encode(rising, {.level = PNGWriter::calmLevel, .filter = PNGWriter::Filter::up}));
  EXPECT_NE(PNGWriter::encode(rising), PNGWriter::encode(rising, {.level = 1, .filter = PNGWriter::Filter::up}));
}

TEST(PNGWriter, NullImageMeasuresAsBusy) {
  const PNGWriter::Sample sample = PNGWriter::measure(Image());
  EXPECT_EQ(sample.filter, PNGWriter::Filter::adaptive);
  EXPECT_EQ(sample.ratio, 1);
}

// Rows that suit different filters in one picture: vertical ramps (Up) above, horizontal ramps
// (Sub) below. Choosing per row must beat both fixed filters.
TEST(PNGWriter, FilterChosenPerRowBeatsEveryFixedFilter) {
  Canvas canvas = Canvas::opaque(600, 400);
  cairo_t* cr = canvas.context();
  for (int half = 0; half < 2; ++half) {
    cairo_pattern_t* ramp = half == 0 ? cairo_pattern_create_linear(0, 0, 0, 200) : cairo_pattern_create_linear(0, 0, 600, 0);
    cairo_pattern_add_color_stop_rgb(ramp, 0, 0.1, 0.2, 0.7);
    cairo_pattern_add_color_stop_rgb(ramp, 1, 0.9, 0.5, 0.2);
    cairo_set_source(cr, ramp);
    cairo_rectangle(cr, 0, half * 200, 600, 200);
    cairo_fill(cr);
    cairo_pattern_destroy(ramp);
  }
  Image image = canvas.finish();
  const size_t adaptive = PNGWriter::encode(image, {.level = 6, .filter = PNGWriter::Filter::adaptive})->size();
  for (auto filter : {PNGWriter::Filter::none, PNGWriter::Filter::sub, PNGWriter::Filter::up}) {
    SCOPED_TRACE(int(filter));
    EXPECT_LT(adaptive, PNGWriter::encode(image, {.level = 6, .filter = filter})->size());
  }
  auto decoded = decodeWithSpng(*PNGWriter::encode(image));
  ASSERT_TRUE(decoded);
  expectSamePixels(image, *decoded, 0);
}

// The encoder's two picture-sized buffers come from the scratch pool: a second picture of the
// same size reuses them instead of taking fresh memory.
TEST(PNGWriter, SecondPictureReusesTheFirstOnesBuffers) {
  ScratchBuffers::drain();
  Image image = testPicture(1000, 700, true, false);
  ASSERT_TRUE(PNGWriter::encode(image));
  const int64_t kept = ScratchBuffers::byteCount();
  EXPECT_GE(kept, int64_t(1000) * 700 * 3);
  ASSERT_TRUE(PNGWriter::encode(image));
  EXPECT_EQ(ScratchBuffers::byteCount(), kept);
  ScratchBuffers::drain();
  EXPECT_EQ(ScratchBuffers::byteCount(), 0);
}

TEST(PNGWriter, NullImageGivesNothing) { EXPECT_FALSE(PNGWriter::encode(Image())); }

TEST(ImagesEncode, NullImageFailsWithTheSentence) {
  try {
    Images::encode(Image(), Images::ImageType::png);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_EQ(error.message(), "Image encoding failed.");
  }
  EXPECT_THROW(Images::encode(Image(), Images::ImageType::jpeg), VornoError);
}

TEST(ImagesEncode, JPEGQualityIsAPercentage) {
  EXPECT_EQ(JPEGWriter::qualityPercent(0.86), 86);
  EXPECT_EQ(JPEGWriter::qualityPercent(1.0), 100);
  EXPECT_EQ(JPEGWriter::qualityPercent(7), 100);
  EXPECT_EQ(JPEGWriter::qualityPercent(-1), 1);
  EXPECT_EQ(JPEGWriter::qualityPercent(std::nan("")), 1);
}

TEST(ImagesEncode, JPEGDecodesToThePicture) {
  TempFolder folder;
  Image image = testPicture(120, 90, true, false);
  std::string path = folder.file("preview.jpg");
  Images::write(image, path, Images::ImageType::jpeg, 0.86);
  Image back = Images::load(path);  // libjpeg-turbo's decoder
  ASSERT_EQ(back.width(), 120);
  ASSERT_EQ(back.height(), 90);
  // Away from the white stripes the ramp comes back within JPEG's error.
  double total = 0;
  for (int y = 0; y < 90; ++y)
    for (int x = 0; x < 120; ++x) {
      auto a = straight(image, x, y), b = straight(back, x, y);
      for (int c = 0; c < 3; ++c) total += std::abs(a[c] - b[c]);
    }
  // Thin white stripes cost JPEG the most (chroma is halved); the mean error stays small.
  EXPECT_LT(total / (120 * 90 * 3), 12.0);
  // Channels keep their order: a flat orange comes back orange.
  Canvas flat = Canvas::opaque(32, 32);
  cairo_set_source_rgb(flat.context(), 200 / 255.0, 90 / 255.0, 20 / 255.0);
  cairo_paint(flat.context());
  Images::write(flat.finish(), path, Images::ImageType::jpeg, 0.86);
  auto orange = straight(Images::load(path), 16, 16);
  EXPECT_NEAR(orange[0], 200, 4);
  EXPECT_NEAR(orange[1], 90, 4);
  EXPECT_NEAR(orange[2], 20, 4);
  // Lower quality is smaller.
  EXPECT_LT(Images::encode(image, Images::ImageType::jpeg, 0.3).size(),
            Images::encode(image, Images::ImageType::jpeg, 0.95).size());
}

TEST(ImagesWrite, WritesAtomicallyAndLeavesNoTemporaryFile) {
  TempFolder folder;
  std::string path = folder.file("slide.png");
  Image first = testPicture(50, 40, true, false);
  Images::write(first, path, Images::ImageType::png);
  Image second = testPicture(60, 20, true, true);
  Images::write(second, path, Images::ImageType::png);
  std::ifstream in(path, std::ios::binary);
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  auto decoded = decodeWithSpng(bytes);
  ASSERT_TRUE(decoded);
  expectSamePixels(second, *decoded, 0);
  int files = 0;
  for ([[maybe_unused]] auto& entry : std::filesystem::directory_iterator(std::filesystem::path(path).parent_path())) ++files;
  EXPECT_EQ(files, 1);
}

TEST(ImagesWrite, MissingFolderFailsWithASentence) {
  TempFolder folder;
  try {
    Images::write(testPicture(4, 4, true, false), folder.file("no/such/slide.png"), Images::ImageType::png);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_NE(error.message().find("Couldn't write"), std::string::npos);
  }
}

TEST(ImagesDownscale, LongerSideBecomesTheLimitAndTheResultIsOpaque) {
  Image image = testPicture(1000, 500, false, true);
  Image small = Images::downscale(image, 100);
  EXPECT_EQ(small.width(), 100);
  EXPECT_EQ(small.height(), 50);
  EXPECT_FALSE(small.hasAlpha());
  // Sides are truncated and never below 1.
  Image thin = Images::downscale(testPicture(3000, 2, true, false), 1000);
  EXPECT_EQ(thin.width(), 1000);
  EXPECT_EQ(thin.height(), 1);
}

TEST(ImagesDownscale, LongerSideIsTheLimitExactlyWhereTheFactorRoundsBelowIt) {
  // 2000 / 2607 × 2607 is 1999.9999... in floating point.
  Image tall = Images::downscale(testPicture(2400, 2607, false, false), 2000);
  EXPECT_EQ(tall.height(), 2000);
  EXPECT_EQ(tall.width(), 1841);
}

TEST(ImagesDownscale, SmallImageIsReturnedItself) {
  Image image = testPicture(80, 60, true, false);
  Image same = Images::downscale(image, 80);
  EXPECT_EQ(same.surface(), image.surface());
}

TEST(ImagesDownscale, FineDetailAveragesInsteadOfAliasing) {
  // One-pixel black and white columns shrunk ten times must come out an even grey, which a
  // point-sampling filter would turn into black or white.
  Canvas canvas = Canvas::opaque(1000, 100);
  cairo_t* cr = canvas.context();
  cairo_set_source_rgb(cr, 1, 1, 1);
  for (int x = 0; x < 1000; x += 2) cairo_rectangle(cr, x, 0, 1, 100);
  cairo_fill(cr);
  Image small = Images::downscale(canvas.finish(), 100);
  for (int x = 1; x < 99; x += 7) {
    auto p = straight(small, x, 5);
    EXPECT_NEAR(p[0], 128, 12) << "x " << x;
  }
  // The border takes its neighbours' colour, not black from outside.
  EXPECT_NEAR(straight(small, 0, 0)[0], 128, 20);
  EXPECT_NEAR(straight(small, 99, 9)[0], 128, 20);
}

TEST(ImagesDownscale, ZeroLimitOrNullImageFailsWithTheSentence) {
  try {
    Images::downscale(Image(), 10);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Downscale failed.");
  }
  EXPECT_THROW(Images::downscale(testPicture(4, 4, true, false), 0), VornoError);
}

}  // namespace
}  // namespace vorno::image_output_test
