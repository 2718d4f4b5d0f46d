#include "kit/text/text_marks.h"

#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorno::text_marks_test {
namespace {

template <class Set>
MarkStyle markStyle(Set set) {
  MarkStyle m;
  set(m);
  return m;
}

using TextLayout::Fitted;
using TextLayout::MarkBox;

TextSpec spec(std::string text, EmphasisStyle style) {
  TextSpec s;
  s.text = std::move(text);
  s.size = 100;
  s.weight = FontWeight::bold;
  s.color = RGBColor::black();
  s.emphasis = *RGBColor::fromHex("#FFE600");
  s.alignment = TextAlign::left;
  s.lineHeight = 1.2;
  s.emphasisStyle = style;
  return s;
}

std::vector<MarkBox> boxes(const TextSpec& s, double width = 2000) {
  Fitted f = TextLayout::laid(s, width);
  return TextLayout::markBoxes(f, {0, 0, width, f.size.height});
}

TEST(TextMarks, HighlightSpanDrawsNoBoxOverInnerSpaces) {
  std::vector<MarkBox> spaced = boxes(spec("Go ** far ** away", EmphasisStyle::highlight));
  std::vector<MarkBox> tight = boxes(spec("Go  **far**  away", EmphasisStyle::highlight));
  ASSERT_EQ(spaced.size(), 1u);
  ASSERT_EQ(tight.size(), 1u);
  // Same characters in the same places: the box covers "far" alone in both.
  EXPECT_NEAR(spaced[0].box.x, tight[0].box.x, 1e-6);
  EXPECT_NEAR(spaced[0].box.width, tight[0].box.width, 1e-6);
  double p = 100 * 0.14;
  TextSpec far = spec("far", EmphasisStyle::color);
  double farWidth = TextLayout::suggestedSize(TextLayout::attributed("far", TextLayout::style(far)), INFINITY).width;
  EXPECT_NEAR(spaced[0].box.width, farWidth + 2 * p, 1.0);
  EXPECT_TRUE(boxes(spec("Go **   ** away", EmphasisStyle::highlight)).empty());
}

TEST(TextMarks, HighlightBoxSitsOnTheBaselineByTheRule) {
  TextSpec s = spec("**Mark**", EmphasisStyle::highlight);
  Fitted f = TextLayout::laid(s, 2000);
  LaidText laid(f.attributed, 2000);
  std::vector<MarkBox> b = boxes(s);
  ASSERT_EQ(b.size(), 1u);
  double baseline = laid.lines()[0].origin.y;
  double cap = *laid.capHeightAt(laid.lines()[0], 0);
  EXPECT_NEAR(cap, 72.7, 1.0);  // Inter Display's cap height, 0.727 em
  EXPECT_NEAR(b[0].box.maxY(), baseline + 20, 1e-6);
  EXPECT_NEAR(b[0].box.height, cap + 42, 1e-6);
  EXPECT_NEAR(b[0].radius, 10, 1e-9);
  EXPECT_EQ(b[0].line, 0);
  EXPECT_EQ(b[0].angle, 0);
}

TEST(TextMarks, MarkerOffsetDropsTheDefaultLowering) {
  TextSpec s = spec("**Mark**", EmphasisStyle::marker);
  Fitted f = TextLayout::laid(s, 2000);
  LaidText laid(f.attributed, 2000);
  double baseline = laid.lines()[0].origin.y;
  double cap = *laid.capHeightAt(laid.lines()[0], 0);
  std::vector<MarkBox> lowered = boxes(s);
  ASSERT_EQ(lowered.size(), 1u);
  EXPECT_NEAR(lowered[0].box.maxY(), baseline + 8, 1e-6);  // 0.08 s below the baseline
  EXPECT_NEAR(lowered[0].box.height, 0.55 * cap, 1e-6);
  EXPECT_NEAR(lowered[0].radius, 0.3 * 0.55 * cap, 1e-6);
  s.mark = markStyle([](MarkStyle& m) { m.offset = 0.0; });
  std::vector<MarkBox> offset = boxes(s);
  EXPECT_NEAR(offset[0].box.maxY(), baseline, 1e-6);
  s.mark = markStyle([](MarkStyle& m) { m.offset = 0.5; });
  EXPECT_NEAR(boxes(s)[0].box.maxY(), baseline - 0.5 * cap, 1e-6);  // in cap heights, upward
}

TEST(TextMarks, ConsecutiveHighlightBoxesTiltOppositeWays) {
  TextSpec s = spec("**One** and **two** and **three**", EmphasisStyle::highlight);
  s.mark = markStyle([](MarkStyle& m) { m.tilt = 3.0; });
  std::vector<MarkBox> b = boxes(s);
  ASSERT_EQ(b.size(), 3u);
  EXPECT_NEAR(b[0].angle, 3 * M_PI / 180, 1e-12);
  EXPECT_NEAR(b[1].angle, -3 * M_PI / 180, 1e-12);
  EXPECT_NEAR(b[2].angle, 3 * M_PI / 180, 1e-12);
}

TEST(TextMarks, StickerWithBlockIsAHighlightWithEveryRunMarked) {
  TextSpec s = spec("Every run\n**marked** here", EmphasisStyle::sticker);
  s.block = *RGBColor::fromHex("#101010");
  s.mark = markStyle([](MarkStyle& m) { m.padding = 1.0; m.tilt = 5.0; });  // ignored with a block
  Fitted f = TextLayout::laid(s, 2000);
  for (const auto& run : f.attributed.runs) EXPECT_TRUE(run.emphasis) << run.text;
  EXPECT_EQ(TextMarks::effectiveStyle(f.style), EmphasisStyle::highlight);
  std::vector<MarkBox> b = TextLayout::markBoxes(f, {0, 0, 2000, f.size.height});
  ASSERT_EQ(b.size(), 2u);  // one per line: the whole line is one marked span
  EXPECT_EQ(b[0].line, 0);
  EXPECT_EQ(b[1].line, 1);
  EXPECT_EQ(b[0].angle, 0);
  EXPECT_NEAR(b[0].box.x, -14, 2);  // default highlight padding, starting at the text's left
  EXPECT_EQ(TextMarks::markColor(f.style), *s.block);
}

TEST(TextMarks, ColorStyleAndStickersHaveNoMarkBoxes) {
  EXPECT_TRUE(boxes(spec("**a**", EmphasisStyle::color)).empty());
  EXPECT_TRUE(boxes(spec("**a**", EmphasisStyle::sticker)).empty());
}

TEST(TextMarks, MarkColourAlphaByStyle) {
  TextLayout::Style st = TextLayout::style(spec("x", EmphasisStyle::marker));
  EXPECT_DOUBLE_EQ(TextMarks::markColor(st).a, 0.42);
  st.emphasisStyle = EmphasisStyle::highlight;
  EXPECT_DOUBLE_EQ(TextMarks::markColor(st).a, 1.0);
  st.mark = markStyle([](MarkStyle& m) { m.color = RGBColor::white(); m.opacity = -2.0; });
  EXPECT_EQ(TextMarks::markColor(st), (RGBColor{1, 1, 1, 0}));
}

TEST(TextStickers, BlankLineStillCountsForTilt) {
  TextSpec s = spec("First\n\nThird\nFourth", EmphasisStyle::sticker);
  Fitted f = TextLayout::laid(s, 2000);
  LaidText laid(f.attributed, 2000);
  ASSERT_EQ(laid.lines().size(), 4u);
  std::vector<StickerBox> b = TextMarks::stickerBoxes(laid, f.style, f.fontSize, {0, 0, 2000, f.size.height});
  ASSERT_EQ(b.size(), 3u);
  EXPECT_EQ(b[0].line, 0);
  EXPECT_EQ(b[0].degrees, -1.8);
  EXPECT_EQ(b[1].line, 2);
  EXPECT_EQ(b[1].degrees, -1.8);  // even, though only the second box
  EXPECT_EQ(b[2].line, 3);
  EXPECT_EQ(b[2].degrees, 1.5);
  s.mark = markStyle([](MarkStyle& m) { m.tilt = 4.0; });
  f = TextLayout::laid(s, 2000);
  b = TextMarks::stickerBoxes(laid, f.style, f.fontSize, {0, 0, 2000, f.size.height});
  EXPECT_EQ(b[1].degrees, -4.0);
  EXPECT_EQ(b[2].degrees, 4.0);
}

TEST(TextStickers, BoxWrapsTheLineWithoutTrailingSpace) {
  TextSpec s = spec("Sticker", EmphasisStyle::sticker);
  Fitted f = TextLayout::laid(s, 2000);
  LaidText laid(f.attributed, 2000);
  std::vector<StickerBox> b = TextMarks::stickerBoxes(laid, f.style, f.fontSize, {10, 20, 2000, f.size.height});
  ASSERT_EQ(b.size(), 1u);
  const LaidLine& line = laid.lines()[0];
  EXPECT_NEAR(b[0].box.x, 10 + line.origin.x - 16, 1e-9);
  EXPECT_NEAR(b[0].box.width, line.width + 32, 1e-9);
  EXPECT_NEAR(b[0].box.maxY(), 20 + line.origin.y + 17, 1e-9);
  EXPECT_NEAR(b[0].radius, 5, 1e-9);
  EXPECT_FALSE(b[0].emphasised);
}

TEST(TextMarks, HighlightOverNeighbouringLineCollides) {
  TextSpec s = spec("**Tight lines**\n**collide here**", EmphasisStyle::highlight);
  s.lineHeight = 0.8;
  EXPECT_TRUE(TextLayout::marksCollide(s, 2000));
  s.lineHeight = 1.6;
  EXPECT_FALSE(TextLayout::marksCollide(s, 2000));
  s.lineHeight = 0.8;
  s.text = "**One line only**";
  EXPECT_FALSE(TextLayout::marksCollide(s, 2000));
  s.text = "**Tight lines**\n**collide here**";
  s.emphasisStyle = EmphasisStyle::marker;
  EXPECT_FALSE(TextLayout::marksCollide(s, 2000));
}

}  // namespace
}  // namespace vorno::text_marks_test
