#include "kit/devices/xcode_display.h"

#include "kit/devices/device_fixtures.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <plist/plist.h>

namespace vorno::xcode_display_test {
namespace {

using nlohmann::json;
using testing::TempFolder;

// Reads both documents through real property-list files, in the given form.
std::vector<XcodeDisplay> displaysOf(const json& capabilities, const json& profile, bool binary = false) {
  TempFolder folder;
  testing::writePropertyList(folder.file("c.plist"), capabilities, binary);
  testing::writePropertyList(folder.file("p.plist"), profile, binary);
  plist_t c = readPropertyList(folder.file("c.plist"));
  plist_t p = readPropertyList(folder.file("p.plist"));
  auto out = XcodeDisplay::all(c, p);
  plist_free(c);
  plist_free(p);
  return out;
}

json integrated(int width, int height, double scale) {
  return {{"displayType", "integrated"}, {"width", width}, {"height", height}, {"scale", scale}};
}

TEST(XcodeDisplayAll, IntegratedDisplaysWithCornersAndMasks) {
  json first = integrated(1206, 2622, 3.0);
  first["framebufferMaskIdentifier"] = "Own";
  for (const char* k : {"cornerRadiusUL", "cornerRadiusUR", "cornerRadiusLL", "cornerRadiusLR"}) first[k] = 62.0;
  json second = integrated(1000, 2000, 2.0);
  second["cornerRadiusUL"] = 10.0;  // three of four corners missing: no corners
  json external = {{"displayType", "external"}, {"width", 1}, {"height", 2}, {"scale", 1.0}};
  json noScale = {{"displayType", "integrated"}, {"width", 1}, {"height", 2}};
  for (bool binary : {false, true}) {
    auto displays = displaysOf({{"displays", {first, second, external, noScale}}}, {{"framebufferMask", "Profile"}}, binary);
    ASSERT_EQ(displays.size(), 2u);
    EXPECT_EQ(displays[0].width, 1206);
    EXPECT_EQ(displays[0].scale, 3);
    EXPECT_EQ(displays[0].mask, "Own");
    EXPECT_EQ(displays[0].corners, (XcodeDisplay::Corners{62, 62, 62, 62}));
    EXPECT_EQ(displays[1].mask, "Profile");  // the profile's mask stands in
    EXPECT_FALSE(displays[1].corners);
  }
}

TEST(XcodeDisplayAll, NativeLandscapePanelIsTurnedAndLosesMaskAndCorners) {
  json wide = integrated(2752, 2064, 2.0);
  wide["framebufferMaskIdentifier"] = "M";
  for (const char* k : {"cornerRadiusUL", "cornerRadiusUR", "cornerRadiusLL", "cornerRadiusLR"}) wide[k] = 18.0;
  auto displays = displaysOf({{"displays", {wide}}}, json::object());
  ASSERT_EQ(displays.size(), 1u);
  EXPECT_EQ(displays[0].width, 2064);
  EXPECT_EQ(displays[0].height, 2752);
  EXPECT_FALSE(displays[0].mask);
  EXPECT_FALSE(displays[0].corners);
}

TEST(XcodeDisplayAll, ProfileMainScreenWhenNoDisplayIsListed) {
  json profile = {{"mainScreenWidth", 1179}, {"mainScreenHeight", 2556}, {"mainScreenScale", 3.0}, {"framebufferMask", "M"}};
  auto displays = displaysOf({{"displays", json::array()}}, profile);
  ASSERT_EQ(displays.size(), 1u);
  EXPECT_EQ(displays[0], (XcodeDisplay{1179, 2556, 3, std::string("M"), std::nullopt}));
  // A list with one entry that isn't a dictionary doesn't count at all.
  displays = displaysOf({{"displays", {integrated(1, 2, 1.0), "odd"}}}, profile);
  ASSERT_EQ(displays.size(), 1u);
  EXPECT_EQ(displays[0].width, 1179);
  // Any of the three numbers missing: nothing.
  profile.erase("mainScreenScale");
  EXPECT_TRUE(displaysOf(json::object(), profile).empty());
  EXPECT_TRUE(XcodeDisplay::all(nullptr, nullptr).empty());
}

}  // namespace
}  // namespace vorno::xcode_display_test
