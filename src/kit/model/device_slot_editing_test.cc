#include "kit/model/device_slot_editing.h"

#include "kit/model/slide_element.h"

#include <gtest/gtest.h>

namespace vorno::device_slot_editing_test {
namespace {

using ByTarget = std::map<std::string, std::string>;

DeviceSlot slotShowing(std::string path) {
  DeviceSlot slot;
  slot.screenshot = ScreenshotRef::path(std::move(path));
  return slot;
}

// Screenshots

TEST(DeviceSlotEditing, PathReferenceWithKeepingOtherStoreFalseIsSimplyOverwritten) {
  DeviceSlot slot = slotShowing("captures/ios-home.png");
  setScreenshot(slot, "captures/android-home.png", StoreTarget::playPhone(), false);
  EXPECT_EQ(slot.screenshot, ScreenshotRef::path("captures/android-home.png"));
}

TEST(DeviceSlotEditing, SetScreenshotWithTheSamePathLeavesAPlainReferencePlain) {
  DeviceSlot slot = slotShowing("captures/home.png");
  setScreenshot(slot, "captures/home.png", StoreTarget::playPhone(), true);
  EXPECT_EQ(slot.screenshot, ScreenshotRef::path("captures/home.png"));
}

TEST(DeviceSlotEditing, KeepingOtherStoreSplitsAPathIntoOnePerStore) {
  DeviceSlot slot = slotShowing("captures/ios-home.png");
  setScreenshot(slot, "captures/android-home.png", StoreTarget::playPhone(), true);
  EXPECT_EQ(slot.screenshot,
            ScreenshotRef::byTarget(ByTarget{{"ios", "captures/ios-home.png"}, {"android", "captures/android-home.png"}}));
  EXPECT_EQ(slot.screenshot.resolve(StoreTarget::iphone69(), "en-US"), "captures/ios-home.png");
  EXPECT_EQ(slot.screenshot.resolve(StoreTarget::playPhone(), "en-US"), "captures/android-home.png");

  DeviceSlot fromAndroid = slotShowing("captures/a.png");
  setScreenshot(fromAndroid, "captures/i.png", StoreTarget::iphone69(), true);
  EXPECT_EQ(fromAndroid.screenshot, ScreenshotRef::byTarget(ByTarget{{"android", "captures/a.png"}, {"ios", "captures/i.png"}}));
}

TEST(DeviceSlotEditing, KeepingOtherStoreOverAnEmptyPathJustSetsIt) {
  DeviceSlot slot = slotShowing("");
  setScreenshot(slot, "captures/a.png", StoreTarget::playPhone(), true);
  EXPECT_EQ(slot.screenshot, ScreenshotRef::path("captures/a.png"));
}

TEST(DeviceSlotEditing, PerTargetReferenceChangesTheTargetsEntryElseItsStoresAndKeepsTheOthers) {
  DeviceSlot slot;
  slot.screenshot = ScreenshotRef::byTarget(ByTarget{{"ios", "i.png"}, {"ios.ipad-13", "pad.png"}, {"android", "a.png"}});
  setScreenshot(slot, "pad-2.png", StoreTarget::ipad13(), false);
  setScreenshot(slot, "i-2.png", StoreTarget::iphone69(), true);
  EXPECT_EQ(slot.screenshot,
            ScreenshotRef::byTarget(ByTarget{{"ios", "i-2.png"}, {"ios.ipad-13", "pad-2.png"}, {"android", "a.png"}}));
  DeviceSlot onlyIOS;
  onlyIOS.screenshot = ScreenshotRef::byTarget(ByTarget{{"ios", "i.png"}});
  setScreenshot(onlyIOS, "a.png", StoreTarget::playPhone(), false);
  EXPECT_EQ(onlyIOS.screenshot, ScreenshotRef::byTarget(ByTarget{{"ios", "i.png"}, {"android", "a.png"}}));
}

// Looks

TEST(DeviceSlotEditing, IOSLookWithoutAnEntryIsTheSlotsOwn) {
  DeviceSlot slot = slotShowing("a.png");
  setLook(slot, Platform::ios, "iphone-17-pro", "silver");
  EXPECT_EQ(slot.frame, "iphone-17-pro");
  EXPECT_EQ(slot.finish, "silver");
  EXPECT_FALSE(slot.platforms.has_value());
}

TEST(DeviceSlotEditing, FirstAndroidLookLeavesTheSlotsOwnValuesToIOS) {
  DeviceSlot slot = slotShowing("a.png");
  slot.frame = "iphone-17-pro";
  slot.finish = "silver";
  setLook(slot, Platform::android, "pixel-9", "obsidian");
  EXPECT_EQ(slot.frame, "iphone-17-pro");
  EXPECT_EQ(slot.finish, "silver");
  ASSERT_TRUE(slot.platforms.has_value());
  EXPECT_EQ(slot.platforms->at("android"), (DeviceLook{"pixel-9", "obsidian", {}}));
  EXPECT_EQ(slot.look(Platform::ios), (DeviceLook{"iphone-17-pro", "silver", {}}));
  EXPECT_EQ(slot.look(Platform::android), (DeviceLook{"pixel-9", "obsidian", {}}));
}

TEST(DeviceSlotEditing, LookEqualToWhatTheStoreShowsAnywayAddsNoEntry) {
  DeviceSlot slot = slotShowing("a.png");
  slot.frame = "none";
  slot.finish = "black";
  setLook(slot, Platform::android, "none", "black");
  EXPECT_FALSE(slot.platforms.has_value());
  // Only the part that differs is written.
  setLook(slot, Platform::android, "none", "white");
  EXPECT_EQ(slot.platforms->at("android"), (DeviceLook{{}, "white", {}}));
}

TEST(DeviceSlotEditing, LookBackToTheSlotsOwnRemovesTheEmptyEntryAndTheMap) {
  DeviceSlot slot = slotShowing("a.png");
  slot.frame = "iphone-17-pro";
  slot.platforms = std::map<std::string, DeviceLook>{{"android", DeviceLook{"pixel-9", {}, {}}}};
  setLook(slot, Platform::android, "iphone-17-pro", std::nullopt);
  EXPECT_FALSE(slot.platforms.has_value());
}

TEST(DeviceSlotEditing, IOSLookGoesIntoAnExistingIOSEntry) {
  DeviceSlot slot = slotShowing("a.png");
  slot.frame = "iphone-16";
  slot.platforms = std::map<std::string, DeviceLook>{{"ios", DeviceLook{"iphone-15", {}, CropRect{0, 0, 1, 0.5}}}};
  setLook(slot, Platform::ios, "iphone-17-pro", "orange");
  EXPECT_EQ(slot.frame, "iphone-16");
  EXPECT_EQ(slot.platforms->at("ios"), (DeviceLook{"iphone-17-pro", "orange", CropRect{0, 0, 1, 0.5}}));
  // Back to the slot's own frame: the entry keeps what still differs, the crop.
  setLook(slot, Platform::ios, "iphone-16", std::nullopt);
  EXPECT_EQ(slot.platforms->at("ios"), (DeviceLook{{}, {}, CropRect{0, 0, 1, 0.5}}));
}

// Crops

TEST(DeviceSlotEditing, CropOnASlotWithoutOneIsTheSlotsOwnForEitherStore) {
  DeviceSlot slot = slotShowing("a.png");
  setCrop(slot, Platform::android, CropRect{0, 0.2, 1, 0.4});
  EXPECT_EQ(slot.crop, (CropRect{0, 0.2, 1, 0.4}));
  EXPECT_FALSE(slot.platforms.has_value());
}

TEST(DeviceSlotEditing, AndroidCropOverAnExistingOneGoesIntoTheAndroidEntry) {
  DeviceSlot slot = slotShowing("a.png");
  slot.crop = CropRect{0, 0, 1, 0.5};
  setCrop(slot, Platform::android, CropRect{0, 0.5, 1, 0.5});
  EXPECT_EQ(slot.crop, (CropRect{0, 0, 1, 0.5}));
  EXPECT_EQ(slot.look(Platform::android).crop, (CropRect{0, 0.5, 1, 0.5}));
  EXPECT_EQ(slot.look(Platform::ios).crop, (CropRect{0, 0, 1, 0.5}));
}

TEST(DeviceSlotEditing, IOSCropSetsTheSlotsOwnAndClearsTheIOSEntrysCrop) {
  DeviceSlot slot = slotShowing("a.png");
  slot.crop = CropRect{0, 0, 1, 0.5};
  slot.platforms = std::map<std::string, DeviceLook>{{"ios", DeviceLook{{}, {}, CropRect{0, 0.1, 1, 0.3}}},
                                                     {"android", DeviceLook{"pixel-9", {}, {}}}};
  setCrop(slot, Platform::ios, CropRect{0.1, 0.1, 0.8, 0.8});
  EXPECT_EQ(slot.crop, (CropRect{0.1, 0.1, 0.8, 0.8}));
  EXPECT_FALSE(slot.platforms->contains("ios"));
  EXPECT_EQ(slot.look(Platform::ios).crop, (CropRect{0.1, 0.1, 0.8, 0.8}));
  EXPECT_EQ(slot.platforms->at("android").frame, "pixel-9");
}

TEST(DeviceSlotEditing, RemoveCropsClearsEveryCropAndDropsEmptiedEntries) {
  DeviceSlot slot = slotShowing("a.png");
  slot.crop = CropRect{0, 0, 1, 0.5};
  slot.platforms = std::map<std::string, DeviceLook>{{"ios", DeviceLook{{}, {}, CropRect{0, 0.1, 1, 0.3}}},
                                                     {"android", DeviceLook{{}, "white", CropRect{0, 0.2, 1, 0.3}}}};
  removeCrops(slot);
  EXPECT_FALSE(slot.crop.has_value());
  ASSERT_TRUE(slot.platforms.has_value());
  EXPECT_EQ(*slot.platforms, (std::map<std::string, DeviceLook>{{"android", DeviceLook{{}, "white", {}}}}));
  slot.platforms->at("android").finish.reset();
  removeCrops(slot);
  EXPECT_FALSE(slot.platforms.has_value());
}

}  // namespace
}  // namespace vorno::device_slot_editing_test
