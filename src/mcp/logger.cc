#include "mcp/logger.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>

namespace vorno::mcp {
namespace {

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

Logger::Sink& installedSink() {
  static Logger::Sink sink;
  return sink;
}

std::atomic<int>& minimumLevel() {
  static std::atomic<int> level{[] {
    const char* debug = std::getenv("VORNO_MCP_DEBUG");
    return static_cast<int>(debug && *debug && std::string_view(debug) != "0" ? Logger::Level::debug
                                                                                : Logger::Level::info);
  }()};
  return level;
}

std::string timestamp() {
  auto now = std::chrono::system_clock::now();
  std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char buffer[40];
  size_t n = std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(buffer + n, sizeof buffer - n, ".%03dZ", static_cast<int>(millis));
  return buffer;
}

// Standard error may share its open file with standard output (a terminal, or "2>&1"), and the
// transport makes that file non-blocking; so a write here waits out EAGAIN instead of losing the
// line or failing.
void writeToStandardError(const std::string& line) {
  const char* data = line.data();
  size_t left = line.size();
  while (left > 0) {
    ssize_t n = ::write(STDERR_FILENO, data, left);
    if (n > 0) {
      data += n;
      left -= static_cast<size_t>(n);
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      pollfd descriptor{STDERR_FILENO, POLLOUT, 0};
      ::poll(&descriptor, 1, 10);
    } else {
      return;  // nowhere left to say it
    }
  }
}

}  // namespace

const char* Logger::name(Level level) {
  switch (level) {
    case Level::debug: return "debug";
    case Level::info: return "info";
    case Level::warning: return "warning";
    case Level::error: return "error";
  }
  return "info";
}

void Logger::log(Level level, std::string_view message) const {
  std::lock_guard lock(sinkMutex());
  if (Sink& sink = installedSink()) {
    try {
      sink(level, label_, message);
    } catch (...) {
      // A diagnostic never fails the work it describes.
    }
    return;
  }
  if (static_cast<int>(level) < minimumLevel().load()) return;
  std::string line = timestamp();
  line += ' ';
  line += name(level);
  line += ' ';
  line += label_;
  line += ": ";
  line += message;
  line += '\n';
  writeToStandardError(line);
}

Logger::Sink Logger::setSink(Sink sink) {
  std::lock_guard lock(sinkMutex());
  Sink previous = std::move(installedSink());
  installedSink() = std::move(sink);
  return previous;
}

void Logger::setMinimumLevel(Level level) { minimumLevel().store(static_cast<int>(level)); }

}  // namespace vorno::mcp
