// The export tool and a variant id written into project.json by hand: an id that climbs out of
// exports/variants/ is refused with the file-name sentence before any file is placed, so nothing
// lands beside the package.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <string>

#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "server/tool_test_support.h"

namespace vorno::export_variant_id_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;
using testing::ToolResult;

const char* climbing = "../../../outside-export";

class ExportVariantId : public ::testing::Test {
 protected:
  void SetUp() override {
    package_ = harness_.package("App.vorno", {"intro"});
    FileProjectStore(package_).modify([](Project& project) {
      Variant variant;
      variant.id = climbing;
      variant.patch = nlohmann::json{{"theme", {{"accent", "#00AA00"}}}};
      project.variants.push_back(variant);
    });
    std::ofstream(canary()) << "untouched";
  }

  fs::path canary() const { return harness_.folder() / "canary.txt"; }
  fs::path outside() const { return harness_.folder() / "outside-export"; }

  void expectNothingOutside() const {
    EXPECT_FALSE(fs::exists(outside()));
    std::ifstream in(canary());
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text, "untouched");
  }

  static std::string sentence() {
    return std::string("Variant id \"") + climbing +
           "\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).";
  }

  ToolHarness harness_;
  std::string package_;
};

TEST_F(ExportVariantId, ClimbingVariantIdIsRefusedBeforeTheLookIsExported) {
  ToolResult result = harness_.call("export", nlohmann::json{{"project", package_}, {"variant", climbing}}.dump());
  ASSERT_TRUE(result.isError);
  EXPECT_EQ(result.text(), sentence());
  expectNothingOutside();
}

TEST_F(ExportVariantId, ClimbingVariantIdStopsAllLooksBeforeAnyIsWritten) {
  ToolResult result = harness_.call("export", nlohmann::json{{"project", package_}, {"all_variants", true}}.dump());
  ASSERT_TRUE(result.isError);
  EXPECT_EQ(result.text(), sentence());
  expectNothingOutside();
  EXPECT_FALSE(fs::exists(fs::path(package_) / "exports" / "ios")) << "the base look was written before the refusal";
}

}  // namespace
}  // namespace vorno::export_variant_id_test
