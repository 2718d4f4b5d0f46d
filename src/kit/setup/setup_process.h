// SetupProcess: how agent setup runs the `claude` command. One call runs a program to its end
// with a time limit, standard input from the null device and both output pipes drained, so a
// program that writes a lot or waits for input can neither block nor hang setup.
#pragma once

#include <string>
#include <vector>

namespace vorno {

struct SetupProcessResult {
  int status = 0;  ///< exit status, or 128 + the signal that ended it
  std::string out;
  std::string err;

  bool operator==(const SetupProcessResult&) const = default;
};

namespace SetupProcess {

/// Runs `program` with `arguments` and waits at most `timeoutSeconds`. A program that can't be
/// started or outlives its limit throws VornoError::io; any exit status is returned as it is.
/// At the limit the program and everything it started in its process group are killed.
SetupProcessResult run(const std::string& program, const std::vector<std::string>& arguments, int timeoutSeconds);

/// Like `run`, but a status other than 0 throws VornoError::io "<program> <first three
/// arguments> failed: <standard error trimmed>" ("exit <status>" when it printed nothing).
std::string runChecked(const std::string& program, const std::vector<std::string>& arguments, int timeoutSeconds);

}  // namespace SetupProcess

}  // namespace vorno
