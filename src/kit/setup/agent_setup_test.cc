#include "kit/setup/agent_setup.h"

#include "kit/util/vorno_error.h"
#include "tests/fake_claude.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace vorno::agent_setup_test {
namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& path, const std::string& text, bool executable = false) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
  if (executable) ::chmod(path.c_str(), 0755);
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// A world of its own under one temporary folder: a home, an installed tree <root>/prefix with
// bin/vorno and share/vorno/skills, and fixed places for `claude` that lie under <root>/machine
// instead of the machine's own /usr/local and Homebrew folders, in the same order.
struct World {
  testing::TempFolder root{"vorno-agent-setup"};
  fs::path home = root.path() / "home";
  fs::path prefix = root.path() / "prefix";
  fs::path program = prefix / "bin" / "vorno";

  World() {
    fs::create_directories(home);
    writeFile(program, "#!/bin/sh\n", true);
    writeFile(prefix / "share/vorno/skills/vorno-screenshots/SKILL.md", "---\nname: vorno-screenshots\n---\nnew\n");
    writeFile(prefix / "share/vorno/skills/vorno-screenshots/reference/rules.md", "rules\n");
  }

  AgentSetupEnvironment environment(const std::string& searchPath = "") const {
    auto environment = AgentSetupEnvironment::standard(program, home, searchPath);
    for (auto* list : {&environment.claudeCandidates, &environment.binCandidates})
      for (auto& candidate : *list)
        if (candidate.string().rfind(home.string(), 0) != 0) candidate = root.path() / "machine" / candidate.relative_path();
    return environment;
  }
  AgentSetup setup(const std::string& searchPath = "") const { return AgentSetup(environment(searchPath)); }
};

TEST(AgentSetup, CliPathIsTheVornoBesideTheProgram) {
  World world;
  auto environment = world.environment();
  environment.program = world.prefix / "bin" / "vorno-host";
  EXPECT_EQ(AgentSetup(environment).cliPath(), (world.prefix / "bin" / "vorno").string());
}

TEST(AgentSetup, CliPathIsTheProgramItselfWithoutAnExecutableVornoBesideIt) {
  World world;
  ::chmod(world.program.c_str(), 0644);
  auto environment = world.environment();
  environment.program = world.prefix / "bin" / "vorno-host";
  EXPECT_EQ(AgentSetup(environment).cliPath(), (world.prefix / "bin" / "vorno-host").string());
}

TEST(AgentSetup, McpCommandNamesTheCliPath) {
  World world;
  EXPECT_EQ(world.setup().mcpCommand(), "claude mcp add vorno --scope user -- " + world.program.string() + " mcp");
}

TEST(AgentSetup, McpCommandQuotesAPathAShellWouldSplit) {
  testing::TempFolder root;
  fs::path program = root.path() / "My Tools" / "vorno";
  writeFile(program, "#!/bin/sh\n", true);
  AgentSetup setup(AgentSetupEnvironment::standard(program, root.path(), ""));
  EXPECT_EQ(setup.mcpCommand(), "claude mcp add vorno --scope user -- '" + program.string() + "' mcp");
}

TEST(AgentSetup, SkillsSourceIsTheShareFolderInstalledBesideTheProgram) {
  World world;
  EXPECT_EQ(world.setup().skillsSource(), world.prefix / "share/vorno/skills");
}

TEST(AgentSetup, SkillsSourceFollowsALinkToTheInstalledProgram) {
  World world;
  fs::path link = world.root.path() / "links" / "vorno";
  fs::create_directories(link.parent_path());
  fs::create_symlink(world.program, link);
  auto environment = world.environment();
  environment.program = link;
  EXPECT_EQ(AgentSetup(environment).skillsSource(), world.prefix / "share/vorno/skills");
}

TEST(AgentSetup, SkillsSourceWalksUpFromABuildFolderToTheSourceTree) {
  World world;
  fs::path source = world.root.path() / "checkout";
  writeFile(source / "resources/skills/vorno-screenshots/SKILL.md", "source\n");
  fs::path program = source / "build" / "release" / "vorno";
  writeFile(program, "#!/bin/sh\n", true);
  auto environment = world.environment();
  environment.program = program;
  EXPECT_EQ(AgentSetup(environment).skillsSource(), source / "resources/skills");
}

