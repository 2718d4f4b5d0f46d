#include "kit/image/vector_image.h"

#include "kit/image/images.h"
#include "tests/temp_folder.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

namespace vorno::vector_image_test {
namespace {

using testing::TempFolder;

uint32_t at(const Image& image, int x, int y) {
  uint32_t w;
  std::memcpy(&w, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  return w;
}

// Left half red, right half blue, in a drawing of `width` × `height` units.
std::string halvesSVG(double width, double height, bool viewBoxOnly = false) {
  std::string size = viewBoxOnly ? "" : "width=\"" + std::to_string(width) + "\" height=\"" + std::to_string(height) + "\" ";
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" " + size + "viewBox=\"0 0 " + std::to_string(width) + " " +
         std::to_string(height) + "\"><rect width=\"" + std::to_string(width / 2) + "\" height=\"" +
         std::to_string(height) + "\" fill=\"#ff0000\"/><rect x=\"" + std::to_string(width / 2) + "\" width=\"" +
         std::to_string(width / 2) + "\" height=\"" + std::to_string(height) + "\" fill=\"#0000ff\"/></svg>";
}

void writePDF(const std::string& path, double width, double height) {
  cairo_surface_t* surface = cairo_pdf_surface_create(path.c_str(), width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 0, 0.5, 0);
  cairo_rectangle(cr, 0, 0, width, height / 2);  // green on top
  cairo_fill(cr);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

TEST(VectorImage, KnowsItsKindsByExtension) {
  EXPECT_TRUE(VectorImage::isVector("a.svg"));
  EXPECT_TRUE(VectorImage::isVector("dir/A.PDF"));
  EXPECT_FALSE(VectorImage::isVector("a.png"));
  EXPECT_FALSE(VectorImage::isVector("svg"));
}

TEST(VectorImage, SVGNaturalSizeFromWidthAndHeightOrViewBox) {
  TempFolder folder;
  std::ofstream(folder.file("sized.svg")) << halvesSVG(120, 40);
  std::ofstream(folder.file("boxed.svg")) << halvesSVG(30, 60, true);
  EXPECT_EQ(VectorImage::naturalSize(folder.file("sized.svg")), (Size{120, 40}));
  EXPECT_EQ(VectorImage::naturalSize(folder.file("boxed.svg")), (Size{30, 60}));
}

TEST(VectorImage, PDFNaturalSizeIsItsFirstPageInPoints) {
  TempFolder folder;
  writePDF(folder.file("page.pdf"), 200, 100);
  EXPECT_EQ(VectorImage::naturalSize(folder.file("page.pdf")), (Size{200, 100}));
  EXPECT_EQ(Images::pixelSize(folder.file("page.pdf")), (Size{200, 100}));
}

TEST(VectorImage, RasterAtFourTimesNaturalSize) {
  TempFolder folder;
  std::ofstream(folder.file("art.svg")) << halvesSVG(30, 20);
  Image image = VectorImage::rasterize(folder.file("art.svg"), 4);
  ASSERT_TRUE(image);
  EXPECT_EQ(image.width(), 120);
  EXPECT_EQ(image.height(), 80);
  EXPECT_EQ(at(image, 10, 40), 0xFFFF0000u);
  EXPECT_EQ(at(image, 110, 40), 0xFF0000FFu);

  writePDF(folder.file("page.pdf"), 50, 40);
  Image page = VectorImage::rasterize(folder.file("page.pdf"), 4);
  ASSERT_TRUE(page);
  EXPECT_EQ(page.width(), 200);
  EXPECT_EQ(page.height(), 160);
  EXPECT_EQ(at(page, 100, 20) >> 24, 255u);
  EXPECT_NEAR(double((at(page, 100, 20) >> 8) & 0xFF), 128, 1);
  EXPECT_EQ(at(page, 100, 140), 0u);  // the page is transparent where nothing is drawn
}

TEST(VectorImage, HugeRasterIsKeptWithinTheLimits) {
  // 4 × 10000 would be 40000 pixels wide: the raster is scaled down to 32767, keeping its aspect.
  TempFolder folder;
  std::ofstream(folder.file("banner.svg")) << halvesSVG(10000, 20);
  Image image = VectorImage::rasterize(folder.file("banner.svg"), 4);
  ASSERT_TRUE(image);
  EXPECT_EQ(image.width(), 32767);
  EXPECT_EQ(image.height(), 66);
}

TEST(VectorImage, DrawStretchesToTheRectangle) {
  TempFolder folder;
  std::ofstream(folder.file("art.svg")) << halvesSVG(10, 10);
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 100, 20);
  cairo_t* cr = cairo_create(surface);
  EXPECT_TRUE(VectorImage::draw(folder.file("art.svg"), cr, {0, 0, 100, 20}));
  cairo_destroy(cr);
  Image image = Image::adopt(surface);
  EXPECT_EQ(at(image, 45, 10), 0xFFFF0000u);  // the red half reaches the middle of the width
  EXPECT_EQ(at(image, 55, 10), 0xFF0000FFu);
}

TEST(VectorImage, UnreadableFilesGiveNothing) {
  TempFolder folder;
  std::ofstream(folder.file("broken.svg")) << "<svg";
  std::ofstream(folder.file("broken.pdf")) << "%PDF-1.4 nothing";
  std::ofstream(folder.file("nosize.svg")) << R"(<svg xmlns="http://www.w3.org/2000/svg"/>)";
  for (const char* name : {"broken.svg", "broken.pdf", "nosize.svg", "missing.svg"}) {
    EXPECT_FALSE(VectorImage::naturalSize(folder.file(name))) << name;
    EXPECT_FALSE(VectorImage::rasterize(folder.file(name), 4)) << name;
  }
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 4, 4);
  cairo_t* cr = cairo_create(surface);
  EXPECT_FALSE(VectorImage::draw(folder.file("broken.svg"), cr, {0, 0, 4, 4}));
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

}  // namespace
}  // namespace vorno::vector_image_test
