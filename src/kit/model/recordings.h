// Recordings among a document's paths: the file kinds that can stand where a still picture goes
// (a device's capture, an image element), read a frame at a time when drawn.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace vorno::Recordings {

/// Lower-cased extensions of recordings.
inline constexpr std::array<std::string_view, 3> extensions = {"mov", "mp4", "m4v"};

/// True when the extension of `path`, in any case, is one of `extensions`.
bool isRecording(const std::string& path);

}  // namespace vorno::Recordings
