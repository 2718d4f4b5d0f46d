// The command line as a person meets it: help, version, usage errors and their statuses.
#include "tests/run_process.h"

#include <gtest/gtest.h>

namespace vorno::testing::cli_test {
namespace {

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(CommandLine, NoArgumentsPrintsRootHelpAndExitsZero) {
  auto result = runVorno({});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(contains(result.out, "Store screenshots your agent can drive."));
  EXPECT_TRUE(contains(result.out, "See 'vorno help <subcommand>' for detailed help."));
  EXPECT_EQ(result.err, "");
}

TEST(CommandLine, RootHelpListsSubcommandsInOrder) {
  auto result = runVorno({"--help"});
  EXPECT_EQ(result.status, 0);
  const char* order[] = {"mcp", "setup", "devices", "render", "video", "overview",
                         "export", "variant-import", "lint", "capture", "help"};
  size_t last = 0;
  for (const char* name : order) {
    size_t at = result.out.find("\n  " + std::string(name) + " ", last);
    ASSERT_NE(at, std::string::npos) << name;
    last = at;
  }
  EXPECT_TRUE(contains(result.out, "Connect Vorno to Claude Code: install the skill and register the MCP server."));
  EXPECT_TRUE(contains(result.out, "Show subcommand help information."));
  EXPECT_TRUE(contains(result.out, "Show the version."));
}

TEST(CommandLine, VersionIsOneFiveZero) {
  auto result = runVorno({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "1.5.0\n");
}

TEST(CommandLine, CommandHelpShowsOptionsWithTheirSentences) {
  auto result = runVorno({"render", "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(contains(result.out, "Render one slide or creative to PNG."));
  EXPECT_TRUE(contains(result.out, "-s, --slide <slide>"));
  EXPECT_TRUE(contains(result.out, "Slide or creative id. Defaults to the first slide."));
  EXPECT_TRUE(contains(result.out, "For a creative in motion: frames across the loop in one image."));
  EXPECT_TRUE(contains(result.out, "Path to the .vorno package. (default: .)"));
}

TEST(CommandLine, HelpSubcommandShowsTheCommandsHelp) {
  auto viaHelp = runVorno({"help", "export"});
  auto viaFlag = runVorno({"export", "-h"});
  EXPECT_EQ(viaHelp.status, 0);
  EXPECT_EQ(viaHelp.out, viaFlag.out);
  EXPECT_TRUE(contains(viaHelp.out, "Folder layout: vorno or fastlane. (default: vorno)"));
}

TEST(CommandLine, UnknownOptionIsUsageErrorWithUsageLine) {
  auto result = runVorno({"lint", "--frobnicate"});
  EXPECT_EQ(result.status, 64);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(contains(result.err, "Error: "));
  EXPECT_TRUE(contains(result.err, "Usage: vorno lint [--project <project>]"));
}

TEST(CommandLine, MissingRequiredOptionIsUsageError) {
  auto result = runVorno({"video"});
  EXPECT_EQ(result.status, 64);
  EXPECT_TRUE(contains(result.err, "--creative"));
  EXPECT_TRUE(contains(result.err, "Usage: vorno video"));
}

TEST(CommandLine, UnparsableNumberIsUsageError) {
  auto result = runVorno({"render", "--time", "abc"});
  EXPECT_EQ(result.status, 64);
  EXPECT_TRUE(contains(result.err, "Usage: vorno render"));
}

TEST(CommandLine, UnknownSubcommandIsUsageError) {
  auto result = runVorno({"frobnicate"});
  EXPECT_EQ(result.status, 64);
  EXPECT_TRUE(contains(result.err, "Error: "));
}

TEST(CommandLine, VariantImportRefusesBadIdBeforeTouchingThePackage) {
  auto result = runVorno({"variant-import", "--id", "a b", "--from", "/nowhere", "--project", "/no/such/package"});
  EXPECT_EQ(result.status, 64);
  EXPECT_TRUE(contains(result.err, "Error: Variant ids use letters, digits, - and _ (they name export folders)."));
  EXPECT_TRUE(contains(result.err, "Usage: vorno variant-import"));
}

TEST(CommandLine, CaptureNeedsItsName) {
  auto result = runVorno({"capture"});
  EXPECT_EQ(result.status, 64);
  EXPECT_TRUE(contains(result.err, "Usage: vorno capture [--project <project>] <name>"));
}

}  // namespace
}  // namespace vorno::testing::cli_test
