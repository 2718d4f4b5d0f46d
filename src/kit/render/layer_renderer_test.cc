#include "kit/render/layer_renderer.h"

#include "kit/image/canvas.h"
#include "kit/image/images.h"
#include "kit/render/blend_operator.h"
#include "kit/render/layer_test_support.h"
#include "kit/render/shadow.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace vorno::layer_renderer_test {
namespace {

using namespace vorno::testing;

const RGBColor red{1, 0, 0, 1};
const RGBColor blue{0, 0, 1, 1};
const RGBColor white{1, 1, 1, 1};

// Set VORNO_LOOK=<folder> to keep the pictures these tests draw.
void keep(const Image& image, const std::string& name) {
  if (const char* folder = std::getenv("VORNO_LOOK"))
    cairo_surface_write_to_png(image.surface(), (std::string(folder) + "/" + name + ".png").c_str());
}

TEST(LayerRenderer, ScaleZeroRendersAtTwoPercentAndALayerOfTenPixelsIsOneByOne) {
  Image big = LayerRenderer::render(shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 500, 300}), 0);
  EXPECT_EQ(big.width(), 10);
  EXPECT_EQ(big.height(), 6);
  Image tiny = LayerRenderer::render(shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 10, 10}), 0);
  EXPECT_EQ(tiny.width(), 1);
  EXPECT_EQ(tiny.height(), 1);
  // Above 1 is clamped to full resolution.
  Image full = LayerRenderer::render(shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 40, 20}), 3);
  EXPECT_EQ(full.width(), 40);
  EXPECT_EQ(full.height(), 20);
}

TEST(LayerRenderer, ContextCoversTheBleedAndContentStartsInsideIt) {
  Image image = LayerRenderer::render(shapeElement(solidShape(ShapeKind::rectangle, red), {300, 400, 100, 50}, 20), 0.5);
  EXPECT_EQ(image.width(), 70);
  EXPECT_EQ(image.height(), 45);
  EXPECT_EQ(alphaAt(image, 5, 5), 0);     // the bleed is empty
  EXPECT_EQ(argb(image, 35, 22), (std::array<int, 4>{255, 255, 0, 0}));
  Rect box = inkBox(image);
  EXPECT_EQ(box, (Rect{10, 10, 50, 25}));
}

TEST(LayerRenderer, LayerOnThePixelGridStartsItsContentPartWayIntoTheFirstPixel) {
  ElementLayout element = shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 10.5, 4});
  Image image = LayerRenderer::render(element, 1, 0.75, 0.5);
  EXPECT_EQ(image.width(), 12);   // 0.75 + 10.5 = 11.25 pixels: twelve cover it
  EXPECT_EQ(image.height(), 5);   // 0.5 + 4
  EXPECT_NEAR(alphaAt(image, 0, 2), 64, 2);    // a quarter of the first pixel
  EXPECT_EQ(alphaAt(image, 1, 2), 255);
  EXPECT_EQ(alphaAt(image, 10, 2), 255);
  EXPECT_NEAR(alphaAt(image, 11, 2), 64, 2);   // up to 11.25
  EXPECT_NEAR(alphaAt(image, 5, 0), 128, 10);  // half of the first row (cairo samples 15 rows a pixel)
  // No offset: the same size as the plain layer.
  Image plain = LayerRenderer::render(shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 40, 20}), 1, 0, 0);
  EXPECT_EQ(plain.width(), 40);
  EXPECT_EQ(plain.height(), 20);
}

TEST(LayerRenderer, APathShapeIsStretchedToItsFrameSoAStarInATwoToOneFrameIsTwiceAsWide) {
  ShapeSpec star = solidShape(ShapeKind::path, red);
  // A five-pointed star drawn in a 100 x 100 square.
  star.pathData = "M50 0 L61 35 L98 35 L68 57 L79 91 L50 70 L21 91 L32 57 L2 35 L39 35 Z";
  Image square = LayerRenderer::render(shapeElement(star, {0, 0, 100, 100}), 1);
  Image wide = LayerRenderer::render(shapeElement(star, {0, 0, 200, 100}), 1);
  keep(wide, "star_wide");
  Rect a = inkBox(square), b = inkBox(wide);
  EXPECT_NEAR(a.width, 100, 2);
  EXPECT_NEAR(a.height, 100, 2);
  EXPECT_NEAR(b.width, 2 * a.width, 2);
  EXPECT_NEAR(b.height, a.height, 2);
  // The top point is centred, the inner notch between the arms is empty in both.
  EXPECT_GT(alphaAt(wide, 100, 5), 200);
  EXPECT_EQ(alphaAt(wide, 100, 95), 0);
}

