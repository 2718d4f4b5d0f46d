#include "kit/setup/agent_setup.h"

#include "kit/util/atomic_write.h"
#include "kit/util/paths.h"
#include "kit/util/program_location.h"
#include "kit/util/shell.h"
#include "kit/util/vorno_error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace vorno {

namespace fs = std::filesystem;

namespace {

// `claude mcp get` starts the server to check it, so it gets longer than a plain removal would need.
constexpr int kGetSeconds = 15;
constexpr int kRemoveSeconds = 15;
constexpr int kAddSeconds = 20;

bool isExecutableFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

bool isWritableFolder(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error) && ::access(path.c_str(), W_OK) == 0;
}

std::vector<std::string> pathFolders(const std::string& searchPath) {
  std::vector<std::string> folders;
  size_t start = 0;
  while (start <= searchPath.size()) {
    size_t colon = searchPath.find(':', start);
    if (colon == std::string::npos) colon = searchPath.size();
    // An empty entry would mean the current folder; setup never runs a program from wherever the
    // user happens to stand.
    if (colon > start) folders.push_back(searchPath.substr(start, colon - start));
    start = colon + 1;
  }
  return folders;
}

// Single quotes around a path that a shell would split or expand; a plain path stays as it is.
std::string shellWord(const std::string& text) {
  if (!text.empty() && text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+,:@%=") ==
                           std::string::npos)
    return text;
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

bool mentionsCommand(const std::string& output, const std::string& command) {
  // `claude mcp get` prints "  Command: <path>" on a line of its own; the whole rest of the line
  // must be our path, so a registration of /opt/vorno/bin/vorno2 is not taken for /opt/vorno/bin/vorno.
  const std::string marker = "Command: " + command;
  for (size_t at = output.find(marker); at != std::string::npos; at = output.find(marker, at + 1)) {
    size_t end = at + marker.size();
    if (end == output.size() || output[end] == '\n' || output[end] == '\r' || output[end] == ' ') return true;
  }
  return false;
}

void copyFolder(const fs::path& source, const fs::path& target) {
  std::error_code error;
  fs::copy(source, target, fs::copy_options::recursive, error);
  if (error)
    throw VornoError::io("Couldn't copy the skill to " + target.string() + ": " + errorText(error.value()) +
                         ". Check that the folder is writable and try again.");
}

// Puts `fresh` in the place of `target` in one step where the file system allows, so a reader
// finds the old skill or the new one and never a mix. `fresh` is gone afterwards either way.
void swapIn(const fs::path& fresh, const fs::path& target) {
  std::error_code ignored;
  if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0) {
    fs::remove_all(fresh, ignored);  // now the old copy
    return;
  }
  int reason = errno;
  if (reason == ENOENT && ::rename(fresh.c_str(), target.c_str()) == 0) return;
  if (reason == EINVAL || reason == ENOSYS) {
    // A file system without exchange: move the old copy aside first, then the new one in.
    fs::path aside = temporaryPathBeside(target);
    if (::rename(target.c_str(), aside.c_str()) == 0 && ::rename(fresh.c_str(), target.c_str()) == 0) {
      fs::remove_all(aside, ignored);
      return;
    }
    reason = errno;
  }
  fs::remove_all(fresh, ignored);
  throw VornoError::io("Couldn't replace " + target.string() + ": " + errorText(reason) +
                       ". Remove it and run setup again.");
}

}  // namespace

AgentSetupEnvironment AgentSetupEnvironment::standard(fs::path program, fs::path home, std::string searchPath) {
  AgentSetupEnvironment environment;
  environment.program = std::move(program);
  environment.home = std::move(home);
  environment.searchPath = std::move(searchPath);
  environment.claudeCandidates = {environment.home / ".claude/local/claude", environment.home / ".local/bin/claude",
                                  "/home/linuxbrew/.linuxbrew/bin/claude", "/usr/local/bin/claude"};
  environment.binCandidates = {"/usr/local/bin", environment.home / ".local/bin", environment.home / "bin"};
  return environment;
}

AgentSetupEnvironment AgentSetupEnvironment::current() {
  const char* path = std::getenv("PATH");
  // Without a known location the program is taken to be a `vorno` on PATH; cliPath then names
  // that, which is what a person typing `vorno` would run anyway.
  return standard(programPath().value_or("vorno"), homeFolder(), path ? path : "");
}

AgentSetup::AgentSetup(AgentSetupEnvironment environment) : environment_(std::move(environment)) {}

std::string AgentSetup::cliPath() const {
  fs::path beside = environment_.program.parent_path() / "vorno";
  if (isExecutableFile(beside)) return beside.string();
  return environment_.program.string();
}

