// PartialFiles: the hidden files a video is written into before it is renamed over its target.
// A process killed while writing leaves one behind; the next writer of that video removes it.
// Both work by name inside a folder the writer holds open, never by path.
#pragma once

#include <string>

namespace vorno::PartialFiles {

/// A fresh name beside the video `name`, ".<name>.partial-<process id>-<counter>": hidden, never
/// taken for the video, and telling which process writes it.
std::string create(const std::string& name);

/// Removes, in the open folder `folder`, the partial files of the video `name` whose process is
/// gone. Those of a live process stay: it may be writing the same video right now.
void removeStale(int folder, const std::string& name);

}  // namespace vorno::PartialFiles
