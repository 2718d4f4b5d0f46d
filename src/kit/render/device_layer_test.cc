// Device layers: the capture comes from the image cache, and the device draws it with its own
// shadow only when the element has the stock shadow.
#include "kit/devices/builtin_specs.h"
#include "kit/image/canvas.h"
#include "kit/image/images.h"
#include "kit/render/layer_renderer.h"
#include "kit/render/layer_test_support.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>


namespace vorno::device_layer_test {
namespace {

using namespace vorno::testing;

ElementLayout deviceElement(std::optional<std::string> capture, double width = 200) {
  DeviceRenderer renderer(BuiltinSpecs::fallbackFrames()[3]);
  DeviceContent content{renderer, std::nullopt, std::move(capture)};
  Size body = renderer.nativeBodySize();
  return element(ElementLayout::Kind::device, content, {0, 0, width, width * body.height / body.width}, 30);
}

TEST(DeviceLayer, CaptureIsDrawnOnTheScreen) {
  TempFolder folder;
  std::string path = folder.file("capture.png");
  Canvas green = Canvas::opaque(1206, 2622);
  cairo_set_source_rgb(green.context(), 0, 1, 0);
  cairo_paint(green.context());
  Images::write(green.finish(), path, Images::ImageType::png);
  ElementLayout e = deviceElement(path);
  Image image = LayerRenderer::render(e, 1);
  // The middle of the screen shows the capture.
  auto centre = argb(image, int(30 + e.frame.width / 2), int(30 + e.frame.height / 2));
  EXPECT_EQ(centre[0], 255);
  EXPECT_GT(centre[2], 240);
  EXPECT_LT(centre[1], 20);
  // The bleed stays empty without a shadow.
  EXPECT_EQ(alphaAt(image, 5, int(30 + e.frame.height / 2)), 0);
}

TEST(DeviceLayer, StockShadowIsTheDevicesOwnAndFallsBelow) {
  ElementLayout e = deviceElement(std::nullopt);
  e.shadow = true;
  Image image = LayerRenderer::render(e, 1);
  int below = alphaAt(image, int(30 + e.frame.width / 2), int(30 + e.frame.height + 8));
  int above = alphaAt(image, int(30 + e.frame.width / 2), 30 - 8);
  EXPECT_GT(below, 0);
  EXPECT_GE(below, above);
}

TEST(DeviceLayer, MissingCaptureFailsWithTheSentence) {
  TempFolder folder;
  std::string path = folder.file("none.png");
  try {
    LayerRenderer::render(deviceElement(path), 1);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
    EXPECT_EQ(error.message(), "Image not found: " + path);
  }
}

TEST(DeviceLayer, TwentyThousandSquareCaptureIsASentenceOrADrawing) {
  TempFolder folder;
  std::string path = folder.file("huge.png");
  // A 20000 x 20000 PNG header with a short stream: the size must be judged before decoding.
  std::vector<uint8_t> bytes = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R',
                                0, 0, 0x4E, 0x20, 0, 0, 0x4E, 0x20, 8, 2, 0, 0, 0, 0x6C, 0x12, 0xD1, 0x6E};
  bytes.insert(bytes.end(), {0, 0, 0, 2, 'I', 'D', 'A', 'T', 0x78, 0x01, 0, 0, 0, 0});
  testing::writeBytes(path, bytes);
  try {
    Image image = LayerRenderer::render(deviceElement(path), 1);
    EXPECT_GT(image.width(), 200);
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Not a readable image: " + path);
  }
  // A hang would be stopped by the test's own time limit; how fast the refusal is isn't the point.
}

}  // namespace
}  // namespace vorno::device_layer_test
