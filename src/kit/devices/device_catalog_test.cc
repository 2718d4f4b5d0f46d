#include "kit/devices/device_catalog.h"

#include "kit/devices/builtin_specs.h"
#include "kit/devices/corner_radius_cache.h"
#include "kit/devices/device_fixtures.h"
#include "kit/devices/mask_cache.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>

namespace vorno::device_catalog_test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::TempFolder;
using testing::resourcesOf;
using testing::writeBundle;
using testing::writeMaskPDF;

// The shared radius cache lives in the user's caches folder: point that at a folder of this test
// program before the cache is first made, so no test touches the real one.
class DeviceCatalogTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static TempFolder caches("vorno-device-caches");
    setenv("XDG_CACHE_HOME", caches.path().c_str(), 1);
  }

  // A display entry of a capabilities list.
  static json display(int width, int height, double scale, const std::string& mask,
                      std::optional<std::array<double, 4>> corners = std::nullopt) {
    json entry = {{"displayType", "integrated"}, {"width", width}, {"height", height}, {"scale", scale},
                  {"framebufferMaskIdentifier", mask}};
    if (corners) {
      entry["cornerRadiusUL"] = (*corners)[0];
      entry["cornerRadiusUR"] = (*corners)[1];
      entry["cornerRadiusLL"] = (*corners)[2];
      entry["cornerRadiusLR"] = (*corners)[3];
    }
    return entry;
  }

  // A phone bundle with one display and its mask (drawn with `maskRadius` pixels when given).
  static fs::path phoneBundle(const fs::path& folder, const std::string& name, int width, int height,
                              std::optional<double> maskRadius, bool binary = false,
                              std::optional<std::array<double, 4>> corners = std::nullopt, json extra = json::object()) {
    json capabilities = {{"displays", json::array({display(width, height, 3, "PhoneMask", corners)})}};
    capabilities.update(extra);
    fs::path bundle = writeBundle(folder, name, {{"supportedProductFamilyIDs", {1}}}, capabilities, binary);
    if (maskRadius) writeMaskPDF(resourcesOf(bundle) / "PhoneMask.pdf", width, height, *maskRadius);
    return bundle;
  }

  static std::optional<DeviceFrame> byId(const DeviceCatalog& catalog, const std::string& id) {
    for (const auto& f : catalog.frames)
      if (f.id == id) return f;
    return std::nullopt;
  }
};

std::vector<std::string> idsOf(const DeviceCatalog& catalog) {
  std::vector<std::string> ids;
  for (const auto& f : catalog.frames) ids.push_back(f.id);
  return ids;
}

TEST_F(DeviceCatalogTest, WithoutBundlesIsTheBuiltinTableInPreferenceOrder) {
  TempFolder empty;
  DeviceCatalog catalog = DeviceCatalog::load({empty.path(), empty.path() / "missing"});
  EXPECT_EQ(idsOf(catalog),
            (std::vector<std::string>{"iphone-17-pro-max", "iphone-17-pro", "iphone-duo", "iphone-duo-closed",
                                      "ipad-pro-13-inch-m5", "pixel-9-pro", "android-tablet-10in", "pixel-11-pro",
                                      "pixel-11-pro-xl", "galaxy-s26-ultra", "galaxy-s26"}));
  EXPECT_EQ(DeviceCatalog::rank("iPhone 17 Pro Max"), 0);
  EXPECT_EQ(DeviceCatalog::rank("Android Tablet 10\u2033"), 29);
  EXPECT_EQ(DeviceCatalog::rank("Galaxy S26"), 1000);
}

TEST_F(DeviceCatalogTest, SameBundleNameInTwoFoldersFirstFolderWins) {
  TempFolder first, second;
  phoneBundle(first.path(), "iPhone 17 Pro", 1206, 2622, 180);
  phoneBundle(second.path(), "iPhone 17 Pro", 1200, 2600, 180);
  DeviceCatalog catalog = DeviceCatalog::load({first.path(), second.path()});
  auto frame = byId(catalog, "iphone-17-pro");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->source, DeviceFrame::Source::xcode);
  EXPECT_EQ(frame->screenWidth, 1206);
  EXPECT_EQ(*frame->maskPDFPath, (resourcesOf(first.path() / "iPhone 17 Pro.simdevicetype") / "PhoneMask.pdf").string());
  EXPECT_EQ(catalog.frames.size(), 11u);  // the bundle replaced the built-in frame of its id
  EXPECT_EQ(catalog.frames[1].id, "iphone-17-pro");  // and took its place in the order
}

