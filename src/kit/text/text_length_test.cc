#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"
#include "kit/text/text_length.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <string>

namespace vorno::text_length_test {
namespace {

TextLayout::Style headline() {
  TextLayout::Style s;
  s.size = 120;
  s.weight = FontWeight::heavy;
  s.color = RGBColor::black();
  s.lineHeight = 1.0;
  return s;
}

std::string words(size_t characters) {
  const std::string phrase = "Plan the week with your whole team ";
  std::string text;
  while (text.size() < characters) text += phrase;
  text.resize(characters);
  return text;
}

// Bytes handed to Pango while fitting `text` into a headline's box.
uint64_t bytesLaidToFit(const std::string& text) {
  const uint64_t before = LaidText::bytesLaid();
  TextLayout::fit(text, headline(), {1100, 500}, 0.55, std::nullopt);
  return LaidText::bytesLaid() - before;
}

TEST(TextLength, FittingAFiftyKilobyteHeadlineLaysNoMoreThanTheLongestTextLaidWhole) {
  const uint64_t longest = bytesLaidToFit(words(TextLayout::maxCharacters));
  const uint64_t huge = bytesLaidToFit(words(50'000));
  ASSERT_GT(longest, 0u);
  // The same steps over the same first 2000 characters, and three more bytes for the "…".
  EXPECT_LE(huge, longest + longest / 10) << "a 50 KB text laid " << huge << " bytes, the longest whole text " << longest;
}

TEST(TextLength, TextPastTheLimitIsCutWithAnEllipsis) {
  const std::string text = words(50'000);
  const std::string laid = TextLayout::attributed(text, headline()).string();
  EXPECT_EQ(g_utf8_strlen(laid.c_str(), -1), static_cast<glong>(TextLayout::maxCharacters + 1));
  EXPECT_EQ(laid.substr(0, 40), text.substr(0, 40));
  EXPECT_EQ(laid.substr(laid.size() - 3), "…");
  EXPECT_TRUE(TextLayout::isCut(text));
}

TEST(TextLength, LimitCountsCharactersNotBytes) {
  // "é" is two bytes: 2000 of them are 4000 bytes and still whole.
  std::string accents;
  for (size_t i = 0; i < TextLayout::maxCharacters; ++i) accents += "é";
  EXPECT_FALSE(TextLayout::isCut(accents));
  EXPECT_EQ(TextLayout::attributed(accents, headline()).string(), accents);
  EXPECT_TRUE(TextLayout::isCut(accents + "é"));
  EXPECT_FALSE(TextLayout::isCut(words(TextLayout::maxCharacters)));
  EXPECT_FALSE(TextLayout::isCut(""));
}

TEST(TextLength, WidestWordOfAHugeWordIsMeasuredOnItsFirstPart) {
  // One word of 50,000 letters: what fitting must keep on a line is the part that is drawn.
  const std::string word(50'000, 'm');
  const double cut = TextLayout::widestWord(word, headline());
  const double limit = TextLayout::widestWord(std::string(TextLayout::maxCharacters, 'm') + "…", headline());
  EXPECT_DOUBLE_EQ(cut, limit);
  EXPECT_GT(cut, 0);
}

}  // namespace
}  // namespace vorno::text_length_test
