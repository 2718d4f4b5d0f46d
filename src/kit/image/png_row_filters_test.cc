#include "kit/image/png_row_filters.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace vorno::png_row_filters_test {
namespace {

using Row = std::vector<uint8_t>;

// The decoder's side of each filter, written from the format's definition, to check that what
// the encoder writes comes back.
Row unfilter(PNGRowFilters::Type type, const Row& filtered, const Row& above, int channels) {
  Row row(filtered.size());
  for (size_t i = 0; i < row.size(); ++i) {
    const int a = i >= size_t(channels) ? row[i - channels] : 0, b = above[i],
              c = i >= size_t(channels) ? above[i - channels] : 0;
    int guess = 0;
    switch (type) {
      case PNGRowFilters::none: guess = 0; break;
      case PNGRowFilters::sub: guess = a; break;
      case PNGRowFilters::up: guess = b; break;
      case PNGRowFilters::average: guess = (a + b) / 2; break;
      case PNGRowFilters::paeth: {
        const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
        guess = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
        break;
      }
    }
    row[i] = uint8_t(filtered[i] + guess);
  }
  return row;
}

Row noise(size_t size, uint32_t seed) {
  Row row(size);
  for (auto& byte : row) byte = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
  return row;
}

TEST(PNGRowFilters, EveryFilterComesBackThroughTheDecodersInverse) {
  for (int channels : {3, 4})
    for (auto type : {PNGRowFilters::none, PNGRowFilters::sub, PNGRowFilters::up, PNGRowFilters::average,
                      PNGRowFilters::paeth}) {
      SCOPED_TRACE(::testing::Message() << "filter " << int(type) << ", " << channels << " channels");
      const Row row = noise(997 * channels, 1), above = noise(997 * channels, 2);
      Row out(row.size());
      PNGRowFilters::apply(type, row.data(), above.data(), row.size(), channels, out.data());
      EXPECT_EQ(unfilter(type, out, above, channels), row);
    }
}

TEST(PNGRowFilters, RowEqualToTheOneAboveTakesUpAndBecomesZeros) {
  const Row row = noise(300, 7);
  Row out(row.size(), 0xEE);
  EXPECT_EQ(PNGRowFilters::applyBest(row.data(), row.data(), row.size(), 3, out.data()), PNGRowFilters::up);
  EXPECT_EQ(out, Row(row.size(), 0));
}

TEST(PNGRowFilters, HorizontalRampUnderNoiseTakesSub) {
  Row row(3 * 600);
  for (size_t i = 0; i < row.size(); ++i) row[i] = uint8_t(i / 3);
  const Row above = noise(row.size(), 3);
  Row out(row.size());
  EXPECT_EQ(PNGRowFilters::applyBest(row.data(), above.data(), row.size(), 3, out.data()), PNGRowFilters::sub);
  EXPECT_EQ(unfilter(PNGRowFilters::sub, out, above, 3), row);
}

TEST(PNGRowFilters, RowUnrelatedToItsNeighboursStaysUnfiltered) {
  // Small values alternating from pixel to pixel under noise: every prediction only adds to them.
  Row row(3 * 500);
  for (size_t i = 0; i < row.size(); ++i) row[i] = uint8_t((i / 3) % 2 * 2);
  const Row above = noise(row.size(), 12);
  Row out(row.size());
  EXPECT_EQ(PNGRowFilters::applyBest(row.data(), above.data(), row.size(), 3, out.data()), PNGRowFilters::none);
  EXPECT_EQ(out, row);
}

TEST(PNGRowFilters, MagnitudeReadsBytesAsSigned) {
  const Row bytes = {0, 1, 255, 128, 127, 129};
  EXPECT_EQ(PNGRowFilters::magnitude(bytes.data(), bytes.size()), 0u + 1 + 1 + 128 + 127 + 127);
}

}  // namespace
}  // namespace vorno::png_row_filters_test
