#include "kit/text/font_file_info.h"

#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vorno::font_file_info_test {
namespace {

constexpr const char* kInterSemiBold = "/usr/share/fonts/opentype/inter/Inter-SemiBold.otf";
constexpr const char* kDejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr const char* kCJKCollection = "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc";

TEST(FontFileInfo, OneFaceGivesItsTypographicFamilyAndStyle) {
  std::optional<FontFileInfo> info = FontFileInfo::read(kInterSemiBold);
  ASSERT_TRUE(info);
  EXPECT_EQ(*info, (FontFileInfo{"Inter", {"Semi Bold"}}));

  info = FontFileInfo::read(kDejaVu);
  ASSERT_TRUE(info);
  EXPECT_EQ(*info, (FontFileInfo{"DejaVu Sans", {"Book"}}));
}

TEST(FontFileInfo, ACollectionNamesEachStyleOnce) {
  std::optional<FontFileInfo> info = FontFileInfo::read(kCJKCollection);
  ASSERT_TRUE(info);
  EXPECT_FALSE(info->family.empty());
  ASSERT_FALSE(info->styles.empty());
  // Every face of the collection is Regular: the style is listed once, not once per face.
  EXPECT_EQ(std::count(info->styles.begin(), info->styles.end(), "Regular"), 1);
}

TEST(FontFileInfo, AFileThatIsNoFontOrIsMissingGivesNothing) {
  testing::TempFolder folder("vorno-font-info");
  testing::writeBytes(folder.file("notes.ttf"), {'n', 'o', 't', ' ', 'a', ' ', 'f', 'o', 'n', 't'});
  EXPECT_FALSE(FontFileInfo::read(folder.file("notes.ttf")));
  EXPECT_FALSE(FontFileInfo::read(folder.file("missing.otf")));
  EXPECT_FALSE(FontFileInfo::read(folder.path().string()));
}

}  // namespace
}  // namespace vorno::font_file_info_test
