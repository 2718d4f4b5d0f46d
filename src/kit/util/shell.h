// Shell: the program's one way of running another program. Every call has a hard time limit in
// seconds, standard input from the null device, and both output pipes drained in the background;
// a failure comes back as one VornoError sentence that names the command.
//
//   std::string json = Shell::run("/usr/bin/xcrun", {"simctl", "list", "devices", "--json"}, 60);
//   std::string png = Shell::runData(adb, {"-s", serial, "exec-out", "screencap", "-p"}, 30);
//   Shell::spawn(emulator, {"-avd", "Pixel_9", "-no-boot-anim"});   // outlives vorno
//
// Nothing a program prints reaches our own standard output or error: the MCP server's standard
// output belongs to the protocol.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace vorno {

/// How a program ended and what it wrote.
struct ShellResult {
  int status = 0;  ///< exit status, or 128 + the signal that ended it
  std::string out;
  std::string err;

  bool operator==(const ShellResult&) const = default;
};

/// Null in the program. A test that must reach a time limit without waiting for it points this
/// at a clock of its own; Shell then reads the time from it instead of the steady clock.
extern std::chrono::steady_clock::time_point (*shellClockHook)();

namespace Shell {

/// Standard output as text; invalid UTF-8 is repaired (each bad byte becomes U+FFFD).
std::string run(const std::string& path, const std::vector<std::string>& arguments, int timeoutSeconds);

/// Standard output as bytes, exactly as the program wrote them. Throws VornoError::io
/// "<path> <arguments> timed out after <n>s." when the program outlives its limit (it is killed
/// with everything it started), and "<first three arguments> failed: <standard error trimmed>"
/// ("exit <status>" when it wrote nothing there) for a status other than 0. A program that can't
/// be started throws as ChildProcess does: "<path> isn't installed." when there is none.
std::string runData(const std::string& path, const std::vector<std::string>& arguments, int timeoutSeconds);

/// Runs to the end within the limit and returns any status with both outputs; only a launch
/// failure or the time limit throws.
ShellResult execute(const std::string& path, const std::vector<std::string>& arguments, int timeoutSeconds);

/// Starts a program and doesn't wait for it: all three standard streams go to the null device and
/// it runs in a session of its own, so it outlives this process and never becomes our zombie.
/// Throws like `runData` when it can't be started.
void spawn(const std::string& path, const std::vector<std::string>& arguments);

/// Whether `path` names a file this process may execute.
bool isExecutable(const std::string& path);

/// Invalid UTF-8 sequences replaced by U+FFFD, valid text unchanged.
std::string repairedUTF8(const std::string& bytes);

}  // namespace Shell

}  // namespace vorno
