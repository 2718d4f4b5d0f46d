// The vorno executable's command tree: parses the command line and runs one command.
#pragma once

namespace vorno::cli {

/// Runs the command line; returns the process's exit status.
int run(int argc, char** argv);

}  // namespace vorno::cli