std::string AgentSetup::mcpCommand() const {
  return "claude mcp add vorno --scope user -- " + shellWord(cliPath()) + " mcp";
}

std::optional<fs::path> AgentSetup::skillsSource() const {
  std::error_code error;
  fs::path program = fs::canonical(environment_.program, error);
  if (error) program = standardizePath(environment_.program);

  fs::path installed = installedShareFolder(program) / "skills";
  if (fs::exists(installed / skillName, error)) return installed;

  // A program run from its build folder finds the copy in the source tree above it.
  for (fs::path folder = program.parent_path();; folder = folder.parent_path()) {
    fs::path candidate = folder / "resources" / "skills";
    if (fs::is_regular_file(candidate / skillName / "SKILL.md", error)) return candidate;
    if (folder == folder.root_path() || folder.empty()) return std::nullopt;
  }
}

fs::path AgentSetup::skillsDestination(const std::optional<fs::path>& project) const {
  return (project ? *project : environment_.home) / ".claude" / "skills";
}

fs::path AgentSetup::installSkill(const std::optional<fs::path>& project) const {
  auto source = skillsSource();
  if (!source) throw VornoError::notFound("Couldn't find Vorno's bundled skill. Reinstall Vorno.");
  fs::path destination = skillsDestination(project);
  createFolders(destination);
  fs::path target = destination / skillName;
  fs::path fresh = temporaryPathBeside(target);
  copyFolder(*source / skillName, fresh);
  swapIn(fresh, target);
  return target;
}

bool AgentSetup::isSkillInstalled(const std::optional<fs::path>& project) const {
  std::error_code error;
  return fs::is_regular_file(skillsDestination(project) / skillName / "SKILL.md", error);
}

std::optional<fs::path> AgentSetup::claudeCLI() const {
  for (const auto& candidate : environment_.claudeCandidates)
    if (isExecutableFile(candidate)) return candidate;
  for (const auto& folder : pathFolders(environment_.searchPath)) {
    fs::path candidate = fs::path(folder) / "claude";
    if (isExecutableFile(candidate)) return candidate;
  }
  return std::nullopt;
}

bool AgentSetup::isMCPRegistered() const {
  auto claude = claudeCLI();
  if (!claude) return false;
  try {
    return mentionsCommand(Shell::run(claude->string(), {"mcp", "get", "vorno"}, kGetSeconds), cliPath());
  } catch (const VornoError&) {
    return false;
  }
}

void AgentSetup::registerMCP() const {
  auto claude = claudeCLI();
  if (!claude) throw VornoError::notFound("Claude Code isn't installed. Install it, or run: " + mcpCommand());
  // Removal fails when nothing is registered; either way the add below leaves exactly one entry.
  try {
    Shell::run(claude->string(), {"mcp", "remove", "vorno", "--scope", "user"}, kRemoveSeconds);
  } catch (const VornoError&) {
  }
  Shell::run(claude->string(), {"mcp", "add", "vorno", "--scope", "user", "--", cliPath(), "mcp"}, kAddSeconds);
}

fs::path AgentSetup::installCommandLineTool() const {
  std::vector<std::string> onPath = pathFolders(environment_.searchPath);
  auto isOnPath = [&](const fs::path& folder) {
    for (const auto& entry : onPath)
      if (standardizePath(entry) == standardizePath(folder)) return true;
    return false;
  };
  std::vector<fs::path> ordered;
  for (const auto& folder : environment_.binCandidates)
    if (isOnPath(folder)) ordered.push_back(folder);
  for (const auto& folder : environment_.binCandidates)
    if (!isOnPath(folder)) ordered.push_back(folder);

  for (const auto& folder : ordered) {
    if (!isWritableFolder(folder)) continue;
    fs::path link = folder / "vorno";
    std::error_code error;
    // The tool already stands there (an install into this prefix): removing it would remove vorno.
    if (fs::equivalent(link, cliPath(), error)) return link;
    // A link to another copy, or an older file, makes way; a folder named vorno is not ours to remove.
    if (fs::is_symlink(link, error) || fs::is_regular_file(link, error)) fs::remove(link, error);
    fs::create_symlink(cliPath(), link, error);
    if (error)
      throw VornoError::io("Couldn't link " + link.string() + ": " + errorText(error.value()) +
                           ". Link it yourself: ln -s " + cliPath() + " " + link.string());
    return link;
  }
  throw VornoError::invalid("No writable bin folder found. Link it yourself: ln -s " + cliPath() +
                            " /usr/local/bin/vorno");
}

}  // namespace vorno
