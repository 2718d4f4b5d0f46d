#include "kit/render/component_painter.h"

#include "kit/image/cairo_util.h"
#include "kit/layout/component_layout.h"
#include "kit/model/slide_element.h"
#include "kit/model/theme.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>

namespace vorno::component_painter_test {
namespace {

using D = ComponentDrawing;

// A transparent canvas to paint on and read back.
class Canvas {
 public:
  Canvas(int w, int h)
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h)), cr_(cairo_create(surface_.get())) {}
  cairo_t* cr() const { return cr_.get(); }
  /// Un-premultiplied channels 0...255 at a pixel: {r, g, b, a}.
  std::array<int, 4> at(int x, int y) {
    cairo_surface_flush(surface_.get());
    const uint8_t* row = cairo_image_surface_get_data(surface_.get()) + y * cairo_image_surface_get_stride(surface_.get());
    uint32_t px = reinterpret_cast<const uint32_t*>(row)[x];
    int a = px >> 24, r = (px >> 16) & 255, g = (px >> 8) & 255, b = px & 255;
    if (a > 0) r = r * 255 / a, g = g * 255 / a, b = b * 255 / a;
    return {r, g, b, a};
  }
  int alpha(int x, int y) { return at(x, y)[3]; }

 private:
  CairoSurfacePtr surface_;
  CairoContextPtr cr_;
};

D single(D::Part part, Size size) {
  D d;
  d.size = size;
  d.parts.push_back(std::move(part));
  return d;
}

const RGBColor red{1, 0, 0, 1};
const RGBColor blue{0, 0, 1, 1};

TEST(ComponentPainter, DrawScalesTheSpaceToTheRectangle) {
  Canvas c(300, 200);
  D d = single(D::Card{{0, 0, 1000, 500}, 0, red}, {1000, 500});
  ComponentPainter::draw(d, {10, 20, 100, 50}, c.cr());
  EXPECT_EQ(c.alpha(12, 22), 255);
  EXPECT_EQ(c.alpha(108, 68), 255);
  EXPECT_EQ(c.alpha(112, 72), 0);
  EXPECT_EQ(c.alpha(8, 18), 0);
  EXPECT_EQ(c.at(50, 40)[0], 255);
}

TEST(ComponentPainter, StarIsSolidInTheMiddleAndEmptyBetweenItsPoints) {
  Path star = ComponentPainter::star({0, 0, 100, 100});
  Rect b = star.bounds();
  EXPECT_NEAR(b.width, 100, 0.5);  // the star is as wide as its box (height is what limits it)
  EXPECT_GE(b.minY(), -1e-9);
  EXPECT_LE(b.maxY(), 100 + 1e-9);
  Canvas c(100, 100);
  ComponentPainter::draw(single(D::Stars{{0, 0, 100, 20}, 5, red, blue}, {100, 20}), {0, 0, 100, 20}, c.cr());
  EXPECT_EQ(c.alpha(10, 11), 255);  // the middle of the first star
  EXPECT_EQ(c.alpha(2, 2), 0);      // between the top point and the arms: no ink
  EXPECT_EQ(c.alpha(17, 2), 0);
  EXPECT_GT(c.alpha(10, 2), 0);     // the top point itself
}

TEST(ComponentPainter, PartFilledStarsSplitAtTheValue) {
  Canvas c(500, 100);
  // Five 92-unit stars with 14-unit gaps in 516 units: the fourth star spans 318...410.
  D d = single(D::Stars{{0, 0, 516, 92}, 3.5, red, blue}, {516, 92});
  ComponentPainter::draw(d, {0, 0, 516, 92}, c.cr());
  auto third = c.at(46 + 2 * 106, 50), fourthLeft = c.at(318 + 36, 50), fourthRight = c.at(318 + 56, 50),
       fifth = c.at(46 + 4 * 106, 50);
  EXPECT_EQ(third[0], 255);
  EXPECT_EQ(fourthLeft[0], 255);
  EXPECT_EQ(fourthRight[2], 255);
  EXPECT_EQ(fourthRight[0], 0);
  EXPECT_EQ(fifth[2], 255);
}

TEST(ComponentPainter, CheckIsADiscWithATickInTheMarkColour) {
  Canvas c(100, 100);
  Rect r{0, 0, 100, 100};
  ComponentPainter::draw(single(D::Check{r, blue, red}, {100, 100}), r, c.cr());
  EXPECT_EQ(c.at(44, 66)[0], 255);  // on the tick's corner
  EXPECT_EQ(c.at(50, 85)[2], 255);  // disc below the tick
  EXPECT_EQ(c.alpha(2, 2), 0);      // outside the disc
}

TEST(ComponentPainter, SymbolIsTintedWithItsColour) {
  Canvas c(100, 100);
  Rect r{0, 0, 100, 100};
  ComponentPainter::draw(single(D::Symbol{"heart.fill", r, red}, {100, 100}), r, c.cr());
  auto middle = c.at(50, 50);
  EXPECT_EQ(middle[3], 255);
  EXPECT_EQ(middle[0], 255);
  EXPECT_EQ(middle[1], 0);
  EXPECT_EQ(c.alpha(1, 98), 0);
}

