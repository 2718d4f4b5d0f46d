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
#include "kit/util/file_descriptor.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

// What no encoder takes, refused before anything is made on disk.
void checkShape(int width, int height, int fps) {
  // yuv420p keeps one colour sample per 2 × 2 pixels, so H.264 in it has even sides only.
  // Rounding a picture the user sized would change what they asked for; saying so is better.
  if (width <= 0 || height <= 0 || width % 2 || height % 2 || width > 16384 || height > 16384)
    throw cantWrite(width, height);
  if (fps <= 0 || fps > 1000)
    throw VornoError::io("Couldn't start the video: " + std::to_string(fps) + " frames a second isn't a frame rate.");
}

// FFmpeg opens its output by name, and opens it again to read it back when it moves the index in
// front of the media data. Both go through this name of the partial file's own descriptor, which
// is that very file whatever becomes of the folder's path meanwhile (moved, or a link put in its
// place): the video is written where the folder was looked at.
std::string nameOfDescriptor(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

}  // namespace

struct VideoWriter::Encoder {
  std::string path;          // for messages
  HeldFolder folder;         // where the video goes, held open from the start
  std::string name;          // the video's name in it
  std::string partialName;   // the hidden file it is written into until finish
  FileDescriptor partial;
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
    // partial file, which the next writer of this video removes.
    if (!finished && !partialName.empty()) ::unlinkat(folder.descriptor.get(), partialName.c_str(), 0);
  }

  void begin(HeldFolder into, const std::string& videoName, int videoWidth, int videoHeight, int videoFPS);
  void startEncoder(const std::string& url);

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
  checkShape(width, height, fps);
  if (path.empty()) throw VornoError::io("Couldn't start the video: it has no file name.");
  std::error_code error;
  if (fs::is_directory(path, error)) throw VornoError::io("Couldn't start the video: " + path + " is a folder.");
  // The caller's own path: its folder is taken as named, links on the way followed.
  const fs::path target(path);
  const fs::path parent = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  FileDescriptor folder(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.valid()) throw VornoError::io("Couldn't start the video: " + errorText(errno) + ".");
  encoder_->begin({std::move(folder), target.parent_path()}, target.filename().string(), width, height, fps);
}

VideoWriter::VideoWriter(const FileBelow& file, int width, int height, int fps)
    : encoder_(std::make_unique<Encoder>()) {
  checkShape(width, height, fps);
  encoder_->begin(openFolderBelow(file.base, file.relative), file.relative.filename().string(), width, height, fps);
}

void VideoWriter::Encoder::begin(HeldFolder into, const std::string& videoName, int videoWidth, int videoHeight,
                                 int videoFPS) {
  folder = std::move(into);
  name = videoName;
  path = (folder.path / name).string();
  width = videoWidth;
  height = videoHeight;
  fps = videoFPS;
  const int at = folder.descriptor.get();
  ::unlinkat(at, name.c_str(), 0);  // an older video goes now; what can't go fails the rename at the end
  PartialFiles::removeStale(at, name);
  partialName = PartialFiles::create(name);
  partial = FileDescriptor(
      ::openat(at, partialName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  if (!partial.valid()) {
    const int failure = errno;
    partialName.clear();
    throw VornoError::io("Couldn't start the video: " + errorText(failure) + ".");
  }
  startEncoder(nameOfDescriptor(partial.get()));
}

void VideoWriter::Encoder::startEncoder(const std::string& url) {
  quietFFmpegLog();
  const AVCodec* h264 = avcodec_find_encoder_by_name("libx264");
  if (!h264) throw cantWrite(width, height);
  if (avformat_alloc_output_context2(&format, nullptr, "mp4", url.c_str()) < 0 || !format)
    throw VornoError::io("Couldn't start the video: unknown error.");
  codec = avcodec_alloc_context3(h264);
  stream = avformat_new_stream(format, nullptr);
  frame = av_frame_alloc();
  packet = av_packet_alloc();
  if (!codec || !stream || !frame || !packet) throw VornoError::io("Couldn't start the video: out of memory.");

  AVCodecContext* c = codec;
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
  if (format->oformat->flags & AVFMT_GLOBALHEADER) c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  av_opt_set(c->priv_data, "preset", encoderPreset, 0);
  av_opt_set(c->priv_data, "profile", "high", 0);
  av_opt_set(c->priv_data, "x264-params", encoderParameters, 0);
  if (avcodec_open2(c, h264, nullptr) < 0) throw cantWrite(width, height);

  stream->time_base = {1, fps};
  stream->avg_frame_rate = {fps, 1};
  if (avcodec_parameters_from_context(stream->codecpar, c) < 0)
    throw VornoError::io("Couldn't start the video: unknown error.");

  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = width;
  frame->height = height;
  int status = av_frame_get_buffer(frame, 0);
  if (status < 0) throw VornoError::io("Couldn't start the video: " + ffmpegErrorText(status) + ".");
  converter = std::make_unique<FrameConverter>(width, height);

  status = avio_open(&format->pb, url.c_str(), AVIO_FLAG_WRITE);
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
  status = avformat_write_header(format, &options);
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
  // Renamed inside the folder held since the start. A rename replaces whatever is at the name
  // (a link included) and never writes through it.
  const int at = e.folder.descriptor.get();
  if (::renameat(at, e.partialName.c_str(), at, e.name.c_str()) != 0)
    throw VornoError::io("Couldn't finish the video: " + errorText(errno) + ".");
  e.finished = true;
}

int VideoWriter::framesWritten() const { return static_cast<int>(encoder_->next); }

}  // namespace vorno