TEST(AgentSetup, MissingSkillIsReportedWithWhatToDo) {
  World world;
  fs::remove_all(world.prefix / "share");
  auto environment = world.environment();
  // A program at the top of a folder with no skill anywhere above it.
  environment.program = world.program;
  AgentSetup setup(environment);
  if (setup.skillsSource()) GTEST_SKIP() << "a folder above the test's temporary folder holds a skill";
  try {
    setup.installSkill();
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
    EXPECT_STREQ(error.what(), "Couldn't find Vorno's bundled skill. Reinstall Vorno.");
  }
  EXPECT_FALSE(setup.isSkillInstalled());
}

TEST(AgentSetup, SkillsDestinationIsTheHomeOrTheProjectsClaudeSkills) {
  World world;
  EXPECT_EQ(world.setup().skillsDestination(), world.home / ".claude/skills");
  EXPECT_EQ(world.setup().skillsDestination(fs::path("/work/app")), fs::path("/work/app/.claude/skills"));
}

TEST(AgentSetup, InstallSkillReplacesTheInstalledCopyWhole) {
  World world;
  fs::path installed = world.home / ".claude/skills/vorno-screenshots";
  writeFile(installed / "SKILL.md", "old, edited by hand\n");
  writeFile(installed / "notes.md", "a file the bundled skill doesn't have\n");
  AgentSetup setup = world.setup();
  EXPECT_EQ(setup.installSkill(), installed);
  EXPECT_EQ(readFile(installed / "SKILL.md"), "---\nname: vorno-screenshots\n---\nnew\n");
  EXPECT_EQ(readFile(installed / "reference/rules.md"), "rules\n");
  EXPECT_FALSE(fs::exists(installed / "notes.md"));
  EXPECT_TRUE(setup.isSkillInstalled());
  // Nothing of the swap is left beside the skill.
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(installed.parent_path())) ++entries;
  EXPECT_EQ(entries, 1);
}

TEST(AgentSetup, InstallSkillIntoAProjectMakesItsFolders) {
  World world;
  fs::path project = world.root.path() / "app";
  AgentSetup setup = world.setup();
  EXPECT_FALSE(setup.isSkillInstalled(project));
  EXPECT_EQ(setup.installSkill(project), project / ".claude/skills/vorno-screenshots");
  EXPECT_TRUE(setup.isSkillInstalled(project));
  EXPECT_FALSE(setup.isSkillInstalled());
}

TEST(AgentSetup, InstallSkillBehindAFileReportsTheFolder) {
  World world;
  writeFile(world.home / ".claude", "a file where the folder should be\n");
  try {
    world.setup().installSkill();
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_NE(std::string(error.what()).find((world.home / ".claude/skills").string()), std::string::npos) << error.what();
  }
}

TEST(AgentSetup, WithClaudeFoundOnlyThroughPathTheFixedCandidatesAreStillTriedFirst) {
  World world;
  fs::path onPath = world.root.path() / "npm-global" / "bin";
  testing::FakeClaude pathClaude(onPath, world.root.path() / "path-state");
  std::string searchPath = "/nonexistent:" + onPath.string() + ":/usr/bin";
  AgentSetup setup = world.setup(searchPath);
  // Only on PATH: found there, after every fixed candidate came up empty.
  EXPECT_EQ(setup.claudeCLI(), onPath / "claude");

  // A fixed candidate wins over PATH, and the earlier fixed candidate over the later one.
  auto environment = world.environment(searchPath);
  writeFile(environment.claudeCandidates.back(), "#!/bin/sh\n", true);
  EXPECT_EQ(AgentSetup(environment).claudeCLI(), environment.claudeCandidates.back());
  writeFile(world.home / ".local/bin/claude", "#!/bin/sh\n", true);
  EXPECT_EQ(AgentSetup(environment).claudeCLI(), world.home / ".local/bin/claude");
  writeFile(world.home / ".claude/local/claude", "#!/bin/sh\n", true);
  EXPECT_EQ(AgentSetup(environment).claudeCLI(), world.home / ".claude/local/claude");
}

