// Localised copy: scripts the system font lacks fall back to Noto faces, Han takes the face of
// the text's language, right-to-left text reads right to left, and spaceless scripts wrap at
// their own break opportunities.
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorno {
namespace {

using TextLayout::Style;

Style style(double size = 80, std::string language = "") {
  Style s;
  s.size = size;
  s.weight = FontWeight::bold;
  s.color = RGBColor::black();
  s.emphasis = *RGBColor::fromHex("#E53935");
  s.alignment = TextAlign::center;
  s.lineHeight = 1.1;
  s.language = std::move(language);
  return s;
}

struct Sample {
  const char* language;
  const char* text;
};

const Sample kSamples[] = {
    {"ja-JP", "毎日の習慣を、ひとつの場所で。"},
    {"zh-CN", "在一个地方追踪每一个习惯"},
    {"zh-TW", "在一個地方追蹤每一個習慣"},
    {"ko-KR", "모든 습관을 한 곳에서"},
    {"ar", "تتبع عاداتك في مكان واحد"},
    {"he", "עקבו אחרי ההרגלים במקום אחד"},
    {"th", "ติดตามนิสัยของคุณในที่เดียว"},
    {"hi", "अपनी आदतों को एक जगह ट्रैक करें"},
};

TEST(TextScripts, EveryScriptHasRealGlyphs) {
  for (const Sample& sample : kSamples) {
    LaidText laid(TextLayout::attributed(sample.text, style(80, sample.language)), 2000);
    EXPECT_EQ(laid.unknownGlyphsCount(), 0) << sample.language;
    ASSERT_EQ(laid.lines().size(), 1u) << sample.language;
    EXPECT_FALSE(laid.lines()[0].ink.isEmpty()) << sample.language;
  }
}

TEST(TextScripts, HanFaceFollowsTheLanguage) {
  const char* han = "直";  // drawn differently in Japanese and Chinese
  LaidText japanese(TextLayout::attributed(han, style(80, "ja-JP")), 1000);
  LaidText chinese(TextLayout::attributed(han, style(80, "zh-CN")), 1000);
  LaidText korean(TextLayout::attributed(han, style(80, "ko-KR")), 1000);
  LaidText taiwan(TextLayout::attributed(han, style(80, "zh-TW")), 1000);
  EXPECT_NE(japanese.faceFamilyAt(0).find("JP"), std::string::npos) << japanese.faceFamilyAt(0);
  EXPECT_NE(chinese.faceFamilyAt(0).find("SC"), std::string::npos) << chinese.faceFamilyAt(0);
  EXPECT_NE(korean.faceFamilyAt(0).find("KR"), std::string::npos) << korean.faceFamilyAt(0);
  EXPECT_NE(taiwan.faceFamilyAt(0).find("TC"), std::string::npos) << taiwan.faceFamilyAt(0);
}

TEST(TextScripts, LatinStaysInTheSystemFont) {
  LaidText laid(TextLayout::attributed("Habits", style(80)), 1000);
  EXPECT_EQ(laid.faceFamilyAt(0), "Inter Display");
  LaidText small(TextLayout::attributed("Habits", style(12)), 1000);
  EXPECT_EQ(small.faceFamilyAt(0), "Inter");
}

TEST(TextScripts, ArabicReadsRightToLeft) {
  std::string text = "مرحبا بالعالم";
  LaidText laid(TextLayout::attributed(text, style(80, "ar")), 2000);
  const LaidLine& line = laid.lines()[0];
  double first = laid.offsetForIndex(line, 0);
  double last = laid.offsetForIndex(line, static_cast<int>(text.size()) - 2);  // the last letter
  EXPECT_GT(first, last);
}

TEST(TextScripts, RightToLeftParagraphKeepsNumbersAndLatinInOrder) {
  // "Price 25 dollars on iOS": in a right-to-left paragraph the first word sits at the right, the
  // number reads left to right inside, and the Latin word keeps its own order.
  std::string text = "السعر 25 دولار على iOS";
  LaidText laid(TextLayout::attributed(text, style(60, "ar")), 3000);
  const LaidLine& line = laid.lines()[0];
  int two = static_cast<int>(text.find('2')), five = static_cast<int>(text.find('5'));
  int i = static_cast<int>(text.find('i')), s = static_cast<int>(text.find('S'));
  double firstWord = laid.offsetForIndex(line, 0);
  EXPECT_GT(firstWord, laid.offsetForIndex(line, two));
  EXPECT_LT(laid.offsetForIndex(line, two), laid.offsetForIndex(line, five));
  EXPECT_LT(laid.offsetForIndex(line, i), laid.offsetForIndex(line, s));
  EXPECT_LT(laid.offsetForIndex(line, i), laid.offsetForIndex(line, two));  // the last word is leftmost
}

TEST(TextScripts, RightToLeftLineAlignsLikeAnyOther) {
  Style s = style(60, "he");
  s.alignment = TextAlign::left;
  LaidText laid(TextLayout::attributed("שלום עולם", s), 2000);
  const LaidLine& line = laid.lines()[0];
  EXPECT_NEAR(line.origin.x + line.ink.minX(), 0, 10);
}

TEST(TextScripts, JapaneseWidestWordUsesBreakOpportunities) {
  std::string text = "毎日の習慣をひとつの場所で記録しましょう";
  Style s = style(80, "ja-JP");
  double whole = TextLayout::suggestedSize(TextLayout::attributed(text, s), INFINITY).width;
  double widest = TextLayout::widestWord(text, s);
  EXPECT_GT(widest, 0);
  EXPECT_LT(widest, whole / 4);
}

TEST(TextScripts, JapaneseHeadlineWrapsInsteadOfShrinking) {
  std::string text = "毎日の習慣をひとつの場所で記録しましょう";
  Style s = style(80, "ja-JP");
  double whole = TextLayout::suggestedSize(TextLayout::attributed(text, s), INFINITY).width;
  TextLayout::Fitted f = TextLayout::fit(text, s, {whole * 0.6, 1000}, 0.55, std::nullopt);
  EXPECT_EQ(f.fontSize, 80);
  EXPECT_EQ(f.lineCount, 2);
  EXPECT_FALSE(f.overflow);
}

TEST(TextScripts, JapaneseLinesNeverStartWithClosingPunctuation) {
  // The box ends exactly after "こ": a plain character break would start the next line with "。".
  Style s = style(50, "ja-JP");
  s.alignment = TextAlign::left;
  std::string head = "あいうえおかきくけこ";
  std::string text = head + "。さしすせそ";
  double box = TextLayout::suggestedSize(TextLayout::attributed(head, s), INFINITY).width + 1;
  LaidText laid(TextLayout::attributed(text, s), box);
  ASSERT_GE(laid.lines().size(), 2u);
  std::string second = laid.string().substr(static_cast<size_t>(laid.lines()[1].start), 3);
  EXPECT_NE(second, "。");
}

TEST(TextScripts, ThaiBreaksBetweenDictionaryWords) {
  Style s = style(60, "th");
  s.alignment = TextAlign::left;
  std::string hello = "สวัสดี", polite = "ครับ";
  double helloWidth = TextLayout::suggestedSize(TextLayout::attributed(hello, s), INFINITY).width;
  double politeWidth = TextLayout::suggestedSize(TextLayout::attributed(polite, s), INFINITY).width;
  EXPECT_NEAR(TextLayout::widestWord(hello + polite, s), std::max(helloWidth, politeWidth), 1.0);
  LaidText laid(TextLayout::attributed(hello + polite, s), helloWidth + 5);
  ASSERT_EQ(laid.lines().size(), 2u);
  EXPECT_EQ(laid.lines()[1].start, static_cast<int>(hello.size()));
}

}  // namespace
}  // namespace vorno
