// Test support: a stand-in for the `claude` command. It records every call, one line of
// arguments each, in <state>/calls, and keeps user-scope MCP registrations in <state>/servers the
// way Claude Code does for the commands setup uses: `mcp add` appends (a second add of one name
// leaves two lines, so a missing removal shows), `mcp remove` fails when nothing is registered,
// and `mcp get` prints the entry with its "Command:" line.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vorno::testing {

class FakeClaude {
 public:
  /// Writes an executable `claude` into `folder`, keeping its state in `state`.
  FakeClaude(const std::filesystem::path& folder, const std::filesystem::path& state)
      : path_(folder / "claude"), state_(state) {
    std::filesystem::create_directories(folder);
    std::filesystem::create_directories(state);
    std::ofstream script(path_);
    script << "#!/bin/sh\n"
           << "state='" << state.string() << "'\n"
           << "echo \"$*\" >> \"$state/calls\"\n"
           << "touch \"$state/servers\"\n"
           << "if [ -f \"$state/fail-add\" ] && [ \"$1 $2\" = 'mcp add' ]; then\n"
           << "  cat \"$state/fail-add\" >&2; exit 1\n"
           << "fi\n"
           << "case \"$1 $2\" in\n"
           << "  'mcp add') name=\"$3\"; shift 3\n"
           << "    while [ \"$1\" != '--' ]; do shift; done; shift\n"
           << "    echo \"$name	$*\" >> \"$state/servers\"; echo \"Added stdio MCP server $name\" ;;\n"
           << "  'mcp remove') if grep -q \"^$3	\" \"$state/servers\"; then\n"
           << "      grep -v \"^$3	\" \"$state/servers\" > \"$state/servers.new\"; mv \"$state/servers.new\" \"$state/servers\"\n"
           << "    else echo \"No MCP server found with name: $3\" >&2; exit 1; fi ;;\n"
           << "  'mcp get') line=$(grep \"^$3	\" \"$state/servers\" | head -n 1)\n"
           << "    if [ -z \"$line\" ]; then echo \"No MCP server named \\\"$3\\\".\" >&2; exit 1; fi\n"
           << "    command=$(echo \"$line\" | cut -f 2 | cut -d ' ' -f 1)\n"
           << "    printf '%s:\\n  Scope: User config\\n  Status: Connected\\n  Type: stdio\\n  Command: %s\\n  Args: mcp\\n' \"$3\" \"$command\" ;;\n"
           << "esac\n";
    script.close();
    ::chmod(path_.c_str(), 0755);
  }

  const std::filesystem::path& path() const { return path_; }
  /// Every call's arguments, in order.
  std::vector<std::string> calls() const { return lines(state_ / "calls"); }
  /// "<name>\t<command and arguments>" for each registration.
  std::vector<std::string> servers() const { return lines(state_ / "servers"); }
  /// Makes `mcp add` fail with `message` on standard error.
  void failAdd(const std::string& message) const { std::ofstream(state_ / "fail-add") << message << "\n"; }

 private:
  static std::vector<std::string> lines(const std::filesystem::path& file) {
    std::vector<std::string> result;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
  }

  std::filesystem::path path_;
  std::filesystem::path state_;
};

}  // namespace vorno::testing
