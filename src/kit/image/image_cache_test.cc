#include "kit/image/image_cache.h"

#include "kit/image/image_test_support.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

namespace vorno::image_cache_test {
namespace {

using testing::TempFolder;
using testing::writeBytes;

void writeSolidPNG(const std::string& path, int width, int height, uint8_t r, uint8_t g, uint8_t b) {
  writeBytes(path, testing::encodeRGBAPNG(width, height, testing::rgbaPixels(width, height, [&](int, int) {
                                            return std::array<uint8_t, 4>{r, g, b, 255};
                                          })));
}

// Moves the file's time on, so a rewrite within the file system's time resolution still counts.
void touchLater(const std::string& path, int seconds) {
  std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(seconds));
}

uint32_t firstPixel(const Image& image) {
  uint32_t word;
  std::memcpy(&word, image.data(), 4);
  return word;
}

TEST(ImageCache, FileChangedOnDiskIsReReadOnTheNextImageAtTheSamePath) {
  TempFolder folder;
  ImageCache cache;
  std::string path = folder.file("capture.png");
  writeSolidPNG(path, 4, 4, 255, 0, 0);
  Image first = cache.image(path);
  EXPECT_EQ(firstPixel(first) & 0xFFFFFF, 0xFF0000u);
  writeSolidPNG(path, 6, 3, 0, 0, 255);
  touchLater(path, 2);
  Image second = cache.image(path);
  EXPECT_EQ(second.width(), 6);
  EXPECT_EQ(firstPixel(second) & 0xFFFFFF, 0x0000FFu);
  // The first image is still whole for whoever holds it.
  EXPECT_EQ(firstPixel(first) & 0xFFFFFF, 0xFF0000u);
}

TEST(ImageCache, UnchangedFileIsDecodedOnce) {
  TempFolder folder;
  ImageCache cache;
  std::string path = folder.file("a.png");
  writeSolidPNG(path, 4, 4, 1, 2, 3);
  Image first = cache.image(path);
  Image second = cache.image(path);
  EXPECT_EQ(first.surface(), second.surface());
}

TEST(ImageCache, ErrorsAreThoseOfLoading) {
  TempFolder folder;
  ImageCache cache;
  try {
    cache.image(folder.file("gone.png"));
    FAIL();
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
  }
}

TEST(ImageCache, AFrameOfAMissingRecordingSaysItIsNotPlayable) {
  TempFolder folder;
  ImageCache cache;
  try {
    cache.image(folder.file("walkthrough.mov") + "@t=1.5000");
    FAIL();
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(), "Not a playable recording: " + folder.file("walkthrough.mov"));
  }
}

TEST(ImageCache, ManyThreadsReadOneFile) {
  TempFolder folder;
  ImageCache cache;
  std::string path = folder.file("a.png");
  writeSolidPNG(path, 64, 64, 9, 8, 7);
  std::vector<std::thread> threads;
  std::array<int, 8> widths{};
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; ++i) widths[t] = cache.image(path).width();
    });
  for (auto& thread : threads) thread.join();
  for (int width : widths) EXPECT_EQ(width, 64);
}

TEST(ImageCache, LimitKeepsTheBudgetAndReleasedImagesAreReadAgainWhole) {
  TempFolder folder;
  ImageCache cache;
  // Each 64 x 64 image is 16384 bytes of pixels.
  std::vector<std::string> paths;
  for (int i = 0; i < 4; ++i) {
    paths.push_back(folder.file("capture" + std::to_string(i) + ".png"));
    writeSolidPNG(paths.back(), 64, 64, uint8_t(10 * i), 20, 30);
  }
  {
    ImageCache::Limit limit(cache, 2 * 16384);
    EXPECT_EQ(cache.byteLimit(), 2 * 16384);
    for (const auto& path : paths) cache.image(path);
    EXPECT_LE(cache.byteCount(), 2 * 16384);
    // The first image left; asked again, it is decoded again with its own pixels.
    Image again = cache.image(paths[0]);
    EXPECT_EQ(again.width(), 64);
    EXPECT_EQ(firstPixel(again) & 0xFFFFFF, 0x00141Eu);
    EXPECT_LE(cache.byteCount(), 2 * 16384);
    {
      ImageCache::Limit tighter(cache, 16384);  // the smallest live limit applies
      EXPECT_EQ(cache.byteLimit(), 16384);
      EXPECT_LE(cache.byteCount(), 16384);
    }
    EXPECT_EQ(cache.byteLimit(), 2 * 16384);
  }
  EXPECT_GT(cache.byteLimit(), 2 * 16384);  // back to the cache's own limit
}

TEST(ImageCache, LimitsComingAndGoingOnManyThreadsKeepImagesWhole) {
  TempFolder folder;
  ImageCache cache;
  std::vector<std::string> paths;
  for (int i = 0; i < 6; ++i) {
    paths.push_back(folder.file("c" + std::to_string(i) + ".png"));
    writeSolidPNG(paths.back(), 32, 32, uint8_t(i), 0, 0);
  }
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 6; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 40; ++i) {
        ImageCache::Limit limit(cache, 4096 * (1 + (t + i) % 3));
        const int which = (t + i) % 6;
        Image image = cache.image(paths[which]);
        if (image.width() != 32 || (firstPixel(image) >> 16 & 0xFF) != uint32_t(which)) wrong.fetch_add(1);
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(cache.byteLimit(), 402653184);
}

TEST(ImageSizeCache, AnswersAndFollowsChanges) {
  TempFolder folder;
  ImageSizeCache cache;
  std::string path = folder.file("a.png");
  writeSolidPNG(path, 10, 5, 0, 0, 0);
  EXPECT_EQ(cache.size(path), (Size{10, 5}));
  writeSolidPNG(path, 3, 9, 0, 0, 0);
  touchLater(path, 2);
  EXPECT_EQ(cache.size(path), (Size{3, 9}));
}

TEST(ImageSizeCache, MissingIsNotRemembered) {
  TempFolder folder;
  ImageSizeCache cache;
  std::string path = folder.file("later.png");
  EXPECT_FALSE(cache.size(path));
  writeSolidPNG(path, 7, 7, 0, 0, 0);
  EXPECT_EQ(cache.size(path), (Size{7, 7}));
  std::ofstream(folder.file("bad.png")) << "nope";
  EXPECT_FALSE(cache.size(folder.file("bad.png")));
}

TEST(ImageSizeCache, VideoFrameOfAMissingRecordingHasNoSize) {
  TempFolder folder;
  ImageSizeCache cache;
  EXPECT_FALSE(cache.size(folder.file("none.mov") + "@t=0.0000"));
}

}  // namespace
}  // namespace vorno::image_cache_test
