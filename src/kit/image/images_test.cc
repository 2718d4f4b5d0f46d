#include "kit/image/images.h"

#include "kit/image/image_test_support.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace vorno::images_test {
namespace {

using testing::TempFolder;
using testing::writeBytes;

uint32_t pixelAt(const Image& image, int x, int y) {
  uint32_t word;
  std::memcpy(&word, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  return word;
}

std::vector<uint8_t> checker(int width, int height) {
  return testing::rgbaPixels(width, height, [](int x, int y) {
    return (x + y) % 2 ? std::array<uint8_t, 4>{255, 255, 255, 255} : std::array<uint8_t, 4>{0, 0, 0, 255};
  });
}

TEST(ImagesLoad, PNGBecomesPremultipliedARGB) {
  TempFolder folder;
  std::string path = folder.file("a.png");
  // Opaque red, half-transparent green, transparent blue, and a translucent grey.
  writeBytes(path, testing::encodeRGBAPNG(2, 2, {255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0, 100, 100, 100, 51}));
  Image image = Images::load(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image.width(), 2);
  EXPECT_EQ(image.height(), 2);
  EXPECT_TRUE(image.hasAlpha());
  EXPECT_EQ(image.byteCount(), int64_t(image.stride()) * 2);
  EXPECT_EQ(pixelAt(image, 0, 0), 0xFFFF0000u);
  EXPECT_EQ(pixelAt(image, 1, 0), 0x80008000u);
  EXPECT_EQ(pixelAt(image, 0, 1), 0x00000000u);
  EXPECT_EQ(pixelAt(image, 1, 1), 0x33141414u);  // 100 × 51 / 255 = 20
}

TEST(ImagesLoad, OpaqueImageHasNoAlpha) {
  TempFolder folder;
  std::string path = folder.file("photo.jpg");
  writeBytes(path, testing::encodeJPEG(16, 8, 3, {200, 100, 50}));
  Image image = Images::load(path);
  ASSERT_TRUE(image);
  EXPECT_FALSE(image.hasAlpha());
  uint32_t p = pixelAt(image, 3, 3);
  EXPECT_NEAR(int((p >> 16) & 0xFF), 200, 4);
  EXPECT_NEAR(int((p >> 8) & 0xFF), 100, 4);
  EXPECT_NEAR(int(p & 0xFF), 50, 4);
}

TEST(ImagesLoad, EachFormatLoadsByItsContent) {
  TempFolder folder;
  auto pixels = checker(8, 6);
  writeBytes(folder.file("png.bin"), testing::encodeRGBAPNG(8, 6, pixels));
  writeBytes(folder.file("webp.bin"), testing::encodeWebP(8, 6, pixels, true));
  ASSERT_TRUE(testing::writeTIFF(folder.file("tiff.bin"), 8, 6, pixels));
  for (const char* name : {"png.bin", "webp.bin", "tiff.bin"}) {
    Image image = Images::load(folder.file(name));
    ASSERT_TRUE(image) << name;
    EXPECT_EQ(image.width(), 8) << name;
    EXPECT_EQ(image.height(), 6) << name;
    EXPECT_EQ(pixelAt(image, 0, 0) & 0xFFFFFF, 0x000000u) << name;
    EXPECT_EQ(pixelAt(image, 1, 0) & 0xFFFFFF, 0xFFFFFFu) << name;
    EXPECT_EQ(pixelAt(image, 3, 5) & 0xFFFFFF, 0x000000u) << name;
  }
}

TEST(ImagesLoad, HEICLoads) {
  TempFolder folder;
  std::string path = folder.file("shot.heic");
  if (!testing::writeHEIC(path, 40, 30, 250, 250, 250)) GTEST_SKIP() << "libheif has no HEVC encoder here";
  Image image = Images::load(path);
  ASSERT_TRUE(image);
  EXPECT_EQ(image.width(), 40);
  EXPECT_EQ(image.height(), 30);
  EXPECT_FALSE(image.hasAlpha());
}

TEST(ImagesLoad, MissingFileIsNotFound) {
  TempFolder folder;
  std::string path = folder.file("nothing.png");
  try {
    Images::load(path);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
    EXPECT_EQ(error.message(), "Image not found: " + path);
  }
}

TEST(ImagesLoad, TextFileAndFolderAreNotReadableImages) {
  TempFolder folder;
  std::string path = folder.file("notes.png");
  std::ofstream(path) << "hello";
  for (const std::string& p : {path, folder.path().string()}) {
    try {
      Images::load(p);
      FAIL() << "no error for " << p;
    } catch (const VornoError& error) {
      EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
      EXPECT_EQ(error.message(), "Not a readable image: " + p);
    }
  }
}

TEST(ImagesPixelSize, ReadsEveryFormat) {
  TempFolder folder;
  auto pixels = checker(12, 7);
  writeBytes(folder.file("a.png"), testing::encodeRGBAPNG(12, 7, pixels));
  writeBytes(folder.file("a.jpg"), testing::encodeJPEG(12, 7, 3, {1, 2, 3}));
  writeBytes(folder.file("lossless.webp"), testing::encodeWebP(12, 7, pixels, true));
  writeBytes(folder.file("lossy.webp"), testing::encodeWebP(12, 7, pixels, false));
  auto translucent = testing::rgbaPixels(12, 7, [](int, int) { return std::array<uint8_t, 4>{9, 9, 9, 100}; });
  writeBytes(folder.file("alpha.webp"), testing::encodeWebP(12, 7, translucent, false));  // VP8X
  ASSERT_TRUE(testing::writeTIFF(folder.file("a.tif"), 12, 7, pixels));
  for (const char* name : {"a.png", "a.jpg", "lossless.webp", "lossy.webp", "alpha.webp", "a.tif"}) {
    auto size = Images::pixelSize(folder.file(name));
    ASSERT_TRUE(size) << name;
    EXPECT_EQ(*size, (Size{12, 7})) << name;
  }
}

TEST(ImagesPixelSize, ReadsHEICWithoutDecoding) {
  TempFolder folder;
  std::string path = folder.file("a.heic");
  if (!testing::writeHEIC(path, 36, 20, 1, 2, 3)) GTEST_SKIP() << "libheif has no HEVC encoder here";
  EXPECT_EQ(Images::pixelSize(path), (Size{36, 20}));
}

// Files cut right after their headers: no decoder can read them, but the size is there.
TEST(ImagesPixelSize, HeaderAloneIsEnoughWithoutDecoding) {
  TempFolder folder;
  auto png = testing::encodeRGBAPNG(12, 7, checker(12, 7));
  png.resize(33);  // signature and IHDR
  std::string pngPath = folder.file("cut.png");
  writeBytes(pngPath, png);
  EXPECT_EQ(Images::pixelSize(pngPath), (Size{12, 7}));
  EXPECT_THROW(Images::load(pngPath), VornoError);

  auto jpeg = testing::encodeJPEG(300, 200, 3, {5, 6, 7});
  // Keep everything up to the end of the frame header: find SOF0 and its length.
  size_t sof = 2;
  while (!(jpeg[sof] == 0xFF && jpeg[sof + 1] == 0xC0)) sof += 2 + (jpeg[sof + 2] << 8 | jpeg[sof + 3]);
  jpeg.resize(sof + 2 + (jpeg[sof + 2] << 8 | jpeg[sof + 3]));
  std::string jpegPath = folder.file("cut.jpg");
  writeBytes(jpegPath, jpeg);
  EXPECT_EQ(Images::pixelSize(jpegPath), (Size{300, 200}));
  EXPECT_THROW(Images::load(jpegPath), VornoError);

  // A huge picture: the header says 30000 × 20000 and the size comes back without a
  // 2.4-gigabyte decode.
  std::vector<uint8_t> webp = {'R', 'I', 'F', 'F', 22, 0, 0, 0, 'W', 'E', 'B', 'P', 'V', 'P', '8', 'X', 10, 0, 0, 0,
                               0,   0,   0,   0,   0x2F, 0x75, 0, 0x1F, 0x4E, 0};
  std::string webpPath = folder.file("huge.webp");
  writeBytes(webpPath, webp);
  EXPECT_EQ(Images::pixelSize(webpPath), (Size{30000, 20000}));
  EXPECT_THROW(Images::load(webpPath), VornoError);
}

TEST(ImagesPixelSize, NothingForMissingUnknownAndFolders) {
  TempFolder folder;
  std::ofstream(folder.file("notes.png")) << "not a picture at all, just words";
  EXPECT_FALSE(Images::pixelSize(folder.file("notes.png")));
  EXPECT_FALSE(Images::pixelSize(folder.file("missing.png")));
  EXPECT_FALSE(Images::pixelSize(folder.path().string()));
  writeBytes(folder.file("short.png"), {0x89, 'P', 'N', 'G'});
  EXPECT_FALSE(Images::pixelSize(folder.file("short.png")));
}

TEST(ImagesPixelSize, VectorsAnswerTheirNaturalSize) {
  TempFolder folder;
  std::ofstream(folder.file("icon.svg")) << R"(<svg xmlns="http://www.w3.org/2000/svg" width="120" height="80"/>)";
  EXPECT_EQ(Images::pixelSize(folder.file("icon.svg")), (Size{120, 80}));
}

TEST(ImagesModificationTime, FollowsTheFile) {
  TempFolder folder;
  std::string path = folder.file("a.png");
  EXPECT_FALSE(Images::modificationTime(path));
  writeBytes(path, {1});
  auto set = std::filesystem::last_write_time(path);
  auto first = Images::modificationTime(path);
  ASSERT_TRUE(first);
  std::filesystem::last_write_time(path, set + std::chrono::milliseconds(1500));
  auto second = Images::modificationTime(path);
  ASSERT_TRUE(second);
  EXPECT_NEAR(*second - *first, 1.5, 1e-6);
}

}  // namespace
}  // namespace vorno::images_test
