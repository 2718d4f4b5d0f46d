// Localised copy: scripts the system font lacks fall back to Noto faces, Han takes the face of
// the text's language, right-to-left text reads right to left, spaceless scripts wrap at their
// own break opportunities, and tracking never pulls joined letters apart.
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"
#include "kit/util/utf8.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <cmath>

namespace vorno::text_scripts_test {
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


// The x of the leading edge of every character in [from, to): their spread grows by the letter
// spacing between those characters, and by nothing else.
double leadingEdgeSpread(const LaidText& laid, int from, int to) {
  const LaidLine& line = laid.lines()[0];
  double lo = INFINITY, hi = -INFINITY;
  for (const char* p = laid.string().data() + from; p < laid.string().data() + to; p = nextUTF8Character(p)) {
    double x = laid.offsetForIndex(line, static_cast<int>(p - laid.string().data()));
    lo = std::min(lo, x);
    hi = std::max(hi, x);
  }
  return hi - lo;
}

TEST(TextScripts, LetterSpacingSkipsTheArabicRunButKeepsTheLatinRunBesideIt) {
  // An eyebrow's tracking on a line of Latin and Arabic.
  std::string text = "SALE تخفيضات";
  int arabicStart = 5, arabicEnd = static_cast<int>(text.size());
  Style plain = style(60, "ar");
  Style tracked = plain;
  tracked.tracking = 0.14;
  const double kern = 60 * 0.14;
  LaidText unspaced(TextLayout::attributed(text, plain), 3000);
  LaidText spaced(TextLayout::attributed(text, tracked), 3000);
  ASSERT_EQ(spaced.lines().size(), 1u);
  // Inside the Arabic word the letters sit exactly where they sit untracked: still joined.
  EXPECT_NEAR(leadingEdgeSpread(spaced, arabicStart, arabicEnd), leadingEdgeSpread(unspaced, arabicStart, arabicEnd), 0.01);
  // The four Latin letters are about three letter spaces further apart (Pango gives the letter
  // at an item's edge half a space on that side).
  double grown = leadingEdgeSpread(spaced, 0, 4) - leadingEdgeSpread(unspaced, 0, 4);
  EXPECT_GE(grown, 2.4 * kern);
  EXPECT_LE(grown, 3.1 * kern);
}

TEST(TextScripts, TrackedArabicWordMeasuresAsUntracked) {
  Style plain = style(80, "ar");
  Style tracked = plain;
  tracked.tracking = 0.12;
  const std::string word = "العربية";
  LaidText unspaced(TextLayout::attributed(word, plain), INFINITY);
  LaidText spaced(TextLayout::attributed(word, tracked), INFINITY);
  EXPECT_NEAR(spaced.lines()[0].width, unspaced.lines()[0].width, 0.01);
  EXPECT_NEAR(spaced.lines()[0].ink.width, unspaced.lines()[0].ink.width, 0.01);
}

TEST(TextScripts, TrackedDevanagariKeepsItsConjuncts) {
  Style plain = style(80, "hi");
  Style tracked = plain;
  tracked.tracking = 0.12;
  const std::string word = "क्षमता";  // a conjunct and a vowel sign drawn across letters
  LaidText unspaced(TextLayout::attributed(word, plain), INFINITY);
  LaidText spaced(TextLayout::attributed(word, tracked), INFINITY);
  EXPECT_NEAR(spaced.lines()[0].width, unspaced.lines()[0].width, 0.01);
}

TEST(TextScripts, TrackedHebrewIsStillSpaced) {
  // Hebrew letters stand apart, so tracking applies as it does to Latin.
  Style plain = style(80, "he");
  Style tracked = plain;
  tracked.tracking = 0.12;
  const std::string word = "שלום";
  LaidText unspaced(TextLayout::attributed(word, plain), INFINITY);
  LaidText spaced(TextLayout::attributed(word, tracked), INFINITY);
  EXPECT_GT(spaced.lines()[0].width - unspaced.lines()[0].width, 2 * 80 * 0.12);
}

struct Fallback {
  const char* language;
  const char* text;
  const char* family;
};

const Fallback kFallbacks[] = {
    {"ar", "تتبع عاداتك", "Noto Sans Arabic"},
    {"he", "עקבו אחרי ההרגלים", "Noto Sans Hebrew"},
    {"th", "ติดตามนิสัย", "Noto Sans Thai"},
    {"hi", "अपनी आदतों", "Noto Sans Devanagari"},
};

TEST(TextScripts, ArabicHebrewThaiAndDevanagariTakeTheirNotoFaces) {
  for (const Fallback& f : kFallbacks) {
    for (double size : {80.0, 14.0}) {  // beside Inter Display and beside Inter
      for (FontWeight weight : {FontWeight::regular, FontWeight::bold, FontWeight::heavy}) {
        Style s = style(size, f.language);
        s.weight = weight;
        LaidText laid(TextLayout::attributed(f.text, s), INFINITY);
        EXPECT_EQ(laid.faceFamilyAt(0), f.family) << f.language << " at " << size;
      }
    }
  }
}

TEST(TextScripts, NotoFacesAreChosenByScriptNotByTheTextsLanguage) {
  // An Arabic word inside English copy is drawn by the same face as in Arabic copy.
  std::string text = "Now in العربية";
  LaidText laid(TextLayout::attributed(text, style(80, "en-US")), INFINITY);
  EXPECT_EQ(laid.faceFamilyAt(0), "Inter Display");
  EXPECT_EQ(laid.faceFamilyAt(static_cast<int>(text.find("ال"))), "Noto Sans Arabic");
}

TEST(TextScripts, ArabicSitsOnTheBaselineOfLatinTextOfTheSameStyle) {
  // A tight headline: Noto Sans Arabic's own descent (0.74 em) would lift the line half an em
  // above its box, past the layer's bleed of 0.3 em.
  Style s = style(118, "ar");
  s.lineHeight = 0.95;
  LaidText arabic(TextLayout::attributed("أسبوع الفريق كله", s), 3000);
  LaidText latin(TextLayout::attributed("The whole week", s), 3000);
  const LaidLine& line = arabic.lines()[0];
  EXPECT_NEAR(line.origin.y, latin.lines()[0].origin.y, 1e-6);
  EXPECT_GE(line.origin.y + line.ink.minY(), -0.3 * 118);
}

}  // namespace
}  // namespace vorno::text_scripts_test
