// The fixture writers of device_fixtures.h, and tests that what they write reads back.
#include "kit/devices/device_fixtures.h"

#include "kit/devices/screen_shape.h"
#include "kit/devices/xcode_display.h"
#include "kit/image/cairo_util.h"
#include "tests/temp_folder.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <plist/plist.h>

#include <fstream>

namespace vorno::testing {
namespace fs = std::filesystem;

namespace {

plist_t toPlist(const nlohmann::json& value) {
  switch (value.type()) {
    case nlohmann::json::value_t::object: {
      plist_t dict = plist_new_dict();
      for (const auto& [key, item] : value.items()) plist_dict_set_item(dict, key.c_str(), toPlist(item));
      return dict;
    }
    case nlohmann::json::value_t::array: {
      plist_t array = plist_new_array();
      for (const auto& item : value) plist_array_append_item(array, toPlist(item));
      return array;
    }
    case nlohmann::json::value_t::string: return plist_new_string(value.get<std::string>().c_str());
    case nlohmann::json::value_t::boolean: return plist_new_bool(value.get<bool>());
    case nlohmann::json::value_t::number_integer:
    case nlohmann::json::value_t::number_unsigned: return plist_new_uint(static_cast<uint64_t>(value.get<int64_t>()));
    case nlohmann::json::value_t::number_float: return plist_new_real(value.get<double>());
    default: return plist_new_string("");
  }
}

}  // namespace

void writePropertyList(const fs::path& file, const nlohmann::json& value, bool binary) {
  plist_t root = toPlist(value);
  char* bytes = nullptr;
  uint32_t length = 0;
  if (binary) {
    plist_to_bin(root, &bytes, &length);
  } else {
    plist_to_xml(root, &bytes, &length);
  }
  std::ofstream(file, std::ios::binary).write(bytes, length);
  if (binary) {
    plist_to_bin_free(bytes);
  } else {
    plist_to_xml_free(bytes);
  }
  plist_free(root);
}

void writeMaskPDF(const fs::path& file, double width, double height, double radius, std::optional<double> rightRadius) {
  cairo_surface_t* surface = cairo_pdf_surface_create(file.c_str(), width, height);
  cairo_t* cr = cairo_create(surface);
  Path shape = ScreenShape::continuousRect({0, 0, width, height}, radius, rightRadius.value_or(radius));
  appendPath(cr, shape);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_fill(cr);
  cairo_destroy(cr);
  cairo_surface_finish(surface);
  cairo_surface_destroy(surface);
}

fs::path resourcesOf(const fs::path& bundle) { return bundle / "Contents" / "Resources"; }

fs::path writeBundle(const fs::path& folder, const std::string& name, const nlohmann::json& profile,
                     const std::optional<nlohmann::json>& capabilities, bool binary) {
  fs::path bundle = folder / (name + ".simdevicetype");
  fs::create_directories(resourcesOf(bundle));
  writePropertyList(resourcesOf(bundle) / "profile.plist", profile, binary);
  if (capabilities)
    writePropertyList(resourcesOf(bundle) / "capabilities.plist", nlohmann::json{{"capabilities", *capabilities}},
                      binary);
  return bundle;
}

}  // namespace vorno::testing

namespace vorno::testing::device_fixtures_test {
namespace fs = std::filesystem;
namespace {

TEST(DeviceFixtures, PropertyListsReadBackInBothForms) {
  TempFolder folder;
  nlohmann::json value = {{"mainScreenWidth", 1206}, {"mainScreenScale", 3.0}, {"framebufferMask", "M"}};
  for (bool binary : {false, true}) {
    fs::path file = folder.path() / (binary ? "b.plist" : "x.plist");
    writePropertyList(file, value, binary);
    plist_t root = readPropertyList(file.string());
    ASSERT_TRUE(root) << binary;
    auto displays = XcodeDisplay::all(nullptr, root);
    ASSERT_EQ(displays.size(), 0u);  // no height: the profile alone makes no display
    plist_free(root);
  }
  EXPECT_EQ(readPropertyList((folder.path() / "missing.plist").string()), nullptr);
  std::ofstream(folder.path() / "junk.plist") << "not a property list";
  EXPECT_EQ(readPropertyList((folder.path() / "junk.plist").string()), nullptr);
}

TEST(DeviceFixtures, MaskPDFRendersItsShape) {
  TempFolder folder;
  fs::path pdf = folder.path() / "mask.pdf";
  writeMaskPDF(pdf, 300, 600, 40);
  auto mask = ScreenShape::renderMask(pdf.string(), 150, 300);
  ASSERT_TRUE(mask);
  EXPECT_EQ(mask->width, 150);
  EXPECT_EQ(mask->at(75, 150), 255);  // inside
  EXPECT_EQ(mask->at(0, 0), 0);       // the corner is cut away
  EXPECT_EQ(mask->at(75, 0), 255);    // the middle of the top edge is inside
}

}  // namespace
}  // namespace vorno::testing::device_fixtures_test