TEST(AgentSetup, ClaudeThatIsNotExecutableIsPassedOver) {
  World world;
  writeFile(world.home / ".local/bin/claude", "not a program\n");
  EXPECT_EQ(world.setup().claudeCLI(), std::nullopt);
}

TEST(AgentSetup, RegisterMCPWithoutClaudeSaysWhatToRun) {
  World world;
  AgentSetup setup = world.setup("/nonexistent");
  EXPECT_FALSE(setup.isMCPRegistered());
  try {
    setup.registerMCP();
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::notFound);
    EXPECT_EQ(std::string(error.what()), "Claude Code isn't installed. Install it, or run: " + setup.mcpCommand());
  }
}

TEST(AgentSetup, RegisterMCPRemovesThenAddsOneUserScopeEntry) {
  World world;
  testing::FakeClaude claude(world.home / ".local/bin", world.root.path() / "state");
  AgentSetup setup = world.setup();
  EXPECT_FALSE(setup.isMCPRegistered());
  setup.registerMCP();
  setup.registerMCP();
  EXPECT_EQ(claude.servers(), std::vector<std::string>{"vorno\t" + world.program.string() + " mcp"});
  auto calls = claude.calls();
  ASSERT_GE(calls.size(), 4u);
  EXPECT_EQ(calls[calls.size() - 2], "mcp remove vorno --scope user");
  EXPECT_EQ(calls.back(), "mcp add vorno --scope user -- " + world.program.string() + " mcp");
  EXPECT_TRUE(setup.isMCPRegistered());
}

TEST(AgentSetup, RegistrationOfAnotherCopyCountsAsNone) {
  World world;
  testing::FakeClaude claude(world.home / ".local/bin", world.root.path() / "state");
  auto other = world.environment();
  other.program = world.root.path() / "other" / "vorno2";
  writeFile(other.program, "#!/bin/sh\n", true);
  AgentSetup(other).registerMCP();
  EXPECT_FALSE(world.setup().isMCPRegistered());
  EXPECT_TRUE(AgentSetup(other).isMCPRegistered());
}

TEST(AgentSetup, RegisterMCPPassesOnTheFailureOfAdd) {
  World world;
  testing::FakeClaude claude(world.home / ".local/bin", world.root.path() / "state");
  claude.failAdd("Invalid configuration file");
  try {
    world.setup().registerMCP();
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_EQ(std::string(error.what()), "mcp add vorno failed: Invalid configuration file");
  }
}

TEST(AgentSetup, CommandLineToolGoesIntoTheFirstWritableBinFolderOnPath) {
  World world;
  auto environment = world.environment();
  fs::create_directories(environment.binCandidates[0]);  // the machine-wide folder, not on PATH
  fs::create_directories(world.home / "bin");
  environment.searchPath = (world.home / "bin").string() + ":/usr/bin";
  AgentSetup setup(environment);
  fs::path link = setup.installCommandLineTool();
  EXPECT_EQ(link, world.home / "bin" / "vorno");
  EXPECT_EQ(fs::read_symlink(link), world.program);
  // Run again over an older link: replaced, still one link to this program.
  fs::remove(link);
  fs::create_symlink("/old/vorno", link);
  EXPECT_EQ(setup.installCommandLineTool(), link);
  EXPECT_EQ(fs::read_symlink(link), world.program);
}

TEST(AgentSetup, CommandLineToolOffPathTakesTheFirstWritableCandidate) {
  World world;
  auto environment = world.environment("/usr/bin");
  fs::create_directories(world.home / ".local/bin");
  fs::create_directories(world.home / "bin");
  EXPECT_EQ(AgentSetup(environment).installCommandLineTool(), world.home / ".local/bin/vorno");
}

TEST(AgentSetup, CommandLineToolWithoutAWritableFolderSaysHowToLinkIt) {
  World world;
  AgentSetup setup = world.setup("/usr/bin");
  try {
    setup.installCommandLineTool();
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(std::string(error.what()),
              "No writable bin folder found. Link it yourself: ln -s " + setup.cliPath() + " /usr/local/bin/vorno");
  }
}

}  // namespace
}  // namespace vorno::agent_setup_test
