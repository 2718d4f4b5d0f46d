#include "kit/image/ffmpeg_log.h"

extern "C" {
#include <libavutil/log.h>
}

#include <mutex>

namespace vorno {

void quietFFmpegLog() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

}  // namespace vorno
