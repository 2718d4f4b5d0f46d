// Where the running program lives, and the share folder installed beside it. An installed tree
// (bin/vorno beside share/vorno) is found from the executable itself, so a tree that was moved
// or unpacked under another prefix keeps working.
#pragma once

#include <filesystem>
#include <optional>

namespace vorno {

/// The running program's own file, symbolic links resolved: /proc/self/exe, else the first
/// command-line argument remembered by `rememberProgramArgument`, else nothing.
std::optional<std::filesystem::path> programPath();

/// Keeps argv[0] for `programPath` on systems without /proc. Call once from main, before threads.
void rememberProgramArgument(const char* argument0);

/// The share folder of an installed tree: `<program folder>/../share/vorno`, normalised. Nothing
/// when the program's location is unknown. Not checked for existence.
std::optional<std::filesystem::path> installedShareFolder();

/// The same for a given program file, for callers that already hold the path.
std::filesystem::path installedShareFolder(const std::filesystem::path& program);

}  // namespace vorno
