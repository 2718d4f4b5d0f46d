// Runs a program to completion for end-to-end tests, capturing what it prints and its status.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vorno::testing {

struct ProcessResult {
  int status = -1;  ///< exit status, or 128 + signal
  std::string out;
  std::string err;
};

/// Runs `program` with `args` in `directory` (empty: the current one), stdin closed.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& directory = "");

/// The same with environment variables set (or, with an empty value, removed) in the child only.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args, const std::string& directory,
                         const std::vector<std::pair<std::string, std::string>>& environment);

/// Runs the vorno executable built beside the tests.
ProcessResult runVorno(const std::vector<std::string>& args, const std::string& directory = "");

/// A fresh empty folder under the system's temporary folder, removed by the caller.
std::string makeTempFolder(const std::string& prefix);

/// The repository's root folder.
std::string sourceDir();

}  // namespace vorno::testing
