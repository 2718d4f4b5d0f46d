// `vorno variant-import`: only what differs is kept, and the patch must reproduce the look.
#include "kit/model/project.h"
#include "kit/model/variants.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace vorno::testing::variant_import_command_test {
namespace {

namespace fs = std::filesystem;

class VariantImportCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = makeTempFolder("vorno-variant-import");
    setenv("XDG_CACHE_HOME", (folder_ + "/cache").c_str(), 1);
    base_ = folder_ + "/Base.vorno";
    look_ = folder_ + "/Look.vorno";
    fs::copy(sourceDir() + "/examples/Demo.vorno", base_, fs::copy_options::recursive);
    fs::copy(sourceDir() + "/examples/Demo.vorno", look_, fs::copy_options::recursive);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string folder_, base_, look_;
};

TEST_F(VariantImportCommand, EqualPackageSavesAnEmptyPatch) {
  auto result = runVorno({"variant-import", "-p", base_, "--id", "same", "--from", look_});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "Saved variant same (2 bytes of changes). Variants: same\n");
  Project project = FileProjectStore(base_).load();
  ASSERT_EQ(project.variants.size(), 1u);
  EXPECT_EQ(project.variants[0].patch.json(), nlohmann::json::object());
  Project base = project;
  base.variants.clear();
  EXPECT_EQ(project.resolved(std::string("same")), base);
}

TEST_F(VariantImportCommand, ChangedLookIsStoredAndReproduced) {
  FileProjectStore lookStore(look_);
  lookStore.modify([](Project& look) {
    look.theme.accent = RGBColor{1, 0.8, 0.25, 1};
    std::swap(look.slides[0], look.slides[1]);
  });
  auto result = runVorno({"variant-import", "-p", base_, "--id", "bold", "--from", look_, "--name", "Bold"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out.rfind("Saved variant bold (", 0), 0u) << result.out;
  Project project = FileProjectStore(base_).load();
  Project expected = lookStore.load();
  expected.variants.clear();
  EXPECT_EQ(project.resolved(std::string("bold")), expected);
  EXPECT_EQ(project.variant("bold")->name, std::optional<std::string>("Bold"));

  // Importing again under the same id replaces the variant where it stands.
  runVorno({"variant-import", "-p", base_, "--id", "calm", "--from", base_});
  auto again = runVorno({"variant-import", "-p", base_, "--id", "bold", "--from", look_});
  EXPECT_EQ(again.out.substr(again.out.find("Variants: ")), "Variants: bold, calm\n");
}

TEST_F(VariantImportCommand, BadIdFailsEvenWithoutAPackage) {
  auto result = runVorno({"variant-import", "-p", folder_ + "/none", "--id", "a b", "--from", look_});
  EXPECT_EQ(result.status, 64);
  EXPECT_EQ(result.err.rfind("Error: Variant ids use letters, digits, - and _ (they name export folders).\n", 0), 0u);
}

TEST_F(VariantImportCommand, MissingLookPackageIsAnError) {
  auto result = runVorno({"variant-import", "-p", base_, "--id", "x", "--from", folder_ + "/none"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: No project at " + folder_ + "/none. Create one with project_create.\n");
}

}  // namespace
}  // namespace vorno::testing::variant_import_command_test
