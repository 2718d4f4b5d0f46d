// Headlines laid by the engine don't end on a lone word or CJK character when they wrap: the
// drawn lines are re-broken narrower, and the fitted size is the one greedy breaking chose.
#include "kit/layout/slide_layout_engine.h"

#include "kit/layout/layout_test_support.h"
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <cmath>

namespace vorno::layout_balance_test {
namespace {

using testing::TestPackage;
using testing::projectWith;


ComposedSlide compose(const TestPackage& package, const std::string& locale, const std::string& headline) {
  Slide slide;
  slide.id = "intro";
  slide.headline = LocalizedText{{{locale, headline}}};
  Project project = projectWith({slide});
  project.locales = {locale};
  return SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), locale);
}

std::string lastLine(const LaidText& laid) {
  const LaidLine& line = laid.lines().back();
  std::string text = laid.string().substr(static_cast<size_t>(line.start), static_cast<size_t>(line.length));
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
  return text;
}

TEST(LayoutBalance, JapaneseHeadlineThatEndedOnOneCharacterNowEndsOnTwoOrMore) {
  TestPackage package;
  ComposedSlide composed = compose(package, "ja-JP", "チームの予定を一目で");
  const ElementLayout* headline = composed.element("headline", "intro");
  ASSERT_NE(headline, nullptr);
  const TextSpec& spec = *headline->text();
  TextLayout::Fitted drawn = TextLayout::laid(spec, headline->frame.width);

  // Greedy breaking at the headline's width leaves "で" alone on the second line.
  LaidText greedy(drawn.attributed, headline->frame.width, LaidText::Breaking::greedy);
  ASSERT_EQ(greedy.lines().size(), 2u);
  ASSERT_EQ(lastLine(greedy), "で");

  LaidText balanced(drawn.attributed, headline->frame.width);
  ASSERT_EQ(balanced.lines().size(), 2u);
  std::string last = lastLine(balanced);
  EXPECT_GE(g_utf8_strlen(last.data(), static_cast<gssize>(last.size())), 2) << last;
  // Same size, same height: the frame the engine made still holds the drawn text.
  EXPECT_EQ(composed.headlineFontSize, spec.size);
  EXPECT_EQ(headline->placement.fontScale.value_or(0), 1.0);
  EXPECT_EQ(std::ceil(balanced.height()), headline->frame.height);
}

TEST(LayoutBalance, LatinHeadlineThatEndedOnOneWordNowEndsOnTwoOrMoreAtTheSameSize) {
  TestPackage package;
  ComposedSlide composed = compose(package, "en-US", "Send quotes and invoices from one place");
  const ElementLayout* headline = composed.element("headline", "intro");
  ASSERT_NE(headline, nullptr);
  const TextSpec& spec = *headline->text();
  TextLayout::Fitted drawn = TextLayout::laid(spec, headline->frame.width);

  // Greedy: "Send quotes and / invoices from one / place".
  LaidText greedy(drawn.attributed, headline->frame.width, LaidText::Breaking::greedy);
  ASSERT_EQ(greedy.lines().size(), 3u);
  ASSERT_EQ(lastLine(greedy), "place");

  LaidText balanced(drawn.attributed, headline->frame.width);
  ASSERT_EQ(balanced.lines().size(), 3u);
  EXPECT_NE(lastLine(balanced).find(' '), std::string::npos) << lastLine(balanced);
  // Still the headline's full size (unit x 0.092 on this canvas): nothing shrank for it.
  EXPECT_EQ(composed.headlineFontSize, spec.size);
  EXPECT_EQ(headline->placement.fontScale.value_or(0), 1.0);
  EXPECT_EQ(std::ceil(balanced.height()), headline->frame.height);
  for (const auto& issue : composed.issues) EXPECT_NE(issue.code, "text.overflow");
}

}  // namespace
}  // namespace vorno::layout_balance_test
