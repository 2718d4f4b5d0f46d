// Wrapped paragraphs don't end on a lone word or CJK character: they are re-broken narrower,
// with the same number of lines, at the same fitted size.
#include "kit/text/balanced_breaks.h"

#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <cmath>

namespace vorno::balanced_breaks_test {
namespace {

using TextLayout::Style;

Style style(double size, std::string language = "") {
  Style s;
  s.size = size;
  s.weight = FontWeight::heavy;
  s.color = RGBColor::black();
  s.emphasis = *RGBColor::fromHex("#C2410C");
  s.alignment = TextAlign::center;
  s.lineHeight = 0.95;
  s.tracking = -0.02;
  s.language = std::move(language);
  return s;
}

double oneLineWidth(const std::string& text, const Style& s) {
  return TextLayout::suggestedSize(TextLayout::attributed(text, s), INFINITY).width;
}

std::string lineText(const LaidText& laid, size_t index) {
  const LaidLine& line = laid.lines()[index];
  std::string text = laid.string().substr(static_cast<size_t>(line.start), static_cast<size_t>(line.length));
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
  return text;
}

int words(const std::string& text) {
  int count = 0;
  bool inWord = false;
  for (char c : text) {
    if (c != ' ' && !inWord) ++count;
    inWord = c != ' ';
  }
  return count;
}

long characters(const std::string& text) { return g_utf8_strlen(text.data(), static_cast<gssize>(text.size())); }

TEST(BalancedBreaks, LatinHeadlineNoLongerEndsOnOneWord) {
  Style s = style(118);
  const std::string text = "Track every habit in one calm place";
  // The box holds all but the last word: greedy breaking leaves "place" alone.
  const double box = oneLineWidth("Track every habit in one calm", s) + 2;
  const TextLayout::AttributedText string = TextLayout::attributed(text, s);
  LaidText greedy(string, box, LaidText::Breaking::greedy);
  ASSERT_EQ(greedy.lines().size(), 2u);
  ASSERT_EQ(lineText(greedy, 1), "place");

  LaidText balanced(string, box);
  ASSERT_EQ(balanced.lines().size(), 2u);
  EXPECT_GE(words(lineText(balanced, 1)), 2) << lineText(balanced, 1);
  EXPECT_EQ(balanced.height(), greedy.height());
  EXPECT_LE(balanced.contentWidth(), box);
  EXPECT_GT(balanced.extraLayouts(), 0);
  EXPECT_LE(balanced.extraLayouts(), 8);
}

TEST(BalancedBreaks, LatinHeadlineKeepsItsFittedSize) {
  Style s = style(118);
  const std::string text = "Track every habit in one calm place";
  const Size box{oneLineWidth("Track every habit in one calm", s) + 2, 400};
  TextLayout::Fitted fitted = TextLayout::fit(text, s, box, 0.55, std::nullopt);
  EXPECT_EQ(fitted.fontSize, 118);
  EXPECT_EQ(fitted.lineCount, 2);
  EXPECT_FALSE(fitted.overflow);
  // What is drawn is laid at the box's width: two lines, the last of more than one word, and
  // exactly the fitted height.
  LaidText drawn(fitted.attributed, fitted.size.width);
  ASSERT_EQ(drawn.lines().size(), 2u);
  EXPECT_GE(words(lineText(drawn, 1)), 2);
  EXPECT_EQ(std::ceil(drawn.height()), fitted.size.height);
}

TEST(BalancedBreaks, JapaneseLineNoLongerEndsOnOneCharacter) {
  Style s = style(60, "ja-JP");
  const std::string text = "見積もりも請求もひとつの場所で";
  const double box = oneLineWidth("見積もりも請求もひとつの場所", s) + 1;
  const TextLayout::AttributedText string = TextLayout::attributed(text, s);
  LaidText greedy(string, box, LaidText::Breaking::greedy);
  ASSERT_EQ(greedy.lines().size(), 2u);
  ASSERT_EQ(lineText(greedy, 1), "で");

  LaidText balanced(string, box);
  ASSERT_EQ(balanced.lines().size(), 2u);
  EXPECT_GE(characters(lineText(balanced, 1)), 2) << lineText(balanced, 1);
  EXPECT_EQ(balanced.height(), greedy.height());
}

TEST(BalancedBreaks, JapaneseLineNoLongerEndsOnOneCharacterAndItsPunctuation) {
  Style s = style(60, "ja-JP");
  const std::string text = "「毎日の連絡が、ひとつにまとまりました。」";
  const double box = oneLineWidth("「毎日の連絡が、ひとつにまとまりまし", s) + 1;
  const TextLayout::AttributedText string = TextLayout::attributed(text, s);
  LaidText greedy(string, box, LaidText::Breaking::greedy);
  ASSERT_EQ(greedy.lines().size(), 2u);
  ASSERT_EQ(lineText(greedy, 1), "た。」");

  LaidText balanced(string, box);
  ASSERT_EQ(balanced.lines().size(), 2u);
  // More than the one character with its closing punctuation.
  EXPECT_GE(characters(lineText(balanced, 1)), 4) << lineText(balanced, 1);
}

TEST(BalancedBreaks, EveryWrappedParagraphIsConsidered) {
  // A written break keeps two paragraphs; the first one wraps and would end on "matters".
  Style s = style(100);
  const std::string text = "Track every habit that matters\nin one calm place";
  const double box = oneLineWidth("Track every habit that", s) + 2;
  LaidText greedy(TextLayout::attributed(text, s), box, LaidText::Breaking::greedy);
  ASSERT_EQ(greedy.lines().size(), 3u);
  ASSERT_EQ(lineText(greedy, 1), "matters");
  LaidText balanced(TextLayout::attributed(text, s), box);
  ASSERT_EQ(balanced.lines().size(), 3u);
  EXPECT_GE(words(lineText(balanced, 1)), 2) << lineText(balanced, 1);
  EXPECT_EQ(lineText(balanced, 2), "in one calm place");
}

TEST(BalancedBreaks, TextThatEndsWellIsLaidOnceAndUnchanged) {
  Style s = style(118);
  const std::string text = "The whole week on one screen";
  const double box = oneLineWidth("The whole week", s) + 2;
  const TextLayout::AttributedText string = TextLayout::attributed(text, s);
  LaidText greedy(string, box, LaidText::Breaking::greedy);
  LaidText balanced(string, box);
  ASSERT_EQ(balanced.lines().size(), 2u);
  EXPECT_EQ(balanced.extraLayouts(), 0);
  EXPECT_EQ(lineText(balanced, 0), lineText(greedy, 0));
}

TEST(BalancedBreaks, WrittenShortLastLineIsTheAuthorsChoice) {
  // "place" on a line of its own was written so: it doesn't wrap, so nothing is re-broken.
  Style s = style(118);
  LaidText laid(TextLayout::attributed("Track every habit\nplace", s), 3000);
  EXPECT_EQ(laid.extraLayouts(), 0);
  EXPECT_EQ(lineText(laid, 1), "place");
}

TEST(BalancedBreaks, TwoLongWordsKeepTheirGreedyBreaks) {
  // Each line holds one word however narrow the wrap: nothing better exists, so the first
  // layout stands and the line stays where greedy breaking put it.
  Style s = style(118);
  const std::string text = "Notifications everywhere";
  const double box = oneLineWidth("Notifications", s) + 40;
  LaidText greedy(TextLayout::attributed(text, s), box, LaidText::Breaking::greedy);
  LaidText balanced(TextLayout::attributed(text, s), box);
  ASSERT_EQ(balanced.lines().size(), 2u);
  EXPECT_EQ(lineText(balanced, 1), "everywhere");
  EXPECT_EQ(balanced.lines()[1].origin.x, greedy.lines()[1].origin.x);
  EXPECT_LE(balanced.extraLayouts(), 8);
}

TEST(BalancedBreaks, BalancedLinesStayCentredInTheBox) {
  Style s = style(118);
  const std::string text = "Track every habit in one calm place";
  const double box = oneLineWidth("Track every habit in one calm", s) + 2;
  LaidText balanced(TextLayout::attributed(text, s), box);
  for (const LaidLine& line : balanced.lines()) {
    double left = line.origin.x + line.contentMinX;
    double right = box - (left + line.width - line.trailingWhitespace);
    EXPECT_NEAR(left, right, 0.5);
  }
}

TEST(BalancedBreaks, SameTextLaidAgainAtTheSameWidthTakesOneLayout) {
  Style s = style(96);
  const std::string text = "Send every quote from the van today";
  const double box = oneLineWidth("Send every quote from the van", s) + 2;
  const TextLayout::AttributedText string = TextLayout::attributed(text, s);
  LaidText first(string, box);
  LaidText again(string, box);
  ASSERT_EQ(first.lines().size(), 2u);
  EXPECT_GT(first.extraLayouts(), 1);
  EXPECT_EQ(again.extraLayouts(), 1);
  EXPECT_EQ(lineText(again, 0), lineText(first, 0));
  EXPECT_EQ(lineText(again, 1), lineText(first, 1));
  EXPECT_GE(words(lineText(again, 1)), 2);
}

}  // namespace
}  // namespace vorno::balanced_breaks_test
