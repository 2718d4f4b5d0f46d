// How it works: each appended picture is converted on the caller's thread from BGRA to yuv420p
// with the BT.709 matrix (scaled on the way when its size differs from the video's), handed to
// libx264, and every packet the encoder gives back is written to a hidden temporary file beside
// the target. libx264 encodes several frames at once on its own threads, so append() returns long
// before its frame is encoded; when those threads are all busy it waits, which is the back-pressure
// that keeps memory flat. finish() drains the encoder, writes the index, moves it in front of the
// media data (the muxer rewrites the file once for that) and renames the finished file over the
// target, so a reader never finds half a video under the target's name.
#include "kit/video/video_writer.h"

#include "kit/image/ffmpeg_log.h"
#include "kit/video/frame_converter.h"
#include "kit/video/partial_files.h"
#include "kit/util/vorno_error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <thread>

namespace vorno {

namespace {

namespace fs = std::filesystem;

// The encoder's speed sets how long every video export takes, and at 0.12 bits per pixel the
// bit rate, not the effort, decides how the picture looks. Measured on a 3840 × 1646 header
// creative moving as a whole, at that bit rate: "veryfast" costs 71 ms of processor time a frame,
// "superfast" 51 ms, and "ultrafast" with the features below put back 30 ms, all three within
// 0.2 dB of each other (43.5 dB). So: "ultrafast", with CABAC and 8 × 8 transforms (what makes
// the stream High profile), the deblocking filter and two B-frames turned on again.
constexpr const char* encoderPreset = "ultrafast";
constexpr const char* encoderParameters = "cabac=1:8x8dct=1:deblock=1:bframes=2";

std::string sizeText(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

VornoError cantWrite(int width, int height) {
  return VornoError::io("Can't write a " + sizeText(width, height) + " H.264 video on this machine.");
}

}  // namespace

struct VideoWriter::Encoder {
  std::string path;
  fs::path temporary;
  int width = 0, height = 0, fps = 0;
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVStream* stream = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  std::unique_ptr<FrameConverter> converter;
  int64_t next = 0;
  bool finished = false;  // renamed over the target

  ~Encoder() {
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
    if (format) {
      if (format->pb) avio_closep(&format->pb);
      avformat_free_context(format);
    }
    // An unfinished video is of no use to anyone; a process killed before this point leaves its
    // temporary file, which the next writer at this path removes.
    if (!finished && !temporary.empty()) {
      std::error_code ignored;
      fs::remove(temporary, ignored);
    }
  }

