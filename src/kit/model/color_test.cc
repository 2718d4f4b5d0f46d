#include "kit/model/color.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorno::color_test {
namespace {

void expectColor(const RGBColor& actual, double r, double g, double b, double a = 1) {
  EXPECT_NEAR(actual.r, r, 1e-9);
  EXPECT_NEAR(actual.g, g, 1e-9);
  EXPECT_NEAR(actual.b, b, 1e-9);
  EXPECT_NEAR(actual.a, a, 1e-9);
}

TEST(RGBColor, LowerCasePaddedAndHashlessHexAllParseToWhite) {
  for (const char* text : {"#ffffff", "  #FFFFFF ", "FFFFFF"}) {
    auto color = RGBColor::fromHex(text);
    ASSERT_TRUE(color.has_value()) << text;
    EXPECT_EQ(*color, RGBColor::white()) << text;
  }
}

TEST(RGBColor, TabsAndUnicodeSpacesAreTrimmed) {
  EXPECT_EQ(RGBColor::fromHex("\t#000000\t"), RGBColor::black());
  EXPECT_EQ(RGBColor::fromHex("\xC2\xA0#000000\xE3\x80\x80"), RGBColor::black());
}

TEST(RGBColor, LineBreaksAreNotTrimmed) {
  EXPECT_FALSE(RGBColor::fromHex("#FFFFFF\n").has_value());
  EXPECT_FALSE(RGBColor::fromHex("\r\nFFFFFF").has_value());
}

TEST(RGBColor, ThreeDigitShorthandIsRefused) {
  EXPECT_FALSE(RGBColor::fromHex("#FFF").has_value());
  EXPECT_FALSE(RGBColor::fromHex("FFF").has_value());
}

TEST(RGBColor, OtherLengthsAndNonHexDigitsAreRefused) {
  EXPECT_FALSE(RGBColor::fromHex("").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#FFFFF").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#FFFFFFF").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#FFFFFFFFF").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#GGGGGG").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#+FFFFF").has_value());
  EXPECT_FALSE(RGBColor::fromHex("##FFFFFF").has_value());
  EXPECT_FALSE(RGBColor::fromHex("#FF FFFF").has_value());
}

TEST(RGBColor, ChannelsAreBytesOver255) {
  auto color = RGBColor::fromHex("#FF8000");
  ASSERT_TRUE(color);
  expectColor(*color, 1, 128.0 / 255, 0, 1);
  auto mixedCase = RGBColor::fromHex("#aBcDeF");
  ASSERT_TRUE(mixedCase);
  expectColor(*mixedCase, 0xAB / 255.0, 0xCD / 255.0, 0xEF / 255.0, 1);
}

TEST(RGBColor, EightDigitsCarryAlphaAndWriteItBack) {
  auto color = RGBColor::fromHex("#FFFFFF33");
  ASSERT_TRUE(color);
  expectColor(*color, 1, 1, 1, 0x33 / 255.0);
  EXPECT_EQ(color->hex(), "#FFFFFF33");
}

TEST(RGBColor, OpaqueEightDigitsWriteBackWithoutAlphaPair) {
  auto color = RGBColor::fromHex("#FFFFFFFF");
  ASSERT_TRUE(color);
  EXPECT_EQ(color->a, 1);
  EXPECT_EQ(color->hex(), "#FFFFFF");
}

TEST(RGBColor, HexIsUpperCaseAndRoundsChannels) {
  EXPECT_EQ(RGBColor::fromHex("#ffe8d6")->hex(), "#FFE8D6");
  EXPECT_EQ((RGBColor{0.5, 0.1, 0.999, 1}).hex(), "#801AFF");
  EXPECT_EQ((RGBColor{0, 0, 0, 0}).hex(), "#00000000");
}

TEST(RGBColor, LuminanceFollowsRelativeLuminance) {
  EXPECT_DOUBLE_EQ(RGBColor::white().luminance(), 1);
  EXPECT_DOUBLE_EQ(RGBColor::black().luminance(), 0);
  // Pure green weighs 0.7152; a dark channel uses the linear segment.
  EXPECT_NEAR((RGBColor{0, 1, 0, 1}).luminance(), 0.7152, 1e-12);
  EXPECT_NEAR((RGBColor{0.03, 0.03, 0.03, 1}).luminance(), 0.03 / 12.92, 1e-12);
  EXPECT_NEAR((RGBColor{0.5, 0.5, 0.5, 1}).luminance(), std::pow(0.555 / 1.055, 2.4), 1e-12);
}

TEST(RGBColor, LuminanceIgnoresAlpha) {
  EXPECT_EQ((RGBColor{0.2, 0.4, 0.6, 0.1}).luminance(), (RGBColor{0.2, 0.4, 0.6, 1}).luminance());
}

TEST(RGBColor, ContrastOfBlackAndWhiteIs21EitherWay) {
  EXPECT_DOUBLE_EQ(RGBColor::black().contrast(RGBColor::white()), 21);
  EXPECT_DOUBLE_EQ(RGBColor::white().contrast(RGBColor::black()), 21);
  EXPECT_DOUBLE_EQ(RGBColor::white().contrast(RGBColor::white()), 1);
  EXPECT_DOUBLE_EQ((RGBColor{1, 1, 1, 0}).contrast(RGBColor::black()), 21);
}

TEST(RGBColor, AdjustedReturnsNothingWhenNeitherBlackNorWhiteReachesTheTarget) {
  // Against a middle grey, black reaches about 4.7 and white about 4.5.
  RGBColor grey = *RGBColor::fromHex("#777777");
  EXPECT_LT(RGBColor::black().contrast(grey), 5);
  EXPECT_LT(RGBColor::white().contrast(grey), 5);
  EXPECT_FALSE(grey.adjusted(5, grey).has_value());
  EXPECT_FALSE(RGBColor::white().adjusted(22, RGBColor::black()).has_value());
}

TEST(RGBColor, AdjustedKeepsAColourThatAlreadyReachesWithAlphaOne) {
  RGBColor text{0.1, 0.2, 0.3, 0.4};
  auto result = text.adjusted(4.5, RGBColor::white());
  ASSERT_TRUE(result);
  expectColor(*result, 0.1, 0.2, 0.3, 1);
}

TEST(RGBColor, AdjustedDarkensByTheSmallestHundredth) {
  // #999999 on white needs luminance at most 0.1833, a channel of about 0.4653: t = 0.23.
  RGBColor text{0.6, 0.6, 0.6, 1};
  auto result = text.adjusted(4.5, RGBColor::white());
  ASSERT_TRUE(result);
  expectColor(*result, 0.6 * 0.77, 0.6 * 0.77, 0.6 * 0.77, 1);
  EXPECT_GE(result->contrast(RGBColor::white()), 4.5);
  EXPECT_LT(text.mixed(RGBColor::black(), 0.22).contrast(RGBColor::white()), 4.5);
}

TEST(RGBColor, AdjustedLightensWhenOnlyWhiteReaches) {
  // #666666 on black: darkening never helps; white needs a channel of about 0.5838: t = 0.31.
  RGBColor text{0.4, 0.4, 0.4, 1};
  auto result = text.adjusted(7, RGBColor::black());
  ASSERT_TRUE(result);
  expectColor(*result, 0.4 + 0.6 * 0.31, 0.4 + 0.6 * 0.31, 0.4 + 0.6 * 0.31, 1);
  EXPECT_LT(text.mixed(RGBColor::white(), 0.30).contrast(RGBColor::black()), 7);
}

TEST(RGBColor, AdjustedPrefersThePoleWithTheSmallerStep) {
  // On a middle grey both poles reach 3:1. A light text gets there sooner toward white
  // (t = 0.52 against 0.73), a dark one sooner toward black (t = 0.45 against 0.73).
  RGBColor background{0.45, 0.45, 0.45, 1};
  ASSERT_GE(RGBColor::black().contrast(background), 3);
  ASSERT_GE(RGBColor::white().contrast(background), 3);

  auto light = (RGBColor{0.6, 0.6, 0.6, 1}).adjusted(3, background);
  ASSERT_TRUE(light);
  expectColor(*light, 0.6 + 0.4 * 0.52, 0.6 + 0.4 * 0.52, 0.6 + 0.4 * 0.52, 1);

  auto dark = (RGBColor{0.3, 0.3, 0.3, 1}).adjusted(3, background);
  ASSERT_TRUE(dark);
  expectColor(*dark, 0.3 * 0.55, 0.3 * 0.55, 0.3 * 0.55, 1);
}

TEST(RGBColor, MixedMovesAllFourChannels) {
  RGBColor from{0, 0.2, 0.4, 0};
  expectColor(from.mixed(RGBColor::white(), 0.5), 0.5, 0.6, 0.7, 0.5);
}

TEST(RGBColor, MixedClampsTheAmount) {
  RGBColor from{0.2, 0.4, 0.6, 0.8};
  EXPECT_EQ(from.mixed(RGBColor::white(), 2), RGBColor::white());
  EXPECT_EQ(from.mixed(RGBColor::white(), -1), from);
}

}  // namespace
}  // namespace vorno::color_test
