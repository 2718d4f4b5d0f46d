#include "kit/layout/slide_layout_engine.h"

#include "kit/layout/layout_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace vorno::device_resolution_test {
namespace {

using testing::TestPackage;
using testing::heroSlide;
using testing::projectWith;
using testing::showing;

const ElementLayout* find(const ComposedSlide& c, const std::string& id) {
  for (const auto& e : c.elements)
    if (e.id == id) return &e;
  return nullptr;
}

const Issue* issue(const ComposedSlide& c, const std::string& code) {
  for (const auto& i : c.issues)
    if (i.code == code) return &i;
  return nullptr;
}

const DeviceContent& device(const ElementLayout* e) { return std::get<DeviceContent>(e->content); }

ComposedSlide layOut(const TestPackage& package, const Slide& slide, const StoreTarget& target,
                     const std::string& locale = "en-US") {
  Project project = projectWith({slide});
  return SlideLayoutEngine().layout(project, package.root(), project.slides[0], target, locale);
}

Slide withDevice(DeviceSlot slot) {
  Slide slide = heroSlide("a", "Hello");
  slide.device = std::move(slot);
  return slide;
}

TEST(DeviceResolution, MissingLocaleFallsBackToEnglishFirstWhateverTheAlphabetSays) {
  TestPackage package;
  package.capture("captures/fr-FR/home.png", 1320, 2868);
  package.capture("captures/en-US/home.png", 1320, 2868);
  ComposedSlide c = layOut(package, withDevice(showing("captures/{locale}/home.png")),
                           StoreTarget::iphone69(), "de-DE");
  const Issue* fallback = issue(c, "capture.locale");
  ASSERT_NE(fallback, nullptr);
  EXPECT_EQ(fallback->message, "No de-DE screenshot for home.png yet; showing the en-US one.");
  EXPECT_EQ(fallback->severity, Issue::Severity::warning);
  ASSERT_NE(find(c, "device"), nullptr);
  EXPECT_EQ(device(find(c, "device")).capture, package.root() + "/captures/en-US/home.png");
  EXPECT_EQ(issue(c, "capture.missing"), nullptr);
}

TEST(DeviceResolution, ReferenceWithoutLocaleHasNoFallbackAndIsMissing) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  ComposedSlide c = layOut(package, withDevice(showing("captures/de-DE/home.png")),
                           StoreTarget::iphone69(), "de-DE");
  const Issue* missing = issue(c, "capture.missing");
  ASSERT_NE(missing, nullptr);
  EXPECT_EQ(missing->message,
            "Screenshot captures/de-DE/home.png is missing. Take it with capture_screenshot (or vorno capture), which "
            "saves captures/de-DE/<name>.png, or add an image with asset_add and use its path.");
  EXPECT_EQ(missing->severity, Issue::Severity::error);
  EXPECT_EQ(issue(c, "capture.locale"), nullptr);
  // The device is still drawn, as the default frame without a capture.
  ASSERT_NE(find(c, "device"), nullptr);
  EXPECT_FALSE(device(find(c, "device")).capture);
}

TEST(DeviceResolution, LandscapeCaptureInPortraitFrameWithoutCropTurnsTheFrameAtNinetyPercentWidth) {
  TestPackage package;
  package.capture("captures/en-US/wide.png", 2868, 1320);
  ComposedSlide c = layOut(package, withDevice(showing("captures/{locale}/wide.png")),
                           StoreTarget::iphone69());
  const ElementLayout* d = find(c, "device");
  ASSERT_NE(d, nullptr);
  const DeviceFrame& frame = device(d).renderer.frame();
  ASSERT_TRUE(frame.turn);
  EXPECT_TRUE(frame.id.ends_with("+landscape"));
  EXPECT_DOUBLE_EQ(d->frame.width, 0.9 * 1320);
  EXPECT_GT(d->frame.width, d->frame.height);
}

TEST(DeviceResolution, LandscapeCaptureWithCropIsNotTurnedAndShowsADetailCard) {
  TestPackage package;
  package.capture("captures/en-US/wide.png", 2868, 1320);
  DeviceSlot slot = showing("captures/{locale}/wide.png");
  slot.crop = CropRect{0.1, 0.1, 0.5, 0.5};
  ComposedSlide c = layOut(package, withDevice(slot), StoreTarget::iphone69());
  const ElementLayout* d = find(c, "device");
  ASSERT_NE(d, nullptr);
  const DeviceFrame& frame = device(d).renderer.frame();
  EXPECT_FALSE(frame.turn);
  EXPECT_NE(frame.id.find("+crop("), std::string::npos);
  ASSERT_TRUE(frame.crop);
  EXPECT_EQ(frame.screenWidth, 1434);
  EXPECT_EQ(frame.screenHeight, 660);
}

