// How it works: the decoder keeps the last two pictures it decoded, `previous` and `latest`, in
// presentation order. The picture shown at a time is the last one that starts at or before it, so
// once `latest` starts after the time, `previous` is the answer. A later time within a second of
// where the decoder stands is reached by decoding forward; any other time seeks to the key frame
// before it and decodes forward from there. Playing a recording frame by frame therefore decodes
// each picture once, and a jump costs at most one key frame interval of decoding.
#include "kit/image/recording_decoder.h"

#include "kit/image/cairo_util.h"
#include "kit/image/codecs.h"
#include "kit/image/ffmpeg_log.h"
#include "kit/util/vorno_error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vorno {

namespace {

// Times reach us through "%.4f" stamps, so the time meant may be up to half the last digit later
// than the one written: 1/30 s is stamped 0.0333, before the picture that starts at 0.03333.
constexpr double stampSlack = 0.00005;
// Decoding forward up to this far is cheaper than seeking back to a key frame and starting over.
constexpr double forwardLimit = 1.0;
constexpr double seekCost = 1e9;

VornoError readError(const std::string& reason) {
  return VornoError::io("Couldn't read a frame of the recording: " + reason);
}

int64_t timestampOf(const AVFrame* frame) {
  if (frame->best_effort_timestamp != AV_NOPTS_VALUE) return frame->best_effort_timestamp;
  if (frame->pts != AV_NOPTS_VALUE) return frame->pts;
  return frame->pkt_dts;
}

// The matrix the pictures were made with. Untagged recordings follow the usual rule: BT.709 for
// HD sizes, BT.601 below.
int swsColorspace(const AVFrame* frame) {
  switch (frame->colorspace) {
    case AVCOL_SPC_BT709:
      return SWS_CS_ITU709;
    case AVCOL_SPC_FCC:
      return SWS_CS_FCC;
    case AVCOL_SPC_SMPTE240M:
      return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return SWS_CS_BT2020;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
      return SWS_CS_ITU601;
    default:
      return frame->width >= 1280 || frame->height >= 720 ? SWS_CS_ITU709 : SWS_CS_ITU601;
  }
}

bool isFullRange(const AVFrame* frame) {
  switch (frame->format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
      return true;
    default:
      return frame->color_range == AVCOL_RANGE_JPEG;
  }
}

// Clockwise quarter turns, in degrees, that make the stored picture upright. The display matrix
// states the turn counter-clockwise.
int uprightTurn(const AVStream* stream) {
  const uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  if (!matrix) return 0;
  double counterClockwise = av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
  if (!std::isfinite(counterClockwise)) return 0;
  long quarters = std::lround(-counterClockwise / 90.0) % 4;
  return static_cast<int>((quarters + 4) % 4) * 90;
}

// Copies 32-bit pixels of a `width` × `height` picture into `to`, turned clockwise by `turn`.
void turnPixels(const uint8_t* from, int fromStride, int width, int height, int turn, uint8_t* to, int toStride) {
  auto source = [&](int x, int y) { return reinterpret_cast<const uint32_t*>(from + size_t(y) * fromStride)[x]; };
  if (turn == 180) {
    for (int y = 0; y < height; ++y) {
      auto* row = reinterpret_cast<uint32_t*>(to + size_t(height - 1 - y) * toStride);
      for (int x = 0; x < width; ++x) row[width - 1 - x] = source(x, y);
    }
    return;
  }
  // A quarter turn: the output is `height` wide. Clockwise, row y of the source becomes column
  // height-1-y; counter-clockwise, column x of the source becomes row width-1-x.
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      int toX = turn == 90 ? height - 1 - y : y;
      int toY = turn == 90 ? x : width - 1 - x;
      reinterpret_cast<uint32_t*>(to + size_t(toY) * toStride)[toX] = source(x, y);
    }
}

struct SurfaceDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;

