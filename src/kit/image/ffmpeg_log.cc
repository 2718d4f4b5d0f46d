#include "kit/image/ffmpeg_log.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <mutex>

namespace vorno {

void quietFFmpegLog() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

std::string ffmpegErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  if (av_strerror(code, text, sizeof text) < 0 || !text[0]) return "unknown error";
  return text;
}

}  // namespace vorno
