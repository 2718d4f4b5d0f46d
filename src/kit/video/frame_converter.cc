#include "kit/video/frame_converter.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <thread>

namespace vorno {

namespace {

// Cairo's pixels are native-endian 32-bit words with alpha (or nothing) in the top byte. Naming
// the top byte padding makes the scaler ignore it: premultiplied colours then come out as the
// picture over black, and opaque pictures as they are.
constexpr AVPixelFormat imagePixelFormat = AV_PIX_FMT_0RGB32;

struct ScalerDeleter {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerDeleter>;

Scaler makeScaler(int fromWidth, int fromHeight, int toWidth, int toHeight) {
  Scaler scaler(sws_alloc_context());
  if (!scaler) return nullptr;
  bool sameSize = fromWidth == toWidth && fromHeight == toHeight;
  // At the same size only the colour planes are halved, which a bilinear filter does as well as
  // any; a picture of another size is resampled with a filter that doesn't alias.
  int64_t flags = sameSize ? SWS_BILINEAR : SWS_BICUBIC;
  int threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  SwsContext* s = scaler.get();
  if (av_opt_set_int(s, "srcw", fromWidth, 0) < 0 || av_opt_set_int(s, "srch", fromHeight, 0) < 0 ||
      av_opt_set_int(s, "src_format", imagePixelFormat, 0) < 0 || av_opt_set_int(s, "dstw", toWidth, 0) < 0 ||
      av_opt_set_int(s, "dsth", toHeight, 0) < 0 || av_opt_set_int(s, "dst_format", AV_PIX_FMT_YUV420P, 0) < 0 ||
      av_opt_set_int(s, "sws_flags", flags, 0) < 0 || av_opt_set_int(s, "threads", threads, 0) < 0)
    return nullptr;
  if (sws_init_context(s, nullptr, nullptr) < 0) return nullptr;
  // sRGB values go through the BT.709 matrix into limited range, as the stream's tags say; the
  // decoder of VideoFrames undoes exactly this.
  const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
  if (sws_setColorspaceDetails(s, bt709, 1, bt709, 0, 0, 1 << 16, 1 << 16) < 0) return nullptr;
  return scaler;
}

void keepPixels(void*, uint8_t*) {}  // the Image owns them

}  // namespace

struct FrameConverter::State {
  int width = 0, height = 0;
  Scaler sameSize;
  Scaler other;
  int otherWidth = 0, otherHeight = 0;
  AVFrame* source = av_frame_alloc();
  ~State() { av_frame_free(&source); }
};

FrameConverter::FrameConverter(int width, int height) : state_(std::make_unique<State>()) {
  state_->width = width;
  state_->height = height;
}

FrameConverter::~FrameConverter() = default;

bool FrameConverter::convert(const Image& image, AVFrame* frame) {
  State& s = *state_;
  if (!image || !s.source) return false;
  int w = image.width(), h = image.height();
  SwsContext* scaler = nullptr;
  if (w == s.width && h == s.height) {
    if (!s.sameSize) s.sameSize = makeScaler(w, h, s.width, s.height);
    scaler = s.sameSize.get();
  } else {
    if (!s.other || s.otherWidth != w || s.otherHeight != h) {
      s.other = makeScaler(w, h, s.width, s.height);
      s.otherWidth = w;
      s.otherHeight = h;
    }
    scaler = s.other.get();
  }
  if (!scaler) return false;
  // The scaler's frame interface takes reference-counted frames and would copy the pixels of one
  // that isn't; a buffer that frees nothing lends it the Image's pixels instead.
  AVFrame* source = s.source;
  source->buf[0] = av_buffer_create(const_cast<uint8_t*>(image.data()), static_cast<size_t>(image.byteCount()),
                                    keepPixels, nullptr, AV_BUFFER_FLAG_READONLY);
  if (!source->buf[0]) return false;
  source->data[0] = const_cast<uint8_t*>(image.data());
  source->linesize[0] = image.stride();
  source->width = w;
  source->height = h;
  source->format = imagePixelFormat;
  int status = sws_scale_frame(scaler, frame, source);
  av_frame_unref(source);
  return status >= 0;
}

}  // namespace vorno
