// Leftovers of atomic writes that a killed export never renamed into place.
#pragma once

#include <filesystem>

namespace vorno {

/// Removes the hidden temporaries ".<name>.<UUID>" beside `file` that an atomic write of `file`
/// left behind when its process died between writing and renaming. Only that exact shape is
/// touched (the name of the file an export is about to write, then a 36-character UUID), so a
/// user's own files never match. Errors are ignored: a leftover is untidy, not wrong.
void removeStaleTemporaries(const std::filesystem::path& file);

}  // namespace vorno