TEST(ComponentPainter, UnknownSymbolAndUnreadableImageDrawNothing) {
  Canvas c(100, 100);
  Rect r{0, 0, 100, 100};
  D d;
  d.size = {100, 100};
  d.parts.push_back(D::Symbol{"no.such.symbol", r, red});
  d.parts.push_back(D::Image{"/nonexistent/icon.png", r, 20});
  ComponentPainter::draw(d, r, c.cr());
  for (int y = 0; y < 100; y += 7)
    for (int x = 0; x < 100; x += 7) ASSERT_EQ(c.alpha(x, y), 0) << x << "," << y;
}

TEST(ComponentPainter, ImageIsClippedToItsRoundedRectangle) {
  testing::TempFolder folder;
  std::string path = folder.file("icon.png");
  {
    CairoSurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 10, 10));
    CairoContextPtr cr(cairo_create(s.get()));
    cairo_set_source_rgb(cr.get(), 0, 0, 1);
    cairo_paint(cr.get());
    cairo_surface_write_to_png(s.get(), path.c_str());
  }
  Canvas c(100, 100);
  Rect r{0, 0, 100, 100};
  ComponentPainter::draw(single(D::Image{path, r, 30}, {100, 100}), r, c.cr());
  EXPECT_EQ(c.at(50, 50)[2], 255);
  EXPECT_EQ(c.alpha(50, 50), 255);
  EXPECT_EQ(c.alpha(1, 1), 0);  // the corner is cut away
}

TEST(ComponentPainter, BadgeDrawsItsImageInTheCapsule) {
  testing::TempFolder folder;
  std::filesystem::create_directories(folder.path() / "assets");
  std::string path = (folder.path() / "assets" / "seal.png").string();
  {
    CairoSurfacePtr s(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 64, 64));
    CairoContextPtr cr(cairo_create(s.get()));
    cairo_set_source_rgb(cr.get(), 1, 0, 0);
    cairo_paint(cr.get());
    cairo_surface_write_to_png(s.get(), path.c_str());
  }
  ComponentSpec spec;
  spec.type = ComponentSpec::Kind::badge;
  spec.title = LocalizedText{{{"en-US", "Editor's choice"}}};
  spec.image = "assets/seal.png";
  D d = ComponentLayout::make(spec, Theme::vorno(), RGBColor::black(), RGBColor::black(), "en-US",
                              folder.path().string());
  // One canvas pixel per unit of the component's space.
  Canvas c(int(std::ceil(d.size.width)), int(std::ceil(d.size.height)));
  ComponentPainter::draw(d, {0, 0, d.size.width, d.size.height}, c.cr());
  auto icon = c.at(95 + 57, 115);
  EXPECT_EQ(icon[0], 255);  // the red of the image, where a symbol would be
  EXPECT_EQ(icon[1], 0);
  EXPECT_EQ(icon[3], 255);
  auto card = c.at(60, 115);
  EXPECT_EQ(card[0], 255);  // the white card around it
  EXPECT_EQ(card[1], 255);
}

TEST(ComponentPainter, MirroredLaurelIsTheMirrorImage) {
  Rect r{0, 0, 125, 310};
  Path left = ComponentPainter::laurel(r, false), right = ComponentPainter::laurel(r, true);
  Rect lb = left.bounds(), rb = right.bounds();
  EXPECT_NEAR(lb.minX(), 125 - rb.maxX(), 1e-6);
  EXPECT_NEAR(lb.minY(), rb.minY(), 1e-6);
  EXPECT_TRUE(r.insetBy(-0.5, -0.5).contains(lb));
  Canvas a(125, 310), b(125, 310);
  ComponentPainter::draw(single(D::Laurel{r, red, false}, {125, 310}), r, a.cr());
  ComponentPainter::draw(single(D::Laurel{r, red, true}, {125, 310}), r, b.cr());
  int inked = 0, differ = 0;
  for (int y = 0; y < 310; y += 3)
    for (int x = 0; x < 125; x += 3) {
      int pa = a.alpha(x, y), pb = b.alpha(124 - x, y);
      if (pa > 0) ++inked;
      if (std::abs(pa - pb) > 64) ++differ;
    }
  EXPECT_GT(inked, 300);  // leaves, not a hairline
  EXPECT_LT(differ, inked / 20);
}

TEST(ComponentPainter, TailStaysInItsRectangle) {
  Rect r{140, 228, 93, 64};
  Path tail = ComponentPainter::tail(r);
  EXPECT_TRUE(r.insetBy(-1e-9, -1e-9).contains(tail.bounds()));
  EXPECT_NEAR(tail.bounds().maxY(), r.maxY(), 1e-9);
}

}  // namespace
}  // namespace vorno::component_painter_test
