#include "kit/store/file_name.h"

#include "kit/util/vorno_error.h"

#include <gtest/gtest.h>

#include <string>

namespace vorno::file_name_test {
namespace {

std::string refusal(std::string_view name, std::string_view what) {
  try {
    FileName::check(name, what);
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    return error.message();
  }
  return "";
}

TEST(FileName, CheckRefusesHiddenSlashEmptyAnd129CharactersAndAccepts128) {
  EXPECT_NE(refusal(".hidden", "Slide id"), "");
  EXPECT_NE(refusal("a/b", "Slide id"), "");
  EXPECT_NE(refusal("", "Slide id"), "");
  EXPECT_NE(refusal(std::string(129, 'a'), "Slide id"), "");
  EXPECT_EQ(refusal(std::string(128, 'a'), "Slide id"), "");
}

TEST(FileName, RefusalIsTheExactSentence) {
  EXPECT_EQ(refusal("a/b", "Slide id"),
            "Slide id \"a/b\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_EQ(refusal("", "Locale"),
            "Locale \"\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
}

TEST(FileName, LineBreaksAndNulAreUnsafe) {
  for (std::string bad : {"a\nb", "a\rb", "a\vb", "a\fb", "a\xC2\x85" "b", "a\xE2\x80\xA8" "b", "a\xE2\x80\xA9" "b"})
    EXPECT_FALSE(FileName::isSafeComponent(bad)) << bad;
  EXPECT_FALSE(FileName::isSafeComponent(std::string("a\0b", 3)));
}

TEST(FileName, BlanksAndNonAsciiLettersPass) {
  EXPECT_TRUE(FileName::isSafeComponent("my slide"));
  EXPECT_TRUE(FileName::isSafeComponent("\xC3\xA9t\xC3\xA9"));  // "été"
  EXPECT_TRUE(FileName::isSafeComponent("a.b"));
  EXPECT_TRUE(FileName::isSafeComponent("a\tb"));  // a tab is not a line break
}

TEST(FileName, LengthCountsBytesNotCharacters) {
  std::string e64;
  for (int i = 0; i < 64; ++i) e64 += "\xC3\xA9";  // 64 characters, 128 bytes
  EXPECT_TRUE(FileName::isSafeComponent(e64));
  EXPECT_FALSE(FileName::isSafeComponent(e64 + "a"));
}

TEST(FileName, SeventyEmojiAreRefusedWithTheSentence) {
  std::string emoji;
  for (int i = 0; i < 70; ++i) emoji += "\xF0\x9F\x98\x80";  // 70 characters, 280 bytes
  EXPECT_EQ(refusal(emoji, "Slide id"), "Slide id \"" + emoji +
                                            "\" can't be used in a file name: use letters, digits, - and _ (no /, no "
                                            "leading dot).");
  std::string e32;
  for (int i = 0; i < 32; ++i) e32 += "\xF0\x9F\x98\x80";  // exactly 128 bytes
  EXPECT_EQ(refusal(e32, "Slide id"), "");
}

TEST(FileName, DotInsideOrAtEndIsFineButNotAtStart) {
  EXPECT_TRUE(FileName::isSafeComponent("name."));
  EXPECT_FALSE(FileName::isSafeComponent(".."));
  EXPECT_FALSE(FileName::isSafeComponent("."));
}

TEST(FileName, PlainWordsAreASCIILettersDigitsHyphensAndUnderscores) {
  for (const char* word : {"a", "summer-2", "B_side", "0", "-", "_x_"}) EXPECT_TRUE(FileName::isPlainWord(word)) << word;
  for (const char* word : {"", "a b", "a.b", "../x", "é", "a/b", "x\n"}) EXPECT_FALSE(FileName::isPlainWord(word)) << word;
}

TEST(FileName, PlainFileNamesEndInOneOfTheExtensionsAsWritten) {
  const auto plain = [](std::string_view name) { return FileName::isPlainFileName(name, {".png", ".jpg", ".jpeg"}); };
  for (const char* name : {"logo.png", "a.b-c_d.jpeg", "x.jpg", ".png.png", "..png"}) EXPECT_TRUE(plain(name)) << name;
  for (const char* name : {".png", "logo", "logo.gif", "logo.png.txt", "Logo.PNG", "a b.png", "../logo.png", "é.png"})
    EXPECT_FALSE(plain(name)) << name;
}

}  // namespace
}  // namespace vorno::file_name_test
