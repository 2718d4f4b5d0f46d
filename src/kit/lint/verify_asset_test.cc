#include "kit/lint/linter.h"

#include "kit/model/store_target.h"

#include "kit/image/image_test_support.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <spng.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace vorno::verify_asset_test {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using testing::writeBytes;

// A PNG of zero pixels in the given colour type, with a tRNS chunk when asked.
std::vector<uint8_t> encodePNG(int width, int height, uint8_t colorType, bool withTRNS = false) {
  int channels = colorType == SPNG_COLOR_TYPE_TRUECOLOR_ALPHA   ? 4
                 : colorType == SPNG_COLOR_TYPE_TRUECOLOR       ? 3
                 : colorType == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA ? 2
                                                                : 1;
  std::vector<uint8_t> pixels(static_cast<size_t>(width) * height * channels, 0);
  spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr header{};
  header.width = static_cast<uint32_t>(width);
  header.height = static_cast<uint32_t>(height);
  header.bit_depth = 8;
  header.color_type = colorType;
  spng_set_ihdr(context, &header);
  if (colorType == SPNG_COLOR_TYPE_INDEXED) {
    spng_plte palette{};
    palette.n_entries = 2;
    palette.entries[1].red = 255;
    spng_set_plte(context, &palette);
  }
  if (withTRNS) {
    spng_trns transparency{};
    if (colorType == SPNG_COLOR_TYPE_INDEXED) {
      transparency.n_type3_entries = 1;
      transparency.type3_alpha[0] = 0;
    } else if (colorType == SPNG_COLOR_TYPE_GRAYSCALE) {
      transparency.gray = 0;
    }
    spng_set_trns(context, &transparency);
  }
  int error = spng_encode_image(context, pixels.data(), pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  EXPECT_EQ(error, 0) << spng_strerror(error);
  size_t size = 0;
  void* bytes = spng_get_png_buffer(context, &size, &error);
  std::vector<uint8_t> out(static_cast<uint8_t*>(bytes), static_cast<uint8_t*>(bytes) + size);
  free(bytes);
  spng_ctx_free(context);
  return out;
}

// A grey JPEG: no alpha can be told from its header.
std::vector<uint8_t> encodeJPEG(int width, int height) { return testing::encodeJPEG(width, height, 3, {128, 128, 128}); }

// A slot of the catalogue's shape but a few pixels in size, so the files stay tiny.
StoreTarget smallSlot() {
  StoreTarget slot = StoreTarget::playPhone();
  slot.id = "test.slot";
  slot.name = "Test slot";
  slot.width = 6;
  slot.height = 10;
  return slot;
}

std::vector<std::string> codes(const std::vector<Issue>& issues) {
  std::vector<std::string> list;
  for (const Issue& issue : issues) {
    EXPECT_EQ(issue.severity, Issue::Severity::error);
    list.push_back(issue.code);
  }
  return list;
}

TEST(VerifyAsset, OpaquePNGOfTheTargetsSizePasses) {
  TempFolder folder;
  std::string path = folder.file("01.png");
  writeBytes(path, encodePNG(1080, 1920, SPNG_COLOR_TYPE_TRUECOLOR));
  EXPECT_TRUE(Linter::verifyAsset(path, StoreTarget::playPhone()).empty());
}

TEST(VerifyAsset, WrongSizeNamesFileAndTargetSize) {
  TempFolder folder;
  std::string path = folder.file("03.png");
  writeBytes(path, encodePNG(13, 28, SPNG_COLOR_TYPE_TRUECOLOR));
  std::vector<Issue> issues = Linter::verifyAsset(path, StoreTarget::iphone69());
  ASSERT_EQ(codes(issues), std::vector<std::string>{"asset.size"});
  EXPECT_EQ(issues[0].message, "03.png is 13×28; iPhone 6.9″ needs 1320×2868.");
}

TEST(VerifyAsset, RGBAPNGHasAnAlphaChannel) {
  TempFolder folder;
  std::string path = folder.file("alpha.png");
  writeBytes(path, encodePNG(6, 10, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA));
  std::vector<Issue> issues = Linter::verifyAsset(path, smallSlot());
  ASSERT_EQ(codes(issues), std::vector<std::string>{"asset.alpha"});
  EXPECT_EQ(issues[0].message, "alpha.png has an alpha channel; stores reject transparency.");
}

TEST(VerifyAsset, GrayWithAlphaPNGHasAnAlphaChannel) {
  TempFolder folder;
  std::string path = folder.file("gray.png");
  writeBytes(path, encodePNG(6, 10, SPNG_COLOR_TYPE_GRAYSCALE_ALPHA));
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.alpha"});
}

TEST(VerifyAsset, TransparencyChunkCountsAsAlpha) {
  TempFolder folder;
  std::string rgb = folder.file("rgb.png");
  writeBytes(rgb, encodePNG(6, 10, SPNG_COLOR_TYPE_TRUECOLOR, true));
  EXPECT_EQ(codes(Linter::verifyAsset(rgb, smallSlot())), std::vector<std::string>{"asset.alpha"});
  std::string palette = folder.file("palette.png");
  writeBytes(palette, encodePNG(6, 10, SPNG_COLOR_TYPE_INDEXED, true));
  EXPECT_EQ(codes(Linter::verifyAsset(palette, smallSlot())), std::vector<std::string>{"asset.alpha"});
}

TEST(VerifyAsset, OpaqueGrayAndPalettePNGsPass) {
  TempFolder folder;
  std::string gray = folder.file("gray.png");
  writeBytes(gray, encodePNG(6, 10, SPNG_COLOR_TYPE_GRAYSCALE));
  EXPECT_TRUE(Linter::verifyAsset(gray, smallSlot()).empty());
  std::string palette = folder.file("palette.png");
  writeBytes(palette, encodePNG(6, 10, SPNG_COLOR_TYPE_INDEXED));
  EXPECT_TRUE(Linter::verifyAsset(palette, smallSlot()).empty());
}

TEST(VerifyAsset, WrongSizeAndAlphaAreBothReportedInOrder) {
  TempFolder folder;
  std::string path = folder.file("both.png");
  writeBytes(path, encodePNG(7, 10, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA));
  std::vector<Issue> issues = Linter::verifyAsset(path, smallSlot());
  ASSERT_EQ(codes(issues), (std::vector<std::string>{"asset.size", "asset.alpha"}));
  EXPECT_EQ(issues[0].message, "both.png is 7×10; Test slot needs 6×10.");
}

TEST(VerifyAsset, MissingFileIsUnreadableAndNothingElseIsChecked) {
  TempFolder folder;
  std::vector<Issue> issues = Linter::verifyAsset(folder.file("ghost.png"), smallSlot());
  ASSERT_EQ(codes(issues), std::vector<std::string>{"asset.unreadable"});
  EXPECT_EQ(issues[0].message, "Could not read ghost.png.");
}

TEST(VerifyAsset, FileThatIsNoImageIsUnreadable) {
  TempFolder folder;
  std::string path = folder.file("notes.png");
  writeBytes(path, {'h', 'e', 'l', 'l', 'o'});
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});
  std::string empty = folder.file("empty.png");
  writeBytes(empty, {});
  EXPECT_EQ(codes(Linter::verifyAsset(empty, smallSlot())), std::vector<std::string>{"asset.unreadable"});
}

