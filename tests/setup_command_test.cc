// `vorno setup` as a person runs it, in a home folder of its own, with a stand-in `claude` that
// records what it was asked.
#include "tests/fake_claude.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace vorno::testing::setup_command_test {
namespace {

namespace fs = std::filesystem;

const std::string kNext = "\nNext: in your app's repo, ask Claude Code to \"make App Store screenshots with Vorno\".\n";

std::string readFile(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The machine's own places for `claude` come before PATH; a test that needs Claude Code to be
// missing can't hide those.
bool machineHasClaude() {
  return fs::exists("/usr/local/bin/claude") || fs::exists("/home/linuxbrew/.linuxbrew/bin/claude");
}

struct SetupWorld {
  TempFolder root{"vorno-setup-command"};
  fs::path home = root.path() / "home";
  std::string searchPath = "/usr/bin:/bin";

  SetupWorld() { fs::create_directories(home); }

  ProcessResult setup(const std::vector<std::string>& args, const std::string& directory = "") const {
    std::vector<std::string> all = {"setup"};
    all.insert(all.end(), args.begin(), args.end());
    return runProcess(VORNO_BINARY, all, directory, {{"HOME", home.string()}, {"PATH", searchPath}});
  }
  fs::path skill() const { return home / ".claude/skills/vorno-screenshots"; }
};

TEST(SetupCommand, ASecondSetupReplacesTheSkillFolderAndLeavesOneRegistration) {
  SetupWorld world;
  FakeClaude claude(world.home / ".local/bin", world.root.path() / "claude-state");
  std::string cli = fs::path(VORNO_BINARY).lexically_normal().string();

  auto first = world.setup({});
  ASSERT_EQ(first.status, 0) << first.err;
  std::string expected = "Installed skill: " + world.skill().string() + "\n" +
                         "Registered MCP server with Claude Code: vorno → " + cli + " mcp\n" + kNext;
  EXPECT_EQ(first.out, expected);
  EXPECT_EQ(first.err, "");

  // A hand edit and a stray file in the installed skill are gone after the second run.
  std::ofstream(world.skill() / "SKILL.md") << "edited by hand\n";
  std::ofstream(world.skill() / "stray.md") << "not part of the skill\n";
  auto second = world.setup({});
  ASSERT_EQ(second.status, 0) << second.err;
  EXPECT_EQ(second.out, expected);
  EXPECT_EQ(readFile(world.skill() / "SKILL.md"), readFile(sourceDir() + "/resources/skills/vorno-screenshots/SKILL.md"));
  EXPECT_FALSE(fs::exists(world.skill() / "stray.md"));

  EXPECT_EQ(claude.servers(), std::vector<std::string>{"vorno\t" + cli + " mcp"});
  EXPECT_EQ(claude.calls(), (std::vector<std::string>{
                                "mcp remove vorno --scope user", "mcp add vorno --scope user -- " + cli + " mcp",
                                "mcp remove vorno --scope user", "mcp add vorno --scope user -- " + cli + " mcp"}));
}

TEST(SetupCommand, ProjectPutsTheSkillInTheProjectsClaudeSkillsFolder) {
  SetupWorld world;
  fs::path app = world.root.path() / "app";
  fs::create_directories(app);
  auto result = world.setup({"--project", app.string(), "--skill-only"});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path skill = app / ".claude/skills/vorno-screenshots";
  EXPECT_EQ(result.out, "Installed skill: " + skill.string() + "\n");
  EXPECT_TRUE(fs::is_regular_file(skill / "SKILL.md"));
  EXPECT_FALSE(fs::exists(world.skill()));
}

TEST(SetupCommand, RelativeProjectIsTakenAgainstTheCurrentFolder) {
  SetupWorld world;
  fs::path work = world.root.path() / "work";
  fs::create_directories(work / "app");
  auto result = world.setup({"--project", "app", "--skill-only"}, work.string());
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "Installed skill: " + (work / "app/.claude/skills/vorno-screenshots").string() + "\n");
  EXPECT_TRUE(fs::is_regular_file(work / "app/.claude/skills/vorno-screenshots/SKILL.md"));
}

TEST(SetupCommand, SkillOnlyPrintsExactlyOneLine) {
  SetupWorld world;
  FakeClaude claude(world.home / ".local/bin", world.root.path() / "claude-state");
  auto result = world.setup({"--skill-only"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Installed skill: " + world.skill().string() + "\n");
  EXPECT_TRUE(claude.calls().empty());
}

TEST(SetupCommand, WithClaudeCodeMissingPrintsTheFailureBranchAndExitsZero) {
  if (machineHasClaude()) GTEST_SKIP() << "Claude Code is installed in a machine-wide folder";
  SetupWorld world;
  std::string cli = fs::path(VORNO_BINARY).lexically_normal().string();
  auto result = world.setup({});
  EXPECT_EQ(result.status, 0);
  std::string command = "claude mcp add vorno --scope user -- " + cli + " mcp";
  EXPECT_EQ(result.out, "Installed skill: " + world.skill().string() + "\n" +
                            "Couldn't register the MCP server automatically: Claude Code isn't installed. "
                            "Install it, or run: " + command + "\n" + "Run: " + command + "\n" + kNext);
  EXPECT_TRUE(fs::is_regular_file(world.skill() / "SKILL.md"));
}

TEST(SetupCommand, FailingClaudeIsANoteWithTheCommandToRun) {
  SetupWorld world;
  FakeClaude claude(world.home / ".local/bin", world.root.path() / "claude-state");
  claude.failAdd("Invalid configuration file");
  auto result = world.setup({});
  EXPECT_EQ(result.status, 0);
  std::string cli = fs::path(VORNO_BINARY).lexically_normal().string();
  EXPECT_NE(result.out.find("Couldn't register the MCP server automatically: mcp add vorno failed: Invalid "
                            "configuration file\nRun: claude mcp add vorno --scope user -- " +
                            cli + " mcp\n" + kNext),
            std::string::npos)
      << result.out;
}

}  // namespace
}  // namespace vorno::testing::setup_command_test
