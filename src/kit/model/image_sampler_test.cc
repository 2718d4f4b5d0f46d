#include "kit/util/geometry.h"
#include "kit/model/image_sampler.h"

#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <spng.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>

#include "kit/model/fill.h"
#include "kit/image/image_decode.h"

namespace vorno::image_sampler_test {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using testing::writeBytes;

// An image whose pixel at (x, y) is `paint(x, y)`, straight alpha.
DecodedImage makeImage(int width, int height, const std::function<std::array<uint8_t, 4>(int, int)>& paint) {
  DecodedImage image{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height * 4)};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      auto p = paint(x, y);
      std::copy(p.begin(), p.end(), image.rgba.begin() + (static_cast<size_t>(y) * width + x) * 4);
    }
  return image;
}

DecodedImage filled(int width, int height, std::array<uint8_t, 4> rgba) {
  return makeImage(width, height, [&](int, int) { return rgba; });
}

void writePNG(const std::string& path, const DecodedImage& image) {
  spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
  ASSERT_NE(context, nullptr);
  spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr header{};
  header.width = static_cast<uint32_t>(image.width);
  header.height = static_cast<uint32_t>(image.height);
  header.bit_depth = 8;
  header.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  ASSERT_EQ(spng_set_ihdr(context, &header), 0);
  ASSERT_EQ(spng_encode_image(context, image.rgba.data(), image.rgba.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE), 0);
  size_t size = 0;
  int error = 0;
  void* bytes = spng_get_png_buffer(context, &size, &error);
  ASSERT_EQ(error, 0);
  std::ofstream(path, std::ios::binary).write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  free(bytes);
  spng_ctx_free(context);
}

