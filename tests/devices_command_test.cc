// `vorno devices` as a person runs it: the catalogue in preference order with aligned columns.
#include "kit/devices/device_fixtures.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <optional>
#include <string>

namespace vorno::testing::devices_command_test {
namespace {

// Sets an environment variable for the life of the object, so the child process inherits it.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value.c_str(), 1);
  }
  ~ScopedVariable() {
    if (old_) {
      setenv(name_, old_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

const std::string builtinListing =
    "iphone-17-pro-max            1320\u00D72868   r=186px  builtin shape\n"
    "iphone-17-pro                1206\u00D72622   r=186px  builtin shape\n"
    "iphone-duo                   2007\u00D72853   r=165px  builtin shape\n"
    "iphone-duo-closed            1398\u00D72034   r=177px  builtin shape\n"
    "ipad-pro-13-inch-m5          2064\u00D72752   r=36px  builtin shape\n"
    "pixel-9-pro                  1280\u00D72856   r=122px  builtin shape\n"
    "android-tablet-10in          1600\u00D72560   r=40px  builtin shape\n"
    "pixel-11-pro                 1280\u00D72856   r=125px  builtin shape\n"
    "pixel-11-pro-xl              1344\u00D72992   r=132px  builtin shape\n"
    "galaxy-s26-ultra             1440\u00D73120   r=104px  builtin shape\n"
    "galaxy-s26                   1080\u00D72340   r=100px  builtin shape\n";

TEST(DevicesCommand, OnThisMachineListsTheElevenBuiltinFramesInPreferenceOrderAndExitsZero) {
  TempFolder caches;
  ScopedVariable cache("XDG_CACHE_HOME", caches.path().string());
  auto result = runVorno({"devices"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, builtinListing);
  EXPECT_EQ(result.err, "");
}

TEST(DevicesCommand, WithoutWorkingSimulatorToolsStillListsAllFramesAndExitsZero) {
  TempFolder caches, emptyPath;
  ScopedVariable cache("XDG_CACHE_HOME", caches.path().string());
  ScopedVariable path("PATH", emptyPath.path().string());  // no simulator tool can be found
  auto result = runVorno({"devices"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, builtinListing);
}

TEST(DevicesCommand, IdLongerThan28IsCutSoTheColumnsStayInPlace) {
  TempFolder caches, types;
  nlohmann::json display = {{"displayType", "integrated"}, {"width", 1290}, {"height", 2796}, {"scale", 3.0},
                            {"framebufferMaskIdentifier", "Mask"},
                            {"cornerRadiusUL", 55.5}, {"cornerRadiusUR", 55.5},
                            {"cornerRadiusLL", 55.5}, {"cornerRadiusLR", 55.5}};
  auto bundle = writeBundle(types.path(), "iPhone 17 Pro Max Extra Long Edition", {{"supportedProductFamilyIDs", {1}}},
                            nlohmann::json{{"displays", {display}}}, true);
  writeMaskPDF(resourcesOf(bundle) / "Mask.pdf", 430, 932, 55.5);
  ScopedVariable cache("XDG_CACHE_HOME", caches.path().string());
  ScopedVariable folders("VORNO_DEVICE_TYPES", types.path().string());
  auto result = runVorno({"devices"});
  EXPECT_EQ(result.status, 0) << result.err;
  // Not in the preference list, so after every listed frame and before the unlisted built-ins.
  std::string expected = builtinListing;
  std::string line = "iphone-17-pro-max-extra-long 1290\u00D72796   r=166px  Xcode mask\n";
  expected.insert(expected.find("pixel-11-pro "), line);
  EXPECT_EQ(result.out, expected);
}

TEST(DevicesCommand, HelpHasNoOptionsAndTheAbstract) {
  auto result = runVorno({"devices", "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("List device frames and booted simulators."), std::string::npos);
  auto extra = runVorno({"devices", "--frame", "x"});
  EXPECT_EQ(extra.status, 64);
}

}  // namespace
}  // namespace vorno::testing::devices_command_test
