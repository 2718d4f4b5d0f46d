// Help and usage text, generated from the command table.
#pragma once

#include <string>

namespace vorno::cli {

struct CommandSpec;

/// The root help: abstract, usage, options and the list of subcommands.
std::string rootHelp();
/// One command's help: abstract, usage line and options with their help sentences.
std::string commandHelp(const CommandSpec& command);
/// "Usage: vorno lint [--project <project>]".
std::string usageLine(const CommandSpec* command);

}  // namespace vorno::cli
