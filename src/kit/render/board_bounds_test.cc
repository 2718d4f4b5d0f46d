// A spread's board is one picture of all its slices side by side: with very many slices it is
// drawn smaller, with a warning, instead of asking for a picture no memory holds.
#include "kit/render/layer_bounds.h"
#include "kit/render/render_test_support.h"
#include "kit/render/slide_renderer.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace vorno::board_bounds_test {
namespace {

using testing::board;
using testing::smallTarget;

TEST(BoardBounds, SpreadOfTwoThousandPhoneSlicesIsDrawnWithinTheBoundWithAWarning) {
  // At full size 2,640,000 × 2868 pixels: past what cairo or memory allow.
  ComposedSlide composed = board(smallTarget(1320, 2868), 2000);
  composed.spreadID = "parade";
  Image whole = SlideRenderer::compositeBoard(composed, 1.0);
  ASSERT_TRUE(whole);
  EXPECT_LE(whole.width(), LayerBounds::maxSide);
  EXPECT_LE(int64_t(whole.width()) * whole.height(), LayerBounds::maxPixels);
  EXPECT_GE(whole.width(), LayerBounds::maxSide - 2);  // reduced to the bound, not further
  EXPECT_GE(whole.height(), 1);

  std::vector<Issue> issues = SlideRenderer::boardIssues(composed, 1.0);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "spread.reduced");
  EXPECT_EQ(issues[0].severity, Issue::Severity::warning);
  EXPECT_EQ(issues[0].message,
            "The spread \"parade\" needs a 2640000×2868 picture of its 2000 slides, more than a picture may have "
            "(16384 pixels a side, 33554432 in all); it was drawn at 0.62% of that size. Look at fewer slides at once.");
}

TEST(BoardBounds, BoardOfTabletSlicesPastThePixelBoundKeepsItsProportions) {
  // 12 × 2064 by 2752 at full size: 68 million pixels, each side under 32768.
  ComposedSlide composed = board(smallTarget(2064, 2752), 12);
  Image whole = SlideRenderer::compositeBoard(composed, 1.0);
  ASSERT_TRUE(whole);
  EXPECT_LE(int64_t(whole.width()) * whole.height(), LayerBounds::maxPixels);
  EXPECT_NEAR(double(whole.width()) / whole.height(), 12.0 * 2064 / 2752, 0.02);
  EXPECT_EQ(SlideRenderer::boardIssues(composed, 1.0).size(), 1u);
}

TEST(BoardBounds, BoardWithinTheBoundIsDrawnAsAskedWithoutAnIssue) {
  ComposedSlide composed = board(smallTarget(1320, 2868), 3);
  Image whole = SlideRenderer::compositeBoard(composed, 0.5);
  EXPECT_EQ(whole.width(), 1980);
  EXPECT_EQ(whole.height(), 1434);
  EXPECT_TRUE(SlideRenderer::boardIssues(composed, 0.5).empty());
}

}  // namespace
}  // namespace vorno::board_bounds_test
