#include "kit/text/text_draw.h"

#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace vorno::text_draw_test {
namespace {

using TextLayout::Fitted;

/// A transparent canvas the test draws into and reads back.
class Canvas {
 public:
  Canvas(int width, int height)
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)), cr_(cairo_create(surface_)) {}
  ~Canvas() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
  }
  cairo_t* cr() const { return cr_; }
  void fill(const RGBColor& c) {
    cairo_set_source_rgba(cr_, c.r, c.g, c.b, c.a);
    cairo_paint(cr_);
  }
  /// Straight (unpremultiplied) colour of a pixel.
  RGBColor at(int x, int y) const {
    cairo_surface_flush(surface_);
    const unsigned char* data = cairo_image_surface_get_data(surface_);
    uint32_t p = *reinterpret_cast<const uint32_t*>(data + y * cairo_image_surface_get_stride(surface_) + x * 4);
    double a = (p >> 24) / 255.0;
    if (a == 0) return {0, 0, 0, 0};
    return {((p >> 16) & 255) / 255.0 / a, ((p >> 8) & 255) / 255.0 / a, (p & 255) / 255.0 / a, a};
  }
  /// The bounding box of the pixels that pass `test`; empty when none do.
  Rect bounds(const std::function<bool(const RGBColor&)>& test) const {
    int w = cairo_image_surface_get_width(surface_), h = cairo_image_surface_get_height(surface_);
    int x0 = w, y0 = h, x1 = -1, y1 = -1;
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        if (!test(at(x, y))) continue;
        x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
      }
    }
    if (x1 < 0) return {};
    return {double(x0), double(y0), double(x1 - x0 + 1), double(y1 - y0 + 1)};
  }
  void save(const std::string& path) const { cairo_surface_write_to_png(surface_, path.c_str()); }

 private:
  cairo_surface_t* surface_;
  cairo_t* cr_;
};

bool inked(const RGBColor& c) { return c.a > 0.5; }
bool reddish(const RGBColor& c) { return c.a > 0.5 && c.r > 0.7 && c.g < 0.3 && c.b < 0.3; }
bool blackish(const RGBColor& c) { return c.a > 0.5 && c.r < 0.2 && c.g < 0.2 && c.b < 0.2; }

TextSpec spec(std::string text, double size = 100) {
  TextSpec s;
  s.text = std::move(text);
  s.size = size;
  s.weight = FontWeight::bold;
  s.color = RGBColor::black();
  s.emphasis = *RGBColor::fromHex("#FFE600");
  s.alignment = TextAlign::left;
  s.lineHeight = 1.1;
  return s;
}

TEST(TextDraw, OutlineWidthFiveHundredthsStrokesTenPercentOfTheSize) {
  TextEffect effect;
  effect.outline = RGBColor::white();
  effect.outlineWidth = 0.05;
  EXPECT_DOUBLE_EQ(TextDraw::strokeFraction(effect), 0.10);
  effect.outlineWidth.reset();
  EXPECT_DOUBLE_EQ(TextDraw::strokeFraction(effect), 0.20);  // the default: outlineWidth 0.1
  effect.outline.reset();
  EXPECT_DOUBLE_EQ(TextDraw::strokeFraction(effect), 0);

  // Drawn: the outline shows half its stroke, 5 px at 100 px, around the letters.
  TextSpec plain = spec("I");
  TextSpec outlined = plain;
  outlined.effect = TextEffect{};
  outlined.effect->outline = *RGBColor::fromHex("#FF0000");
  outlined.effect->outlineWidth = 0.05;
  Canvas a(300, 200), b(300, 200);
  TextLayout::draw(TextLayout::laid(plain, 280), a.cr(), 50, 20);
  TextLayout::draw(TextLayout::laid(outlined, 280), b.cr(), 50, 20);
  Rect letter = a.bounds(inked), outline = b.bounds(inked);
  ASSERT_FALSE(letter.isEmpty());
  EXPECT_NEAR(letter.minX() - outline.minX(), 5, 1.0);
  EXPECT_NEAR(outline.maxX() - letter.maxX(), 5, 1.0);
  // The letter itself stays on top of its outline.
  EXPECT_TRUE(blackish(b.at(int(letter.midX()), int(letter.midY()))));
}