TEST(DeviceResolution, BareScreenWithOutlineIsOutlinedAndNamedFrameWithOutlineIsReported) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  DeviceSlot bare = showing("captures/{locale}/home.png");
  bare.frame = "none";
  bare.outline = RGBColor::white();
  ComposedSlide c = layOut(package, withDevice(bare), StoreTarget::iphone69());
  const DeviceFrame& frame = device(find(c, "device")).renderer.frame();
  ASSERT_TRUE(frame.outline);
  EXPECT_NE(frame.id.find("+screen"), std::string::npos);
  EXPECT_TRUE(frame.id.ends_with("+ring(#FFFFFF)"));
  EXPECT_EQ(issue(c, "device.outline"), nullptr);

  DeviceSlot named = bare;
  named.frame = "iphone-17-pro-max";
  ComposedSlide n = layOut(package, withDevice(named), StoreTarget::iphone69());
  const Issue* outline = issue(n, "device.outline");
  ASSERT_NE(outline, nullptr);
  EXPECT_EQ(outline->severity, Issue::Severity::info);
  EXPECT_EQ(outline->message, "Outlines draw only around bare screens and detail cards (frame none, or a crop).");
  EXPECT_FALSE(device(find(n, "device")).renderer.frame().outline);
}

TEST(DeviceResolution, CaptureFourTenthsOfAPercentOffNeedsNoWarningAndSixTenthsWarnsAboutAspect) {
  TestPackage package;
  // The iPhone 17 Pro Max screen is 1320 x 2868.
  package.capture("captures/en-US/close.png", 1320, 2857);  // 0.39% wider in aspect
  package.capture("captures/en-US/far.png", 1320, 2851);    // 0.60% wider
  DeviceSlot slot = showing("captures/{locale}/close.png");
  slot.frame = "iphone-17-pro-max";
  EXPECT_EQ(issue(layOut(package, withDevice(slot), StoreTarget::iphone69()), "capture.aspect"), nullptr);
  slot.screenshot = ScreenshotRef::path("captures/{locale}/far.png");
  ComposedSlide c = layOut(package, withDevice(slot), StoreTarget::iphone69());
  const Issue* aspect = issue(c, "capture.aspect");
  ASSERT_NE(aspect, nullptr);
  EXPECT_EQ(aspect->message.rfind("Capture aspect differs from the iPhone 17 Pro Max screen by 0.6%; it was fitted to "
                                  "the width, so the bottom is trimmed or extended.",
                                  0),
            0u);
  EXPECT_TRUE(aspect->message.ends_with(" Use a capture from a matching device."));
}

TEST(DeviceResolution, ElementForAnotherTargetIsAbsentWithoutAnIssue) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  SlideElement shape;
  shape.id = "blob";
  shape.kind = SlideElement::Kind::shape;
  shape.targets = std::vector<std::string>{"play.phone"};
  slide.elements = {shape};
  ComposedSlide ios = layOut(package, slide, StoreTarget::iphone69());
  EXPECT_EQ(find(ios, "blob"), nullptr);
  for (const auto& i : ios.issues) EXPECT_EQ(i.element.value_or("").find("blob"), std::string::npos) << i.code;
  ComposedSlide play = layOut(package, slide, StoreTarget::playPhone());
  EXPECT_NE(find(play, "blob"), nullptr);
}

TEST(DeviceResolution, SymbolOnAndroidDisappearsWithLicenseWarningAndIsDrawnOnIOS) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  SlideElement star;
  star.id = "star";
  star.kind = SlideElement::Kind::symbol;
  star.symbol = "star.fill";
  slide.elements = {star};
  ComposedSlide play = layOut(package, slide, StoreTarget::playPhone());
  EXPECT_EQ(find(play, "star"), nullptr);
  const Issue* license = issue(play, "symbol.license");
  ASSERT_NE(license, nullptr);
  EXPECT_EQ(license->message,
            "SF Symbols are licensed for Apple-platform artwork only; use your own icon on Google Play.");
  ComposedSlide ios = layOut(package, slide, StoreTarget::iphone69());
  const ElementLayout* drawn = find(ios, "star");
  ASSERT_NE(drawn, nullptr);
  EXPECT_EQ(drawn->kind, ElementLayout::Kind::symbol);
  EXPECT_EQ(drawn->label, "Icon");
  EXPECT_EQ(issue(ios, "symbol.license"), nullptr);

  slide.elements[0].symbol = "no.such.symbol";
  ComposedSlide unknown = layOut(package, slide, StoreTarget::iphone69());
  ASSERT_NE(issue(unknown, "symbol.unknown"), nullptr);
  const std::string& message = issue(unknown, "symbol.unknown")->message;
  EXPECT_EQ(message.rfind("\"no.such.symbol\" isn't among vorno's symbols, so the icon is left out. Nearest known "
                          "names: ", 0),
            0u)
      << message;
  EXPECT_NE(message.find("Every name is listed in symbols.tsv"), std::string::npos) << message;
}