TEST_F(DeviceCatalogTest, MemoryVariantBundleGivesNoFrame) {
  TempFolder folder;
  fs::path bundle = writeBundle(folder.path(), "iPad Pro 13-inch (M4) (16GB)", {{"supportedProductFamilyIDs", {2}}},
                                json{{"displays", {display(2064, 2752, 2, "PadMask")}}}, false);
  writeMaskPDF(resourcesOf(bundle) / "PadMask.pdf", 2064, 2752, 36);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  EXPECT_EQ(catalog.frames.size(), 11u);
  for (const auto& f : catalog.frames) EXPECT_EQ(f.source, DeviceFrame::Source::builtin) << f.id;
}

TEST_F(DeviceCatalogTest, MissingMaskPDFGivesNoFrameAndTheBuiltinFrameTakesItsPlace) {
  TempFolder folder;
  phoneBundle(folder.path(), "iPhone 17 Pro Max", 1320, 2868, std::nullopt);  // mask named but not there
  phoneBundle(folder.path(), "iPhone 16", 1179, 2556, std::nullopt);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  auto frame = byId(catalog, "iphone-17-pro-max");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->source, DeviceFrame::Source::builtin);
  EXPECT_FALSE(byId(catalog, "iphone-16"));
}

TEST_F(DeviceCatalogTest, GenericAndroidIdGivesPhoneFrameAndAShortIdGivesNothing) {
  DeviceCatalog catalog = DeviceCatalog::load(std::vector<fs::path>{});
  auto frame = catalog.frame("android-generic-1080x2400");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->family, DeviceFamily::phone);
  EXPECT_EQ(frame->platform, Platform::android);
  EXPECT_EQ(frame->screenWidth, 1080);
  EXPECT_EQ(frame->screenHeight, 2400);
  EXPECT_DOUBLE_EQ(frame->scale, 1080.0 / 412.0);
  EXPECT_NEAR(frame->screenCornerRadius, 97.2, 1e-9);
  EXPECT_EQ(frame->name, "Android Phone");
  EXPECT_EQ(frame->spec.punchHole, (FrameSpec::PunchHole{11, 11, std::nullopt}));
  EXPECT_FALSE(catalog.frame("android-generic-1080"));
  EXPECT_FALSE(catalog.frame("android-generic-"));
  EXPECT_FALSE(catalog.frame("android-generic-1x2x3"));
  EXPECT_FALSE(catalog.frame("android-generic-0x2400"));
  EXPECT_FALSE(catalog.frame("no-such-frame"));
  // Pieces that aren't numbers are dropped; empty pieces too.
  EXPECT_EQ(catalog.frame("android-generic-1080xxabcx2400")->id, "android-generic-1080x2400");
  EXPECT_EQ(catalog.frame("pixel-9-pro")->name, "Pixel 9 Pro");
}

TEST_F(DeviceCatalogTest, GenericAndroidSortsSidesFirst) {
  EXPECT_EQ(DeviceCatalog::genericAndroid(2400, 1080), DeviceCatalog::genericAndroid(1080, 2400));
  EXPECT_EQ(DeviceCatalog::genericAndroid(2400, 1080).id, "android-generic-1080x2400");
}

TEST_F(DeviceCatalogTest, AspectOfExactlyPointSixIsAPhone) {
  DeviceFrame phone = DeviceCatalog::genericAndroid(600, 1000);
  EXPECT_EQ(phone.family, DeviceFamily::phone);
  DeviceFrame tablet = DeviceCatalog::genericAndroid(1600, 2560);
  EXPECT_EQ(tablet.family, DeviceFamily::tablet);
  EXPECT_EQ(tablet.name, "Android Tablet");
  EXPECT_DOUBLE_EQ(tablet.scale, 2);
  EXPECT_DOUBLE_EQ(tablet.screenCornerRadius, 40);
  EXPECT_FALSE(tablet.spec.punchHole);
  EXPECT_EQ(tablet.spec.buttons, (std::vector<FrameSpec::Button>{{FrameSpec::Button::Side::top, 0.75, 0.08}}));
  EXPECT_EQ(tablet.spec.bezel, 28);
}

