#include "kit/util/geometry.h"
#include "kit/model/fill.h"

#include <gtest/gtest.h>

#include <functional>

#include "kit/model/coding.h"
#include "kit/model/paint_coding.h"

namespace vorno::fill_test {
namespace {

DecodingError errorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const DecodingError& error) {
    return error;
  }
  ADD_FAILURE() << "no DecodingError";
  return DecodingError(DecodingError::Kind::dataCorrupted, "", "");
}

// Reads the fill under "background", so that errors carry a path to check.
Fill readFill(const std::string& json) {
  Json doc = parseJSON(R"({"background": )" + json + "}");
  return Reader(doc).get<Fill>("background");
}

DecodingError fillError(const std::string& json) {
  return errorOf([&] { readFill(json); });
}

RGBColor color(const char* hex) { return *RGBColor::fromHex(hex); }

void expectColor(const RGBColor& actual, double r, double g, double b, double a = 1) {
  EXPECT_NEAR(actual.r, r, 1e-9);
  EXPECT_NEAR(actual.g, g, 1e-9);
  EXPECT_NEAR(actual.b, b, 1e-9);
  EXPECT_NEAR(actual.a, a, 1e-9);
}

// Colour coding.

TEST(ColorCoding, ReadsAndWritesTheHexString) {
  Json doc = parseJSON(R"({"accent": "#ff8000"})");
  RGBColor accent = Reader(doc).get<RGBColor>("accent");
  EXPECT_EQ(accent, color("#FF8000"));
  EXPECT_EQ(ObjectWriter().put("accent", accent).done(), parseJSON(R"({"accent": "#FF8000"})"));
}

TEST(ColorCoding, ThreeDigitShorthandAtColourPositionIsInvalidColor) {
  Json doc = parseJSON(R"({"accent": "#FFF"})");
  auto error = errorOf([&] { Reader(doc).get<RGBColor>("accent"); });
  EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error.path(), ".accent");
  EXPECT_EQ(error.detail(), "Invalid color #FFF. Use #RRGGBB.");
}

TEST(ColorCoding, ColourMustBeAString) {
  Json doc = parseJSON(R"({"accent": 16777215})");
  auto error = errorOf([&] { Reader(doc).get<RGBColor>("accent"); });
  EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
  EXPECT_EQ(error.summary(), "expected String at .accent");
}

// Fill coding: the edge cases of the readers and writers.

TEST(FillCoding, LowerCaseAndPaddedColourStringsReadAsSolidFills) {
  EXPECT_EQ(readFill(R"("#ffffff")"), Fill::solid(RGBColor::white()));
  EXPECT_EQ(readFill(R"("  #FFFFFF ")"), Fill::solid(RGBColor::white()));
}

TEST(FillCoding, ThreeDigitShorthandAtFillPositionIsDictionaryMismatch) {
  auto error = fillError(R"("#FFF")");
  EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
  EXPECT_EQ(error.summary(), "expected Dictionary at .background");
}

TEST(FillCoding, NumberAtFillPositionIsDictionaryMismatch) {
  EXPECT_EQ(fillError("12").summary(), "expected Dictionary at .background");
}

TEST(FillCoding, LinearWithOneColorFailsWithLinearSentence) {
  auto error = fillError(R"({"linear": ["#000000"]})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error.path(), ".background.linear");
  EXPECT_EQ(error.summary(), "A linear fill needs at least 2 colors. at .background.linear");
}

TEST(FillCoding, EmptyRadialFailsWithRadialSentence) {
  auto error = fillError(R"({"radial": []})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error.path(), ".background.radial");
  EXPECT_EQ(error.detail(), "A radial fill needs at least 2 colors.");
}

TEST(FillCoding, CenterWithOneNumberFailsWithCenterSentence) {
  auto error = fillError(R"({"radial": ["#000000", "#FFFFFF"], "center": [0.5]})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error.path(), ".background.center");
  EXPECT_EQ(error.detail(), "center is [x, y].");
}

TEST(FillCoding, CenterWithThreeNumbersFailsToo) {
  EXPECT_EQ(fillError(R"({"radial": ["#000000", "#FFFFFF"], "center": [0.1, 0.2, 0.3]})").detail(),
            "center is [x, y].");
}

TEST(FillCoding, ZeroRadiusReadsAsMinimum) {
  Fill fill = readFill(R"({"radial": ["#000000", "#FFFFFF"], "radius": 0})");
  ASSERT_TRUE(fill.radial());
  EXPECT_DOUBLE_EQ(fill.radial()->radius, 0.01);
  EXPECT_DOUBLE_EQ(readFill(R"({"radial": ["#000000", "#FFFFFF"], "radius": -4})").radial()->radius, 0.01);
}

TEST(FillCoding, RadialDefaultsCenterAndRadius) {
  Fill fill = readFill(R"({"radial": ["#FFE2C7", "#E4560F"]})");
  ASSERT_TRUE(fill.radial());
  EXPECT_EQ(fill.radial()->colors, (std::vector{color("#FFE2C7"), color("#E4560F")}));
  EXPECT_DOUBLE_EQ(fill.radial()->x, 0.5);
  EXPECT_DOUBLE_EQ(fill.radial()->y, 0.5);
  EXPECT_DOUBLE_EQ(fill.radial()->radius, 0.75);
}

TEST(FillCoding, RadialReadsCenterAndRadius) {
  Fill fill = readFill(R"({"radial": ["#FFE2C7", "#E4560F"], "center": [0.5, 0.25], "radius": 0.9})");
  ASSERT_TRUE(fill.radial());
  EXPECT_DOUBLE_EQ(fill.radial()->x, 0.5);
  EXPECT_DOUBLE_EQ(fill.radial()->y, 0.25);
  EXPECT_DOUBLE_EQ(fill.radial()->radius, 0.9);
}

TEST(FillCoding, AngleWithoutColorsIsMissingLinear) {
  auto error = fillError(R"({"angle": 90})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::keyNotFound);
  EXPECT_EQ(error.detail(), "linear");
  EXPECT_EQ(error.summary(), "missing linear at .background");
}

TEST(FillCoding, LinearDefaultsAngleTo180) {
  Fill fill = readFill(R"({"linear": ["#FFD9C2", "#F2A07B"]})");
  ASSERT_TRUE(fill.linear());
  EXPECT_DOUBLE_EQ(fill.linear()->angle, 180);
  EXPECT_DOUBLE_EQ(readFill(R"({"linear": ["#FFD9C2", "#F2A07B"], "angle": 170})").linear()->angle, 170);
}

TEST(FillCoding, BadColourInsideARampIsAnInvalidColorAtItsIndex) {
  auto error = fillError(R"({"linear": ["#000000", "#FFF"]})");
  EXPECT_EQ(error.summary(), "Invalid color #FFF. Use #RRGGBB. at .background.linear[1]");
}

TEST(FillCoding, ImageWinsOverRadialAndRadialOverLinear) {
  Fill both = readFill(R"({"image": "a.png", "radial": ["#000000", "#FFFFFF"], "linear": ["#000000", "#FFFFFF"]})");
  ASSERT_TRUE(both.image());
  EXPECT_EQ(both.image()->path, "a.png");
  Fill ramps = readFill(R"({"radial": ["#000000", "#FFFFFF"], "linear": ["#000000"]})");
  EXPECT_TRUE(ramps.radial());
}

TEST(FillCoding, ImageDimAboveOneIsClampedToOne) {
  Fill fill = readFill(R"({"image": "x.png", "dim": 3})");
  ASSERT_TRUE(fill.image());
  EXPECT_DOUBLE_EQ(fill.image()->dim, 1);
}

TEST(FillCoding, ImageBlurBelowZeroIsClampedToZero) {
  EXPECT_DOUBLE_EQ(readFill(R"({"image": "x.png", "blur": -0.5})").image()->blur, 0);
}

TEST(FillCoding, ImageFillReadsItsFieldsAndDefaults) {
  Fill fill = readFill(R"({"image": "assets/bg.jpg", "fit": "contain", "dim": 0.25, "blur": 0.4})");
  ASSERT_TRUE(fill.image());
  EXPECT_EQ(*fill.image(), (ImageFill{"assets/bg.jpg", ImageFill::Fit::contain, 0.25, 0.4}));
  EXPECT_EQ(*readFill(R"({"image": "x.png"})").image(), (ImageFill{"x.png", ImageFill::Fit::cover, 0, 0}));
}

TEST(FillCoding, ImageWithUnknownFitIsAnError) {
  auto error = fillError(R"({"image": "x.png", "fit": "stretch"})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(error.path(), ".background.fit");
}

TEST(FillCoding, DefaultImageFillWritesOnlyImage) {
  Fill fill{ImageFill{"x.png", ImageFill::Fit::cover, 0, 0}};
  EXPECT_EQ(Coding<Fill>::write(fill), parseJSON(R"({"image": "x.png"})"));
}

TEST(FillCoding, ImageFillWritesContainDimAndBlur) {
  Fill fill{ImageFill{"x.png", ImageFill::Fit::contain, 0.25, 0.5}};
  EXPECT_EQ(Coding<Fill>::write(fill), parseJSON(R"({"image": "x.png", "fit": "contain", "dim": 0.25, "blur": 0.5})"));
}

TEST(FillCoding, SolidWritesTheBareColourString) {
  EXPECT_EQ(Coding<Fill>::write(Fill::solid(color("#ffe8d6"))), Json("#FFE8D6"));
}

TEST(FillCoding, LinearWritesColorsAndAngleAlways) {
  Fill fill{LinearFill{{color("#FFD9C2"), color("#F2A07B")}, 180}};
  EXPECT_EQ(Coding<Fill>::write(fill), parseJSON(R"({"linear": ["#FFD9C2", "#F2A07B"], "angle": 180})"));
}

TEST(FillCoding, RadialWritesColorsCenterAndRadiusAlways) {
  Fill fill{RadialFill{{color("#FFE2C7"), color("#E4560F")}, 0.5, 0.5, 0.75}};
  EXPECT_EQ(Coding<Fill>::write(fill),
            parseJSON(R"({"radial": ["#FFE2C7", "#E4560F"], "center": [0.5, 0.5], "radius": 0.75})"));
}

TEST(FillCoding, EveryFormRoundTrips) {
  std::vector<Fill> fills = {
      Fill::solid(color("#11223344")),
      Fill{LinearFill{{color("#000000"), color("#808080"), color("#FFFFFF")}, 33}},
      Fill{RadialFill{{color("#000000"), color("#FFFFFF")}, 0.2, 0.7, 1.5}},
      Fill{ImageFill{"assets/bg.jpg", ImageFill::Fit::contain, 0.5, 0.125}},
  };
  for (const Fill& fill : fills) {
    Json written = Coding<Fill>::write(fill);
    EXPECT_EQ(Reader(written).decode<Fill>(), fill) << written.dump();
  }
}

TEST(FillCoding, NullRadialIsReportedAtRadial) {
  auto error = fillError(R"({"radial": null, "linear": ["#000000", "#FFFFFF"]})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::valueNotFound);
  EXPECT_EQ(error.path(), ".background.radial");
}

// Ramps and sampling.

TEST(Fill, InterpolateSpacesStopsEvenly) {
  std::vector<RGBColor> ramp = {{0, 0, 0, 1}, {1, 0, 0, 1}, {1, 1, 0, 1}};
  expectColor(Fill::interpolate(ramp, 0), 0, 0, 0);
  expectColor(Fill::interpolate(ramp, 0.25), 0.5, 0, 0);
  expectColor(Fill::interpolate(ramp, 0.5), 1, 0, 0);
  expectColor(Fill::interpolate(ramp, 0.75), 1, 0.5, 0);
  expectColor(Fill::interpolate(ramp, 1), 1, 1, 0);
}

TEST(Fill, InterpolateClampsAndDropsAlpha) {
  std::vector<RGBColor> ramp = {{0.2, 0.4, 0.6, 0.1}, {1, 1, 1, 0.3}};
  expectColor(Fill::interpolate(ramp, -3), 0.2, 0.4, 0.6, 1);
  expectColor(Fill::interpolate(ramp, 7), 1, 1, 1, 1);
}

TEST(Fill, SolidSamplesAndAveragesToItsColour) {
  RGBColor translucent{0.1, 0.2, 0.3, 0.4};
  Fill fill = Fill::solid(translucent);
  EXPECT_EQ(fill.sample(0.3, 0.9, {100, 50}), translucent);
  EXPECT_EQ(fill.averageColor(), translucent);
}

TEST(Fill, LinearAt180RunsTopToBottom) {
  Fill fill{LinearFill{{RGBColor::black(), RGBColor::white()}, 180}};
  Size box{300, 600};
  expectColor(fill.sample(0.5, 0, box), 0, 0, 0);
  expectColor(fill.sample(0.1, 0.25, box), 0.25, 0.25, 0.25);
  expectColor(fill.sample(0.9, 0.25, box), 0.25, 0.25, 0.25);
  expectColor(fill.sample(0.5, 1, box), 1, 1, 1);
}

TEST(Fill, LinearAt90RunsLeftToRight) {
  Fill fill{LinearFill{{RGBColor::black(), RGBColor::white()}, 90}};
  Size box{300, 600};
  expectColor(fill.sample(0, 0.5, box), 0, 0, 0);
  expectColor(fill.sample(0.75, 0.1, box), 0.75, 0.75, 0.75);
  expectColor(fill.sample(0.75, 0.9, box), 0.75, 0.75, 0.75);
  expectColor(fill.sample(1, 0.5, box), 1, 1, 1);
}

TEST(Fill, LinearDiagonalReachesBothEndsAtTheCorners) {
  // At 135 degrees the ramp runs from the top left to the bottom right corner of any box.
  Fill fill{LinearFill{{RGBColor::black(), RGBColor::white()}, 135}};
  Size box{200, 100};
  expectColor(fill.sample(0, 0, box), 0, 0, 0);
  expectColor(fill.sample(1, 1, box), 1, 1, 1);
  expectColor(fill.sample(0.5, 0.5, box), 0.5, 0.5, 0.5);
}

TEST(Fill, RadialGrowsFromTheCentreOverTheLongerSide) {
  Fill fill{RadialFill{{RGBColor::black(), RGBColor::white()}, 0.5, 0.25, 0.5}};
  Size box{200, 100};
  expectColor(fill.sample(0.5, 0.25, box), 0, 0, 0);
  // 50 points right of the centre, with a reach of 200 * 0.5 = 100.
  expectColor(fill.sample(0.75, 0.25, box), 0.5, 0.5, 0.5);
  // 25 points below the centre: the height counts in points too.
  expectColor(fill.sample(0.5, 0.5, box), 0.25, 0.25, 0.25);
  expectColor(fill.sample(1, 1, box), 1, 1, 1);
}

TEST(Fill, AverageOfRampsIsThePlainMeanOfColours) {
  std::vector<RGBColor> colors = {{0, 0, 0, 0.2}, {0, 0, 0, 1}, {0.9, 0.6, 0.3, 0.5}};
  expectColor(Fill{LinearFill{colors, 180}}.averageColor(), 0.3, 0.2, 0.1, 1);
  expectColor(Fill{RadialFill{colors, 0.5, 0.5, 0.75}}.averageColor(), 0.3, 0.2, 0.1, 1);
}

TEST(Fill, ResolvedJoinsRelativeImagePathsToTheRoot) {
  Fill relative{ImageFill{"assets/bg.jpg", ImageFill::Fit::contain, 0.5, 0}};
  Fill resolved = relative.resolved("/work/App.vorno");
  ASSERT_TRUE(resolved.image());
  EXPECT_EQ(resolved.image()->path, "/work/App.vorno/assets/bg.jpg");
  EXPECT_EQ(resolved.image()->fit, ImageFill::Fit::contain);
  EXPECT_EQ(resolved.image()->dim, 0.5);
}

TEST(Fill, ResolvedLeavesAbsolutePathsAndOtherFillsAlone) {
  Fill absolute{ImageFill{"/tmp/bg.png"}};
  EXPECT_EQ(absolute.resolved("/work/App.vorno"), absolute);
  Fill solid = Fill::solid(RGBColor::white());
  EXPECT_EQ(solid.resolved("/work/App.vorno"), solid);
}

TEST(ImageFill, CoverPlacementFillsTheRectCentred) {
  ImageFill fill{"x.png", ImageFill::Fit::cover};
  EXPECT_EQ(fill.placement({100, 50}, {0, 0, 200, 200}), (Rect{-100, 0, 400, 200}));
  EXPECT_EQ(fill.placement({50, 100}, {10, 20, 200, 100}), (Rect{10, -130, 200, 400}));
}

TEST(ImageFill, ContainPlacementFitsInsideCentred) {
  ImageFill fill{"x.png", ImageFill::Fit::contain};
  EXPECT_EQ(fill.placement({100, 50}, {0, 0, 200, 200}), (Rect{0, 50, 200, 100}));
  EXPECT_EQ(fill.placement({50, 100}, {10, 20, 200, 100}), (Rect{85, 20, 50, 100}));
}

}  // namespace
}  // namespace vorno::fill_test