Surface opaqueSurface(int width, int height) {
  Surface surface(newImageSurface(CAIRO_FORMAT_RGB24, width, height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return nullptr;
  cairo_surface_flush(surface.get());
  return surface;
}

// The scaler's vector code writes whole blocks of pixels, past the end of a row whose width isn't
// a multiple of the block: rows it writes are padded to 64 bytes, with room to spare after the
// last one.
constexpr size_t scalerSlack = 1024;
int paddedStride(int width) { return (width * 4 + 63) / 64 * 64; }

struct PixelsDeleter {
  void operator()(uint8_t* pixels) const { av_free(pixels); }
};
using Pixels = std::unique_ptr<uint8_t, PixelsDeleter>;

Pixels scalerPixels(int width, int height) {
  return Pixels(static_cast<uint8_t*>(av_malloc(static_cast<size_t>(paddedStride(width)) * height + scalerSlack)));
}

cairo_user_data_key_t pixelsKey;

// An opaque surface over `pixels`, which it frees when the last Image of it goes.
Surface surfaceOwning(Pixels pixels, int width, int height) {
  Surface surface(cairo_image_surface_create_for_data(pixels.get(), CAIRO_FORMAT_RGB24, width, height,
                                                      paddedStride(width)));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return nullptr;
  if (cairo_surface_set_user_data(surface.get(), &pixelsKey, pixels.get(), av_free) != CAIRO_STATUS_SUCCESS)
    return nullptr;
  pixels.release();
  return surface;
}

}  // namespace

struct RecordingDecoder::State {
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVStream* stream = nullptr;
  AVPacket* packet = av_packet_alloc();
  AVFrame* previous = av_frame_alloc();
  AVFrame* latest = av_frame_alloc();
  bool havePrevious = false, haveLatest = false;
  bool draining = false;  // the end of the file was handed to the decoder
  bool atEnd = false;     // and the decoder has given its last picture, which `latest` holds
  int64_t start = 0;      // the first time of the stream, in its time base
  double duration = 0;
  int turn = 0;
  SwsContext* scaler = nullptr;
  Pixels scratch;
  int scratchWidth = 0, scratchHeight = 0;

  ~State() {
    sws_freeContext(scaler);
    av_frame_free(&latest);
    av_frame_free(&previous);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
    avformat_close_input(&format);
  }

  double seconds(int64_t timestamp) const { return static_cast<double>(timestamp - start) * av_q2d(stream->time_base); }
  int64_t timestamp(double time) const {
    AVRational base = stream->time_base;
    return start + static_cast<int64_t>(std::floor((time + stampSlack) * base.den / base.num + 1e-9));
  }

  // The next picture into `out`: 0, AVERROR_EOF after the last one, or another error.
  int receive(AVFrame* out) {
    while (true) {
      int received = avcodec_receive_frame(codec, out);
      if (received != AVERROR(EAGAIN)) return received;
      if (draining) return AVERROR_EOF;
      int read = av_read_frame(format, packet);
      if (read == AVERROR_EOF) {
        draining = true;
        avcodec_send_packet(codec, nullptr);
        continue;
      }
      if (read < 0) return read;
      if (packet->stream_index == stream->index) {
        int sent = avcodec_send_packet(codec, packet);
        // A damaged packet spoils a picture or two, as in any player, until the next key frame.
        if (sent < 0 && sent != AVERROR(EAGAIN) && sent != AVERROR_INVALIDDATA) {
          av_packet_unref(packet);
          return sent;
        }
      }
      av_packet_unref(packet);
    }
  }

  // Decodes one picture further: `latest` moves to `previous`. False at the end, when `latest`
  // stays the last picture.
  bool step() {
    if (atEnd) return false;
    std::swap(previous, latest);
    std::swap(havePrevious, haveLatest);
    av_frame_unref(latest);
    haveLatest = false;
    int received = receive(latest);
    if (received == AVERROR_EOF) {
      std::swap(previous, latest);
      std::swap(havePrevious, haveLatest);
      havePrevious = false;
      atEnd = true;
      if (!haveLatest) throw readError("the recording has no pictures");
      return false;
    }
    if (received < 0) throw readError(ffmpegErrorText(received));
    haveLatest = true;
    return true;
  }

  void seek(int64_t target) {
    int status = av_seek_frame(format, stream->index, std::max(target, start), AVSEEK_FLAG_BACKWARD);
    if (status < 0) status = av_seek_frame(format, stream->index, start, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    if (status < 0) throw readError(ffmpegErrorText(status));
    avcodec_flush_buffers(codec);
    av_frame_unref(previous);
    av_frame_unref(latest);
    havePrevious = haveLatest = draining = atEnd = false;
  }

  // Seeks so that the first picture decoded starts at or before `target`. The container finds
  // key frames by decoding time, which runs ahead of presentation when pictures are reordered,
  // so the key frame found may show after the target: then it seeks a second further back.
  void seekBefore(int64_t target) {
    int64_t from = target;
    int64_t second = std::max<int64_t>(1, av_rescale_q(1, {1, 1}, stream->time_base));
    for (int attempt = 0;; ++attempt) {
      seek(from);
      step();
      int64_t first = timestampOf(latest);
      if (first <= target || from <= start || attempt == 3) return;
      from = std::min(from, first) - second;
    }
  }

  // The picture shown at `target`, decoding forward from where the decoder stands.
  const AVFrame* advance(int64_t target) {
    while (true) {
      if (haveLatest && timestampOf(latest) > target) return havePrevious ? previous : latest;
      if (!step()) return latest;
    }
  }

  Image convert(const AVFrame* frame) {
    int width = frame->width, height = frame->height;
    scaler = sws_getCachedContext(scaler, width, height, static_cast<AVPixelFormat>(frame->format), width, height,
                                  AV_PIX_FMT_RGB32, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
    if (!scaler) return {};
    // Set for every frame: a recording may change its tags midway, and setting them is cheap.
    const int* coefficients = sws_getCoefficients(swsColorspace(frame));
    sws_setColorspaceDetails(scaler, coefficients, isFullRange(frame), coefficients, 1, 0, 1 << 16, 1 << 16);
    // Turned pictures are converted into scratch pixels kept for the next frame; upright ones
    // straight into the pixels of the new Image.
    Pixels converted;
    uint8_t* into = nullptr;
    if (turn) {
      if (!scratch || scratchWidth != width || scratchHeight != height) {
        scratch = scalerPixels(width, height);
        scratchWidth = width;
        scratchHeight = height;
      }
      into = scratch.get();
    } else {
      converted = scalerPixels(width, height);
      into = converted.get();
    }
    if (!into) return {};
    uint8_t* planes[4] = {into, nullptr, nullptr, nullptr};
    int strides[4] = {paddedStride(width), 0, 0, 0};
    if (sws_scale(scaler, frame->data, frame->linesize, 0, height, planes, strides) != height) return {};
    Surface upright;
    if (turn) {
      upright = turn % 180 ? opaqueSurface(height, width) : opaqueSurface(width, height);
      if (!upright) return {};
      turnPixels(into, strides[0], width, height, turn, cairo_image_surface_get_data(upright.get()),
                 cairo_image_surface_get_stride(upright.get()));
    } else {
      upright = surfaceOwning(std::move(converted), width, height);
      if (!upright) return {};
    }
    cairo_surface_mark_dirty(upright.get());
    return Image::adopt(upright.release());
  }
};

RecordingDecoder::RecordingDecoder() : state_(std::make_unique<State>()) {}
RecordingDecoder::~RecordingDecoder() = default;

std::unique_ptr<RecordingDecoder> RecordingDecoder::open(const std::string& path) {
  quietFFmpegLog();
  // FFmpeg would wait on a pipe with no writer, or read a device without end.
  if (!codecs::isRegularFile(path)) return nullptr;
  std::unique_ptr<RecordingDecoder> decoder(new RecordingDecoder());
  State& s = *decoder->state_;
  if (!s.packet || !s.previous || !s.latest) return nullptr;
  if (avformat_open_input(&s.format, path.c_str(), nullptr, nullptr) != 0) return nullptr;
  if (avformat_find_stream_info(s.format, nullptr) < 0) return nullptr;
  const AVCodec* video = nullptr;
  int index = av_find_best_stream(s.format, AVMEDIA_TYPE_VIDEO, -1, -1, &video, 0);
  if (index < 0 || !video) return nullptr;
  s.stream = s.format->streams[index];
  // Other streams (sound, timecode) are never read.
  for (unsigned i = 0; i < s.format->nb_streams; ++i)
    if (static_cast<int>(i) != index) s.format->streams[i]->discard = AVDISCARD_ALL;
  s.codec = avcodec_alloc_context3(video);
  if (!s.codec || avcodec_parameters_to_context(s.codec, s.stream->codecpar) < 0) return nullptr;
  s.codec->pkt_timebase = s.stream->time_base;
  // One thread per decoder: callers read a recording from several threads, each with a decoder
  // of its own, and a frame-threaded decoder would hold back pictures it has already decoded.
  s.codec->thread_count = 1;
  if (avcodec_open2(s.codec, video, nullptr) < 0) return nullptr;
  if (s.stream->start_time != AV_NOPTS_VALUE) s.start = s.stream->start_time;
  if (s.stream->duration > 0)
    s.duration = static_cast<double>(s.stream->duration) * av_q2d(s.stream->time_base);
  else if (s.format->duration > 0)
    s.duration = static_cast<double>(s.format->duration) / AV_TIME_BASE;
  if (!(s.duration > 0) || !std::isfinite(s.duration)) return nullptr;
  s.turn = uprightTurn(s.stream);
  return decoder;
}

double RecordingDecoder::duration() const { return state_->duration; }

double RecordingDecoder::costTo(double seconds) const {
  const State& s = *state_;
  if (!s.haveLatest) return seekCost;
  int64_t target = s.timestamp(seconds);
  int64_t latest = timestampOf(s.latest);
  if (latest <= target) {
    if (s.atEnd) return 0;
    double ahead = s.seconds(target) - s.seconds(latest);
    return ahead <= forwardLimit ? ahead + 1e-6 : seekCost;
  }
  return s.havePrevious && timestampOf(s.previous) <= target ? 0 : seekCost;
}

Image RecordingDecoder::frame(double seconds) {
  State& s = *state_;
  int64_t target = s.timestamp(seconds);
  if (costTo(seconds) >= seekCost) s.seekBefore(target);
  Image image = s.convert(s.advance(target));
  if (!image) throw VornoError::io("Couldn't convert a frame of the recording.");
  return image;
}

}  // namespace vorno