TEST_F(DeviceCatalogTest, ExactMatchFindsIphone17ProMaxWhateverTheOrientation) {
  DeviceCatalog catalog = DeviceCatalog::load(std::vector<fs::path>{});
  auto frame = catalog.exactMatch(2868, 1320, Platform::ios);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->name, "iPhone 17 Pro Max");
  EXPECT_FALSE(catalog.exactMatch(2868, 1320, Platform::android));
  // Two Android frames share 1280 by 2856; the earlier in the catalogue wins.
  EXPECT_EQ(catalog.exactMatch(1280, 2856, Platform::android)->id, "pixel-9-pro");
}

TEST_F(DeviceCatalogTest, BestMatchPrefersExactSizeThenNearestAspectWithinFamily) {
  DeviceCatalog catalog = DeviceCatalog::load(std::vector<fs::path>{});
  EXPECT_EQ(catalog.bestMatch(1206, 2622, Platform::ios, DeviceFamily::phone)->id, "iphone-17-pro");
  EXPECT_EQ(catalog.bestMatch(1440, 3120, Platform::android, DeviceFamily::phone)->id, "galaxy-s26-ultra");
  // The nearest aspect to 720 by 1600 (0.45) is 1344 by 2992 (0.4492), ahead of 1280 by 2856 (0.4482).
  EXPECT_EQ(catalog.bestMatch(720, 1600, Platform::android, DeviceFamily::phone)->id, "pixel-11-pro-xl");
  EXPECT_EQ(catalog.bestMatch(1000, 1000, Platform::ios, DeviceFamily::foldable)->id, "iphone-duo");
  EXPECT_FALSE(catalog.bestMatch(1000, 2000, Platform::android, DeviceFamily::foldable));

  // A turned frame is compared by its landscape aspect (2.17), so a far narrower frame (0.1) is
  // nearer to a portrait capture of 0.46 than the turned one.
  DeviceFrame narrow = BuiltinSpecs::fallbackFrames()[3];
  narrow.id = "narrow";
  narrow.screenWidth = 100;
  narrow.screenHeight = 1000;
  DeviceCatalog turned;
  turned.frames = {BuiltinSpecs::fallbackFrames()[2].turned(), narrow};
  EXPECT_EQ(turned.bestMatch(2800, 1300, Platform::ios, DeviceFamily::phone)->id, "narrow");
  EXPECT_EQ(turned.bestMatch(2868, 1320, Platform::ios, DeviceFamily::phone)->id, "iphone-17-pro-max+landscape");
}

TEST_F(DeviceCatalogTest, DefaultFramesFollowThePreferenceOrder) {
  DeviceCatalog catalog = DeviceCatalog::load(std::vector<fs::path>{});
  EXPECT_EQ(catalog.defaultFrame(Platform::android, DeviceFamily::phone)->id, "pixel-9-pro");
  EXPECT_EQ(catalog.defaultFrame(Platform::ios, DeviceFamily::phone)->id, "iphone-17-pro-max");
  EXPECT_EQ(catalog.defaultFrame(Platform::ios, DeviceFamily::tablet)->id, "ipad-pro-13-inch-m5");
  EXPECT_EQ(catalog.defaultFrame(Platform::android, DeviceFamily::tablet)->id, "android-tablet-10in");
  EXPECT_FALSE(catalog.defaultFrame(Platform::android, DeviceFamily::foldable));
}

TEST_F(DeviceCatalogTest, DuoBundleWithTwoIntegratedDisplaysGivesBothFrames) {
  TempFolder folder;
  json capabilities = {{"displays",
                        {display(2007, 2853, 3, "DuoOpenMask"), display(1398, 2034, 3, "DuoClosedMask"),
                         json{{"displayType", "external"}, {"width", 1920}, {"height", 1080}, {"scale", 1}}}}};
  fs::path bundle = writeBundle(folder.path(), "iPhone Duo", {{"supportedProductFamilyIDs", {1}}}, capabilities, true);
  writeMaskPDF(resourcesOf(bundle) / "DuoOpenMask.pdf", 2007, 2853, 165);
  writeMaskPDF(resourcesOf(bundle) / "DuoClosedMask.pdf", 1398, 2034, 177, 24);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  auto open = byId(catalog, "iphone-duo"), closed = byId(catalog, "iphone-duo-closed");
  ASSERT_TRUE(open && closed);
  EXPECT_EQ(open->source, DeviceFrame::Source::xcode);
  EXPECT_EQ(closed->source, DeviceFrame::Source::xcode);
  EXPECT_EQ(open->name, "iPhone Duo");
  EXPECT_EQ(closed->name, "iPhone Duo (closed)");
  EXPECT_EQ(open->family, DeviceFamily::foldable);
  EXPECT_EQ(closed->spec, BuiltinSpecs::duoClosed());
  EXPECT_EQ(open->spec, BuiltinSpecs::duoOpen());
  EXPECT_EQ(*open->maskPDFPath, (resourcesOf(bundle) / "DuoOpenMask.pdf").string());
  EXPECT_EQ(*closed->maskPDFPath, (resourcesOf(bundle) / "DuoClosedMask.pdf").string());
  // No corners stated: the Duo frames' own radii stand by until the mask is fitted.
  EXPECT_EQ(open->screenCornerRadius, 165);
  EXPECT_EQ(closed->screenCornerRadius, 177);
  EXPECT_EQ(catalog.frames.size(), 11u);
  EXPECT_EQ(catalog.frames[2].id, "iphone-duo");
  EXPECT_EQ(catalog.frames[3].id, "iphone-duo-closed");
}