void writeText(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

// A loader that hands out a fixed image and counts its calls, so tests see when decoding happens.
struct CountingLoader {
  std::shared_ptr<std::atomic<int>> calls = std::make_shared<std::atomic<int>>(0);
  std::optional<DecodedImage> image;
  ImageSampler::Loader loader() const {
    return [calls = calls, image = image](const std::string&) {
      ++*calls;
      return image;
    };
  }
};

void expectColor(const RGBColor& actual, double r, double g, double b, double tolerance = 1e-9) {
  EXPECT_NEAR(actual.r, r, tolerance);
  EXPECT_NEAR(actual.g, g, tolerance);
  EXPECT_NEAR(actual.b, b, tolerance);
  EXPECT_EQ(actual.a, 1);
}

TEST(ImageSampler, ThumbnailIs48PixelsWideAndKeepsTheAspect) {
  EXPECT_EQ(ImageSampler::makeThumbnail(filled(96, 32, {1, 2, 3, 255})).width, 48);
  EXPECT_EQ(ImageSampler::makeThumbnail(filled(96, 32, {1, 2, 3, 255})).height, 16);
  EXPECT_EQ(ImageSampler::makeThumbnail(filled(100, 333, {1, 2, 3, 255})).height, 159);  // int(159.84)
  EXPECT_EQ(ImageSampler::makeThumbnail(filled(20, 10, {1, 2, 3, 255})).height, 24);
}

TEST(ImageSampler, VeryWideImageGetsOneRow) {
  Thumbnail thumbnail = ImageSampler::makeThumbnail(filled(1000, 3, {9, 9, 9, 255}));
  EXPECT_EQ(thumbnail.width, 48);
  EXPECT_EQ(thumbnail.height, 1);
  EXPECT_EQ(thumbnail.rgba.size(), 48u * 4);
}

TEST(ImageSampler, NeedleThinImageHeightIsCapped) {
  Thumbnail thumbnail = ImageSampler::makeThumbnail(filled(1, 1000, {9, 9, 9, 255}));
  EXPECT_EQ(thumbnail.height, ImageSampler::maximumThumbnailHeight);
}

TEST(ImageSampler, ShrinkingAveragesWholeAreas) {
  // Alternating black and white columns: every thumbnail pixel covers one of each.
  auto stripes = makeImage(96, 4, [](int x, int) -> std::array<uint8_t, 4> {
    uint8_t v = x % 2 ? 0 : 255;
    return {v, v, v, 255};
  });
  Thumbnail thumbnail = ImageSampler::makeThumbnail(stripes);
  ASSERT_EQ(thumbnail.height, 2);
  for (int x = 0; x < 48; ++x) {
    EXPECT_NEAR(thumbnail.pixel(x, 1)[0], 127.5, 0.5);
    EXPECT_EQ(thumbnail.pixel(x, 1)[3], 255);
  }
}

TEST(ImageSampler, SharpEdgesStayWhereTheyAre) {
  auto halves = makeImage(480, 10, [](int x, int) -> std::array<uint8_t, 4> {
    return x < 240 ? std::array<uint8_t, 4>{255, 0, 0, 255} : std::array<uint8_t, 4>{0, 0, 255, 255};
  });
  Thumbnail thumbnail = ImageSampler::makeThumbnail(halves);
  EXPECT_EQ(thumbnail.pixel(23, 0)[0], 255);
  EXPECT_EQ(thumbnail.pixel(23, 0)[2], 0);
  EXPECT_EQ(thumbnail.pixel(24, 0)[0], 0);
  EXPECT_EQ(thumbnail.pixel(24, 0)[2], 255);
}

TEST(ImageSampler, ThumbnailHoldsPremultipliedAlpha) {
  Thumbnail thumbnail = ImageSampler::makeThumbnail(filled(48, 48, {255, 100, 0, 128}));
  const uint8_t* p = thumbnail.pixel(10, 10);
  EXPECT_EQ(p[0], 128);
  EXPECT_EQ(p[1], 50);
  EXPECT_EQ(p[2], 0);
  EXPECT_EQ(p[3], 128);
}

TEST(ImageSampler, SameFileIsDecodedOnce) {
  TempFolder folder;
  std::string path = folder.file("a.png");
  writeText(path, "any bytes: the fake loader does not read them");
  CountingLoader fake{.image = filled(96, 48, {10, 20, 30, 255})};
  ImageSampler sampler;
  sampler.setLoader(fake.loader());
  auto first = sampler.thumbnail(path);
  auto second = sampler.thumbnail(path);
  ASSERT_TRUE(first);
  EXPECT_EQ(first, second);
  EXPECT_EQ(*fake.calls, 1);
  EXPECT_EQ(first->width, 48);
  EXPECT_EQ(first->height, 24);
}

TEST(ImageSampler, ChangedModificationTimeMissesTheCacheAndReplacesTheEntry) {
  TempFolder folder;
  std::string path = folder.file("bg.png");
  writePNG(path, filled(10, 10, {255, 0, 0, 255}));
  ImageSampler sampler;
  sampler.setLoader(decodeImageFile);
  auto red = sampler.thumbnail(path);
  ASSERT_TRUE(red);
  EXPECT_EQ(red->pixel(0, 0)[0], 255);

  auto before = fs::last_write_time(path);
  writePNG(path, filled(10, 10, {0, 0, 255, 255}));
  // The rewrite may land in the same clock tick; move the time on so the test does not depend on it.
  fs::last_write_time(path, before + std::chrono::milliseconds(1500));
  auto blue = sampler.thumbnail(path);
  ASSERT_TRUE(blue);
  EXPECT_EQ(blue->pixel(0, 0)[0], 0);
  EXPECT_EQ(blue->pixel(0, 0)[2], 255);
  EXPECT_EQ(sampler.entryCount(), 1u);
}

TEST(ImageSampler, NanosecondChangeOfModificationTimeMisses) {
  TempFolder folder;
  std::string path = folder.file("a.png");
  writeText(path, "x");
  CountingLoader fake{.image = filled(4, 4, {0, 0, 0, 255})};
  ImageSampler sampler;
  sampler.setLoader(fake.loader());
  ASSERT_TRUE(sampler.thumbnail(path));
  fs::last_write_time(path, fs::last_write_time(path) + std::chrono::nanoseconds(1000));
  ASSERT_TRUE(sampler.thumbnail(path));
  EXPECT_EQ(*fake.calls, 2);
  EXPECT_EQ(sampler.entryCount(), 1u);
}

TEST(ImageSampler, EntriesOfOtherPathsStay) {
  TempFolder folder;
  // "a" and "a|b" share a prefix; replacing the entry of one must not touch the other.
  std::string a = folder.file("a"), ab = folder.file("a|b");
  writeText(a, "x");
  writeText(ab, "x");
  CountingLoader fake{.image = filled(4, 4, {0, 0, 0, 255})};
  ImageSampler sampler;
  sampler.setLoader(fake.loader());
  ASSERT_TRUE(sampler.thumbnail(a));
  ASSERT_TRUE(sampler.thumbnail(ab));
  fs::last_write_time(a, fs::last_write_time(a) + std::chrono::seconds(2));
  ASSERT_TRUE(sampler.thumbnail(a));
  EXPECT_EQ(sampler.entryCount(), 2u);
  ASSERT_TRUE(sampler.thumbnail(ab));
  EXPECT_EQ(*fake.calls, 3);
}

TEST(ImageSampler, MissingFileHasNoThumbnail) {
  TempFolder folder;
  CountingLoader fake{.image = filled(4, 4, {0, 0, 0, 255})};
  ImageSampler sampler;
  sampler.setLoader(fake.loader());
  EXPECT_EQ(sampler.thumbnail(folder.file("nothing.png")), nullptr);
  EXPECT_EQ(*fake.calls, 0);
}

TEST(ImageSampler, UnreadableFileIsRememberedAsMissing) {
  TempFolder folder;
  std::string path = folder.file("broken.png");
  writeText(path, "not an image");
  CountingLoader fake{.image = std::nullopt};
  ImageSampler sampler;
  sampler.setLoader(fake.loader());
  EXPECT_EQ(sampler.thumbnail(path), nullptr);
  EXPECT_EQ(sampler.thumbnail(path), nullptr);
  EXPECT_EQ(*fake.calls, 1);
}

TEST(ImageSampler, MalformedDecodedImageGivesNoThumbnail) {
  TempFolder folder;
  std::string path = folder.file("short.png");
  writeText(path, "x");
  CountingLoader fake{.image = DecodedImage{10, 10, std::vector<uint8_t>(12)}};
  ImageSampler sampler;
  sampler.setLoader(fake.loader());
  EXPECT_EQ(sampler.thumbnail(path), nullptr);
}

TEST(ImageSampler, WithoutLoaderEveryImageIsMissing) {
  TempFolder folder;
  std::string path = folder.file("a.png");
  writePNG(path, filled(4, 4, {0, 0, 0, 255}));
  ImageSampler sampler;
  EXPECT_EQ(sampler.thumbnail(path), nullptr);
  sampler.setLoader(decodeImageFile);
  EXPECT_NE(sampler.thumbnail(path), nullptr);
}

// Image fills sample through the shared store, with the real decoder installed.
class ImageFillSampling : public ::testing::Test {
 protected:
  void SetUp() override { installImageLoaders(); }
  TempFolder folder;
};

TEST_F(ImageFillSampling, ContainLeavesBlackMarginsAndSamplesInside) {
  // 96 x 48, red on the left and green on the right, contained in a square: bands at the top
  // and bottom are margins.
  std::string path = folder.file("halves.png");
  writePNG(path, makeImage(96, 48, [](int x, int) -> std::array<uint8_t, 4> {
             return x < 48 ? std::array<uint8_t, 4>{255, 0, 0, 255} : std::array<uint8_t, 4>{0, 255, 0, 255};
           }));
  Fill fill{ImageFill{path, ImageFill::Fit::contain}};
  Size box{100, 100};
  expectColor(fill.sample(0.5, 0.1, box), 0, 0, 0);
  expectColor(fill.sample(0.5, 0.9, box), 0, 0, 0);
  expectColor(fill.sample(0.25, 0.5, box), 1, 0, 0);
  expectColor(fill.sample(0.75, 0.5, box), 0, 1, 0);
  // The last column and row answer, not the margin.
  expectColor(fill.sample(1, 0.75, box), 0, 1, 0);
}

TEST_F(ImageFillSampling, CoverReachesEveryPointOfTheBox) {
  std::string path = folder.file("halves.png");
  writePNG(path, makeImage(96, 48, [](int x, int) -> std::array<uint8_t, 4> {
             return x < 48 ? std::array<uint8_t, 4>{255, 0, 0, 255} : std::array<uint8_t, 4>{0, 255, 0, 255};
           }));
  Fill fill{ImageFill{path, ImageFill::Fit::cover}};
  Size box{100, 100};
  // Cover crops the sides: a quarter of the box across is still left of the middle.
  expectColor(fill.sample(0.25, 0, box), 1, 0, 0);
  expectColor(fill.sample(0.75, 1, box), 0, 1, 0);
  expectColor(fill.sample(0, 0, box), 1, 0, 0);
  expectColor(fill.sample(1, 1, box), 0, 1, 0);
}

TEST_F(ImageFillSampling, DimMultipliesTheSampleAndTheAverage) {
  std::string path = folder.file("grey.png");
  writePNG(path, filled(48, 48, {200, 100, 50, 255}));
  Fill plain{ImageFill{path}};
  Fill dimmed{ImageFill{path, ImageFill::Fit::cover, 0.25}};
  expectColor(plain.sample(0.5, 0.5, {10, 10}), 200 / 255.0, 100 / 255.0, 50 / 255.0);
  expectColor(dimmed.sample(0.5, 0.5, {10, 10}), 0.75 * 200 / 255.0, 0.75 * 100 / 255.0, 0.75 * 50 / 255.0);
  expectColor(dimmed.averageColor(), 0.75 * 200 / 255.0, 0.75 * 100 / 255.0, 0.75 * 50 / 255.0);
}

TEST_F(ImageFillSampling, AverageIsTheMeanOfAllThumbnailPixels) {
  std::string path = folder.file("halves.png");
  writePNG(path, makeImage(96, 96, [](int x, int) -> std::array<uint8_t, 4> {
             return x < 48 ? std::array<uint8_t, 4>{255, 255, 255, 255} : std::array<uint8_t, 4>{0, 0, 0, 255};
           }));
  expectColor(Fill{ImageFill{path}}.averageColor(), 0.5, 0.5, 0.5);
}

TEST_F(ImageFillSampling, MissingImageIsMidGrey) {
  Fill fill{ImageFill{folder.file("missing.png")}};
  expectColor(fill.sample(0.5, 0.5, {100, 100}), 0.5, 0.5, 0.5);
  expectColor(fill.averageColor(), 0.5, 0.5, 0.5);
}

TEST_F(ImageFillSampling, EmptyBoxReadsAsOutsideTheImage) {
  std::string path = folder.file("white.png");
  writePNG(path, filled(8, 8, {255, 255, 255, 255}));
  expectColor(Fill{ImageFill{path}}.sample(0.5, 0.5, {0, 0}), 0, 0, 0);
}

}  // namespace
}  // namespace vorno::image_sampler_test
