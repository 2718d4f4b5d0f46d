#include "kit/layout/device_fit.h"

#include "kit/layout/layout_test_support.h"
#include "kit/layout/slide_layout_engine.h"

#include <gtest/gtest.h>

namespace vorno::device_fit_test {
namespace {

constexpr double W = 1320, H = 2868;

TEST(DeviceFit, HeroMissingTheBottomByAHairEndsAboveIt) {
  // 50 pixels past the bottom: the corners would be clipped.
  const Rect body{132, 700, 1056, H - 700 + 50};
  const Rect fitted = keepDeviceInView(body, Archetype::hero, W, H);
  EXPECT_DOUBLE_EQ(fitted.minY(), 700);
  EXPECT_NEAR(fitted.maxY(), H - 0.035 * H, 1e-9);
  EXPECT_NEAR(fitted.width / fitted.height, body.width / body.height, 1e-12);
  EXPECT_NEAR(fitted.midX(), W / 2, 1e-9);
}

TEST(DeviceFit, HeroBleedingOnPurposeStaysAndOneLosingTooMuchIsCutBackToAFifth) {
  // 15% of its height below the canvas: a bleed that reads as meant.
  const Rect bleeding{132, H - 2200 + 0.15 * 2200, 1056, 2200};
  EXPECT_EQ(keepDeviceInView(bleeding, Archetype::hero, W, H), bleeding);

  const Rect deep{132, 1400, 1056, 2200};  // a third of it below the canvas
  const Rect fitted = keepDeviceInView(deep, Archetype::hero, W, H);
  EXPECT_DOUBLE_EQ(fitted.minY(), 1400);
  EXPECT_NEAR((fitted.maxY() - H) / fitted.height, 0.2, 1e-9);
}

TEST(DeviceFit, DeviceTopNeverLosesItsTop) {
  const Rect body{132, -8, 1056, 2000};
  const Rect fitted = keepDeviceInView(body, Archetype::deviceTop, W, H);
  EXPECT_NEAR(fitted.minY(), 0.035 * H, 1e-9);
  EXPECT_DOUBLE_EQ(fitted.maxY(), body.maxY());
  const Rect inView{132, 40, 1056, 2000};
  EXPECT_EQ(keepDeviceInView(inView, Archetype::deviceTop, W, H), inView);
}

TEST(DeviceFit, WidthFromTheDocumentIsTheDesignAndIsLeftAsItIs) {
  testing::TestPackage package;
  package.capture("captures/home.png", 1320, 2868);
  Slide slide = testing::heroSlide("s", "Hello");
  slide.archetype = Archetype::deviceTop;
  slide.device = testing::showing("captures/home.png");
  Project project = testing::projectWith({slide});
  SlideLayoutEngine engine;
  auto body = [&](const Project& p) {
    return engine.layout(p, package.root(), p.slides[0], StoreTarget::playPhone(), "en-US").element("device", "s")->frame;
  };
  // Laid by the engine: whole, below the top margin.
  EXPECT_GE(body(project).minY(), 0.035 * 1920 - 1e-6);
  // With its own width, it bleeds off the top as written.
  project.slides[0].device->width = 0.8;
  EXPECT_LT(body(project).minY(), 0);
}

}  // namespace
}  // namespace vorno::device_fit_test