TEST_F(DeviceCatalogTest, DisplayCornersOf55AtScale3GiveRadius165WithoutRasterising) {
  TempFolder folder;
  // The mask says 100 pixels; the display states 55 points. The stated corners must win, which
  // they can only do if the mask is never fitted.
  phoneBundle(folder.path(), "iPhone 17", 1206, 2622, 100, false, std::array<double, 4>{55, 55, 55, 55});
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  MaskCache::shared().removeAll();
  auto frame = catalog.frame("iphone-17");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->screenCornerRadius, 165);
  EXPECT_EQ(frame->source, DeviceFrame::Source::xcode);
  EXPECT_EQ(MaskCache::shared().count(), 0u);
  EXPECT_EQ(catalog.frames[2].id, "iphone-17");  // "iPhone 17" ranks third
}

TEST_F(DeviceCatalogTest, DisplayWithoutCornersIsFittedToItsMaskWhenResolved) {
  TempFolder folder;
  phoneBundle(folder.path(), "iPhone 16 Pro", 402, 874, 57);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  auto raw = byId(catalog, "iphone-16-pro");
  ASSERT_TRUE(raw);
  EXPECT_NEAR(raw->screenCornerRadius, 402 * 0.14, 1e-9);  // the stand-by
  auto resolved = catalog.frame("iphone-16-pro");
  ASSERT_TRUE(resolved);
  EXPECT_NEAR(resolved->screenCornerRadius, 57, 1.0);
  // The answer is remembered under its key.
  std::string key = CornerRadiusCache::key(*raw->maskPDFPath, 402, 874, false);
  EXPECT_EQ(CornerRadiusCache::shared().value(key), resolved->screenCornerRadius);
  EXPECT_EQ(key.rfind("v2|" + *raw->maskPDFPath + "|402x874|", 0), 0u);
}

TEST_F(DeviceCatalogTest, DynamicIslandCapabilityOverrulesTheSpec) {
  TempFolder folder;
  phoneBundle(folder.path(), "iPhone 17 Pro", 1206, 2622, 180, false, std::nullopt,
              json{{"DeviceSupportsDynamicIsland", false}});
  phoneBundle(folder.path(), "iPhone 14", 1170, 2532, 140, true, std::nullopt,
              json{{"DeviceSupportsDynamicIsland", true}});
  phoneBundle(folder.path(), "iPhone 13", 1170, 2532, 140);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  EXPECT_FALSE(byId(catalog, "iphone-17-pro")->spec.island);
  EXPECT_EQ(byId(catalog, "iphone-14")->spec.island, (FrameSpec::Island{126.0, 37.33, 11.0}));
  EXPECT_FALSE(byId(catalog, "iphone-13")->spec.island);
}

TEST_F(DeviceCatalogTest, ClosedDuoCornersMoveTheHingeAndSetItsRadius) {
  TempFolder folder;
  json capabilities = {{"displays", {display(1398, 2034, 3, "Closed", std::array<double, 4>{59, 8, 59, 8})}}};
  fs::path bundle = writeBundle(folder.path(), "iPhone Duo", {{"supportedProductFamilyIDs", {1}}}, capabilities, false);
  writeMaskPDF(resourcesOf(bundle) / "Closed.pdf", 1398, 2034, 177, 24);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  auto closed = byId(catalog, "iphone-duo-closed");
  ASSERT_TRUE(closed);
  ASSERT_TRUE(closed->spec.hinge);
  EXPECT_EQ(closed->spec.hinge->side, FrameSpec::Hinge::Side::right);  // the smaller radius is on the right
  EXPECT_EQ(closed->spec.hinge->screenRadius, 8);
  EXPECT_EQ(closed->screenCornerRadius, 177);
  EXPECT_FALSE(byId(catalog, "iphone-duo")->maskPDFPath);  // the open state came from the table
}

