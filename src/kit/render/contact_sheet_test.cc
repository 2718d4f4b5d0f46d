#include "kit/render/contact_sheet.h"

#include "kit/render/render_test_support.h"
#include "kit/util/thread_pool.h"
#include "kit/util/vorno_error.h"
#include "tests/thread_waits.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>

namespace vorno::contact_sheet_test {
namespace {

using testing::rgbAt;
using testing::smallTarget;

constexpr uint32_t ground = 0xD3D8E0;

ContactSheet::Tile flatTile(RGBColor color, int width = 100, int height = 200) {
  Canvas canvas = Canvas::opaque(width, height);
  FillPainter::paint(Fill::solid(color), canvas.context(), {0, 0, double(width), double(height)});
  ContactSheet::Tile tile;
  tile.image = canvas.finish();
  tile.report.width = width;
  tile.report.height = height;
  return tile;
}

TEST(ContactSheet, OneSlideGivesOneTileAndTwoMargins) {
  StoreTarget target = smallTarget(100, 200);
  ContactSheet::Sheet sheet =
      ContactSheet::render(1, target, 300, [](size_t) { return flatTile(RGBColor{1, 0, 0, 1}); });
  // tile 150 x 300, gap 10: 10 + 150 + 10 by 10 + 300 + 10
  EXPECT_EQ(sheet.image.width(), 170);
  EXPECT_EQ(sheet.image.height(), 320);
  ASSERT_EQ(sheet.reports.size(), 1u);
  EXPECT_EQ(rgbAt(sheet.image, 5, 160), ground);
  EXPECT_EQ(rgbAt(sheet.image, 165, 160), ground);
  EXPECT_EQ(rgbAt(sheet.image, 85, 160), 0xFF0000u);
  // The tile's corners are rounded off: the very corner shows the ground.
  EXPECT_EQ(rgbAt(sheet.image, 10, 10), ground);
}

TEST(ContactSheet, TilesGoInSlideOrderWithTheirReports) {
  StoreTarget target = smallTarget(100, 200);
  // The first tile finishes last: it waits until the other two have finished, on the other
  // thread. The order of the sheet can't come from the order tiles finish in.
  ThreadPool::setConcurrency(2);
  std::atomic<int> othersFinished{0};
  std::atomic<bool> firstWaited{true};
  ContactSheet::Sheet sheet = ContactSheet::render(3, target, 300, [&](size_t i) {
    if (i == 0 && !testing::pollUntil([&] { return othersFinished.load() == 2; })) firstWaited = false;
    ContactSheet::Tile tile = flatTile(i == 1 ? RGBColor{0, 0, 1, 1} : RGBColor{0, 1, 0, 1});
    tile.report.slide = "s" + std::to_string(i);
    if (i != 0) othersFinished.fetch_add(1);
    return tile;
  });
  ThreadPool::setConcurrency(0);
  EXPECT_TRUE(firstWaited);
  ASSERT_EQ(sheet.reports.size(), 3u);
  EXPECT_EQ(sheet.reports[0].slide, "s0");
  EXPECT_EQ(sheet.reports[2].slide, "s2");
  EXPECT_EQ(rgbAt(sheet.image, 10 + 160 + 75, 160), 0x0000FFu);
  EXPECT_EQ(rgbAt(sheet.image, 10 + 75, 160), 0x00FF00u);
}

TEST(ContactSheet, FailingSlideFailsTheSheetAfterTheOthersFinished) {
  // The other thread's first tile is held until the calling thread is known to wait for it, and
  // the calling thread's tiles wait until it is held: one tile is always still being drawn when
  // every other tile, the failing one too, is done.
  constexpr int count = 6;
  StoreTarget target = smallTarget(100, 200);
  ThreadPool::setConcurrency(2);
  const pid_t caller = ::gettid();
  testing::HeldUntilThreadWaits held;
  std::atomic<int> finished{0}, settled{0};
  auto settle = [&] {
    if (settled.fetch_add(1) + 1 == count - 1) held.releaseWhenWaiting(caller);
  };
  try {
    ContactSheet::render(count, target, 90, [&](size_t i) -> ContactSheet::Tile {
      if (i == 0) {
        settle();
        throw VornoError::notFound("Image not found: /gone.png");
      }
      if (::gettid() != caller) {
        held.hold();
      } else {
        testing::pollUntil([&] { return held.holding() > 0; });
        settle();
      }
      finished.fetch_add(1);
      return flatTile(RGBColor{0, 1, 0, 1});
    });
    ADD_FAILURE() << "the sheet should fail";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Image not found: /gone.png");
  }
  EXPECT_EQ(finished.load(), 5) << "the sheet failed before the other tiles finished";
  held.release();
  ThreadPool::setConcurrency(0);
}

TEST(ContactSheet, TileHeightUnder30GivesGapZero) {
  StoreTarget target = smallTarget(100, 200);
  ContactSheet::Geometry g = ContactSheet::geometry(target, 29, 3);
  EXPECT_EQ(g.gap, 0);
  EXPECT_EQ(g.tileWidth, 14);
  EXPECT_EQ(g.width, 42);
  EXPECT_EQ(g.height, 29);
  ContactSheet::Sheet sheet = ContactSheet::render(3, target, 29, [](size_t) { return flatTile({1, 0, 0, 1}); });
  EXPECT_EQ(sheet.image.width(), 42);
  EXPECT_EQ(sheet.image.height(), 29);
  EXPECT_EQ(ContactSheet::geometry(target, 30, 3).gap, 1);
}

TEST(ContactSheet, NoSlidesIsInvalid) {
  StoreTarget target = smallTarget(100, 200);
  try {
    ContactSheet::render(0, target, 300, [](size_t) { return ContactSheet::Tile{}; });
    FAIL();
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(), "The project has no slides.");
  }
}

TEST(ContactSheet, HundredFiftySlidesWrapIntoRowsWithinTheBoundAndEverySlideShows) {
  StoreTarget target = smallTarget(1320, 2868);
  constexpr int count = 150;
  auto colorOf = [](int i) { return RGBColor{i / 255.0, (255 - i) / 255.0, (i * 7 % 256) / 255.0, 1}; };
  auto hexOf = [](int i) { return static_cast<uint32_t>(i << 16 | (255 - i) << 8 | (i * 7 % 256)); };
  ContactSheet::Sheet sheet = ContactSheet::render(count, target, 900, [&](size_t i) {
    ContactSheet::Tile tile = flatTile(colorOf(static_cast<int>(i)), 132, 287);
    tile.report.slide = "s" + std::to_string(i);
    return tile;
  });
  // In one row this was a 66630 × 960 canvas.
  EXPECT_LE(sheet.image.width(), ContactSheet::maxSide);
  EXPECT_LE(sheet.image.height(), ContactSheet::maxSide);
  EXPECT_LE(int64_t(sheet.image.width()) * sheet.image.height(), ContactSheet::maxPixels);
  const ContactSheet::Geometry g = ContactSheet::geometry(target, 900, count);
  EXPECT_EQ(sheet.image.width(), g.width);
  EXPECT_EQ(sheet.image.height(), g.height);
  EXPECT_GT(g.rows, 1);
  EXPECT_GE(g.rows * g.columns, count);
  ASSERT_EQ(sheet.reports.size(), size_t(count));
  for (int i = 0; i < count; ++i) {
    EXPECT_EQ(sheet.reports[size_t(i)].slide, "s" + std::to_string(i));
    // Every slide has its own tile, in reading order: its colour at the tile's centre.
    EXPECT_EQ(rgbAt(sheet.image, g.tileX(i) + g.tileWidth / 2, g.tileY(i) + g.tileHeight / 2), hexOf(i)) << i;
  }
  // The rows are read left to right: the second row starts under the first.
  EXPECT_EQ(g.tileX(g.columns), g.tileX(0));
  EXPECT_GT(g.tileY(g.columns), g.tileY(0) + g.tileHeight);
}

TEST(ContactSheet, AnyNumberOfSlidesFitsTheBoundWithTilesInside) {
  for (StoreTarget target : {smallTarget(1320, 2868), smallTarget(2868, 1320), smallTarget(2064, 2752)}) {
    for (int count : {1, 2, 12, 36, 37, 150, 999, 5000, 40000}) {
      const ContactSheet::Geometry g = ContactSheet::geometry(target, 900, count);
      EXPECT_LE(g.width, ContactSheet::maxSide) << count;
      EXPECT_LE(g.height, ContactSheet::maxSide) << count;
      EXPECT_LE(int64_t(g.width) * g.height, ContactSheet::maxPixels) << count;
      EXPECT_GE(g.rows * g.columns, count);
      EXPECT_LT((g.rows - 1) * g.columns, count) << "no empty row";
      EXPECT_LE(g.tileX(count - 1) + g.tileWidth, g.width);
      EXPECT_LE(g.tileY(count - 1) + g.tileHeight, g.height);
    }
  }
}

TEST(ContactSheet, SetThatFitsOneRowStaysInOneRowAtItsTileHeight) {
  StoreTarget target = smallTarget(1320, 2868);
  const ContactSheet::Geometry g = ContactSheet::geometry(target, 900, 10);
  EXPECT_EQ(g.rows, 1);
  EXPECT_EQ(g.columns, 10);
  EXPECT_EQ(g.tileHeight, 900);
  EXPECT_EQ(g.width, 30 + 10 * 444);
  EXPECT_EQ(g.height, 960);
}

}  // namespace
}  // namespace vorno::contact_sheet_test
