#include "kit/render/render_report.h"

#include "kit/render/render_test_support.h"
#include "kit/render/slide_renderer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vorno::render_report_test {
namespace {

using testing::block;
using testing::board;
using testing::smallTarget;

TEST(RenderReportElements, ListEveryElementShownWithItsKindAndRoundedFrame) {
  ComposedSlide composed = board(smallTarget(100, 200));
  ElementLayout headline = block("headline", {7.4, 10.6, 85.2, 30.49});
  headline.kind = ElementLayout::Kind::text;
  ElementLayout badge = block("badge", {20, 150, 60, 20});
  badge.kind = ElementLayout::Kind::component;
  badge.rotation = -8;
  composed.elements = {headline, badge};

  RenderReport report = SlideRenderer::report(composed, Image());
  ASSERT_EQ(report.elements.size(), 2u);
  EXPECT_EQ(report.elements[0], (ReportedElement{"headline", "text", 7, 11, 85, 30, 0}));
  EXPECT_EQ(report.elements[1], (ReportedElement{"badge", "component", 20, 150, 60, 20, -8}));
}

TEST(RenderReportElements, OnASpreadSliceFramesAreInThatSlidesPixelsAndOthersAreLeftOut) {
  ComposedSlide composed = board(smallTarget(100, 200), 2, 1);
  composed.elements = {block("far", {10, 10, 20, 20}, "s0"), block("near", {130, 40, 20, 20}, "s1")};
  RenderReport report = SlideRenderer::report(composed, Image());
  ASSERT_EQ(report.elements.size(), 1u);
  EXPECT_EQ(report.elements[0].id, "near");
  EXPECT_EQ(report.elements[0].x, 30);
}

TEST(RenderReportElements, JSONHasTheFrameAndTheTurnOnlyWhenTurned) {
  RenderReport report;
  report.elements = {{"device", "device", 132, 471, 1056, 2213, 0}, {"tip", "text", 10, 20, 30, 40, 12.5}};
  const nlohmann::json json = report.toJSON();
  EXPECT_EQ(json["elements"][0],
            (nlohmann::json{{"id", "device"}, {"kind", "device"}, {"x", 132}, {"y", 471}, {"width", 1056}, {"height", 2213}}));
  EXPECT_EQ(json["elements"][1]["rotation"], 12.5);
  EXPECT_EQ(RenderReport{}.toJSON()["elements"], nlohmann::json::array());
}

}  // namespace
}  // namespace vorno::render_report_test
