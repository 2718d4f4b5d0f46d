// The command line and the server choose a run's target in one place: asked about the same
// package without a target, they render for the same one.
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "server/tool_test_support.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace vorno::testing::default_target_test {
namespace {

namespace fs = std::filesystem;

// A package whose first target is one the catalogue doesn't know, then a known one.
std::string packageWithUnknownFirstTarget(ToolHarness& harness) {
  std::string package = harness.package("Set.vorno", {"intro"});
  FileProjectStore(package).modify([](Project& project) { project.targets = {"ios.watch", "play.phone"}; });
  return package;
}

TEST(BothDoors, PickTheSameDefaultTargetWhenTheFirstIsUnknown) {
  ToolHarness harness;
  const std::string package = packageWithUnknownFirstTarget(harness);

  ProcessResult cli = runVorno({"render", "--project", package, "--slide", "intro"});
  ASSERT_EQ(cli.status, 0) << cli.err;
  const fs::path cliFile = fs::path(package) / "renders" / "intro-play.phone-en-US.png";
  EXPECT_EQ(cli.out.substr(0, cli.out.find('\n')), cliFile.string());

  ToolResult server = harness.call("render_slide", R"({"project": ")" + package + R"(", "slide": "intro"})");
  ASSERT_FALSE(server.isError) << server.text(0);
  const fs::path serverFile = server.json(1)["file"].get<std::string>();
  EXPECT_EQ(serverFile.filename(), "intro__play.phone__en-US.png");

  // Both pictures are the Play phone's size, 1080 × 1920.
  for (const fs::path& file : {cliFile, serverFile}) {
    std::optional<Size> size = Images::pixelSize(file.string());
    ASSERT_TRUE(size) << file;
    EXPECT_EQ(*size, (Size{1080, 1920})) << file;
  }
}

TEST(BothDoors, RefuseAnUnknownRequestedTargetInTheSameWords) {
  ToolHarness harness;
  const std::string package = harness.package("Set.vorno", {"intro"});
  const std::string sentence = "Unknown target ios.watch. Known: ios.iphone-6.9, ios.iphone-6.5, ios.iphone-duo, "
                               "ios.ipad-13, play.phone, play.tablet-7, play.tablet-10";

  ProcessResult cli = runVorno({"render", "--project", package, "--target", "ios.watch"});
  EXPECT_EQ(cli.status, 64);
  EXPECT_NE(cli.err.find("Error: " + sentence + "\n"), std::string::npos) << cli.err;

  ToolResult server =
      harness.call("render_slide", R"({"project": ")" + package + R"(", "slide": "intro", "target": "ios.watch"})");
  EXPECT_TRUE(server.isError);
  EXPECT_EQ(server.text(0), sentence);
}

}  // namespace
}  // namespace vorno::testing::default_target_test
