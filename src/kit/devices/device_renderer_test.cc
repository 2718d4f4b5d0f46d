#include "kit/devices/device_renderer.h"

#include "kit/devices/builtin_specs.h"

#include <gtest/gtest.h>

namespace vorno {
namespace {

TEST(DeviceRendererInit, FinishFallsBackToTheSpecsDefaultThenBlack) {
  const DeviceFrame& pro = BuiltinSpecs::fallbackFrames()[3];
  EXPECT_EQ(DeviceRenderer(pro).finish().id, "deep-blue");
  EXPECT_EQ(DeviceRenderer(pro, Finish::named("silver")).finish().id, "silver");
  DeviceFrame odd = pro;
  odd.spec.defaultFinish = "gold";
  EXPECT_EQ(DeviceRenderer(odd).finish().id, "black");
  EXPECT_EQ(DeviceRenderer(odd).frame(), odd);
}

TEST(DeviceRendererSize, ScreenPlusBezelAndBandAtScale) {
  DeviceRenderer pro(BuiltinSpecs::fallbackFrames()[3]);  // 1206 by 2622, bezel 10.5, band 5, scale 3
  EXPECT_EQ(pro.nativeBodySize(), (Size{1206 + 2 * 3 * 15.5, 2622 + 2 * 3 * 15.5}));
  EXPECT_DOUBLE_EQ(pro.bodyAspect(), (1206 + 93.0) / (2622 + 93.0));
}

TEST(DeviceRendererSize, HingeWidensAndTurnSwaps) {
  DeviceRenderer closed(BuiltinSpecs::duoClosedFrame());  // bezel 10, band 6, hinge 9.67, scale 3
  Size size = closed.nativeBodySize();
  EXPECT_DOUBLE_EQ(size.width, 1398 + 2 * 3 * 16 + 3 * 9.67);
  EXPECT_DOUBLE_EQ(size.height, 2034 + 2 * 3 * 16);
  DeviceRenderer open(BuiltinSpecs::duoOpenFrame().turned());
  Size turned = open.nativeBodySize();
  EXPECT_DOUBLE_EQ(turned.width, 2853 + 2 * 3 * 20.67);
  EXPECT_DOUBLE_EQ(turned.height, 2007 + 2 * 3 * 20.67);
  EXPECT_GT(open.bodyAspect(), 1);
}

TEST(DeviceRendererSize, OverlayIsTheImageSize) {
  DeviceFrame custom = BuiltinSpecs::fallbackFrames()[3];
  custom.overlay = DeviceFrame::Overlay{"/f.png", 900, 1800, 50, 60};
  DeviceRenderer renderer(custom);
  EXPECT_EQ(renderer.nativeBodySize(), (Size{900, 1800}));
  EXPECT_DOUBLE_EQ(renderer.bodyAspect(), 0.5);
  // A copyable value.
  DeviceRenderer copy = renderer;
  EXPECT_EQ(copy, renderer);
}

TEST(DeviceRendererSize, FramelessScreenIsTheScreen) {
  DeviceRenderer bare(BuiltinSpecs::fallbackFrames()[3].screenOnly());
  EXPECT_EQ(bare.nativeBodySize(), (Size{1206, 2622}));
}

}  // namespace
}  // namespace vorno
