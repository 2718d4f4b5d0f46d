#include "kit/model/text_markup.h"

#include <gtest/gtest.h>

namespace vorno::text_markup_test {
namespace {

TEST(TextMarkup, PlainRemovesEmphasisAndLineScales) {
  EXPECT_EQ(TextMarkup::plain("Plan **your** day"), "Plan your day");
  EXPECT_EQ(TextMarkup::plain("{0.7}small line\n**Big** line"), "small line\nBig line");
}

TEST(TextMarkup, PlainKeepsEmptyLinesAndMalformedBraces) {
  EXPECT_EQ(TextMarkup::plain("a\n\nb"), "a\n\nb");
  EXPECT_EQ(TextMarkup::plain("{abc}x"), "{abc}x");
  EXPECT_EQ(TextMarkup::plain("{0}x"), "{0}x");
  EXPECT_EQ(TextMarkup::plain("{-1}x"), "{-1}x");
  EXPECT_EQ(TextMarkup::plain("{1.5 x"), "{1.5 x");
}

TEST(TextMarkup, PlainDoesNotClampTheScaleItRemoves) {
  EXPECT_EQ(TextMarkup::plain("{9}huge"), "huge");
}

TEST(TextMarkup, UnpairedAsterisksAreRemovedPairwise) {
  EXPECT_EQ(TextMarkup::plain("***a"), "*a");
  EXPECT_EQ(TextMarkup::plain("5 * 3"), "5 * 3");
}

TEST(TextMarkup, TextWithoutMarkupIsItsOwnPlainText) {
  EXPECT_EQ(TextMarkup::plain("Save $5, today. (c) 2025 – Größe"), "Save $5, today. (c) 2025 – Größe");
  EXPECT_EQ(TextMarkup::plain(""), "");
  // A brace or newline anywhere sends the text through the full reading, which leaves these be.
  EXPECT_EQ(TextMarkup::plain("a {0.5} b"), "a {0.5} b");
  EXPECT_EQ(TextMarkup::plain("a\n{0.5}b"), "a\nb");
}

TEST(TextMarkup, LineScaleIsClampedAndReturnsTheRest) {
  auto scale = TextMarkup::lineScale("{0.1}tiny");
  ASSERT_TRUE(scale);
  EXPECT_DOUBLE_EQ(scale->first, 0.2);
  EXPECT_EQ(scale->second, "tiny");
  EXPECT_DOUBLE_EQ(TextMarkup::lineScale("{7}x")->first, 3.0);
  EXPECT_DOUBLE_EQ(TextMarkup::lineScale("{+0.5}x")->first, 0.5);
  EXPECT_FALSE(TextMarkup::lineScale("{ 0.5}x"));
  EXPECT_FALSE(TextMarkup::lineScale(""));
  EXPECT_FALSE(TextMarkup::lineScale("x{0.5}"));
}

}  // namespace
}  // namespace vorno::text_markup_test
