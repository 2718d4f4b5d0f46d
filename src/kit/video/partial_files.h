// PartialFiles: the hidden files a video is written into before it is renamed over its target.
// A process killed while writing leaves one behind; the next writer at that path removes it.
#pragma once

#include <filesystem>

namespace vorno::PartialFiles {

/// A fresh name beside `target`, ".<name>.partial-<process id>-<counter>": hidden, never taken for
/// the target, and telling which process writes it.
std::filesystem::path create(const std::filesystem::path& target);

/// Removes the partial files of `target` whose process is gone. Those of a live process stay: it
/// may be writing the same video right now.
void removeStale(const std::filesystem::path& target);

}  // namespace vorno::PartialFiles