TEST(LayerRenderer, PathDataThatDoesNotParseDrawsNothing) {
  ShapeSpec bad = solidShape(ShapeKind::path, red);
  bad.pathData = "10 10 nonsense";
  Image image = LayerRenderer::render(shapeElement(bad, {0, 0, 50, 50}), 1);
  EXPECT_TRUE(inkBox(image).isEmpty());
}

TEST(LayerRenderer, ShadowOnAShapeIsOneShadowForFillAndStrokeTogether) {
  // A filled square with a thick stroke: drawn with one shadow per part, the stroke's shadow
  // would double the darkness where it overlaps the fill's, and fall on the fill itself.
  ShapeSpec shape = solidShape(ShapeKind::rectangle, white);
  shape.stroke = RGBColor{1, 1, 1, 0.5};
  shape.strokeWidth = 20;
  ElementLayout e = shapeElement(shape, {0, 0, 100, 100}, 60);
  e.shadow = true;
  e.shadowStyle = ShadowStyle{std::nullopt, 0.5, 0.0, 0.0, 0.4};  // sharp, 40 px down
  Image image = LayerRenderer::render(e, 1);
  keep(image, "shadow_fill_stroke");
  // Below the square, where fill and stroke both cast: exactly one shadow of 0.5 black.
  auto below = argb(image, 110, 60 + 100 + 20);
  EXPECT_NEAR(below[0], 128, 2);
  EXPECT_EQ(below[1], 0);
  // Inside, the fill stays white: no shadow of the stroke fell on it.
  EXPECT_EQ(argb(image, 110, 110), (std::array<int, 4>{255, 255, 255, 255}));
  // Where the translucent stroke lies over the shadow of the fill, the stroke is composited
  // over one shadow: 0.5 white over 0.5 black.
  auto edge = argb(image, 110, 60 + 100 - 3);
  EXPECT_NEAR(edge[0], 255 * (1 - 0.5 * 0.5), 3);
}

TEST(LayerRenderer, StockShadowFallsDownOnScreen) {
  ElementLayout e = shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 200, 100}, 40);
  e.shadow = true;
  Image image = LayerRenderer::render(e, 1);
  keep(image, "stock_shadow");
  // 0.025 w = 5 px down, blur 12 (sigma 6): more shadow below the shape than above it.
  int above = alphaAt(image, 140, 40 - 6), below = alphaAt(image, 140, 40 + 100 + 6);
  EXPECT_GT(below, above + 10);
  EXPECT_GT(below, 20);
  EXPECT_LT(below, 72);  // at most 0.28
  // Left and right are alike: no sideways offset.
  EXPECT_NEAR(alphaAt(image, 40 - 6, 90), alphaAt(image, 40 + 200 + 5, 90), 2);
}

