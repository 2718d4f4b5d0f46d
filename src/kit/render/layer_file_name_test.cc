#include "kit/render/layer_file_name.h"

#include <gtest/gtest.h>

namespace vorno::layer_file_name_test {
namespace {

TEST(LayerFileName, LayerIdHeroPhoneSlashOneBecomesASafeFileName) {
  EXPECT_EQ(layerFileName(0, "hero phone/1"), "00-hero_phone_1.png");
  EXPECT_EQ(layerFileName(12, "badge-2"), "12-badge-2.png");
}

TEST(LayerFileName, LettersAndDigitsOfAnyScriptAreKept) {
  EXPECT_EQ(layerFileName(3, "Übersicht"), "03-Übersicht.png");
  EXPECT_EQ(layerFileName(4, "見出し٣"), "04-見出し٣.png");
  EXPECT_EQ(layerFileName(5, "a.b\\c"), "05-a_b_c.png");
}

TEST(LayerFileName, BytesThatAreNoUTF8BecomeOneUnderscoreEach) {
  EXPECT_EQ(layerFileName(1, std::string("a\xff" "b")), "01-a_b.png");
}

}  // namespace
}  // namespace vorno::layer_file_name_test
