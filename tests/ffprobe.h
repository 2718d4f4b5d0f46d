// Reads a video back with ffprobe (Debian's ffmpeg package), a reader that shares no code with
// ours, so a test of a written MP4 checks what players will see.
//
//   VideoProbe probe = probeVideo(path);
//   ASSERT_TRUE(probe.error.empty()) << probe.error;
//   EXPECT_EQ(probe.profile, "High");
//   EXPECT_LE(probe.longestKeyFrameGap(), 1.0);
//
// Tests that need it start with `if (!ffprobeAvailable()) GTEST_SKIP() << ...;`; setup.sh
// installs it, so a skip means the machine wasn't set up.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorno::testing {

struct VideoProbe {
  std::string error;  ///< empty when the file was read; otherwise what went wrong
  // The first video stream, in ffprobe's words.
  std::string codec;           ///< "h264"
  std::string profile;         ///< "High"
  std::string pixFmt;          ///< "yuv420p"
  std::string colorPrimaries;  ///< "bt709"
  std::string colorTransfer;   ///< "bt709"
  std::string colorSpace;      ///< "bt709" (the Y'CbCr matrix)
  std::string colorRange;      ///< "tv" for limited range
  int width = 0;
  int height = 0;
  double frameRate = 0;         ///< frames per second, from the stream's rate
  int64_t frameCount = 0;       ///< frames actually decoded (-count_frames)
  double duration = 0;          ///< seconds, the container's
  double streamDuration = 0;    ///< seconds, the video stream's
  std::vector<double> keyFrameTimes;  ///< seconds, in order
  bool moovBeforeMdat = false;  ///< the index ('moov') comes before the media data ('mdat')

  /// The longest stretch without a key frame: between two of them, before the first, or from the
  /// last to the end. At most 1 means a key frame at least every second.
  double longestKeyFrameGap() const;
  /// What differs from the stream the stores take (H.264 High, yuv420p, BT.709 primaries,
  /// transfer and matrix), one "key is value" each, joined by "; "; empty when nothing does.
  std::string storeFormatMismatches() const;
};

/// True when an ffprobe program is on the PATH.
bool ffprobeAvailable();

/// Runs ffprobe on `path` and reads the file's top-level boxes. Never throws; see `error`.
VideoProbe probeVideo(const std::string& path);

/// The order of the file's top-level MPEG-4 boxes ("ftyp", "moov", "mdat", ...); empty when the
/// file can't be read.
std::vector<std::string> topLevelBoxes(const std::string& path);

/// The full path of a program on the PATH; empty when there is none.
std::string findProgram(const std::string& name);

}  // namespace vorno::testing