TEST_F(DeviceCatalogTest, TabletFamilyAndProfileFallbackWithoutCapabilities) {
  TempFolder folder;
  json profile = {{"supportedProductFamilyIDs", {2}},
                  {"mainScreenWidth", 1640},
                  {"mainScreenHeight", 2360},
                  {"mainScreenScale", 2.0},
                  {"framebufferMask", "PadMask"}};
  fs::path bundle = writeBundle(folder.path(), "iPad Air 11-inch (M3)", profile, std::nullopt, true);
  writeMaskPDF(resourcesOf(bundle) / "PadMask.pdf", 1640, 2360, 36);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  auto pad = byId(catalog, "ipad-air-11-inch-m3");
  ASSERT_TRUE(pad);
  EXPECT_EQ(pad->family, DeviceFamily::tablet);
  EXPECT_EQ(pad->scale, 2);
  EXPECT_NEAR(pad->screenCornerRadius, 1640 * 0.045, 1e-9);
  EXPECT_EQ(pad->spec.bezel, 44);
}

TEST_F(DeviceCatalogTest, ProductFamiliesWrittenAsRealsCountAndOddListsMeanPhone) {
  TempFolder folder;
  json capabilities = {{"displays", {display(2064, 2752, 2, "PadMask")}}};
  fs::path reals = writeBundle(folder.path(), "iPad Air 13-inch (M3)", {{"supportedProductFamilyIDs", {1.0, 2.0}}},
                               capabilities, false);
  writeMaskPDF(resourcesOf(reals) / "PadMask.pdf", 2064, 2752, 36);
  fs::path odd = writeBundle(folder.path(), "iPad Air 11-inch (M3)", {{"supportedProductFamilyIDs", {2, "two"}}},
                             capabilities, false);
  writeMaskPDF(resourcesOf(odd) / "PadMask.pdf", 2064, 2752, 36);
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  EXPECT_EQ(byId(catalog, "ipad-air-13-inch-m3")->family, DeviceFamily::tablet);
  EXPECT_EQ(byId(catalog, "ipad-air-11-inch-m3")->family, DeviceFamily::phone);
}

TEST_F(DeviceCatalogTest, LandscapePanelAndUnreadableProfileGiveNoFrame) {
  TempFolder folder;
  phoneBundle(folder.path(), "iPhone 15", 2556, 1179, 140);  // wider than tall: loses its mask
  fs::path broken = folder.path() / "iPhone 15 Plus.simdevicetype";
  fs::create_directories(resourcesOf(broken));
  std::ofstream(resourcesOf(broken) / "profile.plist") << "garbage";
  DeviceCatalog catalog = DeviceCatalog::load({folder.path()});
  EXPECT_FALSE(byId(catalog, "iphone-15"));
  EXPECT_FALSE(byId(catalog, "iphone-15-plus"));
  EXPECT_EQ(catalog.frames.size(), 11u);
}

TEST_F(DeviceCatalogTest, FoldersComeFromTheEnvironmentVariableWhenSet) {
  setenv(DeviceCatalog::foldersVariable, "/a/b::/c", 1);
  auto folders = DeviceCatalog::deviceTypeFolders();
  unsetenv(DeviceCatalog::foldersVariable);
  EXPECT_EQ(folders, (std::vector<fs::path>{"/a/b", "/c"}));

  setenv("DEVELOPER_DIR", "/opt/Dev", 1);
  folders = DeviceCatalog::deviceTypeFolders();
  unsetenv("DEVELOPER_DIR");
  EXPECT_EQ(folders, (std::vector<fs::path>{
                         "/Library/Developer/CoreSimulator/Profiles/DeviceTypes",
                         "/opt/Dev/Platforms/iPhoneOS.platform/Library/Developer/CoreSimulator/Profiles/DeviceTypes"}));
}

TEST_F(DeviceCatalogTest, ResolvedLeavesFramesWithoutMaskAlone) {
  DeviceFrame frame = BuiltinSpecs::fallbackFrames()[0];
  EXPECT_EQ(DeviceCatalog::resolved(frame), frame);
  frame.maskPDFPath = "/no/such/mask.pdf";
  EXPECT_EQ(DeviceCatalog::resolved(frame), frame);  // an unreadable mask keeps the stand-by radius
}

}  // namespace
}  // namespace vorno::device_catalog_test
