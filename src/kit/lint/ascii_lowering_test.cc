#include "kit/lint/ascii_lowering.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <gtest/gtest.h>

#include <string>

namespace vorno::ascii_lowering_test {
namespace {

std::string icuLowered(const std::string& text) {
  icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
  unicode.toLower(icu::Locale::getRoot());
  std::string out;
  unicode.toUTF8String(out);
  return out;
}

TEST(AsciiLowering, EveryASCIICharacterLowersAsICUsRootLocaleLowersIt) {
  std::string all;
  for (int c = 0; c < 0x80; ++c) all += static_cast<char>(c);
  ASSERT_EQ(asciiLowered(all), icuLowered(all));
  EXPECT_EQ(asciiLowered("Save $5 at WWW.Crewday.APP, Today!"), "save $5 at www.crewday.app, today!");
}

TEST(AsciiLowering, TextWithAnyOtherCharacterIsLeftToICU) {
  EXPECT_EQ(asciiLowered("Nur 5 € im Monat"), std::nullopt);
  EXPECT_EQ(asciiLowered("İstanbul"), std::nullopt);
  EXPECT_EQ(asciiLowered(std::string("ab\xff")), std::nullopt);
  EXPECT_EQ(asciiLowered(""), "");
}

}  // namespace
}  // namespace vorno::ascii_lowering_test
