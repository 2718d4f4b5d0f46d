#include "kit/text/joining_scripts.h"

#include <gtest/gtest.h>

#include <string>

namespace vorno::joining_scripts_test {
namespace {

using Ranges = std::vector<std::pair<int, int>>;

TEST(JoiningScripts, CursiveAndIndicScriptsJoinLatinAndHanDoNot) {
  EXPECT_TRUE(JoiningScripts::joinsLetters(U'م'));   // Arabic
  EXPECT_TRUE(JoiningScripts::joinsLetters(U'ܐ'));   // Syriac
  EXPECT_TRUE(JoiningScripts::joinsLetters(U'ߊ'));   // N'Ko
  EXPECT_TRUE(JoiningScripts::joinsLetters(U'ᠮ'));   // Mongolian
  EXPECT_TRUE(JoiningScripts::joinsLetters(U'क'));   // Devanagari
  EXPECT_TRUE(JoiningScripts::joinsLetters(U'ক'));   // Bengali
  EXPECT_FALSE(JoiningScripts::joinsLetters(U'A'));
  EXPECT_FALSE(JoiningScripts::joinsLetters(U'ש'));  // Hebrew letters stand apart
  EXPECT_FALSE(JoiningScripts::joinsLetters(U'日'));
}

TEST(JoiningScripts, LatinTextIsSpacedWhole) {
  EXPECT_EQ(JoiningScripts::spacedRanges("Hello world"), (Ranges{{0, 11}}));
  EXPECT_EQ(JoiningScripts::spacedRanges(""), Ranges{});
}

TEST(JoiningScripts, ArabicTextIsNotSpacedAtAll) {
  EXPECT_EQ(JoiningScripts::spacedRanges("مرحبا بالعالم"), Ranges{});
  // Numbers and punctuation inside an Arabic run stay with it.
  EXPECT_EQ(JoiningScripts::spacedRanges("«مرحبا» 25"), Ranges{});
}

TEST(JoiningScripts, MixedTextSpacesOnlyTheLatinSide) {
  // "SALE " is spaced, the Arabic word and the space after it are not, "now" is.
  std::string text = "SALE تخفيضات now";
  std::string arabic = "تخفيضات";
  int arabicStart = 5, arabicEnd = arabicStart + static_cast<int>(arabic.size());
  EXPECT_EQ(JoiningScripts::spacedRanges(text), (Ranges{{0, arabicStart}, {arabicEnd + 1, static_cast<int>(text.size())}}));
}

TEST(JoiningScripts, LeadingPunctuationTakesTheSideOfTheFirstLetter) {
  std::string text = "«مرحبا» Hi";
  int latin = static_cast<int>(text.find('H'));
  EXPECT_EQ(JoiningScripts::spacedRanges(text), (Ranges{{latin, static_cast<int>(text.size())}}));
}

}  // namespace
}  // namespace vorno::joining_scripts_test