TEST(TextDraw, InkLandsBelowTheTopAtTheLeftEdge) {
  Fitted f = TextLayout::laid(spec("Hello"), 500);
  Canvas canvas(600, 300);
  TextLayout::draw(f, canvas.cr(), 40, 60);
  Rect ink = canvas.bounds(inked);
  ASSERT_FALSE(ink.isEmpty());
  EXPECT_GE(ink.minY(), 60);
  EXPECT_LE(ink.maxY(), 60 + f.size.height);
  EXPECT_NEAR(ink.minX(), 40 + TextLayout::inkSpan(spec("Hello"), 500)->first, 1.5);
}

TEST(TextDraw, HardShadowGoesDownAndRight) {
  TextSpec s = spec("Shadow");
  s.effect = TextEffect{};
  s.effect->shadow = *RGBColor::fromHex("#FF0000");
  s.effect->shadowX = 0.1;
  s.effect->shadowY = 0.1;
  Canvas canvas(700, 300);
  TextLayout::draw(TextLayout::laid(s, 600), canvas.cr(), 20, 20);
  Rect text = canvas.bounds(blackish), shadow = canvas.bounds(reddish);
  ASSERT_FALSE(shadow.isEmpty());
  EXPECT_NEAR(shadow.maxX() - text.maxX(), 10, 1.5);
  EXPECT_NEAR(shadow.maxY() - text.maxY(), 10, 1.5);
}

TEST(TextDraw, SlantLeansTheTopsRight) {
  TextSpec s = spec("l", 200);
  s.slant = 15;
  Canvas canvas(300, 300);
  TextLayout::draw(TextLayout::laid(s, 280), canvas.cr(), 50, 20);
  Rect ink = canvas.bounds(inked);
  auto rowMid = [&](int y) {
    int x0 = -1, x1 = -1;
    for (int x = 0; x < 300; ++x) {
      if (inked(canvas.at(x, y))) x1 = x, x0 = x0 < 0 ? x : x0;
    }
    return (x0 + x1) / 2.0;
  };
  double top = rowMid(int(ink.minY()) + 5), bottom = rowMid(int(ink.maxY()) - 5);
  EXPECT_NEAR(top - bottom, std::tan(15 * M_PI / 180) * (ink.height - 10), 3);
}

TEST(TextDraw, HighlightBoxSitsBehindTheText) {
  TextSpec s = spec("a **mark** b");
  s.emphasisStyle = EmphasisStyle::highlight;
  s.emphasis = *RGBColor::fromHex("#C00000");  // dark enough for white ink
  Fitted f = TextLayout::laid(s, 800);
  Canvas canvas(900, 300);
  TextLayout::draw(f, canvas.cr(), 20, 20);
  std::vector<TextLayout::MarkBox> boxes = TextLayout::markBoxes(f, {20, 20, 800, f.size.height});
  ASSERT_EQ(boxes.size(), 1u);
  Rect red = canvas.bounds(reddish);
  EXPECT_NEAR(red.minX(), boxes[0].box.minX(), 1.5);
  EXPECT_NEAR(red.maxY(), boxes[0].box.maxY(), 1.5);
  // The marked word is in the box's ink colour, white on red, on top of the box.
  Rect white = canvas.bounds([](const RGBColor& c) { return c.a > 0.9 && c.r > 0.9 && c.g > 0.9 && c.b > 0.9; });
  EXPECT_FALSE(white.isEmpty());
  EXPECT_TRUE(boxes[0].box.contains(white));
}

