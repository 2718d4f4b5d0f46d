// The installed program: `cmake --install` into a prefix of the test's own, the tree then moved
// elsewhere, and the vorno in it run from an unrelated folder. It must draw with, serve and
// install its own resources from <prefix>/share/vorno, found from where the program itself lies.
#include "tests/mcp_process.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vorno::testing::install_tree_test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void append(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::app) << text; }

class InstallTree : public ::testing::Test {
 protected:
  void SetUp() override {
    // The test program is built beside vorno, in the build folder that `cmake --install` reads.
    std::string build = fs::path(VORNO_BINARY).parent_path().string();
    fs::path first = folder_.path() / "first-prefix";
    auto installed = runProcess("/usr/bin/env", {"cmake", "--install", build, "--prefix", first.string()});
    ASSERT_EQ(installed.status, 0) << installed.out << installed.err;
    // Moved after installing, as an unpacked archive or a renamed folder would be.
    fs::rename(first, prefix());
    // Marks the installed copies, so that what the program serves is seen to come from them and
    // not from the source tree it was built in.
    append(share() / "guide.md", "\nInstalled-copy marker.\n");
    append(share() / "skills/vorno-screenshots/SKILL.md", "\nInstalled-copy marker.\n");
    fs::create_directories(elsewhere());
  }

  fs::path prefix() const { return folder_.path() / "moved-prefix"; }
  fs::path share() const { return prefix() / "share/vorno"; }
  fs::path program() const { return prefix() / "bin/vorno"; }
  fs::path elsewhere() const { return folder_.path() / "elsewhere"; }

  TempFolder folder_{"vorno-install-tree"};
};

TEST_F(InstallTree, HoldsTheProgramAndItsResources) {
  EXPECT_TRUE(fs::is_regular_file(program()));
  for (const char* file : {"guide.md", "recipes.md", "symbols.tsv", "skills/vorno-screenshots/SKILL.md",
                           "skills/vorno-screenshots/reference/lint-rules.md", "symbols/bell-fill.svg"})
    EXPECT_TRUE(fs::is_regular_file(share() / file)) << file;
  auto version = runProcess(program().string(), {"--version"}, elsewhere().string());
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "1.5.0\n");
}

TEST_F(InstallTree, MovedProgramRendersTheExampleFromAnyFolder) {
  fs::path package = folder_.path() / "Demo.vorno";
  fs::copy(sourceDir() + "/examples/Demo.vorno", package, fs::copy_options::recursive);
  fs::path out = folder_.path() / "week.png";
  auto result = runProcess(program().string(),
                           {"render", "--project", package.string(), "--slide", "week", "--target", "ios.iphone-6.9",
                            "--out", out.string()},
                           elsewhere().string());
  ASSERT_EQ(result.status, 0) << result.out << result.err;
  std::string png = readFile(out);
  ASSERT_GT(png.size(), 24u);
  EXPECT_EQ(png.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
  // The IHDR width and height: the 6.9-inch iPhone canvas.
  auto be32 = [&](size_t at) {
    return (uint32_t(uint8_t(png[at])) << 24) | (uint32_t(uint8_t(png[at + 1])) << 16) |
           (uint32_t(uint8_t(png[at + 2])) << 8) | uint32_t(uint8_t(png[at + 3]));
  };
  EXPECT_EQ(be32(16), 1320u);
  EXPECT_EQ(be32(20), 2868u);
  // Symbols resolve from the installed copies of the icons: lint names none as unknown.
  auto lint = runProcess(program().string(), {"lint", "--project", package.string()}, elsewhere().string());
  EXPECT_EQ(lint.out.find("symbol.unknown"), std::string::npos) << lint.out;
}

TEST_F(InstallTree, MovedProgramServesItsOwnGuideFromAnyFolder) {
  MCPProcess server(elsewhere().string(), "/dev/null", {}, program().string());
  server.sendLine(
      R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"install-test","version":"1"}}})");
  ASSERT_FALSE(server.answerTo(1).isNull());
  server.sendLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
  server.sendLine(R"({"jsonrpc":"2.0","id":2,"method":"resources/read","params":{"uri":"vorno://guide"}})");
  mcp::Value answer = server.answerTo(2);
  ASSERT_FALSE(answer.isNull());
  std::string wire = answer.wire();
  EXPECT_NE(wire.find("# Vorno design guide"), std::string::npos) << wire.substr(0, 300);
  EXPECT_NE(wire.find("Installed-copy marker."), std::string::npos);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(10s), 0);
}

TEST_F(InstallTree, MovedProgramInstallsItsOwnSkill) {
  fs::path home = folder_.path() / "home";
  fs::create_directories(home);
  auto result = runProcess(program().string(), {"setup", "--skill-only"}, elsewhere().string(),
                           {{"HOME", home.string()}, {"PATH", "/usr/bin:/bin"}});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path skill = home / ".claude/skills/vorno-screenshots";
  EXPECT_EQ(result.out, "Installed skill: " + skill.string() + "\n");
  EXPECT_EQ(readFile(skill / "SKILL.md"), readFile(share() / "skills/vorno-screenshots/SKILL.md"));
  EXPECT_NE(readFile(skill / "SKILL.md").find("Installed-copy marker."), std::string::npos);
}

}  // namespace
}  // namespace vorno::testing::install_tree_test
