#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace vorno::text_fit_test {
namespace {

using TextLayout::Fitted;
using TextLayout::Style;

Style headline(double size = 100) {
  Style s;
  s.size = size;
  s.weight = FontWeight::bold;
  s.color = RGBColor::black();
  s.emphasis = *RGBColor::fromHex("#E53935");
  s.alignment = TextAlign::center;
  s.lineHeight = 1.06;
  s.tracking = -0.012;
  return s;
}

double width(std::string_view text, const Style& style) {
  return TextLayout::suggestedSize(TextLayout::attributed(text, style), INFINITY).width;
}

TEST(TextFit, EmptyTextHasNoLinesAndFits) {
  Fitted f = TextLayout::fit("", headline(), {500, 300}, 0.55, std::nullopt);
  EXPECT_EQ(f.lineCount, 0);
  EXPECT_FALSE(f.overflow);
  EXPECT_EQ(f.fontSize, 100);
  EXPECT_EQ(f.size, (Size{500, 0}));
  EXPECT_EQ(TextLayout::widestWord("", headline()), 0);
  EXPECT_EQ(TextLayout::suggestedSize(f.attributed, 500), (Size{0, 0}));
}

TEST(TextFit, FourWrittenLinesWithoutLimitAllowFourLines) {
  Fitted f = TextLayout::fit("One\nTwo\nThree\nFour", headline(), {2000, 10000}, 0.55, std::nullopt);
  EXPECT_EQ(f.fontSize, 100);
  EXPECT_EQ(f.lineCount, 4);
  EXPECT_FALSE(f.overflow);
}

TEST(TextFit, ThreeWrittenLinesWrappingToAFourthShrink) {
  std::string text = "Alpha\nBeta\nGamma delta epsilon";
  double third = width("Gamma delta epsilon", headline());
  double box = 0.9 * third;
  // At the base size the third line wraps: four lines against a limit of three.
  EXPECT_EQ(TextLayout::lineCount(TextLayout::attributed(text, headline()), box), 4);
  Fitted f = TextLayout::fit(text, headline(), {box, 10000}, 0.55, std::nullopt);
  EXPECT_LT(f.fontSize, 100);
  EXPECT_GT(f.fontSize, 80);
  EXPECT_EQ(f.lineCount, 3);
  EXPECT_FALSE(f.overflow);
}

TEST(TextFit, TwoLineLimitWithWrappingLinesOverflowsAtFloor) {
  std::string text = "Alpha beta gamma\nDelta epsilon zeta";
  // Wide enough for every word at the floor, too narrow for either line at any size.
  double box = 1.3 * TextLayout::widestWord(text, headline(55));
  Fitted f = TextLayout::fit(text, headline(), {box, 10000}, 0.55, 2);
  EXPECT_TRUE(f.overflow);
  EXPECT_DOUBLE_EQ(f.fontSize, 0.55 * 100);
  EXPECT_GT(f.lineCount, 2);
  EXPECT_DOUBLE_EQ(f.style.size, 0.55 * 100);
}

TEST(TextFit, WordWiderThanBoxAtFloorOverflows) {
  Fitted f = TextLayout::fit("Supercalifragilistic", headline(), {300, 10000}, 0.55, std::nullopt);
  EXPECT_TRUE(f.overflow);
  EXPECT_DOUBLE_EQ(f.fontSize, 0.55 * 100);
  EXPECT_LE(f.size.height, 10000);  // the height fitted: the word alone failed
}

TEST(TextFit, LongWordShrinksInsteadOfBreaking) {
  double box = TextLayout::widestWord("Unbreakable", headline(80));
  Fitted f = TextLayout::fit("Unbreakable", headline(), {box, 10000}, 0.55, std::nullopt);
  EXPECT_FALSE(f.overflow);
  EXPECT_LE(f.fontSize, 80);
  EXPECT_EQ(f.lineCount, 1);
}

TEST(TextFit, SizeFallsByFivePercentStepsToAnExactFloor) {
  std::string text = "Fit this headline";
  double one = width(text, headline());
  // Fits one line only once the size is at most 0.9 of the base: the third step, 0.857.
  Fitted f = TextLayout::fit(text, headline(), {0.9 * one, 106 * 0.9}, 0.55, std::nullopt);
  EXPECT_DOUBLE_EQ(f.fontSize, 100 * 0.95 * 0.95 * 0.95);
  EXPECT_FALSE(f.overflow);
  Fitted never = TextLayout::fit(text, headline(), {0.9 * one, 1}, 0.55, std::nullopt);
  EXPECT_EQ(never.fontSize, 0.55 * 100);  // the floor exactly, not a step near it
  EXPECT_TRUE(never.overflow);
  EXPECT_EQ(never.size.height, std::ceil(0.55 * 100 * 1.06));
}

TEST(TextFit, HeightPassesWithHalfAPixelOfSlack) {
  Fitted f = TextLayout::fit("One line", headline(), {2000, 106 - 0.5}, 0.55, std::nullopt);
  EXPECT_EQ(f.fontSize, 100);
  EXPECT_EQ(f.size.height, 106);
  Fitted g = TextLayout::fit("One line", headline(), {2000, 106 - 0.6}, 0.55, std::nullopt);
  EXPECT_LT(g.fontSize, 100);
}

TEST(TextFit, SuggestedHeightIsTheSumOfFixedLineHeights) {
  Style style = headline();
  style.lineHeight = 0.6;  // tighter than the face's own height: lines still advance by 60
  TextLayout::AttributedText a = TextLayout::attributed("One\n{0.5}two\nThree", style);
  LaidText laid(a, 2000);
  ASSERT_EQ(laid.lines().size(), 3u);
  EXPECT_NEAR(laid.lines()[1].top, 60, 1e-9);
  EXPECT_NEAR(laid.lines()[2].top, 90, 1e-9);
  EXPECT_NEAR(TextLayout::suggestedSize(a, 2000).height, 150, 1e-9);
  // The baseline sits the face's descent above the line's bottom.
  EXPECT_NEAR(laid.lines()[0].origin.y, 60 - laid.lines()[0].descent, 1e-9);
}

TEST(TextFit, TextEndingInALineBreakHasNoExtraLine) {
  EXPECT_EQ(TextLayout::lineCount(TextLayout::attributed("abc\n", headline()), 1000), 1);
  EXPECT_EQ(TextLayout::lineCount(TextLayout::attributed("abc\n\ndef", headline()), 1000), 3);
}

TEST(TextFit, WidestWordUsesEachLinesScaleAndIgnoresMarks) {
  Style style = headline();
  double plain = TextLayout::widestWord("Headline", style);
  EXPECT_NEAR(TextLayout::widestWord("**Head**line", style), plain, 1e-6);
  EXPECT_NEAR(TextLayout::widestWord("{0.5}Headline", style), plain / 2, 0.5);
  EXPECT_NEAR(TextLayout::widestWord("a Headline\n\nb", style), plain, 1e-6);
}

TEST(TextFit, LatinWordsSplitOnlyOnSpaces) {
  Style style = headline();
  EXPECT_NEAR(TextLayout::widestWord("well-known", style), width("well-known", style), 1e-6);
}

TEST(TextFit, LaidKeepsTheSpecSize) {
  TextSpec spec;
  spec.text = "Two words";
  spec.size = 50;
  spec.lineHeight = 1.2;
  Fitted f = TextLayout::laid(spec, 1000);
  EXPECT_EQ(f.fontSize, 50);
  EXPECT_EQ(f.lineCount, 1);
  EXPECT_EQ(f.size, (Size{1000, 60}));
  EXPECT_FALSE(f.overflow);
}

TEST(TextInk, SpanFollowsAlignmentAndIsAbsentWithoutInk) {
  TextSpec spec;
  spec.text = "Hello";
  spec.size = 100;
  spec.alignment = TextAlign::left;
  auto left = TextLayout::inkSpan(spec, 1000);
  ASSERT_TRUE(left);
  EXPECT_GE(left->first, 0);
  EXPECT_LT(left->first, 15);
  EXPECT_GT(left->second, 150);
  spec.alignment = TextAlign::center;
  auto centre = TextLayout::inkSpan(spec, 1000);
  ASSERT_TRUE(centre);
  EXPECT_NEAR((centre->first + centre->second) / 2, 500, 10);
  spec.alignment = TextAlign::right;
  auto right = TextLayout::inkSpan(spec, 1000);
  EXPECT_NEAR(right->second, 1000, 15);
  spec.text = "   ";
  EXPECT_FALSE(TextLayout::inkSpan(spec, 1000));
  spec.text = "";
  EXPECT_FALSE(TextLayout::inkSpan(spec, 1000));
}

TEST(TextFit, WrappedLinesAlignWithoutTheirTrailingSpace) {
  Style style = headline();
  style.alignment = TextAlign::right;
  TextLayout::AttributedText a = TextLayout::attributed("Right aligned words", style);
  double box = width("Right aligned", style) + 20;
  LaidText laid(a, box);
  ASSERT_EQ(laid.lines().size(), 2u);
  const LaidLine& first = laid.lines()[0];
  EXPECT_NEAR(first.origin.x + first.width - first.trailingWhitespace, box, 1e-6);
}

TEST(TextFit, FitIsReentrant) {
  std::vector<std::string> texts{"Track every habit\nin one place", "Sleep better tonight", "**Save** hours\nevery week",
                                 "Your money, organised", "{0.7}Setup\n**Payoff**", "Plan trips together"};
  auto run = [&](size_t i) {
    return TextLayout::fit(texts[i % texts.size()], headline(118), {700 + 50.0 * (i % 3), 400}, 0.55, std::nullopt);
  };
  std::vector<Fitted> single;
  for (size_t i = 0; i < 16; ++i) single.push_back(run(i));
  std::vector<std::vector<Fitted>> results(8);
  std::vector<std::thread> threads;
  for (size_t t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int repeat = 0; repeat < 3; ++repeat) {
        for (size_t i = 0; i < 16; ++i) results[t].push_back(run((i + t) % 16));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (size_t t = 0; t < 8; ++t) {
    ASSERT_EQ(results[t].size(), 48u);
    for (size_t k = 0; k < 48; ++k) EXPECT_EQ(results[t][k], single[(k % 16 + t) % 16]) << t << " " << k;
  }
}

TEST(TextFit, TwoLineHeadlineTakesOneStepOrTheFewItNeeds) {
  // The work of one fit is one layout per 5% step: a headline that fits at once takes one, and
  // one whose long first line makes it shrink takes exactly the steps down to the first size that
  // fits, no more. (How long a fit takes is measured by bench/layout_bench.)
  Style style = headline(118);
  struct Case {
    const char* text;
    int steps;
  };
  for (Case c : {Case{"Track every habit\nin one **calm** place", 1},
                 Case{"Track every habit that matters\nin one **calm** place", 9}}) {
    Fitted f = TextLayout::fit(c.text, style, {1096, 260}, 0.55, std::nullopt);
    int steps = static_cast<int>(std::lround(std::log(f.fontSize / 118) / std::log(0.95))) + 1;
    EXPECT_EQ(steps, c.steps) << c.text;
    EXPECT_NEAR(f.fontSize, 118 * std::pow(0.95, c.steps - 1), 1e-9) << c.text;
    EXPECT_EQ(f.lineCount, 2);
    EXPECT_FALSE(f.overflow);
    if (c.steps > 1) {
      // The step before did not fit: the fit stopped at the first size that does.
      Fitted larger = TextLayout::fit(c.text, style, {1096, 260}, f.fontSize / 0.95 / 118, std::nullopt);
      EXPECT_TRUE(larger.overflow) << c.text;
    }
  }
}

}  // namespace
}  // namespace vorno::text_fit_test

namespace vorno::text_fit_test {
namespace {

// Letter spacing after a line's last letter must not make a word that measures narrow enough
// break between its letters when it is laid.
TEST(TextFit, TrackedWordThatMeasuresWithinTheWidthStaysOnOneLine) {
  for (double tracking : {0.06, 0.14, 0.2, -0.012}) {
    TextSpec spec;
    spec.text = "AWARD WINNER";
    spec.size = 86;
    spec.weight = FontWeight::heavy;
    spec.tracking = tracking;
    const auto style = TextLayout::style(spec);
    const auto words = TextLayout::attributed("AWARD", style);
    const double word = TextLayout::widestWord("AWARD", style);
    EXPECT_EQ(TextLayout::lineCount(words, word + 0.01), 1) << tracking;
    const auto both = TextLayout::attributed(spec.text, style);
    const double line = TextLayout::suggestedSize(both, 1e6).width;
    EXPECT_EQ(TextLayout::lineCount(both, line + 0.01), 1) << tracking;
    EXPECT_EQ(TextLayout::lineCount(both, line - 20), 2) << tracking;
  }
}

}  // namespace
}  // namespace vorno::text_fit_test
