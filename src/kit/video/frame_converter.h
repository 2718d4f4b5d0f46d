// FrameConverter: sRGB pictures into the encoder's yuv420p frames with the BT.709 matrix, limited
// range, scaling a picture of another size to the video's. One per video; not thread-safe.
#pragma once

#include "kit/image/image.h"

#include <memory>

struct AVFrame;

namespace vorno {

class FrameConverter {
 public:
  FrameConverter(int width, int height);
  ~FrameConverter();
  FrameConverter(const FrameConverter&) = delete;
  FrameConverter& operator=(const FrameConverter&) = delete;

  /// Fills `frame` (yuv420p, the video's size, writable) from `image`. A picture with alpha is
  /// taken over black: its premultiplied colours are used as they are. False when it can't.
  bool convert(const Image& image, AVFrame* frame);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vorno
