// VideoFrames: frames of screen recordings used as pictures. A path of the form
// "<recording>@t=<seconds>" names the frame of a .mov, .mp4 or .m4v at that time; motion
// rendering writes such paths, and the caches send them here instead of to the decoders.
#pragma once

#include "kit/image/image.h"
#include "kit/model/recordings.h"
#include "kit/util/geometry.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vorno {

class VideoFrames {
 public:
  /// Lower-cased extensions of recordings that can stand in for a still.
  static constexpr std::array<std::string_view, 3> extensions = Recordings::extensions;

  /// True when the lower-cased extension of `path` is one of `extensions`.
  static bool isRecording(const std::string& path);
  /// "<path>@t=<seconds>" split into the path and the time; nothing for any other text.
  static std::optional<std::pair<std::string, double>> parse(const std::string& stamp);
  /// The size of the recording's pictures as shown: the video track's size, turned by the
  /// track's rotation. Reads the container's headers only; nothing for an unplayable file.
  static std::optional<Size> pixelSize(const std::string& path);

  /// The picture of the recording at `seconds`, looped over its duration, decoded exactly (not
  /// the nearest key frame) and turned upright by the track's rotation. Decoded frames are kept
  /// in a small LRU cache keyed by path, modification time and time. Safe from any thread.
  /// Throws VornoError: invalid "Not a playable recording: <path>", io "Couldn't read a frame
  /// of the recording: <error>", io "Couldn't convert a frame of the recording."
  static Image frame(const std::string& path, double seconds);
};

}  // namespace vorno
