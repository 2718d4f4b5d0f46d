#include "kit/render/image_decode.h"

#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <jpeglib.h>
#include <spng.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace vorno {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using testing::writeBytes;

std::vector<uint8_t> encodePNG(int width, int height, uint8_t colorType, const std::vector<uint8_t>& pixels) {
  spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr header{};
  header.width = static_cast<uint32_t>(width);
  header.height = static_cast<uint32_t>(height);
  header.bit_depth = 8;
  header.color_type = colorType;
  spng_set_ihdr(context, &header);
  int error = spng_encode_image(context, pixels.data(), pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  EXPECT_EQ(error, 0);
  size_t size = 0;
  void* bytes = spng_get_png_buffer(context, &size, &error);
  std::vector<uint8_t> out(static_cast<uint8_t*>(bytes), static_cast<uint8_t*>(bytes) + size);
  free(bytes);
  spng_ctx_free(context);
  return out;
}

// A baseline JPEG of one colour, made with the same library the decoder uses.
std::vector<uint8_t> encodeJPEG(int width, int height, int components, const std::vector<uint8_t>& pixel) {
  jpeg_compress_struct info{};
  jpeg_error_mgr error{};
  info.err = jpeg_std_error(&error);
  jpeg_create_compress(&info);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &buffer, &size);
  info.image_width = static_cast<JDIMENSION>(width);
  info.image_height = static_cast<JDIMENSION>(height);
  info.input_components = components;
  info.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 95, TRUE);
  jpeg_start_compress(&info, TRUE);
  std::vector<uint8_t> row;
  for (int x = 0; x < width; ++x) row.insert(row.end(), pixel.begin(), pixel.end());
  while (info.next_scanline < info.image_height) {
    JSAMPROW rows[1] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  std::vector<uint8_t> out(buffer, buffer + size);
  jpeg_destroy_compress(&info);
  free(buffer);
  return out;
}

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
}  // namespace vorno
