#include "kit/image/image_decode.h"

#include "kit/image/image_test_support.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace vorno::image_decode_test {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using testing::writeBytes;
using testing::encodeJPEG;
using testing::encodePNG;

TEST(ImageDecode, PNGKeepsEveryPixelAndStraightAlpha) {
  std::vector<uint8_t> pixels = {255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0, 10, 20, 30, 40};
  TempFolder folder;
  std::string path = folder.file("tiny.png");
  writeBytes(path, encodePNG(2, 2, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA, pixels));
  auto image = decodeImageFile(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 2);
  EXPECT_EQ(image->height, 2);
  EXPECT_EQ(image->rgba, pixels);
}

TEST(ImageDecode, GreyPNGBecomesOpaqueRGBA) {
  auto bytes = encodePNG(3, 1, SPNG_COLOR_TYPE_GRAYSCALE, {0, 128, 255});
  auto image = decodeImageData(bytes.data(), bytes.size());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->rgba, (std::vector<uint8_t>{0, 0, 0, 255, 128, 128, 128, 255, 255, 255, 255, 255}));
}

TEST(ImageDecode, JPEGDecodesToNearlyItsColour) {
  TempFolder folder;
  std::string path = folder.file("photo.jpg");
  writeBytes(path, encodeJPEG(16, 8, 3, {200, 100, 50}));
  auto image = decodeImageFile(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 16);
  EXPECT_EQ(image->height, 8);
  ASSERT_EQ(image->rgba.size(), 16u * 8 * 4);
  EXPECT_NEAR(image->rgba[0], 200, 4);
  EXPECT_NEAR(image->rgba[1], 100, 4);
  EXPECT_NEAR(image->rgba[2], 50, 4);
  EXPECT_EQ(image->rgba[3], 255);
}

TEST(ImageDecode, GreyJPEGBecomesRGBA) {
  auto bytes = encodeJPEG(8, 8, 1, {90});
  auto image = decodeImageData(bytes.data(), bytes.size());
  ASSERT_TRUE(image);
  EXPECT_NEAR(image->rgba[0], 90, 3);
  EXPECT_EQ(image->rgba[0], image->rgba[1]);
  EXPECT_EQ(image->rgba[3], 255);
}

TEST(ImageDecode, FormatIsToldByContentNotName) {
  TempFolder folder;
  std::string path = folder.file("really-a-png.jpg");
  writeBytes(path, encodePNG(1, 1, SPNG_COLOR_TYPE_GRAYSCALE, {7}));
  auto image = decodeImageFile(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->rgba[0], 7);
}

TEST(ImageDecode, WebPLosslessKeepsEveryPixelAndStraightAlpha) {
  std::vector<uint8_t> pixels = {255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0, 10, 20, 30, 40};
  auto bytes = testing::encodeWebP(2, 2, pixels, true);
  auto image = decodeImageData(bytes.data(), bytes.size());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 2);
  EXPECT_EQ(image->height, 2);
  // Lossless WebP may drop the colour of fully transparent pixels; the rest is exact.
  EXPECT_EQ(std::vector<uint8_t>(image->rgba.begin(), image->rgba.begin() + 8),
            std::vector<uint8_t>(pixels.begin(), pixels.begin() + 8));
  EXPECT_EQ(image->rgba[11], 0);
  EXPECT_EQ(std::vector<uint8_t>(image->rgba.begin() + 12, image->rgba.end()),
            std::vector<uint8_t>(pixels.begin() + 12, pixels.end()));
}

TEST(ImageDecode, WebPLossyDecodesToNearlyItsColour) {
  auto pixels = testing::rgbaPixels(32, 16, [](int, int) { return std::array<uint8_t, 4>{40, 160, 220, 255}; });
  auto bytes = testing::encodeWebP(32, 16, pixels, false);
  auto image = decodeImageData(bytes.data(), bytes.size());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 32);
  EXPECT_EQ(image->height, 16);
  EXPECT_NEAR(image->rgba[0], 40, 6);
  EXPECT_NEAR(image->rgba[1], 160, 6);
  EXPECT_NEAR(image->rgba[2], 220, 6);
  EXPECT_EQ(image->rgba[3], 255);
}

TEST(ImageDecode, TIFFWithUnassociatedAlphaComesBackStraight) {
  std::vector<uint8_t> pixels = {255, 0, 0, 255, 0, 255, 0, 128, 200, 100, 50, 255, 10, 20, 30, 0};
  TempFolder folder;
  std::string path = folder.file("scan.tif");
  ASSERT_TRUE(testing::writeTIFF(path, 2, 2, pixels));
  auto image = decodeImageFile(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 2);
  EXPECT_EQ(image->height, 2);
  EXPECT_EQ(std::vector<uint8_t>(image->rgba.begin(), image->rgba.begin() + 4), (std::vector<uint8_t>{255, 0, 0, 255}));
  // Half-transparent green: libtiff premultiplies, we divide back, within rounding.
  EXPECT_EQ(image->rgba[4], 0);
  EXPECT_NEAR(image->rgba[5], 255, 1);
  EXPECT_EQ(image->rgba[7], 128);
  EXPECT_EQ(std::vector<uint8_t>(image->rgba.begin() + 8, image->rgba.begin() + 12),
            (std::vector<uint8_t>{200, 100, 50, 255}));
  EXPECT_EQ(image->rgba[15], 0);
}