TEST(DeviceResolution, MissingImageElementIsDroppedWithAnError) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  SlideElement image;
  image.id = "logo";
  image.kind = SlideElement::Kind::image;
  image.image = "assets/logo.png";
  slide.elements = {image};
  ComposedSlide c = layOut(package, slide, StoreTarget::iphone69());
  EXPECT_EQ(find(c, "logo"), nullptr);
  ASSERT_NE(issue(c, "image.missing"), nullptr);
  EXPECT_EQ(issue(c, "image.missing")->message, "Image not found or unreadable: assets/logo.png");
  package.capture("assets/logo.png", 200, 100);
  ComposedSlide present = layOut(package, slide, StoreTarget::iphone69());
  const ElementLayout* logo = find(present, "logo");
  ASSERT_NE(logo, nullptr);
  EXPECT_DOUBLE_EQ(logo->frame.height, logo->frame.width * 0.5);
}

TEST(DeviceResolution, PathShapeWithoutDataIsDroppedWithAnError) {
  TestPackage package;
  Slide slide = heroSlide("a", "Hello");
  SlideElement shape;
  shape.id = "squiggle";
  shape.kind = SlideElement::Kind::shape;
  shape.shape = ShapeKind::path;
  slide.elements = {shape};
  ComposedSlide c = layOut(package, slide, StoreTarget::iphone69());
  EXPECT_EQ(find(c, "squiggle"), nullptr);
  ASSERT_NE(issue(c, "shape.path"), nullptr);
  EXPECT_EQ(issue(c, "shape.path")->message, "Shape squiggle is a path but has no path data.");
  slide.elements[0].path = "M0 0 L100 0 L100 50 Z";
  ComposedSlide drawn = layOut(package, slide, StoreTarget::iphone69());
  const ElementLayout* s = find(drawn, "squiggle");
  ASSERT_NE(s, nullptr);
  EXPECT_DOUBLE_EQ(s->frame.height, s->frame.width * 0.5);
}

TEST(DeviceResolution, NoCaptureWarnsAndUsesTheDefaultFrame) {
  TestPackage package;
  ComposedSlide c = layOut(package, withDevice(showing("")), StoreTarget::iphone69());
  ASSERT_NE(issue(c, "capture.none"), nullptr);
  EXPECT_EQ(c.frameID, "iphone-17-pro-max");
}

TEST(DeviceResolution, NoCaptureSentenceNamesTheCaptureToolAndWhereItSaves) {
  TestPackage package;
  ComposedSlide c = layOut(package, withDevice(showing("")), StoreTarget::iphone69(), "de-DE");
  ASSERT_NE(issue(c, "capture.none"), nullptr);
  EXPECT_EQ(issue(c, "capture.none")->message,
            "This phone has no screenshot yet. Take one with capture_screenshot (or vorno capture), which saves "
            "captures/de-DE/<name>.png, and use that path as the device's screenshot; or add an image with asset_add "
            "and use its path.");
}

TEST(DeviceResolution, UnreadableCaptureSentenceNamesTheCaptureTool) {
  TestPackage package;
  std::filesystem::create_directories(std::filesystem::path(package.root()) / "captures/en-US/home.png");
  ComposedSlide c = layOut(package, withDevice(showing("captures/en-US/home.png")), StoreTarget::iphone69());
  const Issue* missing = issue(c, "capture.missing");
  ASSERT_NE(missing, nullptr);
  EXPECT_EQ(missing->message,
            "Screenshot captures/en-US/home.png isn't a file that can be read. Take it again with capture_screenshot "
            "(or vorno capture), which saves captures/en-US/<name>.png, or add an image with asset_add and use its "
            "path.");
}

TEST(DeviceResolution, UnknownFinishIsReportedWithTheFramesOptions) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  DeviceSlot slot = showing("captures/{locale}/home.png");
  slot.finish = "gold-plated";
  ComposedSlide c = layOut(package, withDevice(slot), StoreTarget::iphone69());
  const Issue* finish = issue(c, "frame.finish");
  ASSERT_NE(finish, nullptr);
  EXPECT_EQ(finish->message,
            "Unknown finish gold-plated. Options: deep-blue, cosmic-orange, silver, flat-black, flat-white.");
  EXPECT_FALSE(device(find(c, "device")).finish);
}

}  // namespace
}  // namespace vorno::device_resolution_test
