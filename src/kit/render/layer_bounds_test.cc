#include "kit/render/layer_bounds.h"

#include "kit/render/layer_renderer.h"
#include "kit/render/render_test_support.h"
#include "kit/render/slide_renderer.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace vorno::layer_bounds_test {
namespace {

using testing::block;
using testing::board;
using testing::rgbAt;
using testing::smallTarget;

const RGBColor orange{1, 0.6, 0, 1};

ElementLayout orangeBox(const std::string& id, const Rect& frame) {
  ElementLayout element = block(id, frame);
  ShapeSpec shape;
  shape.kind = ShapeKind::rectangle;
  shape.fill = Fill::solid(orange);
  element.content = shape;
  return element;
}

const Issue* reduction(const RenderReport& report, const std::string& element) {
  for (const Issue& issue : report.issues)
    if (issue.code == "layer.reduced" && issue.element == element) return &issue;
  return nullptr;
}

int grey(uint32_t rgb) { return int(rgb & 0xFF); }

// Each channel within 2 levels of `expected`.
bool near(uint32_t rgb, uint32_t expected) {
  for (int shift : {0, 8, 16})
    if (std::abs(int((rgb >> shift) & 0xFF) - int((expected >> shift) & 0xFF)) > 2) return false;
  return true;
}

TEST(LayerBounds, ShadowBlurOfABillionIsLimitedAndTheRenderCompletesWithAWarning) {
  ComposedSlide composed = board(smallTarget(1000, 2000));
  ElementLayout box = orangeBox("box", {250, 800, 500, 400});
  box.shadow = true;
  box.shadowStyle = ShadowStyle{};
  box.shadowStyle->blur = 1e9;
  // What the layout gives such a shadow: two and a half blurs of the width on every side.
  box.bleed = 2 + 500 * (1e9 * 2.5 + 0.025);
  composed.elements.push_back(box);

  // It used to end here with "Could not allocate a 1000000000×1000000000 layer."
  Image picture = SlideRenderer::composite(composed, 0.5);
  ASSERT_EQ(picture.width(), 500);
  EXPECT_EQ(rgbAt(picture, 250, 500), 0xFF9900u);
  // The shadow is still there, soft and wide: under the box the white is dimmed, a little.
  const int under = grey(rgbAt(picture, 250, 620));
  EXPECT_LT(under, 250);
  EXPECT_GT(under, 200);

  const RenderReport report = SlideRenderer::report(composed, picture);
  const Issue* issue = reduction(report, "slide:s0/box");
  ASSERT_NE(issue, nullptr);
  EXPECT_EQ(issue->severity, Issue::Severity::warning);
  EXPECT_EQ(issue->message,
            "box has a shadow too large to draw; its blur and offset were limited to one element width. Keep "
            "shadowStyle's blur, x and y under 1.");
  EXPECT_EQ(issue->slide, "s0");
}

TEST(LayerBounds, ElementWiderThanALayerMayBeIsDrawnAtReducedResolution) {
  ComposedSlide composed = board(smallTarget(1000, 2000));
  // A hundred canvases wide and half transparent, so that it needs a layer of its own.
  ElementLayout band = orangeBox("band", {-49500, 990, 100000, 20});
  band.opacity = 0.5;
  band.bleed = 2;
  composed.elements.push_back(band);

  Image picture = SlideRenderer::composite(composed, 1);
  ASSERT_EQ(picture.width(), 1000);
  EXPECT_TRUE(near(rgbAt(picture, 500, 1000), 0xFFCC80u)) << std::hex << rgbAt(picture, 500, 1000);  // half on white
  EXPECT_EQ(rgbAt(picture, 500, 950), 0xFFFFFFu);

  const RenderReport report = SlideRenderer::report(composed, picture);
  const Issue* issue = reduction(report, "slide:s0/band");
  ASSERT_NE(issue, nullptr);
  EXPECT_EQ(issue->message,
            "band needs a 100004×24 layer, more than a layer may have (16384 pixels a side, 33554432 in all); it "
            "was drawn at 16% resolution. Make it smaller.");
}

TEST(LayerBounds, LayerWithinTheBoundIsLeftAloneAndReportsNothing) {
  ComposedSlide composed = board(smallTarget(1000, 2000));
  ElementLayout box = orangeBox("box", {250, 800, 500, 400});
  box.shadow = true;
  box.shadowStyle = ShadowStyle{};
  box.shadowStyle->blur = 2.0;  // a very soft shadow, but its layer fits
  box.bleed = 2 + 500 * (2.0 * 2.5 + 0.025);
  EXPECT_FALSE(LayerBounds::clamped(box));
  EXPECT_EQ(LayerBounds::resolution(box, 1), 1);
  composed.elements.push_back(box);
  const RenderReport report = SlideRenderer::report(composed, SlideRenderer::composite(composed, 0.25));
  EXPECT_EQ(reduction(report, "slide:s0/box"), nullptr);
}

TEST(LayerBounds, ResolutionKeepsBothSidesAndThePixelCountWithinTheBound) {
  ElementLayout element = orangeBox("e", {0, 0, 20000, 20000});
  const double share = LayerBounds::resolution(element, 1);
  EXPECT_NEAR(20000 * share * 20000 * share, double(LayerBounds::maxPixels), 1e3);
  element.frame = {0, 0, 1e12, 10};
  EXPECT_NEAR(LayerBounds::resolution(element, 1) * 1e12, LayerBounds::maxSide, 1e-3);
  element.frame = {0, 0, 1000, 1000};
  EXPECT_EQ(LayerBounds::resolution(element, 1), 1);
}

TEST(LayerBounds, ClampedShadowKeepsItsDirectionAndTheLayerFits) {
  ElementLayout box = orangeBox("box", {0, 0, 400, 300});
  box.shadow = true;
  box.shadowStyle = ShadowStyle{};
  box.shadowStyle->blur = 1e9;
  box.shadowStyle->x = -1e9;
  box.shadowStyle->y = 50;
  box.bleed = 400 * (1e9 * 2.5 + 1e9);
  const std::optional<ElementLayout> clamped = LayerBounds::clamped(box);
  ASSERT_TRUE(clamped);
  EXPECT_EQ(clamped->shadowStyle->blur, 1.0);
  EXPECT_EQ(clamped->shadowStyle->x, -1.0);
  EXPECT_EQ(clamped->shadowStyle->y, 1.0);
  EXPECT_EQ(LayerBounds::resolution(*clamped, 1), 1);
  // Drawn by itself, the layer is the clamped one.
  Image layer = LayerRenderer::render(box, 0.5);
  EXPECT_EQ(layer.width(), int(0.5 * clamped->layerRect().width));
}

}  // namespace
}  // namespace vorno::layer_bounds_test
