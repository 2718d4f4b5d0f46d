#include "kit/render/image_drawing.h"

#include "kit/image/canvas.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/render/layer_renderer.h"
#include "kit/render/layer_test_support.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <fstream>

namespace vorno::image_drawing_test {
namespace {

using namespace vorno::testing;

const RGBColor red{1, 0, 0, 1};

void writeText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// A 100 x 50 PNG, its left half red and its right half blue.
std::string halvesPNG(const TempFolder& folder) {
  Canvas canvas = Canvas::opaque(100, 50);
  cairo_t* cr = canvas.context();
  cairo_set_source_rgb(cr, 1, 0, 0);
  cairo_rectangle(cr, 0, 0, 50, 50);
  cairo_fill(cr);
  cairo_set_source_rgb(cr, 0, 0, 1);
  cairo_rectangle(cr, 50, 0, 50, 50);
  cairo_fill(cr);
  std::string path = folder.file("halves.png");
  Images::write(canvas.finish(), path, Images::ImageType::png);
  return path;
}

ImageSpec imageSpec(std::string path, std::optional<ShapeKind> mask = std::nullopt, double radius = 0) {
  ImageSpec spec;
  spec.path = std::move(path);
  spec.mask = mask;
  spec.cornerRadius = radius;
  return spec;
}

ElementLayout imageElement(ImageSpec spec, Rect frame, double bleed = 0) {
  return element(ElementLayout::Kind::image, std::move(spec), frame, bleed);
}

TEST(ImageDrawing, RasterFillsTheFrame) {
  TempFolder folder;
  Image image = LayerRenderer::render(imageElement(imageSpec(halvesPNG(folder)), {0, 0, 200, 100}), 1);
  EXPECT_EQ(argb(image, 5, 50), (std::array<int, 4>{255, 255, 0, 0}));
  EXPECT_EQ(argb(image, 195, 50), (std::array<int, 4>{255, 0, 0, 255}));
  // Edges are not faded into transparency by the filter.
  EXPECT_EQ(alphaAt(image, 0, 0), 255);
  EXPECT_EQ(alphaAt(image, 199, 99), 255);
}

TEST(ImageDrawing, CropShowsOnlyItsPartWithNothingFromOutside) {
  TempFolder folder;
  ImageSpec spec = imageSpec(halvesPNG(folder));
  spec.crop = CropRect{0.5, 0, 0.5, 1};
  Image image = LayerRenderer::render(imageElement(spec, {0, 0, 100, 100}), 1);
  for (int x : {0, 1, 50, 99}) EXPECT_EQ(argb(image, x, 50), (std::array<int, 4>{255, 0, 0, 255})) << x;
}

TEST(ImageDrawing, MasksClipToTheirOutlines) {
  TempFolder folder;
  std::string path = halvesPNG(folder);
  ImageSpec circle = imageSpec(path, ShapeKind::circle);
  Image a = LayerRenderer::render(imageElement(circle, {0, 0, 100, 100}), 1);
  EXPECT_EQ(alphaAt(a, 5, 5), 0);
  EXPECT_EQ(alphaAt(a, 50, 50), 255);
  EXPECT_EQ(alphaAt(a, 50, 1), 255);
  ImageSpec capsule = imageSpec(path, ShapeKind::capsule);
  Image b = LayerRenderer::render(imageElement(capsule, {0, 0, 200, 60}), 1);
  EXPECT_EQ(alphaAt(b, 2, 2), 0);
  EXPECT_EQ(alphaAt(b, 100, 1), 255);
  ImageSpec rounded = imageSpec(path, ShapeKind::roundedRectangle, 20);
  Image c = LayerRenderer::render(imageElement(rounded, {0, 0, 200, 100}), 1);
  EXPECT_EQ(alphaAt(c, 1, 1), 0);
  EXPECT_EQ(alphaAt(c, 100, 0), 255);
  EXPECT_EQ(alphaAt(c, 198, 98), 0);
  ImageSpec square = imageSpec(path, ShapeKind::rectangle);
  EXPECT_EQ(alphaAt(LayerRenderer::render(imageElement(square, {0, 0, 50, 50}), 1), 0, 0), 255);
}

TEST(ImageDrawing, ImageBlurSoftensTheLayer) {
  TempFolder folder;
  ImageSpec spec = imageSpec(halvesPNG(folder));
  spec.blur = 6;
  Image image = LayerRenderer::render(imageElement(spec, {0, 0, 100, 100}, 20), 1);
  EXPECT_GT(alphaAt(image, 10, 70), 5);  // blurred out into the bleed
  auto middle = argb(image, 70, 70);     // the red and blue meet and mix
  EXPECT_GT(middle[1], 40);
  EXPECT_GT(middle[3], 40);
}

TEST(ImageDrawing, VectorIsDrawnSharpAndCroppedAtTheFrame) {
  TempFolder folder;
  std::string path = folder.file("halves.svg");
  writeText(path,
            "<svg xmlns='http://www.w3.org/2000/svg' width='100' height='50' viewBox='0 0 100 50'>"
            "<rect width='50' height='50' fill='#ff0000'/><rect x='50' width='50' height='50' fill='#0000ff'/>"
            "</svg>");
  ImageSpec spec = imageSpec(path);
  spec.crop = CropRect{0.5, 0, 0.5, 1};
  Image image = LayerRenderer::render(imageElement(spec, {0, 0, 100, 100}, 10), 1);
  EXPECT_EQ(argb(image, 11, 50), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(argb(image, 108, 50), (std::array<int, 4>{255, 0, 0, 255}));
  // The enlarged drawing doesn't spill into the bleed.
  EXPECT_EQ(alphaAt(image, 5, 50), 0);
  EXPECT_EQ(ImageDrawing::vectorRect({0.5, 0, 0.5, 1}, {0, 0, 100, 100}), (Rect{-100, 0, 200, 100}));
  EXPECT_EQ(ImageDrawing::vectorRect({0.25, 0.5, 0.5, 0.5}, {10, 10, 100, 100}), (Rect{-40, -90, 200, 200}));
}

TEST(ImageDrawing, MissingImageElementFailsWithTheSentence) {
  TempFolder folder;
  std::string path = folder.file("gone.png");
  try {
    LayerRenderer::render(imageElement(imageSpec(path), {0, 0, 10, 10}), 1);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
    EXPECT_EQ(error.message(), "Image not found: " + path);
  }
}

TEST(ImageDrawing, SVGThatDoesNotParseIsASentence) {
  TempFolder folder;
  std::string path = folder.file("broken.svg");
  writeText(path, "<svg xmlns='http://www.w3.org/2000/svg'><rect width='10' height=");
  try {
    LayerRenderer::render(imageElement(imageSpec(path), {0, 0, 10, 10}), 1);
    FAIL() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(), "Not a readable image: " + path);
  }
}

TEST(ImageDrawing, PDFWithoutPagesIsASentenceOrAnEmptyDrawing) {
  TempFolder folder;
  std::string path = folder.file("empty.pdf");
  writeText(path,
            "%PDF-1.4\n1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj\n"
            "2 0 obj << /Type /Pages /Kids [] /Count 0 >> endobj\ntrailer << /Root 1 0 R >>\n%%EOF\n");
  try {
    Image image = LayerRenderer::render(imageElement(imageSpec(path), {0, 0, 10, 10}), 1);
    EXPECT_TRUE(inkBox(image).isEmpty());
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Not a readable image: " + path);
  }
}

TEST(ImageDrawing, PNGOfTwentyThousandSquareIsASentenceNotACrashOrAHang) {
  TempFolder folder;
  std::string path = folder.file("huge.png");
  // A real 20000 x 20000 header with a tiny, truncated stream: the decoder must decide on the size
  // before it reads any pixels.
  std::vector<uint8_t> bytes = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R',
                                0, 0, 0x4E, 0x20, 0, 0, 0x4E, 0x20, 8, 2, 0, 0, 0};
  uint32_t crc = 0xFFFFFFFF;  // CRC-32 of "IHDR" and its data
  for (size_t i = 12; i < bytes.size(); ++i) {
    crc ^= bytes[i];
    for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
  }
  crc ^= 0xFFFFFFFF;
  for (int s : {24, 16, 8, 0}) bytes.push_back(uint8_t(crc >> s));
  bytes.insert(bytes.end(), {0, 0, 0, 2, 'I', 'D', 'A', 'T', 0x78, 0x01, 0, 0, 0, 0});
  testing::writeBytes(path, bytes);
  try {
    Image image = LayerRenderer::render(imageElement(imageSpec(path), {0, 0, 100, 100}), 1);
    EXPECT_EQ(image.width(), 100);
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Not a readable image: " + path);
  }
  // A hang would be stopped by the test's own time limit; how fast the refusal is isn't the point.
}

}  // namespace
}  // namespace vorno::image_drawing_test
