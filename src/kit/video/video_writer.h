// VideoWriter: a series of images into an H.264 MP4, one file per writer, used from one thread.
// High profile with CABAC, a key frame every second at least, an average bit rate of 0.12 bits
// per pixel per frame, BT.709 colour tags, yuv420p, and the index at the front of the file so
// that a browser starts playing before the whole file has arrived.
//
//   VideoWriter writer("/tmp/loop.mp4", 1920, 1080, 30);
//   for (const Image& frame : frames) writer.append(frame);
//   writer.finish();
#pragma once

#include "kit/image/image.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vorno {

struct FileBelow;

class VideoWriter {
 public:
  /// Removes any file at `path` and starts a video of that size and frame rate. Throws
  /// VornoError::io "Can't write a <w>x<h> H.264 video on this machine." when the encoder can't
  /// take that size (yuv420p needs even sides), or "Couldn't start the video: <error>." `path` is
  /// the caller's own: its folder must exist, and is taken as named.
  VideoWriter(std::string path, int width, int height, int fps);
  /// The same at `file` below its base: the folders on the way reached and made as writeFileBelow
  /// reaches them (never through a link; a link or anything but a regular file where the video
  /// goes is refused with its sentences), and the last one held open until finish, so the video
  /// is written and renamed in the folder that was looked at.
  VideoWriter(const FileBelow& file, int width, int height, int fps);
  ~VideoWriter();
  VideoWriter(const VideoWriter&) = delete;
  VideoWriter& operator=(const VideoWriter&) = delete;

  /// The average bit rate asked of the encoder: width × height × fps × 0.12, truncated.
  static int64_t averageBitRate(int width, int height, int fps);

  /// Adds one frame, drawn over the full size (an image of another size is scaled to fit it; one
  /// with alpha is taken over black). Throws VornoError::io "Couldn't add frame <index>: <error>."
  void append(const Image& image);
  /// Writes the rest and puts the file at its path: until then the video is written to a hidden
  /// partial file beside it, so the path never holds half a video. A writer destroyed unfinished
  /// removes its partial file; one whose process was killed leaves it, and the next writer at
  /// that path removes it. Throws VornoError::io "Couldn't finish the video: <error>."
  void finish();

  int framesWritten() const;

 private:
  struct Encoder;
  std::unique_ptr<Encoder> encoder_;
};

}  // namespace vorno