TEST(TextDraw, StickersTiltEvenLinesClockwiseAndOddLinesCounterClockwise) {
  TextSpec s = spec("First line\nSecond line");
  s.emphasisStyle = EmphasisStyle::sticker;
  s.mark = MarkStyle{};
  s.mark->tilt = 6.0;
  s.mark->paper = *RGBColor::fromHex("#FF0000");
  s.color = RGBColor::white();
  Fitted f = TextLayout::laid(s, 900);
  Canvas canvas(1000, 400);
  canvas.fill(RGBColor::black());
  TextLayout::draw(f, canvas.cr(), 50, 50);
  LaidText laid(f.attributed, 900);
  ASSERT_EQ(laid.lines().size(), 2u);
  // The top edge of the first paper and the bottom edge of the second, near their ends.
  auto topEdge = [&](int x) {
    for (int y = 0; y < 400; ++y) {
      if (reddish(canvas.at(x, y))) return y;
    }
    return -1;
  };
  auto bottomEdge = [&](int x) {
    for (int y = 399; y >= 0; --y) {
      if (reddish(canvas.at(x, y))) return y;
    }
    return -1;
  };
  int left0 = topEdge(70), right0 = topEdge(400);
  int left1 = bottomEdge(70), right1 = bottomEdge(540);
  ASSERT_GT(left0, 0);
  ASSERT_GT(right1, 0);
  EXPECT_GT(right0, left0 + 10);  // line 0 at -6 degrees: its right end dips
  EXPECT_LT(right1, left1 - 10);  // line 1 at +6 degrees: its right end rises
}

TEST(TextDraw, PaintedLettersTakeTheFillInsideTheirOutlines) {
  TextSpec s = spec("HI", 160);
  LinearFill ramp;
  ramp.colors = {*RGBColor::fromHex("#FF0000"), *RGBColor::fromHex("#0000FF")};
  ramp.angle = 180;
  s.fill = Fill{ramp};
  Fitted f = TextLayout::laid(s, 400);
  Canvas canvas(450, 300);
  TextLayout::draw(f, canvas.cr(), 20, 20);
  Rect ink = canvas.bounds(inked);
  ASSERT_FALSE(ink.isEmpty());
  RGBColor top = canvas.at(int(ink.minX()) + 8, int(ink.minY()) + 4);
  RGBColor bottom = canvas.at(int(ink.minX()) + 8, int(ink.maxY()) - 4);
  EXPECT_GT(top.r, top.b);
  EXPECT_GT(bottom.b, bottom.r);
  EXPECT_EQ(canvas.at(int(ink.maxX()) + 5, int(ink.midY())).a, 0);  // nothing outside the letters
  Path glyphs = TextLayout::glyphPath(f, {20, 20, 400, f.size.height});
  EXPECT_NEAR(glyphs.bounds().minX(), ink.minX(), 1.5);
  EXPECT_NEAR(glyphs.bounds().maxY(), ink.maxY(), 1.5);
}

TEST(TextDraw, GlyphPathIsEmptyWithoutGlyphs) {
  EXPECT_TRUE(TextLayout::glyphPath(TextLayout::laid(spec("   "), 400), {0, 0, 400, 200}).isEmpty());
  EXPECT_TRUE(TextLayout::glyphPath(TextLayout::laid(spec(""), 400), {0, 0, 400, 200}).isEmpty());
  EXPECT_FALSE(TextLayout::glyphPath(TextLayout::laid(spec("x"), 400), {0, 0, 400, 200}).isEmpty());
}

TEST(TextDraw, EveryScriptDrawsInk) {
  const std::pair<const char*, const char*> samples[] = {
      {"ja-JP", "習慣"}, {"zh-CN", "习惯"}, {"ko-KR", "습관"}, {"ar", "عادات"},
      {"he", "הרגלים"},  {"th", "นิสัย"},  {"hi", "आदतें"}};
  for (const auto& [language, text] : samples) {
    TextSpec s = spec(text, 60);
    s.language = language;
    Canvas canvas(400, 120);
    TextLayout::draw(TextLayout::laid(s, 380), canvas.cr(), 10, 10);
    Rect ink = canvas.bounds(inked);
    EXPECT_GT(ink.width, 30) << language;
    EXPECT_GT(ink.height, 20) << language;
  }
}

}  // namespace
}  // namespace vorno::text_draw_test
