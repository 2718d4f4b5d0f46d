#include "kit/devices/builtin_specs.h"

#include <gtest/gtest.h>

namespace vorno::builtin_specs_test {
namespace {

using Side = FrameSpec::Button::Side;

TEST(BuiltinSpecsSlug, NamesBecomeIds) {
  EXPECT_EQ(BuiltinSpecs::slug("iPad Pro 13-inch (M5)"), "ipad-pro-13-inch-m5");
  EXPECT_EQ(BuiltinSpecs::slug("iPhone Duo (closed)"), "iphone-duo-closed");
  EXPECT_EQ(BuiltinSpecs::slug("Android Tablet 10\u2033"), "android-tablet-10in");
  EXPECT_EQ(BuiltinSpecs::slug("Tablet 12\""), "tablet-12in");
  EXPECT_EQ(BuiltinSpecs::slug("  --iPhone 17--  "), "iphone-17");
  EXPECT_EQ(BuiltinSpecs::slug("Téléphone Ünö"), "telephone-uno");
  EXPECT_EQ(BuiltinSpecs::slug(""), "");
  EXPECT_EQ(BuiltinSpecs::slug("()"), "");
}

TEST(BuiltinSpecsApple, MemoryVariantsAndOtherDevicesGiveNothing) {
  EXPECT_FALSE(BuiltinSpecs::apple("iPad Pro 13-inch (M4) (16GB)"));
  EXPECT_FALSE(BuiltinSpecs::apple("Apple Watch Series 10 (46mm)"));
  EXPECT_FALSE(BuiltinSpecs::apple("Apple TV 4K (3rd generation)"));
}

TEST(BuiltinSpecsApple, IpadBezelsByKind) {
  EXPECT_EQ(BuiltinSpecs::apple("iPad Pro 11-inch (M4)")->bezel, 40);
  EXPECT_EQ(BuiltinSpecs::apple("iPad mini (A17 Pro)")->bezel, 40);  // "Pro" is tested first
  EXPECT_EQ(BuiltinSpecs::apple("iPad mini (6th generation)")->bezel, 34);
  auto air = BuiltinSpecs::apple("iPad Air 11-inch (M3)");
  ASSERT_TRUE(air);
  EXPECT_EQ(air->bezel, 44);
  EXPECT_EQ(air->band, 2.5);
  EXPECT_FALSE(air->island);
  EXPECT_FALSE(air->punchHole);
  EXPECT_EQ(air->buttons, (std::vector<FrameSpec::Button>{{Side::top, 0.78, 0.07}}));
  EXPECT_EQ(air->defaultFinish, "graphite");
  EXPECT_EQ(air->finishes, (std::vector<std::string>{"graphite", "silver"}));
}

TEST(BuiltinSpecsApple, IphoneProSeventeenHasIslandFiveButtonsAndNewFinishes) {
  auto spec = BuiltinSpecs::apple("iPhone 17 Pro Max");
  ASSERT_TRUE(spec);
  EXPECT_EQ(spec->bezel, 10.5);
  EXPECT_EQ(spec->band, 5);
  ASSERT_TRUE(spec->island);
  EXPECT_EQ(*spec->island, (FrameSpec::Island{126.0, 37.33, 11.0}));
  EXPECT_EQ(spec->buttons.size(), 5u);
  EXPECT_EQ(spec->buttons[4], (FrameSpec::Button{Side::right, 0.545, 0.07}));
  EXPECT_EQ(spec->finishes, (std::vector<std::string>{"deep-blue", "cosmic-orange", "silver"}));
  EXPECT_EQ(spec->defaultFinish, "deep-blue");
  EXPECT_FALSE(spec->bodyRadius);
  EXPECT_FALSE(spec->edge);
  EXPECT_FALSE(spec->hinge);
}

TEST(BuiltinSpecsApple, OlderAndPlainIphones) {
  auto pro15 = BuiltinSpecs::apple("iPhone 15 Pro");
  EXPECT_EQ(pro15->buttons.size(), 4u);
  EXPECT_EQ(pro15->finishes, (std::vector<std::string>{"natural", "black", "silver"}));
  EXPECT_TRUE(pro15->island);

  auto plain14 = BuiltinSpecs::apple("iPhone 14");
  EXPECT_FALSE(plain14->island);
  EXPECT_EQ(plain14->bezel, 11.5);
  EXPECT_EQ(plain14->finishes, (std::vector<std::string>{"black", "silver", "porcelain"}));
  EXPECT_TRUE(BuiltinSpecs::apple("iPhone 14 Pro")->island);
  EXPECT_FALSE(BuiltinSpecs::apple("iPhone 16e")->island);
  EXPECT_EQ(BuiltinSpecs::apple("iPhone 16e")->buttons.size(), 5u);
  EXPECT_FALSE(BuiltinSpecs::apple("iPhone SE (3rd generation)")->island);
  EXPECT_EQ(BuiltinSpecs::apple("iPhone SE (3rd generation)")->buttons.size(), 4u);
  // No model number: four buttons, but an island.
  auto air = BuiltinSpecs::apple("iPhone Air");
  EXPECT_TRUE(air->island);
  EXPECT_EQ(air->buttons.size(), 4u);
}

TEST(BuiltinSpecsApple, DuoNamesGiveTheTwoStates) {
  EXPECT_EQ(BuiltinSpecs::apple("iPhone Duo"), BuiltinSpecs::duoOpen());
  EXPECT_EQ(BuiltinSpecs::apple("iPhone Duo (closed)"), BuiltinSpecs::duoClosed());
  const FrameSpec& open = BuiltinSpecs::duoOpen();
  EXPECT_EQ(open.fold, 0.5);
  EXPECT_EQ(open.landscape, FrameTurn::clockwise);
  const FrameSpec& closed = BuiltinSpecs::duoClosed();
  ASSERT_TRUE(closed.hinge);
  EXPECT_EQ(closed.hinge->side, FrameSpec::Hinge::Side::left);
  EXPECT_EQ(closed.hinge->thickness, 9.67);
  EXPECT_EQ(closed.punchHole, (FrameSpec::PunchHole{36, 29.67, 418.33}));
}

TEST(BuiltinSpecsFallback, ElevenFramesInTableOrder) {
  const auto& frames = BuiltinSpecs::fallbackFrames();
  std::vector<std::string> ids;
  for (const auto& f : frames) ids.push_back(f.id);
  EXPECT_EQ(ids, (std::vector<std::string>{"iphone-duo", "iphone-duo-closed", "iphone-17-pro-max", "iphone-17-pro",
                                           "ipad-pro-13-inch-m5", "pixel-11-pro", "pixel-11-pro-xl", "galaxy-s26-ultra",
                                           "galaxy-s26", "pixel-9-pro", "android-tablet-10in"}));
  for (const auto& f : frames) {
    EXPECT_EQ(f.source, DeviceFrame::Source::builtin) << f.id;
    EXPECT_FALSE(f.maskPDFPath || f.overlay || f.crop || f.outline || f.turn) << f.id;
    EXPECT_LT(f.screenWidth, f.screenHeight) << f.id;
  }
  // Built-in ids are what the names slug to.
  for (const auto& f : frames) EXPECT_EQ(BuiltinSpecs::slug(f.name), f.id);

  const DeviceFrame& ultra = frames[7];
  EXPECT_EQ(ultra.scale, 3.495);
  EXPECT_EQ(ultra.screenCornerRadius, 104);
  EXPECT_EQ(ultra.spec.edge, FrameSpec::Edge::flat);
  EXPECT_EQ(ultra.spec.bodyRadius, 31);
  EXPECT_EQ(ultra.spec.punchHole, (FrameSpec::PunchHole{12, 9, std::nullopt}));
  EXPECT_EQ(ultra.spec.defaultFinish, "titanium-black");
  EXPECT_EQ(ultra.spec.finishes.size(), 4u);

  const DeviceFrame& tablet = frames[10];
  EXPECT_EQ(tablet.name, "Android Tablet 10\u2033");
  EXPECT_EQ(tablet.family, DeviceFamily::tablet);
  EXPECT_EQ(tablet.spec.punchHole->top, -18);
  EXPECT_FALSE(tablet.spec.edge);
  EXPECT_FALSE(tablet.spec.bodyRadius);
  EXPECT_EQ(frames[4].spec, *BuiltinSpecs::apple("iPad Pro 13-inch (M5)"));
}

}  // namespace
}  // namespace vorno::builtin_specs_test
