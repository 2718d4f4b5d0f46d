// How it works: the shared instance keeps, per recording, its modification time and duration; a
// few decoders not in use, whichever recording they read; and an LRU cache of decoded pictures.
// Its lock is held only to look these up: a caller borrows a decoder (the one of that recording
// that stands closest before the time asked, or a new one), decodes outside the lock, and gives
// it back. Threads that read one recording at once each get a decoder of their own, and playing
// a recording in order decodes each picture once.
#include "kit/image/video_frames.h"

#include "kit/model/recordings.h"

#include "kit/image/codecs.h"
#include "kit/image/ffmpeg_log.h"
#include "kit/image/images.h"
#include "kit/image/recording_decoder.h"
#include "kit/util/format.h"
#include "kit/util/lru_cache.h"
#include "kit/util/vorno_error.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vorno {

namespace {

// Decoded pictures kept: a phone recording's picture is about 12 MB, so this holds a few seconds
// of a slow-moving creative's device while bounding what an export keeps resident.
constexpr int64_t frameCacheBytes = 134217728;  // 128 MiB
constexpr int64_t frameCacheCount = 64;
// Idle decoders kept, across all recordings: one for each thread that renders frames at once.
// Each holds an open file and its reference pictures, so a long-running server keeps only a few.
size_t idleDecodersKept() { return std::max(4u, std::thread::hardware_concurrency()); }

struct Recording {
  double mtime = 0;
  double duration = 0;
};

struct IdleDecoder {
  std::string path;
  double mtime = 0;
  std::unique_ptr<RecordingDecoder> decoder;
};

struct Frames {
  std::mutex lock;
  std::map<std::string, Recording> recordings;
  std::list<IdleDecoder> idle;  // least recently given back first
  LRUCache<std::string, Image> pictures{frameCacheCount, frameCacheBytes};

  static Frames& shared() {
    static Frames frames;
    return frames;
  }

  // A decoder for `path` at `mtime` positioned well for `seconds`, taken out of the idle ones;
  // null when a new one must be opened.
  std::unique_ptr<RecordingDecoder> borrow(const std::string& path, double mtime, double seconds) {
    std::lock_guard guard(lock);
    auto best = idle.end();
    double bestCost = 0;
    for (auto it = idle.begin(); it != idle.end(); ++it) {
      if (it->path != path || it->mtime != mtime) continue;
      double cost = it->decoder->costTo(seconds);
      if (best == idle.end() || cost < bestCost) {
        best = it;
        bestCost = cost;
      }
    }
    if (best == idle.end()) return nullptr;
    std::unique_ptr<RecordingDecoder> decoder = std::move(best->decoder);
    idle.erase(best);
    return decoder;
  }

  // Keeps `decoder` for later use and remembers the recording's duration. Decoders of an older
  // version of the file, and the least recently used beyond the limit, are closed, outside the
  // lock.
  void giveBack(const std::string& path, double mtime, std::unique_ptr<RecordingDecoder> decoder) {
    std::vector<std::unique_ptr<RecordingDecoder>> closing;
    {
      std::lock_guard guard(lock);
      Recording& recording = recordings[path];
      if (recording.mtime != mtime) {
        recording.mtime = mtime;
        recording.duration = decoder->duration();
        for (auto it = idle.begin(); it != idle.end();) {
          if (it->path == path && it->mtime != mtime) {
            closing.push_back(std::move(it->decoder));
            it = idle.erase(it);
          } else {
            ++it;
          }
        }
      }
      idle.push_back({path, mtime, std::move(decoder)});
      while (idle.size() > idleDecodersKept()) {
        closing.push_back(std::move(idle.front().decoder));
        idle.pop_front();
      }
    }
  }