TEST(ImageDecode, HEICDecodesToNearlyItsColour) {
  TempFolder folder;
  std::string path = folder.file("photo.heic");
  if (!testing::writeHEIC(path, 64, 48, 30, 140, 200)) GTEST_SKIP() << "libheif has no HEVC encoder here";
  auto image = decodeImageFile(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 64);
  EXPECT_EQ(image->height, 48);
  const uint8_t* middle = &image->rgba[(24 * 64 + 32) * 4];
  EXPECT_NEAR(middle[0], 30, 8);
  EXPECT_NEAR(middle[1], 140, 8);
  EXPECT_NEAR(middle[2], 200, 8);
  EXPECT_EQ(middle[3], 255);
}

TEST(ImageDecode, RecordingIsNotAStillImage) {
  // An MPEG-4 file type box names the brand "isom": libheif says no, so it is no image.
  std::vector<uint8_t> bytes = {0, 0, 0, 0x18, 'f', 't', 'y', 'p', 'i', 's', 'o', 'm', 0, 0, 2, 0,
                                'i', 's', 'o', 'm', 'm', 'p', '4', '1'};
  EXPECT_FALSE(decodeImageData(bytes.data(), bytes.size()).has_value());
}

TEST(ImageDecode, TextFileIsNotAnImage) {
  TempFolder folder;
  std::string path = folder.file("notes.png");
  std::ofstream(path) << "hello";
  EXPECT_FALSE(decodeImageFile(path).has_value());
}

TEST(ImageDecode, MissingFileAndFolderAreNotImages) {
  TempFolder folder;
  EXPECT_FALSE(decodeImageFile(folder.file("missing.png")).has_value());
  EXPECT_FALSE(decodeImageFile(folder.file("")).has_value());
  EXPECT_FALSE(decodeImageFile("/").has_value());
  EXPECT_FALSE(decodeImageData(nullptr, 0).has_value());
}

TEST(ImageDecode, TruncatedPNGIsRefused) {
  auto bytes = encodePNG(64, 64, SPNG_COLOR_TYPE_GRAYSCALE, std::vector<uint8_t>(64 * 64, 3));
  for (size_t keep : {size_t(8), size_t(20), bytes.size() / 2, bytes.size() - 20}) {
    EXPECT_FALSE(decodeImageData(bytes.data(), keep).has_value()) << keep;
  }
}

TEST(ImageDecode, BrokenJPEGHeaderIsRefusedWithoutExiting) {
  std::vector<uint8_t> bytes = {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x02, 0xFF, 0xC0, 0x00};
  EXPECT_FALSE(decodeImageData(bytes.data(), bytes.size()).has_value());
}

TEST(ImageDecode, TruncatedJPEGNeverCrashes) {
  auto bytes = encodeJPEG(32, 32, 3, {10, 200, 30});
  for (size_t keep = 3; keep < bytes.size(); keep += 7) {
    auto image = decodeImageData(bytes.data(), keep);
    // A cut inside the scan still gives the whole frame (libjpeg pads it); a cut in the header
    // gives nothing. Either way the sizes agree.
    if (image) {
      EXPECT_EQ(image->rgba.size(), static_cast<size_t>(image->width) * image->height * 4);
    }
  }
}

TEST(ImageDecode, InstalledLoaderFeedsTheSharedSampler) {
  TempFolder folder;
  std::string path = folder.file("a.png");
  writeBytes(path, encodePNG(96, 96, SPNG_COLOR_TYPE_GRAYSCALE, std::vector<uint8_t>(96 * 96, 60)));
  installImageLoaders();
  auto thumbnail = ImageSampler::shared().thumbnail(path);
  ASSERT_TRUE(thumbnail);
  EXPECT_EQ(thumbnail->width, 48);
  EXPECT_EQ(thumbnail->height, 48);
  EXPECT_EQ(thumbnail->pixel(5, 5)[0], 60);
}

}  // namespace
}  // namespace vorno::image_decode_test

namespace vorno::image_decode_test {
namespace {

TEST(ImageDecode, InstalledLoaderDrawsVectorFills) {
  testing::TempFolder folder;
  std::string path = folder.file("art.svg");
  std::ofstream(path) << R"(<svg xmlns="http://www.w3.org/2000/svg" width="96" height="48">)"
                      << R"(<rect width="96" height="48" fill="#00ff00"/></svg>)";
  installImageLoaders();
  auto thumbnail = ImageSampler::shared().thumbnail(path);
  ASSERT_TRUE(thumbnail);
  EXPECT_EQ(thumbnail->width, 48);
  EXPECT_EQ(thumbnail->height, 24);
  EXPECT_EQ(thumbnail->pixel(10, 10)[1], 255);
  EXPECT_EQ(thumbnail->pixel(10, 10)[0], 0);
}

}  // namespace
}  // namespace vorno::image_decode_test
