#include "kit/video/frame_converter.h"

#include "kit/util/thread_pool.h"
#include "kit/video/bt709_rows.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include <algorithm>

namespace vorno {

namespace {

struct ScalerDeleter {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerDeleter>;

struct BufferDeleter {
  void operator()(uint8_t* buffer) const { av_free(buffer); }
};

}  // namespace

struct FrameConverter::State {
  int width = 0, height = 0;
  // A picture of another size is first resampled to the video's size, in its own pixel format,
  // so that every frame goes through the one colour conversion.
  Scaler scaler;
  int scalerWidth = 0, scalerHeight = 0;
  std::unique_ptr<uint8_t, BufferDeleter> resized;
  int resizedStride = 0;
};

FrameConverter::FrameConverter(int width, int height) : state_(std::make_unique<State>()) {
  state_->width = width;
  state_->height = height;
}

FrameConverter::~FrameConverter() = default;

bool FrameConverter::convert(const Image& image, AVFrame* frame) {
  State& s = *state_;
  if (!image || !frame) return false;
  const uint8_t* pixels = image.data();
  int stride = image.stride();
  if (image.width() != s.width || image.height() != s.height) {
    if (!s.scaler || s.scalerWidth != image.width() || s.scalerHeight != image.height()) {
      // Cairo's words are native-endian with alpha (or nothing) on top: AV_PIX_FMT_RGB32.
      s.scaler.reset(sws_getContext(image.width(), image.height(), AV_PIX_FMT_RGB32, s.width, s.height,
                                    AV_PIX_FMT_RGB32, SWS_BICUBIC, nullptr, nullptr, nullptr));
      s.scalerWidth = image.width();
      s.scalerHeight = image.height();
    }
    if (!s.scaler) return false;
    if (!s.resized) {
      // The scaler's vector code writes whole blocks of pixels, past the end of a row whose width
      // isn't a multiple of the block: rows padded to 64 bytes, and room after the last one.
      s.resizedStride = (s.width * 4 + 63) / 64 * 64;
      s.resized.reset(static_cast<uint8_t*>(av_malloc(static_cast<size_t>(s.resizedStride) * s.height + 1024)));
      if (!s.resized) return false;
    }
    const uint8_t* from[4] = {image.data(), nullptr, nullptr, nullptr};
    int fromStrides[4] = {image.stride(), 0, 0, 0};
    uint8_t* to[4] = {s.resized.get(), nullptr, nullptr, nullptr};
    int toStrides[4] = {s.resizedStride, 0, 0, 0};
    if (sws_scale(s.scaler.get(), from, fromStrides, 0, image.height(), to, toStrides) != s.height) return false;
    pixels = s.resized.get();
    stride = s.resizedStride;
  }
  // Premultiplied colours are used as they are: a picture with alpha comes out over black.
  // Bands of whole row pairs are independent, so the pool's threads share a frame.
  uint8_t* const planes[3] = {frame->data[0], frame->data[1], frame->data[2]};
  const int strides[3] = {frame->linesize[0], frame->linesize[1], frame->linesize[2]};
  int bands = static_cast<int>(std::max<size_t>(1, ThreadPool::concurrency()));
  int rowsPerBand = ((s.height + bands - 1) / bands + 1) / 2 * 2;
  ThreadPool::parallelFor(static_cast<size_t>(bands), [&](size_t band) {
    int first = static_cast<int>(band) * rowsPerBand;
    Bt709Rows::toYuv420(pixels, stride, s.width, s.height, first, std::min(s.height, first + rowsPerBand), planes,
                        strides);
  });
  return true;
}

}  // namespace vorno
