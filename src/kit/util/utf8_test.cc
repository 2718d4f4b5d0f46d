#include "kit/util/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace vorno::utf8_test {
namespace {

const std::string replacement = "\xEF\xBF\xBD";

TEST(UTF8, ValidTextOfEveryLengthIsKept) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // a é € 😀
  EXPECT_TRUE(isValidUTF8(text));
  EXPECT_EQ(validUTF8(text), text);
  EXPECT_EQ(utf8SequenceLength("\xF0\x9F\x98\x80"), 4u);
  EXPECT_EQ(utf8SequenceLength("\xF4\x8F\xBF\xBF"), 4u);  // U+10FFFF, the last scalar
}

TEST(UTF8, AByteFEInAFileNameBecomesOneReplacementCharacter) {
  EXPECT_FALSE(isValidUTF8("shot\xFE.png"));
  EXPECT_EQ(validUTF8("shot\xFE.png"), "shot" + replacement + ".png");
  EXPECT_EQ(validUTF8("/home/\xFF/App.vorno"), "/home/" + replacement + "/App.vorno");
}

TEST(UTF8, OverlongSurrogateTooLargeAndCutSequencesAreReplacedByteByByte) {
  EXPECT_EQ(validUTF8("\xC0\xAF"), replacement + replacement);           // overlong "/"
  EXPECT_EQ(validUTF8("\xE0\x80\xAF"), replacement + replacement + replacement);  // overlong "/"
  EXPECT_EQ(validUTF8("\xED\xA0\x80"), replacement + replacement + replacement);  // U+D800
  EXPECT_EQ(validUTF8("\xF4\x90\x80\x80").size(), 4 * replacement.size());      // above U+10FFFF
  EXPECT_EQ(validUTF8("a\xE2\x82"), "a" + replacement + replacement);            // cut at the end
  EXPECT_EQ(validUTF8("\x80" "b"), replacement + "b");                            // stray continuation
  for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "a\xE2\x82", "\x80"})
    EXPECT_TRUE(isValidUTF8(validUTF8(bad))) << bad;
}

TEST(UTF8, UnfinishedTailIsTheStartOfACharacterStillToCome) {
  EXPECT_EQ(utf8UnfinishedTail("ab\xF0\x9F\x98"), 3u);
  EXPECT_EQ(utf8UnfinishedTail("ab\xC3"), 1u);
  EXPECT_EQ(utf8UnfinishedTail("ab\xC3\xA9"), 0u);  // finished
  EXPECT_EQ(utf8UnfinishedTail("ab\xFE"), 0u);      // never a start
  EXPECT_EQ(utf8UnfinishedTail("\x80\x80\x80"), 0u);
  EXPECT_EQ(utf8UnfinishedTail(""), 0u);
}

TEST(UTF8, EmptyAndNulAreValid) {
  EXPECT_TRUE(isValidUTF8(""));
  EXPECT_EQ(validUTF8(std::string("a\0b", 3)), std::string("a\0b", 3));
}

}  // namespace
}  // namespace vorno::utf8_test