TEST(VerifyAsset, NamedPipeOrFolderIsUnreadableAndNeverOpenedForReading) {
  // A pipe with no writer would hold a reader that opened it forever; it is refused by its kind.
  TempFolder folder;
  std::string pipe = folder.file("slide.png");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(codes(Linter::verifyAsset(pipe, smallSlot())), std::vector<std::string>{"asset.unreadable"});
  fs::create_directories(folder.path() / "folder.png");
  EXPECT_EQ(codes(Linter::verifyAsset(folder.file("folder.png"), smallSlot())),
            std::vector<std::string>{"asset.unreadable"});
}

TEST(VerifyAsset, PNGCutOffBeforeItsPixelsIsUnreadable) {
  TempFolder folder;
  std::vector<uint8_t> bytes = encodePNG(6, 10, SPNG_COLOR_TYPE_TRUECOLOR);
  // The signature and the header chunk, and nothing after them.
  bytes.resize(8 + 25);
  std::string path = folder.file("cut.png");
  writeBytes(path, bytes);
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});
  // A header chunk whose type is no longer IHDR.
  bytes = encodePNG(6, 10, SPNG_COLOR_TYPE_TRUECOLOR);
  bytes[12] ^= 0xff;
  writeBytes(path, bytes);
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});
}

// Files whose header reads fine but whose body was cut or changed after it was written.
TEST(VerifyAsset, PNGThatIsNotWholeIsUnreadable) {
  TempFolder folder;
  const std::vector<uint8_t> whole = encodePNG(6, 10, SPNG_COLOR_TYPE_TRUECOLOR);
  const std::string path = folder.file("torn.png");
  writeBytes(path, whole);
  ASSERT_TRUE(Linter::verifyAsset(path, smallSlot()).empty());

  std::vector<uint8_t> bytes = whole;
  bytes.resize(bytes.size() - 12);  // the end chunk is gone
  writeBytes(path, bytes);
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});

  bytes = whole;
  bytes.resize(bytes.size() - 20);  // cut inside the pixel data
  writeBytes(path, bytes);
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});

  bytes = whole;
  bytes[8 + 25 + 8] ^= 0x01;  // one bit of the first IDAT's data: its CRC no longer matches
  writeBytes(path, bytes);
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});

  bytes = whole;
  bytes.push_back(0);  // something after the end chunk
  writeBytes(path, bytes);
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.unreadable"});
}

TEST(VerifyAsset, JPEGIsReadForItsSizeAndHasNoAlpha) {
  TempFolder folder;
  std::string path = folder.file("photo.jpg");
  writeBytes(path, encodeJPEG(6, 10));
  EXPECT_TRUE(Linter::verifyAsset(path, smallSlot()).empty());
  writeBytes(path, encodeJPEG(8, 10));
  EXPECT_EQ(codes(Linter::verifyAsset(path, smallSlot())), std::vector<std::string>{"asset.size"});
}

}  // namespace
}  // namespace vorno::verify_asset_test