  // Hands the encoder's finished packets to the muxer; false with `error` set on failure.
  bool drain(int& error) {
    while (true) {
      int received = avcodec_receive_packet(codec, packet);
      if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return true;
      if (received < 0) {
        error = received;
        return false;
      }
      // Every frame lasts one tick of 1/fps; saying so lets the container count the last frame's
      // time too, so the duration is exactly frames / fps.
      if (packet->duration <= 0) packet->duration = 1;
      av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
      packet->stream_index = stream->index;
      int written = av_interleaved_write_frame(format, packet);
      av_packet_unref(packet);
      if (written < 0) {
        error = written;
        return false;
      }
    }
  }
};

int64_t VideoWriter::averageBitRate(int width, int height, int fps) {
  return static_cast<int64_t>(static_cast<double>(width) * height * fps * 0.12);
}

VideoWriter::VideoWriter(std::string path, int width, int height, int fps) : encoder_(std::make_unique<Encoder>()) {
  Encoder& e = *encoder_;
  e.path = std::move(path);
  e.width = width;
  e.height = height;
  e.fps = fps;
  // yuv420p keeps one colour sample per 2 × 2 pixels, so H.264 in it has even sides only.
  // Rounding a picture the user sized would change what they asked for; saying so is better.
  if (width <= 0 || height <= 0 || width % 2 || height % 2 || width > 16384 || height > 16384)
    throw cantWrite(width, height);
  if (fps <= 0 || fps > 1000)
    throw VornoError::io("Couldn't start the video: " + std::to_string(fps) + " frames a second isn't a frame rate.");

  if (e.path.empty()) throw VornoError::io("Couldn't start the video: it has no file name.");
  std::error_code error;
  if (fs::is_directory(e.path, error))
    throw VornoError::io("Couldn't start the video: " + e.path + " is a folder.");
  fs::remove(e.path, error);
  PartialFiles::removeStale(e.path);
  e.temporary = PartialFiles::create(e.path);

  quietFFmpegLog();
  const AVCodec* h264 = avcodec_find_encoder_by_name("libx264");
  if (!h264) throw cantWrite(width, height);
  if (avformat_alloc_output_context2(&e.format, nullptr, "mp4", e.temporary.c_str()) < 0 || !e.format)
    throw VornoError::io("Couldn't start the video: unknown error.");
  e.codec = avcodec_alloc_context3(h264);
  e.stream = avformat_new_stream(e.format, nullptr);
  e.frame = av_frame_alloc();
  e.packet = av_packet_alloc();
  if (!e.codec || !e.stream || !e.frame || !e.packet) throw VornoError::io("Couldn't start the video: out of memory.");

  AVCodecContext* c = e.codec;
  c->width = width;
  c->height = height;
  c->pix_fmt = AV_PIX_FMT_YUV420P;
  c->time_base = {1, fps};
  c->framerate = {fps, 1};
  c->gop_size = fps;  // a key frame every second at least: players can start anywhere
  c->bit_rate = averageBitRate(width, height, fps);
  c->color_primaries = AVCOL_PRI_BT709;
  c->color_trc = AVCOL_TRC_BT709;
  c->colorspace = AVCOL_SPC_BT709;
  c->color_range = AVCOL_RANGE_MPEG;
  c->thread_count = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  if (e.format->oformat->flags & AVFMT_GLOBALHEADER) c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  av_opt_set(c->priv_data, "preset", encoderPreset, 0);
  av_opt_set(c->priv_data, "profile", "high", 0);
  av_opt_set(c->priv_data, "x264-params", encoderParameters, 0);
  if (avcodec_open2(c, h264, nullptr) < 0) throw cantWrite(width, height);

  e.stream->time_base = {1, fps};
  e.stream->avg_frame_rate = {fps, 1};
  if (avcodec_parameters_from_context(e.stream->codecpar, c) < 0)
    throw VornoError::io("Couldn't start the video: unknown error.");

  e.frame->format = AV_PIX_FMT_YUV420P;
  e.frame->width = width;
  e.frame->height = height;
  int status = av_frame_get_buffer(e.frame, 0);
  if (status < 0) throw VornoError::io("Couldn't start the video: " + ffmpegErrorText(status) + ".");
  e.converter = std::make_unique<FrameConverter>(width, height);

  status = avio_open(&e.format->pb, e.temporary.c_str(), AVIO_FLAG_WRITE);
  if (status < 0) throw VornoError::io("Couldn't start the video: " + ffmpegErrorText(status) + ".");
  AVDictionary* options = nullptr;
  // The index in front of the media data: a browser starts playing before the file has arrived.
  av_dict_set(&options, "movflags", "+faststart", 0);
  // The file's overall duration is kept in its own time scale, 1/1000 s by default, where 1/30 s
  // would round to 0.034. The track's scale (the frame rate doubled up to at least 10000) keeps
  // frames / fps exact there too.
  int timescale = fps;
  while (timescale < 10000) timescale *= 2;
  av_dict_set_int(&options, "movie_timescale", timescale, 0);
  status = avformat_write_header(e.format, &options);
  av_dict_free(&options);
  if (status < 0) throw VornoError::io("Couldn't start the video: " + ffmpegErrorText(status) + ".");
}

VideoWriter::~VideoWriter() = default;

void VideoWriter::append(const Image& image) {
  Encoder& e = *encoder_;
  std::string frameName = "Couldn't add frame " + std::to_string(e.next) + ": ";
  if (e.finished) throw VornoError::io(frameName + "the video is already finished.");
  if (!image) throw VornoError::io(frameName + "the picture is empty.");
  int status = av_frame_make_writable(e.frame);
  if (status < 0) throw VornoError::io(frameName + ffmpegErrorText(status) + ".");
  if (!e.converter->convert(image, e.frame))
    throw VornoError::io(frameName + "the picture couldn't be converted.");
  e.frame->pts = e.next;
  status = avcodec_send_frame(e.codec, e.frame);
  if (status < 0 || !e.drain(status)) throw VornoError::io(frameName + ffmpegErrorText(status) + ".");
  ++e.next;
}

void VideoWriter::finish() {
  Encoder& e = *encoder_;
  if (e.finished) return;
  if (e.next == 0) throw VornoError::io("Couldn't finish the video: it has no frames.");
  int status = avcodec_send_frame(e.codec, nullptr);
  if (status < 0 || !e.drain(status)) throw VornoError::io("Couldn't finish the video: " + ffmpegErrorText(status) + ".");
  status = av_write_trailer(e.format);
  if (status < 0) throw VornoError::io("Couldn't finish the video: " + ffmpegErrorText(status) + ".");
  status = avio_closep(&e.format->pb);
  if (status < 0) throw VornoError::io("Couldn't finish the video: " + ffmpegErrorText(status) + ".");
  std::error_code error;
  fs::rename(e.temporary, e.path, error);
  if (error) throw VornoError::io("Couldn't finish the video: " + error.message() + ".");
  e.finished = true;
}

int VideoWriter::framesWritten() const { return static_cast<int>(encoder_->next); }

}  // namespace vorno
