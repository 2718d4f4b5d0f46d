// `vorno setup`: installs the skill and registers the server with Claude Code. Not being able to
// register is a note with the command to run by hand, not a failure: the skill is in place and
// the user is one command away.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "kit/setup/agent_setup.h"
#include "kit/util/vorno_error.h"

#include <filesystem>
#include <iostream>
#include <optional>

namespace vorno::cli {

int runSetup(const ParsedArguments& args) {
  std::optional<std::filesystem::path> project;
  if (auto given = args.string("project")) {
    // Against the current folder as typed, so the printed path reads the way the user wrote it.
    project = std::filesystem::path(*given).is_absolute() ? std::filesystem::path(*given)
                                                           : std::filesystem::current_path() / *given;
  }

  AgentSetup setup;
  std::filesystem::path skill = setup.installSkill(project);
  std::cout << "Installed skill: " << skill.string() << "\n";
  if (args.flag("skillOnly")) return 0;

  try {
    setup.registerMCP();
    std::cout << "Registered MCP server with Claude Code: vorno → " << setup.cliPath() << " mcp\n";
  } catch (const VornoError& error) {
    std::cout << "Couldn't register the MCP server automatically: " << error.what() << "\n";
    std::cout << "Run: " << setup.mcpCommand() << "\n";
  }
  std::cout << "\nNext: in your app's repo, ask Claude Code to \"make App Store screenshots with Vorno\".\n";
  return 0;
}

}  // namespace vorno::cli
