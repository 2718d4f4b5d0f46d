// asset_add refuses, before writing anything, the bitmaps the decoder would refuse in a render.
#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <random>

#include "server/tool_test_support.h"

namespace vorno::asset_image_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;

uint32_t crc32(const std::string& bytes) {
  uint32_t crc = 0xFFFFFFFF;
  for (unsigned char byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
  }
  return ~crc;
}

void bigEndian(std::string& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((value >> shift) & 0xFF);
}

std::string chunk(const std::string& type, const std::string& data) {
  std::string out;
  bigEndian(out, static_cast<uint32_t>(data.size()));
  out += type + data;
  bigEndian(out, crc32(type + data));
  return out;
}

/// The start of a PNG whose header says `width` × `height`: a few dozen bytes that ask for much.
std::string pngHeader(uint32_t width, uint32_t height) {
  std::string header;
  bigEndian(header, width);
  bigEndian(header, height);
  header += std::string("\x08\x06\x00\x00\x00", 5);  // 8 bits, RGBA, deflate, no filter, no interlace
  const std::string emptyStream("\x78\x9c\x03\x00\x00\x00\x00\x01", 8);
  return std::string("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header) + chunk("IDAT", emptyStream) + chunk("IEND", "");
}

/// A JPEG's start-of-image and start-of-frame markers claiming `side` × `side` pixels, no more.
std::string jpegHeader(uint16_t side) {
  std::string frame = std::string("\xFF\xD8\xFF\xC0\x00\x11\x08", 7);
  frame += static_cast<char>(side >> 8);
  frame += static_cast<char>(side & 0xFF);
  frame += static_cast<char>(side >> 8);
  frame += static_cast<char>(side & 0xFF);
  frame += std::string("\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01\xFF\xD9", 12);
  return frame;
}

/// A real PNG of noise (so it doesn't shrink to a few bytes), cut after half its bytes.
std::string truncatedPNG(const fs::path& scratch) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 64, 64);
  cairo_surface_flush(surface);
  std::mt19937 random(7);
  unsigned char* data = cairo_image_surface_get_data(surface);
  for (int i = 0; i < cairo_image_surface_get_stride(surface) * 64; ++i) data[i] = static_cast<unsigned char>(random());
  cairo_surface_mark_dirty(surface);
  EXPECT_EQ(cairo_surface_write_to_png(surface, scratch.c_str()), CAIRO_STATUS_SUCCESS);
  cairo_surface_destroy(surface);
  std::ifstream file(scratch, std::ios::binary);
  std::string whole((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_GT(whole.size(), 4000u);
  return whole.substr(0, whole.size() / 2);
}

void write(const fs::path& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string addCall(const std::string& package, const std::string& name, const std::string& source, bool frame = false) {
  return R"({"project": ")" + package + R"(", "name": ")" + name + R"(", "source_path": ")" + source + R"(")" +
         (frame ? R"(, "frame": true)" : "") + "}";
}

TEST(AssetImage, A30000By30000PngIsRefusedAndNothingIsWritten) {
  ToolHarness harness;
  std::string package = harness.package();
  write(harness.folder() / "huge.png", pngHeader(30000, 30000));
  auto result = harness.call("asset_add", addCall(package, "huge.png", "huge.png"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0),
            "huge.png is 30000×30000 px: images may have at most 32767 px on a side and 100 million pixels in all. "
            "Scale it down and add it again.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets"));
}

TEST(AssetImage, A30000By30000FramePngIsRefusedAndNothingIsWritten) {
  ToolHarness harness;
  std::string package = harness.package();
  write(harness.folder() / "huge.png", pngHeader(30000, 30000));
  auto result = harness.call("asset_add", addCall(package, "phone.png", "huge.png", true));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("phone.png is 30000×30000 px: images may have at most", 0), 0u) << result.text(0);
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets"));
}

TEST(AssetImage, AJpegHeaderClaiming65500By65500IsRefusedAndNothingIsWritten) {
  ToolHarness harness;
  std::string package = harness.package();
  write(harness.folder() / "claim.jpg", jpegHeader(65500));
  auto result = harness.call("asset_add", addCall(package, "claim.jpg", "claim.jpg"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0),
            "claim.jpg is 65500×65500 px: images may have at most 32767 px on a side and 100 million pixels in all. "
            "Scale it down and add it again.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets"));
}

TEST(AssetImage, ATruncatedPngIsRefusedAndNothingIsWritten) {
  ToolHarness harness;
  std::string package = harness.package();
  write(harness.folder() / "cut.png", truncatedPNG(harness.folder() / "whole.png"));
  auto result = harness.call("asset_add", addCall(package, "cut.png", "cut.png"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0),
            "cut.png can't be decoded: the file is cut short or damaged. Save the image again and add the new file.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets"));
}

TEST(AssetImage, TheWholePngOfTheSameNoiseIsSaved) {
  ToolHarness harness;
  std::string package = harness.package();
  (void)truncatedPNG(harness.folder() / "whole.png");
  auto result = harness.call("asset_add", addCall(package, "whole.png", "whole.png"));
  ASSERT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(result.text(0), "Saved assets/whole.png (64×64). Use \"image\": \"assets/whole.png\" in an image element.");
  EXPECT_TRUE(fs::is_regular_file(fs::path(package) / "assets" / "whole.png"));
}

}  // namespace
}  // namespace vorno::asset_image_test
