#include "kit/image/video_frames.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace vorno {

bool VideoFrames::isRecording(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  if (extension.empty()) return false;
  extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

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

}  // namespace vorno
