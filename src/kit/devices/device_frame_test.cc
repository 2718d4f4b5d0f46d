#include "kit/devices/device_frame.h"
#include "kit/devices/device_frame_coding.h"

#include "kit/devices/builtin_specs.h"
#include "kit/model/codings.h"

#include <gtest/gtest.h>

namespace vorno::device_frame_test {
namespace {

DeviceFrame iphone17Pro() {
  for (const auto& frame : BuiltinSpecs::fallbackFrames())
    if (frame.id == "iphone-17-pro") return frame;
  ADD_FAILURE() << "no iphone-17-pro";
  return {};
}

TEST(DeviceFrameTurned, TurnedTwiceIsTheSameFrameWithOneLandscapeSuffix) {
  DeviceFrame once = iphone17Pro().turned();
  DeviceFrame twice = once.turned();
  EXPECT_EQ(once.id, "iphone-17-pro+landscape");
  EXPECT_EQ(twice, once);
  EXPECT_EQ(twice.id, "iphone-17-pro+landscape");
  // The screen stays portrait: it is the drawing that turns.
  EXPECT_EQ(twice.screenWidth, 1206);
  EXPECT_EQ(twice.screenHeight, 2622);
}

TEST(DeviceFrameTurned, WithoutLandscapeInSpecTurnsCounterclockwiseAndDuoOpenClockwise) {
  EXPECT_EQ(iphone17Pro().turned().turn, FrameTurn::counterclockwise);
  EXPECT_EQ(BuiltinSpecs::duoOpenFrame().turned().turn, FrameTurn::clockwise);
}

TEST(DeviceFrameTurned, CroppedOrOverlaidFramesStayAsTheyAre) {
  DeviceFrame detail = iphone17Pro().detail({0.1, 0.1, 0.5, 0.5}, 1206, 2622);
  EXPECT_EQ(detail.turned(), detail);
  DeviceFrame custom = iphone17Pro();
  custom.overlay = DeviceFrame::Overlay{"a.png", 100, 200, 10, 10};
  EXPECT_EQ(custom.turned(), custom);
}

TEST(DeviceFrameAspect, TurnedFrameInvertsTheAspect) {
  DeviceFrame frame = iphone17Pro();
  EXPECT_DOUBLE_EQ(frame.screenAspect(), 1206.0 / 2622.0);
  EXPECT_DOUBLE_EQ(frame.turned().screenAspect(), 2622.0 / 1206.0);
}

TEST(DeviceFrameDetail, CropXBeyondTheCaptureIsClampedTo098AndWidthTo002) {
  DeviceFrame detail = iphone17Pro().detail({1.5, 0, 0.5, 1}, 1206, 2622);
  ASSERT_TRUE(detail.crop);
  EXPECT_DOUBLE_EQ(detail.crop->x, 0.98);
  EXPECT_NEAR(detail.crop->width, 0.02, 1e-12);
  EXPECT_EQ(detail.screenWidth, 24);  // 0.02 x 1206 = 24.12
}

TEST(DeviceFrameDetail, WholeCaptureGivesSameSizeRadius8442AndFourDecimalId) {
  DeviceFrame detail = iphone17Pro().detail({0, 0, 1, 1}, 1206, 2622);
  EXPECT_EQ(detail.screenWidth, 1206);
  EXPECT_EQ(detail.screenHeight, 2622);
  EXPECT_NEAR(detail.screenCornerRadius, 84.42, 1e-9);
  EXPECT_EQ(detail.id, "iphone-17-pro+crop(0.0000,0.0000,1.0000,1.0000)");
  EXPECT_EQ(detail.name, "iPhone 17 Pro (detail)");
  // A bare screen: no body, no mask, the finishes kept.
  EXPECT_EQ(detail.spec.bezel, 0);
  EXPECT_EQ(detail.spec.band, 0);
  EXPECT_TRUE(detail.spec.buttons.empty());
  EXPECT_FALSE(detail.spec.island);
  EXPECT_EQ(detail.spec.finishes, (std::vector<std::string>{"deep-blue", "cosmic-orange", "silver"}));
  EXPECT_FALSE(detail.maskPDFPath);
  EXPECT_EQ(detail.scale, 3);
}

TEST(DeviceFrameScreenOnly, KeepsScreenAndFinishesDropsBody) {
  DeviceFrame frame = iphone17Pro();
  frame.maskPDFPath = "/x/mask.pdf";
  frame.outline = RGBColor::white();
  DeviceFrame bare = frame.screenOnly();
  EXPECT_EQ(bare.id, "iphone-17-pro+screen");
  EXPECT_EQ(bare.name, "iPhone 17 Pro (no frame)");
  EXPECT_EQ(bare.maskPDFPath, frame.maskPDFPath);
  EXPECT_EQ(bare.screenCornerRadius, 186);
  EXPECT_EQ(bare.spec.bezel, 0);
  EXPECT_TRUE(bare.spec.buttons.empty());
  EXPECT_FALSE(bare.spec.island);
  EXPECT_EQ(bare.spec.defaultFinish, "deep-blue");
  EXPECT_FALSE(bare.outline);
}

TEST(DeviceFrameOutlined, IdCarriesTheColourHex) {
  DeviceFrame ring = iphone17Pro().screenOnly().outlined(*RGBColor::fromHex("#ff8800"));
  EXPECT_EQ(ring.id, "iphone-17-pro+screen+ring(#FF8800)");
  EXPECT_EQ(ring.outline, RGBColor::fromHex("#FF8800"));
}

TEST(DeviceFrameCustomPath, UppercasePngIsCustomAndCatalogueIdIsNot) {
  EXPECT_TRUE(DeviceFrame::isCustomPath("frames/Phone.PNG"));
  EXPECT_FALSE(DeviceFrame::isCustomPath("iphone-17-pro"));
  EXPECT_TRUE(DeviceFrame::isCustomPath("a.webp"));
  EXPECT_TRUE(DeviceFrame::isCustomPath("b.TiFF"));
  EXPECT_FALSE(DeviceFrame::isCustomPath("b.tif"));
  EXPECT_FALSE(DeviceFrame::isCustomPath("frames.png/phone"));
  EXPECT_FALSE(DeviceFrame::isCustomPath(DeviceFrame::noFrame));
}

TEST(FrameSpecFinishes, SpecAlreadyListingFlatBlackHoldsItOnce) {
  FrameSpec spec;
  spec.finishes = {"graphite", "flat-black"};
  EXPECT_EQ(spec.allFinishes(), (std::vector<std::string>{"graphite", "flat-black", "flat-white"}));
  spec.finishes = {"silver"};
  EXPECT_EQ(spec.allFinishes(), (std::vector<std::string>{"silver", "flat-black", "flat-white"}));
}

TEST(FinishTable, SixteenFinishesNamedAndFlat) {
  EXPECT_EQ(Finish::all().size(), 16u);
  auto blue = Finish::named("deep-blue");
  ASSERT_TRUE(blue);
  EXPECT_EQ(blue->light.hex(), "#4A5C7A");
  EXPECT_EQ(blue->dark.hex(), "#1F2A3D");
  EXPECT_FALSE(Finish::named("gold"));
  EXPECT_FALSE(Finish::named(std::nullopt));
  EXPECT_TRUE(Finish::named("flat-white")->isFlat());
  EXPECT_FALSE(Finish::named("silver")->isFlat());
  EXPECT_EQ(Finish::named("flat-black")->light, Finish::named("flat-black")->dark);
  for (const auto& [id, finish] : Finish::all()) EXPECT_EQ(id, finish.id);
}

TEST(DeviceFrameCoding, RoundTripsEveryFieldAndLeavesAbsentOnesOut) {
  DeviceFrame closed = BuiltinSpecs::duoClosedFrame();
  closed.maskPDFPath = "/m/duo.pdf";
  closed.turn = FrameTurn::clockwise;
  closed.outline = *RGBColor::fromHex("#112233");
  closed.crop = CropRect{0.1, 0.2, 0.3, 0.4};
  closed.overlay = DeviceFrame::Overlay{"/f/p.png", 800, 1600, 40, 50};
  Json written = Coding<DeviceFrame>::write(closed);
  EXPECT_EQ(written["spec"]["hinge"]["side"], "left");
  EXPECT_EQ(written["spec"]["punchHole"]["x"], 418.33);
  EXPECT_EQ(written["turn"], "clockwise");
  EXPECT_EQ(written["source"], "builtin");
  EXPECT_EQ(Reader(written).decode<DeviceFrame>(), closed);

  Json plain = Coding<DeviceFrame>::write(BuiltinSpecs::fallbackFrames()[5]);  // pixel-11-pro
  for (const char* key : {"maskPDFPath", "overlay", "crop", "outline", "turn"}) EXPECT_FALSE(plain.contains(key)) << key;
  for (const char* key : {"island", "hinge", "fold", "landscape"}) EXPECT_FALSE(plain["spec"].contains(key)) << key;
  EXPECT_FALSE(plain["spec"]["punchHole"].contains("x"));
  EXPECT_EQ(plain["spec"]["edge"], "rounded");
  EXPECT_EQ(Reader(plain).decode<DeviceFrame>(), BuiltinSpecs::fallbackFrames()[5]);
}

TEST(FrameSpecCoding, RequiredFieldsMissingIsADecodingErrorAndOptionalsMayBeAbsent) {
  Json minimal = parseJSON(R"({"bezel": 1, "band": 2, "buttons": [], "defaultFinish": "black", "finishes": []})");
  FrameSpec spec = Reader(minimal).decode<FrameSpec>();
  EXPECT_EQ(spec.bezel, 1);
  EXPECT_FALSE(spec.edge);
  Json noFinishes = parseJSON(R"({"bezel": 1, "band": 2, "buttons": [], "defaultFinish": "black"})");
  EXPECT_THROW(Reader(noFinishes).decode<FrameSpec>(), DecodingError);
  Json badEdge = parseJSON(
      R"({"bezel": 1, "band": 2, "buttons": [], "defaultFinish": "black", "finishes": [], "edge": "chamfer"})");
  EXPECT_THROW(Reader(badEdge).decode<FrameSpec>(), DecodingError);
}

}  // namespace
}  // namespace vorno::device_frame_test
