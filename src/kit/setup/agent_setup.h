// AgentSetup: connects vorno to Claude Code. It copies the vorno-screenshots skill into a skills
// folder, registers `vorno mcp` with the `claude` command, and links the executable into a bin
// folder on PATH. Every operation is stateless: it reads the file system and the environment it
// was given, so tests hand it a home folder, a PATH and a program location of their own.
//
//   AgentSetup setup;                        // this process's program, home and PATH
//   auto skill = setup.installSkill();       // ~/.claude/skills/vorno-screenshots
//   setup.registerMCP();                     // claude mcp add vorno --scope user -- <cliPath> mcp
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

/// What setup reads from the world: where the program is, the home folder, PATH, and the fixed
/// places it looks for `claude` and offers for the command-line tool.
struct AgentSetupEnvironment {
  std::filesystem::path program;  ///< the running executable (the program's own location)
  std::filesystem::path home;
  std::string searchPath;  ///< $PATH as it stands
  /// Where Claude Code's own installers put `claude`, tried before PATH.
  std::vector<std::filesystem::path> claudeCandidates;
  /// Folders a link to the command-line tool may go into, in order of preference.
  std::vector<std::filesystem::path> binCandidates;

  /// The fixed candidates for a home folder: ~/.claude/local/claude (Claude Code's local install),
  /// ~/.local/bin/claude (its native installer), Homebrew on Linux, /usr/local/bin/claude; bin
  /// folders /usr/local/bin, ~/.local/bin, ~/bin.
  static AgentSetupEnvironment standard(std::filesystem::path program, std::filesystem::path home,
                                        std::string searchPath);
  /// This process: its own executable, $HOME and $PATH.
  static AgentSetupEnvironment current();
};

class AgentSetup {
 public:
  static constexpr const char* skillName = "vorno-screenshots";

  explicit AgentSetup(AgentSetupEnvironment environment = AgentSetupEnvironment::current());

  /// The executable to register: `vorno` beside the program when that is an executable file (a
  /// host program can point at the command-line tool next to it), else the program itself.
  std::string cliPath() const;
  /// "claude mcp add vorno --scope user -- <cliPath> mcp"; a path that a shell would split is quoted.
  std::string mcpCommand() const;

  /// The folder that holds the skill folder: the share folder installed beside the program
  /// (<prefix>/share/vorno/skills), else the first `resources/skills` with the skill's SKILL.md on
  /// the walk up from the program's folder (a build inside the source tree). Symbolic links in
  /// the program's path are resolved first.
  std::optional<std::filesystem::path> skillsSource() const;
  /// <project>/.claude/skills, or ~/.claude/skills without a project.
  std::filesystem::path skillsDestination(const std::optional<std::filesystem::path>& project = std::nullopt) const;
  /// Copies the skill folder in, replacing an installed copy whole (hand edits are lost); returns
  /// the installed folder. The copy is made beside the destination and swapped in, so Claude Code
  /// never reads half a skill. Throws VornoError.
  std::filesystem::path installSkill(const std::optional<std::filesystem::path>& project = std::nullopt) const;
  /// Whether vorno-screenshots/SKILL.md is in the destination.
  bool isSkillInstalled(const std::optional<std::filesystem::path>& project = std::nullopt) const;

  /// The `claude` command: the first executable of the fixed candidates, then of PATH's folders.
  std::optional<std::filesystem::path> claudeCLI() const;
  /// Whether `claude mcp get vorno` names this program's cliPath as the command. A registration
  /// of another copy of vorno counts as none; so does any failure of `claude`.
  bool isMCPRegistered() const;
  /// Replaces the user-scope registration of `vorno` with one for cliPath. Throws VornoError.
  void registerMCP() const;
  /// Links cliPath as `vorno` into the first writable bin folder, those on PATH first; returns the
  /// link. Throws VornoError.
  std::filesystem::path installCommandLineTool() const;

  const AgentSetupEnvironment& environment() const { return environment_; }

 private:
  AgentSetupEnvironment environment_;
};

}  // namespace vorno
