#include "kit/model/store_target.h"

#include <gtest/gtest.h>

#include <set>

namespace vorno::store_target_test {
namespace {

TEST(StoreTarget, HeaderIsNotNamedButAnyFindsIt) {
  EXPECT_EQ(StoreTarget::named("ios.header"), nullptr);
  const StoreTarget* header = StoreTarget::any("ios.header");
  ASSERT_NE(header, nullptr);
  EXPECT_EQ(header->id, "ios.header");
  EXPECT_TRUE(header->isCreative());
  EXPECT_EQ(header, StoreTarget::canvas("ios.header"));
}

TEST(StoreTarget, CanvasDoesNotFindScreenshotTargets) {
  EXPECT_EQ(StoreTarget::canvas("ios.iphone-6.9"), nullptr);
  EXPECT_EQ(StoreTarget::any("ios.iphone-6.9"), &StoreTarget::iphone69());
}

TEST(StoreTarget, UnknownIdGivesNothing) {
  EXPECT_EQ(StoreTarget::named("ios.iphone-7"), nullptr);
  EXPECT_EQ(StoreTarget::canvas("ios.iphone-7"), nullptr);
  EXPECT_EQ(StoreTarget::any("ios.iphone-7"), nullptr);
  EXPECT_EQ(StoreTarget::any(""), nullptr);
}

TEST(KnownTargetIDs, EachListInCatalogueOrderJoinedByCommas) {
  const std::string slots =
      "ios.iphone-6.9, ios.iphone-6.5, ios.iphone-duo, ios.ipad-13, play.phone, play.tablet-7, play.tablet-10";
  const std::string canvases = "ios.header, ios.search-results, ios.universal";
  EXPECT_EQ(knownTargetIDs(), slots);
  EXPECT_EQ(knownTargetIDs(KnownTargets::slots), slots);
  EXPECT_EQ(knownTargetIDs(KnownTargets::canvases), canvases);
  EXPECT_EQ(knownTargetIDs(KnownTargets::slotsAndCanvases), slots + ", " + canvases);
}

TEST(StoreTarget, TextUnitOfPhoneIsFromHeight) {
  EXPECT_DOUBLE_EQ(StoreTarget::named("ios.iphone-6.9")->textUnit(), 1319.28);
}

TEST(StoreTarget, TextUnitOfHeaderIsFromSafeArea) {
  EXPECT_DOUBLE_EQ(StoreTarget::any("ios.header")->textUnit(), 1586.4);
}

TEST(StoreTarget, TextUnitIsCappedByWidth) {
  // 1920 * 0.46 = 883.2 is below 1080, and the universal canvas's safe area is width-bound.
  EXPECT_DOUBLE_EQ(StoreTarget::playPhone().textUnit(), 883.2);
  EXPECT_DOUBLE_EQ(StoreTarget::appStoreUniversal().textUnit(), 1402);
}

TEST(DeviceFamilyOf, IPhoneSizedImageIsPhone) { EXPECT_EQ(deviceFamilyOf(1320, 2868), DeviceFamily::phone); }

TEST(DeviceFamilyOf, IPadSizedImageIsTablet) { EXPECT_EQ(deviceFamilyOf(2064, 2752), DeviceFamily::tablet); }

TEST(DeviceFamilyOf, SevenInchTabletAt0625IsTablet) {
  EXPECT_EQ(deviceFamilyOf(1200, 1920), DeviceFamily::tablet);
  EXPECT_EQ(deviceFamilyOf(1920, 1200), DeviceFamily::tablet);
}

TEST(DeviceFamilyOf, NineBySixteenAt05625IsPhone) {
  EXPECT_EQ(deviceFamilyOf(1080, 1920), DeviceFamily::phone);
  EXPECT_EQ(deviceFamilyOf(1920, 1080), DeviceFamily::phone);
}

TEST(DeviceFamilyOf, ExactlySixTenthsIsPhone) { EXPECT_EQ(deviceFamilyOf(600, 1000), DeviceFamily::phone); }

TEST(DeviceFamilyOf, NeverFoldableEvenForTheDuoSize) {
  EXPECT_EQ(deviceFamilyOf(2007, 2853), DeviceFamily::tablet);
  EXPECT_EQ(deviceFamilyOf(0, 0), DeviceFamily::phone);
}

TEST(DeviceFamily, WideIsEverythingButPhone) {
  EXPECT_FALSE(isWide(DeviceFamily::phone));
  EXPECT_TRUE(isWide(DeviceFamily::tablet));
  EXPECT_TRUE(isWide(DeviceFamily::foldable));
}

TEST(StoreTarget, RawValuesOfPlatformAndFamily) {
  EXPECT_EQ(rawValue(Platform::ios), "ios");
  EXPECT_EQ(rawValue(Platform::android), "android");
  EXPECT_EQ(enumCase<DeviceFamily>("foldable"), DeviceFamily::foldable);
}

TEST(StoreTarget, MinReadableTextOnlyOnSmallShownCanvases) {
  EXPECT_EQ(StoreTarget::appStoreSearch().minReadableText, 110);
  EXPECT_EQ(StoreTarget::appStoreUniversal().minReadableText, 130);
  EXPECT_FALSE(StoreTarget::appStoreHeader().minReadableText.has_value());
  for (const auto& target : StoreTarget::all()) EXPECT_FALSE(target.minReadableText.has_value()) << target.id;
}

TEST(StoreTarget, VideoSizeIsSmallerOnlyOnSearchResults) {
  EXPECT_EQ(StoreTarget::appStoreSearch().videoSize(), (std::pair<int, int>{3072, 2048}));
  EXPECT_EQ(StoreTarget::appStoreHeader().videoSize(), (std::pair<int, int>{3840, 1646}));
  EXPECT_EQ(StoreTarget::iphone69().videoSize(), (std::pair<int, int>{1320, 2868}));
}

TEST(StoreTarget, EveryScreenshotSlotSaysWhereTheFastlaneLayoutPutsIt) {
  std::set<std::string> androidFolders;
  for (const StoreTarget& target : StoreTarget::all()) {
    const std::string& path = target.fastlanePath;
    EXPECT_EQ(path.rfind("fastlane/", 0), 0u) << target.id;
    EXPECT_NE(path.find("{locale}"), std::string::npos) << target.id;
    EXPECT_NE(path.find("{index}"), std::string::npos) << target.id;
    // A file name that tells the slot apart within a folder shared by several slots.
    EXPECT_TRUE(path.find("{slide}") != std::string::npos || path.find("{target}") != std::string::npos) << target.id;
    if (target.platform == Platform::android) {
      EXPECT_EQ(path.rfind("fastlane/metadata/android/{locale}/images/", 0), 0u) << target.id;
      EXPECT_TRUE(androidFolders.insert(path).second) << target.id << " shares a Play folder";
    }
  }
  for (const StoreTarget& canvas : StoreTarget::canvases()) EXPECT_EQ(canvas.fastlanePath, "") << canvas.id;
}

TEST(StoreTarget, AspectIsWidthOverHeight) {
  EXPECT_DOUBLE_EQ(StoreTarget::playPhone().aspect(), 1080.0 / 1920.0);
  EXPECT_DOUBLE_EQ(StoreTarget::appStoreSearch().aspect(), 1.5);
}

struct Row {
  const char* id;
  const char* name;
  Platform platform;
  int width, height;
  DeviceFamily family;
  int maxCount, minCount;
  const char* note;
};

TEST(StoreTargetTable, ScreenshotTargetsInOrderWithEveryField) {
  const std::vector<Row> rows{
      {"ios.iphone-6.9", "iPhone 6.9″", Platform::ios, 1320, 2868, DeviceFamily::phone, 10, 1,
       "Required for iPhone apps. Smaller iPhones are scaled from this."},
      {"ios.iphone-6.5", "iPhone 6.5″", Platform::ios, 1284, 2778, DeviceFamily::phone, 10, 1,
       "Only needed when 6.9″ is not provided."},
      {"ios.iphone-duo", "iPhone Duo", Platform::ios, 2007, 2853, DeviceFamily::foldable, 10, 1,
       "Optional now; Apple requires iPhone Duo screenshots for new submissions from April 2027."},
      {"ios.ipad-13", "iPad 13″", Platform::ios, 2064, 2752, DeviceFamily::tablet, 10, 1,
       "Required when the app runs on iPad."},
      {"play.phone", "Play phone", Platform::android, 1080, 1920, DeviceFamily::phone, 8, 2,
       "9:16 at 1080px qualifies for featuring."},
      {"play.tablet-7", "Play 7″ tablet", Platform::android, 1200, 1920, DeviceFamily::tablet, 8, 0, "Optional."},
      {"play.tablet-10", "Play 10″ tablet", Platform::android, 1600, 2560, DeviceFamily::tablet, 8, 0, "Optional."},
  };
  const auto& all = StoreTarget::all();
  ASSERT_EQ(all.size(), rows.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    const auto& t = all[i];
    const auto& row = rows[i];
    EXPECT_EQ(t.id, row.id);
    EXPECT_EQ(t.name, row.name) << row.id;
    EXPECT_EQ(t.platform, row.platform) << row.id;
    EXPECT_EQ(t.width, row.width) << row.id;
    EXPECT_EQ(t.height, row.height) << row.id;
    EXPECT_EQ(t.family, row.family) << row.id;
    EXPECT_EQ(t.maxCount, row.maxCount) << row.id;
    EXPECT_EQ(t.minCount, row.minCount) << row.id;
    EXPECT_EQ(t.note, row.note) << row.id;
    EXPECT_EQ(t.kind, StoreTarget::Kind::screenshot) << row.id;
    EXPECT_FALSE(t.isCreative()) << row.id;
    EXPECT_FALSE(t.safeArea.has_value()) << row.id;
    EXPECT_LT(t.width, t.height) << "screenshots are portrait: " << row.id;
    EXPECT_EQ(StoreTarget::named(row.id), &t);
  }
}

TEST(StoreTargetTable, CanvasesInOrderWithSafeAreas) {
  struct CanvasRow {
    const char* id;
    const char* name;
    int width, height;
    Rect safeArea;
    const char* note;
  };
  const std::vector<CanvasRow> rows{
      {"ios.header",
       "Product page header",
       3840,
       1646,
       {1097, 493, 1646, 661},
       "21:9, the first thing on the product page. Brand, a season, new content: one clear idea."},
      {"ios.search-results",
       "Search results",
       3840,
       2560,
       {836, 765, 2168, 1030},
       "3:2, replaces the first screenshots in search results. Make the app's purpose obvious; show it in use."},
      {"ios.universal",
       "Universal creative",
       5244,
       2950,
       {1921, 660, 1402, 962},
       "16:9 PNG that can serve as both the header and the search results asset. Its safe area is small."},
  };
  const auto& canvases = StoreTarget::canvases();
  ASSERT_EQ(canvases.size(), rows.size());
  for (size_t i = 0; i < rows.size(); ++i) {
    const auto& t = canvases[i];
    const auto& row = rows[i];
    EXPECT_EQ(t.id, row.id);
    EXPECT_EQ(t.name, row.name) << row.id;
    EXPECT_EQ(t.platform, Platform::ios) << row.id;
    EXPECT_EQ(t.family, DeviceFamily::phone) << row.id;
    EXPECT_EQ(t.width, row.width) << row.id;
    EXPECT_EQ(t.height, row.height) << row.id;
    EXPECT_EQ(t.maxCount, 1) << row.id;
    EXPECT_EQ(t.minCount, 0) << row.id;
    EXPECT_EQ(t.note, row.note) << row.id;
    EXPECT_EQ(t.kind, StoreTarget::Kind::creative) << row.id;
    EXPECT_TRUE(t.isCreative()) << row.id;
    ASSERT_TRUE(t.safeArea.has_value()) << row.id;
    EXPECT_EQ(*t.safeArea, row.safeArea) << row.id;
    // The safe area lies inside the canvas.
    EXPECT_LE(t.safeArea->x + t.safeArea->width, t.width) << row.id;
    EXPECT_LE(t.safeArea->y + t.safeArea->height, t.height) << row.id;
    EXPECT_EQ(StoreTarget::canvas(row.id), &t);
    EXPECT_EQ(StoreTarget::named(row.id), nullptr);
  }
}

TEST(StoreTargetTable, IdsAreUniqueAcrossBothLists) {
  std::set<std::string> ids;
  for (const auto& t : StoreTarget::all()) ids.insert(t.id);
  for (const auto& t : StoreTarget::canvases()) ids.insert(t.id);
  EXPECT_EQ(ids.size(), StoreTarget::all().size() + StoreTarget::canvases().size());
}

TEST(StoreTargetTable, StaticAccessorsAreTheTableRows) {
  EXPECT_EQ(StoreTarget::iphone69().id, "ios.iphone-6.9");
  EXPECT_EQ(StoreTarget::iphone65().id, "ios.iphone-6.5");
  EXPECT_EQ(StoreTarget::iphoneDuo().id, "ios.iphone-duo");
  EXPECT_EQ(StoreTarget::ipad13().id, "ios.ipad-13");
  EXPECT_EQ(StoreTarget::playPhone().id, "play.phone");
  EXPECT_EQ(StoreTarget::playTablet7().id, "play.tablet-7");
  EXPECT_EQ(StoreTarget::playTablet10().id, "play.tablet-10");
  EXPECT_EQ(StoreTarget::appStoreHeader().id, "ios.header");
  EXPECT_EQ(StoreTarget::appStoreSearch().id, "ios.search-results");
  EXPECT_EQ(StoreTarget::appStoreUniversal().id, "ios.universal");
  EXPECT_EQ(&StoreTarget::iphone69(), &StoreTarget::all().front());
  EXPECT_EQ(&StoreTarget::appStoreUniversal(), &StoreTarget::canvases().back());
}

TEST(StoreTarget, EqualityIsOverAllFields) {
  StoreTarget copy = StoreTarget::appStoreHeader();
  EXPECT_EQ(copy, StoreTarget::appStoreHeader());
  copy.safeArea->x += 1;
  EXPECT_NE(copy, StoreTarget::appStoreHeader());
  copy = StoreTarget::iphone69();
  copy.note = "Other.";
  EXPECT_NE(copy, StoreTarget::iphone69());
}

}  // namespace
}  // namespace vorno::store_target_test
