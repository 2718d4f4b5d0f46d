// RecordingDecoder: one open recording and its video decoder, which gives the exact picture shown
// at a time. Used by one thread at a time; VideoFrames keeps a few per recording so that several
// threads can read one recording at once.
#pragma once

#include "kit/image/image.h"

#include <memory>
#include <string>

namespace vorno {

class RecordingDecoder {
 public:
  /// Opens the file's first video stream; null when it isn't a playable recording.
  static std::unique_ptr<RecordingDecoder> open(const std::string& path);
  ~RecordingDecoder();
  RecordingDecoder(const RecordingDecoder&) = delete;
  RecordingDecoder& operator=(const RecordingDecoder&) = delete;

  /// Seconds from the first picture to the end of the last, always above 0.
  double duration() const;

  /// The picture shown at `seconds` (0 ≤ seconds < duration): the last one that starts at or
  /// before it, turned upright by the track's rotation, opaque. Throws VornoError::io "Couldn't
  /// read a frame of the recording: <error>" or "Couldn't convert a frame of the recording."
  Image frame(double seconds);

  /// How much decoding `frame(seconds)` costs from where this decoder stands, for choosing among
  /// several: 0 when the picture is at hand, the pictures to decode when it is a little ahead,
  /// and a large number when it must seek back to a key frame first.
  double costTo(double seconds) const;

 private:
  RecordingDecoder();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vorno