TEST(LayerRenderer, ShadowStyleMovesTheShadowRightAndScalesWithTheLayer) {
  ElementLayout e = shapeElement(solidShape(ShapeKind::rectangle, red), {0, 0, 100, 100}, 50);
  e.shadow = true;
  e.shadowStyle = ShadowStyle{RGBColor{0, 0, 1, 1}, 1.0, 0.0, 0.3, 0.0};
  Image full = LayerRenderer::render(e, 1);
  // 30 px to the right, blue, not moved down.
  EXPECT_EQ(argb(full, 50 + 100 + 20, 100), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(alphaAt(full, 100, 50 + 100 + 5), 0);
  Image half = LayerRenderer::render(e, 0.5);
  EXPECT_EQ(argb(half, 25 + 50 + 10, 50), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(alphaAt(half, 25 + 50 + 17, 50), 0);
}

TEST(LayerRenderer, WideShadowCastAtReducedSizeMatchesTheFullSizeCast) {
  // A card 800 wide: the stock shadow's deviation is 24 pixels, drawn through the reduced path.
  ShapeSpec card = solidShape(ShapeKind::roundedRectangle, white);
  card.cornerRadius = 60;
  ElementLayout e = shapeElement(card, {0, 0, 800, 500}, 100);
  e.shadow = true;
  Image reduced = LayerRenderer::render(e, 1);
  // The same shadow cast at full size, painted under the same content.
  ElementLayout plain = e;
  plain.shadow = false;
  Image content = LayerRenderer::render(plain, 1);
  LayerShadow shadow = Shadow::of(std::nullopt, 800, 1);
  ASSERT_GE(shadow.sigma, 8);
  Image cast = Shadow::cast(content, shadow);
  Canvas reference = Canvas::transparent(content.width(), content.height());
  cairo_set_source_surface(reference.context(), cast.surface(), shadow.dx, shadow.dy);
  cairo_paint(reference.context());
  cairo_set_source_surface(reference.context(), content.surface(), 0, 0);
  cairo_paint(reference.context());
  Image full = reference.finish();
  int worst = 0;
  for (int y = 0; y < full.height(); ++y)
    for (int x = 0; x < full.width(); ++x) worst = std::max(worst, std::abs(alphaAt(full, x, y) - alphaAt(reduced, x, y)));
  EXPECT_LE(worst, 3);
  // And it is a shadow: below the card, clearly there.
  EXPECT_GT(alphaAt(reduced, 500, 100 + 500 + 12), 20);
}

TEST(LayerRenderer, OpacityAppliesToTheWholeContentOnce) {
  ShapeSpec shape = solidShape(ShapeKind::rectangle, red);
  shape.stroke = red;
  shape.strokeWidth = 10;
  ElementLayout e = shapeElement(shape, {0, 0, 100, 100});
  e.opacity = 0.5;
  Image image = LayerRenderer::render(e, 1);
  // Where stroke and fill overlap, still half: a group, not two translucent paints.
  EXPECT_NEAR(alphaAt(image, 7, 50), 128, 1);
  EXPECT_NEAR(alphaAt(image, 50, 50), 128, 1);
  e.opacity = 0;
  EXPECT_TRUE(inkBox(LayerRenderer::render(e, 1)).isEmpty());
}

TEST(LayerRenderer, ShapeBlurSoftensEdgesAtTheScale) {
  ShapeSpec shape = solidShape(ShapeKind::rectangle, red);
  shape.blur = 8;
  Image image = LayerRenderer::render(shapeElement(shape, {0, 0, 100, 100}, 30), 1);
  keep(image, "shape_blur");
  int inside = alphaAt(image, 80, 80), edge = alphaAt(image, 30, 80), outside = alphaAt(image, 20, 80);
  EXPECT_GT(inside, 250);
  EXPECT_NEAR(edge, 128, 12);
  EXPECT_GT(outside, 5);
  EXPECT_LT(outside, 60);
  // At half scale the radius is halved too: the picture shrinks as a whole.
  Image half = LayerRenderer::render(shapeElement(shape, {0, 0, 100, 100}, 30), 0.5);
  EXPECT_NEAR(alphaAt(half, 10, 40), outside, 12);
}

TEST(LayerRenderer, ShapesOfEveryOutline) {
  Rect frame{0, 0, 120, 80};
  Image rect = LayerRenderer::render(shapeElement(solidShape(ShapeKind::rectangle, blue), frame), 1);
  Image rounded = [&] {
    ShapeSpec s = solidShape(ShapeKind::roundedRectangle, blue);
    s.cornerRadius = 30;
    return LayerRenderer::render(shapeElement(s, frame), 1);
  }();
  Image capsule = LayerRenderer::render(shapeElement(solidShape(ShapeKind::capsule, blue), frame), 1);
  Image circle = LayerRenderer::render(shapeElement(solidShape(ShapeKind::circle, blue), frame), 1);
  keep(capsule, "capsule");
  EXPECT_EQ(alphaAt(rect, 0, 0), 255);
  EXPECT_EQ(alphaAt(rounded, 1, 1), 0);
  EXPECT_EQ(alphaAt(rounded, 60, 1), 255);
  EXPECT_EQ(alphaAt(capsule, 12, 3), 0);   // the capsule's end is a half-round of radius 40
  EXPECT_EQ(alphaAt(capsule, 60, 1), 255);
  EXPECT_EQ(alphaAt(circle, 12, 12), 0);
  EXPECT_EQ(alphaAt(circle, 60, 40), 255);
  EXPECT_EQ(argb(circle, 60, 40), (std::array<int, 4>{255, 0, 0, 255}));
}

TEST(LayerRenderer, StrokeIsInsetSoItStaysInsideTheFrame) {
  ShapeSpec s;
  s.kind = ShapeKind::rectangle;
  s.stroke = red;
  s.strokeWidth = 10;
  Image image = LayerRenderer::render(shapeElement(s, {0, 0, 100, 60}, 10), 1);
  EXPECT_EQ(inkBox(image), (Rect{10, 10, 100, 60}));
  EXPECT_EQ(alphaAt(image, 60, 40), 0);  // no fill
}

TEST(LayerRenderer, ShapeWithAGradientFillTakesTheFramesGeometry) {
  ShapeSpec s;
  s.kind = ShapeKind::circle;
  s.fill = Fill{LinearFill{{red, blue}, 180}};
  Image image = LayerRenderer::render(shapeElement(s, {0, 0, 100, 100}), 1);
  auto top = argb(image, 50, 3), bottom = argb(image, 50, 96);
  EXPECT_GT(top[1], top[3]);
  EXPECT_GT(bottom[3], bottom[1]);
}

TEST(LayerRenderer, ArrowRunsFromLowerLeftToUpperRightWithItsHead) {
  ShapeSpec s;
  s.kind = ShapeKind::arrow;
  s.strokeWidth = 6;
  Image image = LayerRenderer::render(shapeElement(s, {0, 0, 200, 100}), 1);
  keep(image, "arrow");
  // Inset 7.2: the start (7.2, 100 - 7.2 - 6.8) and the end (185.4, 16.8) are inked, black.
  EXPECT_EQ(argb(image, 8, 86), (std::array<int, 4>{255, 0, 0, 0}));
  EXPECT_GT(alphaAt(image, 185, 17), 200);
  // The lower right corner is empty; the head reaches back to the left of the end.
  EXPECT_EQ(alphaAt(image, 190, 90), 0);
  Rect box = inkBox(image);
  EXPECT_LT(box.minY(), 17);
  EXPECT_LT(box.minX(), 8);
  // Nothing when the inset swallows the frame.
  s.strokeWidth = 50;
  EXPECT_TRUE(inkBox(LayerRenderer::render(shapeElement(s, {0, 0, 100, 100}), 1)).isEmpty());
}

TEST(LayerRenderer, SymbolIsTintedAndCentred) {
  ElementLayout e = element(ElementLayout::Kind::symbol, SymbolContent{"heart.fill", red}, {0, 0, 200, 100});
  Image image = LayerRenderer::render(e, 1);
  keep(image, "symbol");
  Rect box = inkBox(image, 127);
  ASSERT_FALSE(box.isEmpty());
  // Fitted to the shorter side and centred.
  EXPECT_NEAR(box.midX(), 100, 3);
  EXPECT_NEAR(box.midY(), 50, 8);
  EXPECT_LE(box.height, 100);
  EXPECT_GT(box.height, 60);
  EXPECT_LT(box.width, 110);
  // Every inked pixel is the colour, and only the colour.
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 200; ++x) {
      auto p = argb(image, x, y);
      ASSERT_EQ(p[2], 0);
      ASSERT_EQ(p[3], 0);
      ASSERT_EQ(p[1], p[0]);
    }
}

TEST(LayerRenderer, UnknownSymbolDrawsNothing) {
  ElementLayout e = element(ElementLayout::Kind::symbol, SymbolContent{"no.such.symbol", red}, {0, 0, 50, 50});
  Image image = LayerRenderer::render(e, 1);
  EXPECT_EQ(image.width(), 50);
  EXPECT_TRUE(inkBox(image).isEmpty());
}

TEST(LayerRenderer, TextIsDrawnInTheContentRectangle) {
  TextSpec spec;
  spec.text = "Hello";
  spec.size = 60;
  spec.color = blue;
  spec.alignment = TextAlign::left;
  ElementLayout e = element(ElementLayout::Kind::text, spec, {0, 0, 400, 100}, 30);
  Image image = LayerRenderer::render(e, 1);
  keep(image, "text");
  Rect box = inkBox(image, 127);
  ASSERT_FALSE(box.isEmpty());
  EXPECT_GE(box.minX(), 30);
  EXPECT_LT(box.minX(), 40);  // left aligned at the content's edge
  EXPECT_GE(box.minY(), 30);
  EXPECT_LT(box.maxY(), 130);
  EXPECT_GT(box.width, 100);
  auto p = argb(image, int(box.midX()), int(box.midY()));
  EXPECT_EQ(p[1], 0);
}

TEST(LayerRenderer, ComponentIsPaintedScaledToItsFrame) {
  ComponentDrawing drawing;
  drawing.size = {1000, 500};
  drawing.parts.push_back(ComponentDrawing::Card{{0, 0, 1000, 500}, 100, red});
  drawing.parts.push_back(ComponentDrawing::Card{{500, 0, 500, 250}, 0, blue});
  Image image = LayerRenderer::render(element(ElementLayout::Kind::component, drawing, {0, 0, 200, 100}), 1);
  keep(image, "component");
  EXPECT_EQ(alphaAt(image, 1, 1), 0);  // the card's rounded corner
  EXPECT_EQ(argb(image, 50, 80), (std::array<int, 4>{255, 255, 0, 0}));
  EXPECT_EQ(argb(image, 150, 20), (std::array<int, 4>{255, 0, 0, 255}));
}

TEST(LayerRenderer, BackgroundPaintsEachSliceOrOneSpanningFill) {
  ComposedSlide slide;
  slide.target.width = 100;
  slide.target.height = 200;
  slide.slideIDs = {"a", "b"};
  slide.sliceBackgrounds = {Fill::solid(red), Fill::solid(blue)};
  Image image = LayerRenderer::background(slide, 0.5);
  ASSERT_EQ(image.width(), 100);
  ASSERT_EQ(image.height(), 100);
  EXPECT_FALSE(image.hasAlpha());
  EXPECT_EQ(argb(image, 25, 50)[1], 255);
  EXPECT_EQ(argb(image, 75, 50)[3], 255);
  // A spanning ramp runs across the whole board: left end red, right end blue.
  slide.spanningBackground = Fill{LinearFill{{red, blue}, 90}};
  Image board = LayerRenderer::background(slide, 0.5);
  EXPECT_GT(argb(board, 1, 50)[1], 240);
  EXPECT_GT(argb(board, 98, 50)[3], 240);
  EXPECT_NEAR(argb(board, 50, 50)[1], 128, 6);
}

TEST(BlendOperator, EveryModeMapsToItsCairoOperator) {
  EXPECT_EQ(cairoOperator(BlendMode::normal), CAIRO_OPERATOR_OVER);
  EXPECT_EQ(cairoOperator(BlendMode::multiply), CAIRO_OPERATOR_MULTIPLY);
  EXPECT_EQ(cairoOperator(BlendMode::screen), CAIRO_OPERATOR_SCREEN);
  EXPECT_EQ(cairoOperator(BlendMode::overlay), CAIRO_OPERATOR_OVERLAY);
  EXPECT_EQ(cairoOperator(BlendMode::darken), CAIRO_OPERATOR_DARKEN);
  EXPECT_EQ(cairoOperator(BlendMode::lighten), CAIRO_OPERATOR_LIGHTEN);
  EXPECT_EQ(cairoOperator(BlendMode::colorDodge), CAIRO_OPERATOR_COLOR_DODGE);
  EXPECT_EQ(cairoOperator(BlendMode::colorBurn), CAIRO_OPERATOR_COLOR_BURN);
  EXPECT_EQ(cairoOperator(BlendMode::softLight), CAIRO_OPERATOR_SOFT_LIGHT);
  EXPECT_EQ(cairoOperator(BlendMode::hardLight), CAIRO_OPERATOR_HARD_LIGHT);
  EXPECT_EQ(cairoOperator(BlendMode::difference), CAIRO_OPERATOR_DIFFERENCE);
  EXPECT_EQ(cairoOperator(BlendMode::exclusion), CAIRO_OPERATOR_EXCLUSION);
}

}  // namespace
}  // namespace vorno::layer_renderer_test
