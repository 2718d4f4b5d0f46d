// The part of `vorno devices` after the frames: the booted simulators, or nothing.
#include "cli/devices_command.h"
#include "kit/capture/capture_test_support.h"
#include "kit/capture/simctl.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

namespace vorno::cli::booted_simulators_test {
namespace {

TEST(DevicesCommandBootedSimulators, ListedByNameAndUDIDAfterABlankLine) {
  testing::TempFolder folder;
  testing::FakeXcrun xcrun(folder.path());
  xcrun.setDevices(testing::recorded("simctl-list-devices.json"));
  Simctl simctl;
  simctl.xcrunPath = xcrun.path();
  EXPECT_EQ(bootedSimulatorsListing(simctl),
            "\nBooted simulators:\n"
            "  iPhone 17 Pro Max  5A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9\n"
            "  iPhone Duo  1F2E3D4C-5B6A-4789-9ABC-DEF012345678\n");
}

TEST(DevicesCommandBootedSimulators, NothingWhenNoneIsBootedOrTheSimulatorsCantBeAsked) {
  testing::TempFolder folder;
  testing::FakeXcrun xcrun(folder.path());
  xcrun.setDevices(R"({"devices": {"com.apple.CoreSimulator.SimRuntime.iOS-26-0": [
    {"udid": "A", "name": "iPhone 17 Pro", "state": "Shutdown"}]}})");
  Simctl simctl;
  simctl.xcrunPath = xcrun.path();
  EXPECT_EQ(bootedSimulatorsListing(simctl), "");
  simctl.xcrunPath = "/no/such/xcrun";
  EXPECT_EQ(bootedSimulatorsListing(simctl), "");
}

}  // namespace
}  // namespace vorno::cli::booted_simulators_test
