#include <gtest/gtest.h>

#include <cstdlib>

#include <nlohmann/json.hpp>

#include <filesystem>

#include "kit/model/creative.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "server/tools.h"
#include "server/tools/render_tool_test_support.h"

namespace vorno::render_creative_tool_test {
namespace {

using testing::args;
using testing::ToolHarness;
using testing::ToolResult;

// A package with the header art "header" (headline only) beside a slide.
std::string creativePackage(ToolHarness& harness, const std::string& motion = "",
                            const std::string& name = "App.vorno") {
  std::string package = harness.package(name, {"intro"});
  testing::editProject(package, [&](Project& project) {
    std::string json = R"({"id": "header", "canvas": "ios.header", "headline": "Plan your day")";
    if (!motion.empty()) json += R"(, "motion": )" + motion;
    project.creatives.push_back(testing::decoded<Creative>(json + "}"));
  });
  return package;
}

// The safe area of the header canvas in a picture of `image`'s size: a point well outside it
// (near the top left corner) and one at its centre.
struct Probe {
  int outsideX, outsideY, insideX, insideY;
};
Probe probeFor(const Image& image) {
  const StoreTarget& canvas = StoreTarget::appStoreHeader();
  const Rect& safe = *canvas.safeArea;
  double sx = double(image.width()) / canvas.width, sy = double(image.height()) / canvas.height;
  return {8, 8, static_cast<int>((safe.x + safe.width / 2) * sx), static_cast<int>((safe.y + safe.height * 0.1) * sy)};
}

TEST(RenderCreativeTool, AnswersWithThePreviewAndTheCanvasSizeAndIssues) {
  ToolHarness harness;
  std::string package = creativePackage(harness);
  ToolResult result = harness.call("render_creative", args(package, R"(,"creative":"header")"));
  ASSERT_FALSE(result.isError) << result.text(0);
  ASSERT_EQ(result.content.size(), 2u);
  EXPECT_TRUE(result.isImage(0));
  EXPECT_EQ(result.mimeType(0), "image/jpeg");
  nlohmann::json out = result.json(1);
  EXPECT_EQ(std::filesystem::path(out["file"].get<std::string>()).filename(), "header__ios.header__en-US.png");
  EXPECT_EQ(out["canvas"], "ios.header");
  EXPECT_EQ(out["size"], "3840×1646");
  EXPECT_TRUE(out["issues"].is_array());
  EXPECT_FALSE(out.contains("scenes"));
  Image preview = testing::decodeImage(result.imageBytes(0), harness.folder());
  EXPECT_EQ(preview.width(), 1600);  // the default longest side
  EXPECT_EQ(preview.height(), 685);  // 1646 × 1600 / 3840, truncated
}

TEST(RenderCreativeTool, WithGuidesFalseReturnsTheCleanImage) {
  ToolHarness harness;
  std::string package = creativePackage(harness);
  ToolResult clean = harness.call("render_creative", args(package, R"(,"creative":"header","guides":false)"));
  ToolResult guided = harness.call("render_creative", args(package, R"(,"creative":"header")"));
  ASSERT_FALSE(clean.isError) << clean.text(0);
  ASSERT_FALSE(guided.isError) << guided.text(0);

  Image cleanPreview = testing::decodeImage(clean.imageBytes(0), harness.folder());
  Image guidedPreview = testing::decodeImage(guided.imageBytes(0), harness.folder());
  Image reference = Images::downscale(Images::load(clean.json(1)["file"].get<std::string>()), 1600);
  ASSERT_EQ(cleanPreview.width(), reference.width());
  ASSERT_EQ(cleanPreview.height(), reference.height());

  Probe probe = probeFor(cleanPreview);
  // Outside the safe area the clean preview is the picture itself; the guided one is veiled.
  int picture = brightness(testing::pixelAt(reference, probe.outsideX, probe.outsideY));
  int cleanOutside = brightness(testing::pixelAt(cleanPreview, probe.outsideX, probe.outsideY));
  int guidedOutside = brightness(testing::pixelAt(guidedPreview, probe.outsideX, probe.outsideY));
  EXPECT_NEAR(cleanOutside, picture, 12);
  EXPECT_LT(guidedOutside, picture * 0.8);
  // Inside, both show the picture.
  int inside = brightness(testing::pixelAt(reference, probe.insideX, probe.insideY));
  EXPECT_NEAR(brightness(testing::pixelAt(guidedPreview, probe.insideX, probe.insideY)), inside, 12);
}

TEST(RenderCreativeTool, ThePNGOnDiskNeverShowsGuidesWithAnyValueOfGuides) {
  ToolHarness harness;
  std::string package = creativePackage(harness);
  Project project = harness.load(package);
  Image direct = SlideRenderer()
                     .render(project, package, project.creative("header")->slide, StoreTarget::appStoreHeader(),
                             "en-US", 1.0)
                     .image;
  Probe probe = probeFor(direct);
  for (const std::string guides : {"", R"(,"guides":true)", R"(,"guides":false)", R"(,"guides":"no")"}) {
    ToolResult result = harness.call("render_creative", args(package, R"(,"creative":"header")" + guides));
    ASSERT_FALSE(result.isError) << result.text(0);
    Image file = Images::load(result.json(1)["file"].get<std::string>());
    ASSERT_EQ(file.width(), 3840) << guides;
    ASSERT_EQ(file.height(), 1646) << guides;
    for (auto [x, y] : {std::pair{probe.outsideX, probe.outsideY}, std::pair{probe.insideX, probe.insideY},
                        std::pair{3830, 1640}}) {
      testing::Pixel on = testing::pixelAt(file, x, y), expected = testing::pixelAt(direct, x, y);
      EXPECT_EQ(brightness(on), brightness(expected)) << "guides" << guides << " at " << x << ", " << y;
    }
  }
}

TEST(RenderCreativeTool, AnUnknownCreativeListsTheCreativesOrSaysHowToAddOne) {
  ToolHarness harness;
  std::string package = creativePackage(harness);
  EXPECT_EQ(harness.call("render_creative", args(package, R"(,"creative":"search")")).text(0),
            "No creative search. Creatives: header.");
  std::string bare = harness.package("Bare.vorno", {"intro"});
  ToolResult none = harness.call("render_creative", args(bare, R"(,"creative":"search")"));
  EXPECT_TRUE(none.isError);
  EXPECT_EQ(none.text(0), "No creative search. Creatives: none: add one with creative_upsert.");
  EXPECT_EQ(harness.call("render_creative", args(bare)).text(0), "render_creative: creative is required.");
}

TEST(RenderCreativeTool, ACreativeOnAnUnknownCanvasNamesTheKnownOnes) {
  ToolHarness harness;
  std::string package = creativePackage(harness);
  testing::editProject(package, [](Project& project) { project.creatives[0].canvas = "ios.watch-face"; });
  ToolResult result = harness.call("render_creative", args(package, R"(,"creative":"header")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0),
            "Creative header is on canvas ios.watch-face, which Vorno doesn't know. Known: ios.header, "
            "ios.search-results, ios.universal.");
}

// Pixels, on a grid of every other one, where two pictures of one size differ visibly.
int differingPixels(const Image& a, const Image& b) {
  EXPECT_EQ(a.width(), b.width());
  EXPECT_EQ(a.height(), b.height());
  int differing = 0;
  for (int y = 0; y < std::min(a.height(), b.height()); y += 2)
    for (int x = 0; x < std::min(a.width(), b.width()); x += 2) {
      testing::Pixel p = testing::pixelAt(a, x, y), q = testing::pixelAt(b, x, y);
      if (std::abs(p.r - q.r) + std::abs(p.g - q.g) + std::abs(p.b - q.b) > 30) ++differing;
    }
  return differing;
}

TEST(RenderCreativeTool, ACreativeInMotionShowsItsPosterStillAndItsTimeline) {
  ToolHarness harness;
  std::string package = creativePackage(
      harness, R"({"fps": 60, "poster": 2.5, "scenes": [{"duration": 4, "show": ["headline"]},
                  {"duration": 6, "texts": {"headline": "Then rest"}}]})");
  ToolResult result = harness.call("render_creative", args(package, R"(,"creative":"header","preview_size":800)"));
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json out = result.json(1);
  EXPECT_EQ(std::filesystem::path(out["file"].get<std::string>()).filename(),
            "header__ios.header__en-US__02.50s.png");
  EXPECT_EQ(out["seconds"], 10.0);
  EXPECT_EQ(out["fps"], 60);
  EXPECT_EQ(out["frames"], 600);
  EXPECT_EQ(out["poster"], 2.5);
  EXPECT_EQ(out["scenes"], nlohmann::json::parse(R"([{"from": 0.0, "to": 4.0, "show": ["headline"]},
                                                     {"from": 4.0, "to": 10.0, "texts": ["headline"]}])"));
  Image preview = testing::decodeImage(result.imageBytes(0), harness.folder());
  EXPECT_EQ(preview.width(), 800);

