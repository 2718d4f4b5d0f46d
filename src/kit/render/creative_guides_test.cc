#include "kit/render/creative_guides.h"

#include "kit/render/render_test_support.h"

#include <gtest/gtest.h>

namespace vorno::creative_guides_test {
namespace {

using testing::rgbAt;

Image grey(int width, int height) {
  Canvas canvas = Canvas::opaque(width, height);
  FillPainter::paint(Fill::solid(RGBColor{0.5, 0.5, 0.5, 1}), canvas.context(), {0, 0, double(width), double(height)});
  return canvas.finish();
}

TEST(CreativeGuides, GuidesOnATargetWithASafeAreaKeepThePicturesSize) {
  StoreTarget target = testing::smallTarget(400, 200);
  target.safeArea = Rect{100, 50, 200, 100};
  Image picture = grey(800, 400);  // twice the target: the safe area scales with it
  Image guided = CreativeGuides::overlay(picture, target);
  EXPECT_EQ(guided.width(), 800);
  EXPECT_EQ(guided.height(), 400);
  // Inside stays as it was, outside is veiled darker.
  EXPECT_EQ(rgbAt(guided, 400, 200), rgbAt(picture, 400, 200));
  EXPECT_LT(rgbAt(guided, 50, 50) & 0xFF, rgbAt(picture, 50, 50) & 0xFF);
  // The light dash starts at the safe area's top left corner (200, 100 in the picture) and runs
  // right; the dark one runs two pixels further out.
  EXPECT_GT(rgbAt(guided, 204, 100) & 0xFF, 0xE0u);
  EXPECT_LT(rgbAt(guided, 204, 98) & 0xFF, 0x30u);
}

TEST(CreativeGuides, TargetWithoutSafeAreaGivesTheImageUnchanged) {
  Image picture = grey(40, 80);
  Image same = CreativeGuides::overlay(picture, testing::smallTarget(40, 80));
  EXPECT_EQ(same.surface(), picture.surface());
}

}  // namespace
}  // namespace vorno::creative_guides_test
