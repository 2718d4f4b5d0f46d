#include "kit/text/attributed_text.h"

#include "kit/text/font_resolver.h"
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <gtest/gtest.h>

namespace vorno::attributed_text_test {
namespace {

template <class Set>
MarkStyle markStyle(Set set) {
  MarkStyle m;
  set(m);
  return m;
}

using TextLayout::AttributedText;
using TextLayout::Style;
using TextLayout::TextRun;

Style headline() {
  Style s;
  s.size = 100;
  s.weight = FontWeight::bold;
  s.color = RGBColor::black();
  s.emphasis = *RGBColor::fromHex("#E53935");
  s.alignment = TextAlign::center;
  s.lineHeight = 1.06;
  s.tracking = -0.012;
  return s;
}

std::vector<std::string> texts(const AttributedText& a) {
  std::vector<std::string> out;
  for (const auto& run : a.runs) out.push_back(run.text);
  return out;
}

TEST(TextAttributed, ScaledFirstLineIsShorterAndSecondLineEmphasised) {
  Style style = headline();
  AttributedText a = TextLayout::attributed("{0.7}Setup\n**Payoff**", style);
  ASSERT_EQ(texts(a), (std::vector<std::string>{"Setup", "\n", "Payoff"}));
  EXPECT_DOUBLE_EQ(a.runs[0].fontSize, 70);
  EXPECT_DOUBLE_EQ(a.runs[0].lineHeight, 0.7 * 100 * 1.06);
  EXPECT_FALSE(a.runs[0].emphasis);
  EXPECT_EQ(a.runs[0].color, style.color);
  EXPECT_DOUBLE_EQ(a.runs[2].fontSize, 100);
  EXPECT_DOUBLE_EQ(a.runs[2].lineHeight, 100 * 1.06);
  EXPECT_TRUE(a.runs[2].emphasis);
  EXPECT_EQ(a.runs[2].color, style.emphasis);

  // Laid, the first line is 0.7 of the second's height, and the second starts exactly there.
  LaidText laid(a, 1000);
  ASSERT_EQ(laid.lines().size(), 2u);
  EXPECT_NEAR(laid.lines()[0].height, 74.2, 1e-9);
  EXPECT_NEAR(laid.lines()[1].top - laid.lines()[0].top, 74.2, 1e-9);
  EXPECT_NEAR(laid.height(), 74.2 + 106, 1e-9);
}

TEST(TextAttributed, LineScalesClampAndBadScalesStayLiteral) {
  Style style = headline();
  AttributedText big = TextLayout::attributed("{5}Big", style);
  ASSERT_EQ(texts(big), std::vector<std::string>{"Big"});
  EXPECT_DOUBLE_EQ(big.runs[0].fontSize, 300);
  AttributedText tiny = TextLayout::attributed("{0.05}tiny", style);
  ASSERT_EQ(texts(tiny), std::vector<std::string>{"tiny"});
  EXPECT_DOUBLE_EQ(tiny.runs[0].fontSize, 20);
  for (std::string literal : {"{0}x", "{-1}x", "{a}x", "{1"}) {
    AttributedText a = TextLayout::attributed(literal, style);
    ASSERT_EQ(texts(a), std::vector<std::string>{literal}) << literal;
    EXPECT_DOUBLE_EQ(a.runs[0].fontSize, 100) << literal;
  }
}

TEST(TextAttributed, UnclosedEmphasisCarriesToNextLine) {
  AttributedText a = TextLayout::attributed("**open\nstill emphasised", headline());
  ASSERT_EQ(texts(a), (std::vector<std::string>{"open", "\n", "still emphasised"}));
  for (const TextRun& run : a.runs) {
    EXPECT_TRUE(run.emphasis) << run.text;
    EXPECT_EQ(run.color, headline().emphasis) << run.text;
  }
}

TEST(TextAttributed, EmptyRunsAreDroppedButStillToggle) {
  AttributedText a = TextLayout::attributed("a****b**c**", headline());
  ASSERT_EQ(texts(a), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_FALSE(a.runs[0].emphasis);
  EXPECT_FALSE(a.runs[1].emphasis);
  EXPECT_TRUE(a.runs[2].emphasis);
}

TEST(TextAttributed, TrackingIsAFractionOfTheLineSize) {
  Style style = headline();
  style.tracking = 0.1;
  AttributedText a = TextLayout::attributed("{0.5}ab", style);
  EXPECT_DOUBLE_EQ(a.runs[0].kern, 5);
}

TEST(TextAttributed, UppercaseLeavesMarkupAlone) {
  Style style = headline();
  style.uppercase = true;
  AttributedText a = TextLayout::attributed("{0.5}straße **ok**", style);
  ASSERT_EQ(texts(a), (std::vector<std::string>{"STRASSE ", "OK"}));
  EXPECT_DOUBLE_EQ(a.runs[0].fontSize, 50);
}

TEST(TextAttributed, HighlightColoursMarkedRunsWithInkThatReadsOnTheBox) {
  Style style = headline();
  style.emphasisStyle = EmphasisStyle::highlight;
  style.emphasis = *RGBColor::fromHex("#FFE600");  // light box: dark ink
  AttributedText a = TextLayout::attributed("plain **marked**", style);
  EXPECT_EQ(a.runs[0].color, style.color);
  EXPECT_EQ(a.runs[1].color, *RGBColor::fromHex("#14171D"));
  style.mark = markStyle([](MarkStyle& m) { m.textColor = RGBColor::white(); });
  EXPECT_EQ(TextLayout::attributed("**m**", style).runs[0].color, RGBColor::white());
}

TEST(TextAttributed, MarkerKeepsTextColour) {
  Style style = headline();
  style.emphasisStyle = EmphasisStyle::marker;
  AttributedText a = TextLayout::attributed("**marked**", style);
  EXPECT_EQ(a.runs[0].color, style.color);
  EXPECT_TRUE(a.runs[0].emphasis);
}

TEST(TextAttributed, StickerLinesTakeMarkInkOrPaperInk) {
  Style style = headline();
  style.emphasisStyle = EmphasisStyle::sticker;
  style.color = RGBColor::white();  // reads badly on white paper: the dark ink wins
  style.emphasis = *RGBColor::fromHex("#1E3A8A");
  AttributedText a = TextLayout::attributed("paper line\nwith **mark** here", style);
  ASSERT_EQ(texts(a), (std::vector<std::string>{"paper line", "\n", "with ", "mark", " here"}));
  RGBColor ink = *RGBColor::fromHex("#14171D");
  EXPECT_EQ(a.runs[0].color, ink);
  EXPECT_FALSE(a.runs[0].emphasis);
  EXPECT_EQ(a.runs[1].color, ink);  // the break after line 1 is coloured as line 1
  for (size_t i = 2; i < 5; ++i) {
    EXPECT_EQ(a.runs[i].color, RGBColor::white()) << i;  // onColor of the dark blue box
    EXPECT_TRUE(a.runs[i].emphasis) << i;
  }
  // Sticker lines get 18% more air for their boxes.
  EXPECT_DOUBLE_EQ(a.runs[0].lineHeight, 1.18 * 100 * 1.06);
}

TEST(TextAttributed, PaperInkPrefersWhiteOnlyWithDarkPaper) {
  Style style = headline();
  style.emphasisStyle = EmphasisStyle::sticker;
  style.color = *RGBColor::fromHex("#333333");
  style.mark = markStyle([](MarkStyle& m) { m.paper = RGBColor::black(); });
  EXPECT_EQ(TextLayout::attributed("x", style).runs[0].color, RGBColor::white());
  style.mark = MarkStyle{};
  EXPECT_EQ(TextLayout::attributed("x", style).runs[0].color, *RGBColor::fromHex("#14171D"));
}

TEST(TextAttributed, BlockMarksEveryRun) {
  Style style = headline();
  style.block = *RGBColor::fromHex("#000000");
  style.color = RGBColor::white();
  AttributedText a = TextLayout::attributed("all **of** it", style);
  for (const TextRun& run : a.runs) EXPECT_TRUE(run.emphasis) << run.text;
  EXPECT_EQ(a.runs[0].color, RGBColor::white());
  EXPECT_EQ(a.runs[1].color, style.emphasis);
}

TEST(TextAttributed, EmptyTextHasNoRuns) { EXPECT_TRUE(TextLayout::attributed("", headline()).runs.empty()); }

TEST(TextAttributed, InvalidUtf8AndNulBytesAreReplacedNotFatal) {
  std::string bad = std::string("ok\xff\xfe") + '\0' + "end";
  AttributedText a = TextLayout::attributed(bad, headline());
  ASSERT_EQ(a.runs.size(), 1u);
  EXPECT_EQ(a.runs[0].text, "ok\xEF\xBF\xBD\xEF\xBF\xBD" "end");
  EXPECT_EQ(TextLayout::lineCount(a, 500), 1);
}

TEST(TextStyle, SystemFamilyNamesAndAbsentFamilyUseInter) {
  EXPECT_TRUE(TextLayout::isSystemFamily("San Francisco"));
  EXPECT_TRUE(TextLayout::isSystemFamily("SF Pro Display"));
  EXPECT_FALSE(TextLayout::isSystemFamily("Inter"));
  EXPECT_EQ(FontResolver::resolve(std::nullopt, FontWeight::bold, 100).family, "Inter Display");
  EXPECT_EQ(FontResolver::resolve(std::string("System"), FontWeight::bold, 12).family, "Inter");
  EXPECT_EQ(FontResolver::resolve(std::string(""), FontWeight::bold, 12).family, "Inter");
  EXPECT_TRUE(FontResolver::resolve(std::string("No Such Family 12345"), FontWeight::bold, 100).isSystem);
  ResolvedFont noto = FontResolver::resolve(std::string("noto sans"), FontWeight::bold, 100);
  EXPECT_FALSE(noto.isSystem);
  EXPECT_EQ(noto.family, "noto sans");
}

TEST(TextStyle, ItalicWithoutItalicFaceSlantsElevenDegrees) {
  TextSpec spec;
  spec.size = 40;
  spec.italic = true;
  EXPECT_EQ(TextLayout::style(spec).slant, 0);  // Inter has true italics
  spec.family = "Noto Sans Thai";               // an upright-only family
  ASSERT_FALSE(FontResolver::lookup("Noto Sans Thai", FontWeight::regular).hasItalic);
  EXPECT_EQ(TextLayout::style(spec).slant, 11.0);
  EXPECT_FALSE(TextLayout::attributed("x", TextLayout::style(spec)).runs[0].italic);
  spec.slant = 4;
  EXPECT_EQ(TextLayout::style(spec).slant, 4);
}

TEST(TextStyle, LocalesBecomeTheLanguagesFacesAreChosenBy) {
  EXPECT_EQ(TextInternal::faceLanguage("ja-JP"), "ja");
  EXPECT_EQ(TextInternal::faceLanguage("ko_KR"), "ko");
  EXPECT_EQ(TextInternal::faceLanguage("zh-Hans"), "zh-cn");
  EXPECT_EQ(TextInternal::faceLanguage("zh-Hant"), "zh-tw");
  EXPECT_EQ(TextInternal::faceLanguage("zh-Hant-HK"), "zh-hk");
  EXPECT_EQ(TextInternal::faceLanguage("zh-TW"), "zh-tw");
  EXPECT_EQ(TextInternal::faceLanguage("zh"), "zh-cn");
  EXPECT_EQ(TextInternal::faceLanguage("ar-SA"), "ar-sa");
}

TEST(TextStyle, OnColorPicksTheBetterOfWhiteAndInk) {
  EXPECT_EQ(TextLayout::onColor(RGBColor::black()), RGBColor::white());
  EXPECT_EQ(TextLayout::onColor(RGBColor::white()), *RGBColor::fromHex("#14171D"));
  EXPECT_EQ(TextLayout::onColor(*RGBColor::fromHex("#FFE600")), *RGBColor::fromHex("#14171D"));
  EXPECT_EQ(TextLayout::onColor(*RGBColor::fromHex("#1E3A8A")), RGBColor::white());
}

}  // namespace
}  // namespace vorno::attributed_text_test