  // The poster is the moment at 2.5 s, in the first scene, which shows the headline; at 7 s the
  // second scene shows nothing, and the picture is the bare background.
  ToolResult later = harness.call("render_creative", args(package, R"(,"creative":"header","time":7)"));
  ASSERT_FALSE(later.isError) << later.text(0);
  EXPECT_EQ(std::filesystem::path(later.json(1)["file"].get<std::string>()).filename(),
            "header__ios.header__en-US__07.00s.png");
  ToolResult latest = harness.call("render_creative", args(package, R"(,"creative":"header","time":8)"));
  ASSERT_FALSE(latest.isError) << latest.text(0);
  Image poster = Images::load(out["file"].get<std::string>());
  Image bare = Images::load(later.json(1)["file"].get<std::string>());
  EXPECT_EQ(poster.width(), 3840);
  EXPECT_GT(differingPixels(poster, bare), 2000);  // the headline's words
  EXPECT_EQ(differingPixels(bare, Images::load(latest.json(1)["file"].get<std::string>())), 0);
}

TEST(RenderCreativeTool, AFilmstripIsWrittenCleanAndItsPreviewShowsTheSafeAreaOnEveryTile) {
  ToolHarness harness;
  std::string package = creativePackage(harness, R"({"scenes": [{"duration": 3}, {"duration": 3}]})");
  ToolResult result =
      harness.call("render_creative", args(package, R"(,"creative":"header","filmstrip":true,"frames":5)"));
  ASSERT_FALSE(result.isError) << result.text(0);
  nlohmann::json out = result.json(1);
  EXPECT_EQ(std::filesystem::path(out["file"].get<std::string>()).filename(),
            "header__ios.header__en-US__filmstrip.png");
  // Five tiles: three columns, two rows, on a sheet 2400 px wide.
  const int tileWidth = (2400 - 4 * 24) / 3, tileHeight = static_cast<int>(tileWidth / (3840.0 / 1646.0));
  EXPECT_EQ(out["size"], "2400×" + std::to_string(2 * (tileHeight + 54) + 3 * 24));
  const Image guidedSheet = Images::load(out["file"].get<std::string>());

  ToolResult clean =
      harness.call("render_creative", args(package, R"(,"creative":"header","filmstrip":true,"frames":5,"guides":false)"));
  ASSERT_FALSE(clean.isError) << clean.text(0);
  Image guided = testing::decodeImage(result.imageBytes(0), harness.folder());
  Image plain = testing::decodeImage(clean.imageBytes(0), harness.folder());
  // A point near the top left corner of the first tile, outside the safe area: veiled only in
  // the guided preview. The sheets on disk are the same clean picture.
  const double shrink = 1600.0 / 2400;
  const int x = static_cast<int>((24 + 6) * shrink), y = static_cast<int>((24 + 6) * shrink);
  EXPECT_LT(brightness(testing::pixelAt(guided, x, y)) + 20, brightness(testing::pixelAt(plain, x, y)));
  EXPECT_EQ(differingPixels(guidedSheet, Images::load(clean.json(1)["file"].get<std::string>())), 0);
}

TEST(RenderCreativeTool, AFilmstripOfTooManyFramesIsRefusedWithItsLimit) {
  ToolHarness harness;
  std::string package = creativePackage(harness, R"({"scenes": [{"duration": 3}, {"duration": 3}]})");
  ToolResult result =
      harness.call("render_creative", args(package, R"(,"creative":"header","filmstrip":true,"frames":5000)"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "frames is 5000; a filmstrip holds at most 48.");
  EXPECT_EQ(testing::renderCount(package), 0);

  // A still creative has no motion to ask about: both are ignored.
  std::string still = creativePackage(harness, "", "Still.vorno");
  ToolResult stillResult =
      harness.call("render_creative", args(still, R"(,"creative":"header","filmstrip":true,"time":3)"));
  ASSERT_FALSE(stillResult.isError) << stillResult.text(0);
  EXPECT_EQ(std::filesystem::path(stillResult.json(1)["file"].get<std::string>()).filename(),
            "header__ios.header__en-US.png");
}

TEST(RenderCreativeTool, DescribesItselfAndLogsWhatWasLookedAt) {
  auto tool = renderTools()[3];
  EXPECT_EQ(tool->name(), "render_creative");
  EXPECT_EQ(tool->annotations().readOnlyHint, true);
  ToolActivity activity =
      tool->activity(Arguments(mcp::Value::Object{{"creative", "header"}, {"locale", "ja"}}, "render_creative"));
  EXPECT_EQ(activity.summary, "Looked at header");
  EXPECT_EQ(activity.slide, "header");
  EXPECT_EQ(activity.locale, "ja");
  EXPECT_EQ(tool->activity(Arguments({}, "render_creative")).summary, "Looked at store art");
}

}  // namespace
}  // namespace vorno::render_creative_tool_test
