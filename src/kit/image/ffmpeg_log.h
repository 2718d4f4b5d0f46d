// FFmpeg's libraries print notes and warnings on stderr by default (the encoder's settings and
// statistics, a decoder's complaints about a damaged packet). Every failure reaches the user as a
// VornoError sentence instead, so their own messages are turned off before the first use.
#pragma once

#include <string>

namespace vorno {

/// Silences FFmpeg's log for the process; safe to call from any thread, any number of times.
void quietFFmpegLog();

/// FFmpeg's words for one of its error codes, or "unknown error".
std::string ffmpegErrorText(int code);

}  // namespace vorno
