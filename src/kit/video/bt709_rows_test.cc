#include "kit/video/bt709_rows.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace vorno::bt709_rows_test {
namespace {

struct YCbCr {
  int y, cb, cr;
  bool operator==(const YCbCr&) const = default;
};

// A 2 × 2 picture of one colour, converted: its four luma samples agree, so the first one speaks.
YCbCr codesOf(uint32_t rgb) {
  std::array<uint32_t, 4> pixels;
  pixels.fill(0xff000000u | rgb);
  std::array<uint8_t, 4> luma{};
  uint8_t cb = 0, cr = 0;
  uint8_t* const planes[3] = {luma.data(), &cb, &cr};
  const int strides[3] = {2, 1, 1};
  Bt709Rows::toYuv420(reinterpret_cast<const uint8_t*>(pixels.data()), 8, 2, 2, 0, 2, planes, strides);
  EXPECT_EQ(luma[0], luma[3]);
  return {luma[0], cb, cr};
}

TEST(Bt709Rows, BlackWhiteAndGreyAreTheLimitedRangeCodes) {
  EXPECT_EQ(codesOf(0x000000), (YCbCr{16, 128, 128}));
  EXPECT_EQ(codesOf(0xffffff), (YCbCr{235, 128, 128}));
  EXPECT_EQ(codesOf(0x808080), (YCbCr{126, 128, 128}));
}

TEST(Bt709Rows, PrimariesLandOnTheirBT709Codes) {
  // 16 + 219 Kr, 128 − 112 Kr / (1 − Kb), 240 for red, with Kr = 0.2126 and Kb = 0.0722; and so on.
  EXPECT_EQ(codesOf(0xff0000), (YCbCr{63, 102, 240}));
  EXPECT_EQ(codesOf(0x00ff00), (YCbCr{173, 42, 26}));
  EXPECT_EQ(codesOf(0x0000ff), (YCbCr{32, 240, 118}));
}

TEST(Bt709Rows, ColourIsTheMeanOfEachTwoByTwoBlock) {
  // Left block: black over white; right block: all red. Chroma is per block, luma per pixel.
  std::vector<uint32_t> pixels = {0xff000000, 0xff000000, 0xffff0000, 0xffff0000,
                                  0xffffffff, 0xffffffff, 0xffff0000, 0xffff0000};
  std::array<uint8_t, 8> luma{};
  std::array<uint8_t, 2> cb{}, cr{};
  uint8_t* const planes[3] = {luma.data(), cb.data(), cr.data()};
  const int strides[3] = {4, 2, 2};
  Bt709Rows::toYuv420(reinterpret_cast<const uint8_t*>(pixels.data()), 16, 4, 2, 0, 2, planes, strides);
  EXPECT_EQ(luma, (std::array<uint8_t, 8>{16, 16, 63, 63, 235, 235, 63, 63}));
  EXPECT_EQ(cb, (std::array<uint8_t, 2>{128, 102}));
  EXPECT_EQ(cr, (std::array<uint8_t, 2>{128, 240}));
}

}  // namespace
}  // namespace vorno::bt709_rows_test