  std::optional<double> duration(const std::string& path, double mtime) {
    std::lock_guard guard(lock);
    auto found = recordings.find(path);
    if (found == recordings.end() || found->second.mtime != mtime) return std::nullopt;
    return found->second.duration;
  }
};

// `seconds` within the loop of `duration`: negative times count back from the end.
double looped(double seconds, double duration) {
  if (!std::isfinite(seconds)) return 0;
  double time = std::fmod(seconds, duration);
  if (time < 0) time += duration;
  return time < duration ? time : 0;
}

}  // namespace

bool VideoFrames::isRecording(const std::string& path) { return Recordings::isRecording(path); }

std::optional<std::pair<std::string, double>> VideoFrames::parse(const std::string& stamp) {
  // The last marker counts: a folder may contain "@t=" but the time is always at the end.
  size_t at = stamp.rfind("@t=");
  if (at == std::string::npos || at == 0) return std::nullopt;
  std::string time = stamp.substr(at + 3);
  if (time.empty() || std::isspace(static_cast<unsigned char>(time[0]))) return std::nullopt;
  char* end = nullptr;
  double seconds = std::strtod(time.c_str(), &end);
  if (end != time.c_str() + time.size() || !std::isfinite(seconds)) return std::nullopt;
  return std::make_pair(stamp.substr(0, at), seconds);
}

std::optional<Size> VideoFrames::pixelSize(const std::string& path) {
  quietFFmpegLog();
  if (!codecs::isRegularFile(path)) return std::nullopt;  // a pipe or device would hold FFmpeg
  AVFormatContext* format = nullptr;
  if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) != 0) return std::nullopt;
  std::unique_ptr<AVFormatContext*, void (*)(AVFormatContext**)> closer(&format, &avformat_close_input);
  // MPEG-4 and QuickTime files carry the size in the track header; probing packets is only
  // needed for the rare stream that left it out.
  int index = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return std::nullopt;
  AVStream* stream = format->streams[index];
  if (stream->codecpar->width <= 0 || stream->codecpar->height <= 0) {
    if (avformat_find_stream_info(format, nullptr) < 0) return std::nullopt;
  }
  double width = stream->codecpar->width, height = stream->codecpar->height;
  if (!(width > 0) || !(height > 0)) return std::nullopt;
  // A phone recording held upright is often stored on its side with a 90-degree matrix.
  if (const uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr)) {
    double rotation = av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
    if (std::isfinite(rotation) && std::lround(std::fabs(rotation)) % 180 == 90) std::swap(width, height);
  }
  return Size{width, height};
}

Image VideoFrames::frame(const std::string& path, double seconds) {
  Frames& frames = Frames::shared();
  std::optional<double> mtime = Images::modificationTime(path);
  if (!mtime) throw VornoError::invalid("Not a playable recording: " + path);
  // The duration is known once a decoder has been opened; the first call opens one to learn it.
  std::unique_ptr<RecordingDecoder> decoder;
  std::optional<double> duration = frames.duration(path, *mtime);
  if (!duration) {
    decoder = RecordingDecoder::open(path);
    if (!decoder) throw VornoError::invalid("Not a playable recording: " + path);
    duration = decoder->duration();
  }
  double time = looped(seconds, *duration);
  std::string key = formatted("%s|%.6f|%.4f", path.c_str(), *mtime, time);
  std::optional<Image> cached;
  {
    std::lock_guard guard(frames.lock);
    cached = frames.pictures.value(key);
  }
  if (cached) {
    if (decoder) frames.giveBack(path, *mtime, std::move(decoder));
    return *cached;
  }
  if (!decoder) decoder = frames.borrow(path, *mtime, time);
  if (!decoder) decoder = RecordingDecoder::open(path);
  if (!decoder) throw VornoError::invalid("Not a playable recording: " + path);
  // A decoder that failed is dropped: its position is unknown.
  Image picture = decoder->frame(time);
  frames.giveBack(path, *mtime, std::move(decoder));
  std::lock_guard guard(frames.lock);
  frames.pictures.setValue(picture, key, picture.byteCount());
  return picture;
}

}  // namespace vorno
