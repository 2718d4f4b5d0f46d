// The one way vorno reads a whole file: documents, manifests, guides, caches and captures.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vorno {

/// The bytes of the regular file at `path` (a link to one is followed); nothing otherwise, with
/// errno saying why: ENOENT when there is no file, EISDIR for a folder, EINVAL for a named pipe,
/// a device or a socket (which are never read: a pipe with no writer would wait forever), or the
/// error that stopped the reading.
std::optional<std::string> readRegularFile(const std::filesystem::path& path);

/// Words for why readRegularFile gave nothing, from its errno: "it is a named pipe or a device,
/// not a file" for EINVAL, the system's words otherwise.
std::string whyNotRead(int errorNumber);

}  // namespace vorno
