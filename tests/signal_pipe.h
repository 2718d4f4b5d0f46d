// A pipe one side of a test writes a line to when it has reached a point, and the other side
// waits on: between processes (it survives fork) and between threads. Tests use it instead of
// sleeping, so that what they check happens at a known moment however slow the machine is.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/hang_guard.h"

namespace vorno::testing {

class SignalPipe {
 public:
  SignalPipe() {
    if (::pipe2(ends_, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  }
  ~SignalPipe() {
    for (int fd : ends_)
      if (fd >= 0) ::close(fd);
  }
  SignalPipe(const SignalPipe&) = delete;
  SignalPipe& operator=(const SignalPipe&) = delete;

  /// Writes `line` and a LF. Safe in a forked child; a reader that has gone away is ignored.
  void send(std::string_view line = "") const {
    std::string bytes = std::string(line) + "\n";
    const char* data = bytes.data();
    size_t left = bytes.size();
    while (left > 0) {
      ssize_t n = ::write(ends_[1], data, left);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return;
      data += n;
      left -= static_cast<size_t>(n);
    }
  }

  /// The next line, without its LF; none when every writer has closed its end (a child that
  /// ended without signalling) or nothing came within `guard`.
  std::optional<std::string> receive(std::chrono::milliseconds guard = hangGuard) {
    auto deadline = std::chrono::steady_clock::now() + guard;
    for (;;) {
      if (size_t lf = pending_.find('\n'); lf != std::string::npos) {
        std::string line = pending_.substr(0, lf);
        pending_.erase(0, lf + 1);
        return line;
      }
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return std::nullopt;
      pollfd entry{ends_[0], POLLIN, 0};
      int ready = ::poll(&entry, 1, static_cast<int>(left.count()));
      if (ready < 0 && errno != EINTR) return std::nullopt;
      if (ready <= 0) continue;
      char chunk[4096];
      ssize_t n = ::read(ends_[0], chunk, sizeof chunk);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return std::nullopt;
      pending_.append(chunk, static_cast<size_t>(n));
    }
  }

  /// Whether a line is waiting now, without waiting for one.
  bool hasLine() {
    if (pending_.find('\n') != std::string::npos) return true;
    pollfd entry{ends_[0], POLLIN, 0};
    if (::poll(&entry, 1, 0) <= 0 || !(entry.revents & POLLIN)) return false;
    char chunk[4096];
    ssize_t n = ::read(ends_[0], chunk, sizeof chunk);
    if (n > 0) pending_.append(chunk, static_cast<size_t>(n));
    return pending_.find('\n') != std::string::npos;
  }

  /// After fork: the side that only writes closes its reading end, and the side that only reads
  /// closes its writing end, so that a writer that dies is seen as the end of the pipe.
  void keepOnlyWriting() { closeEnd(0); }
  void keepOnlyReading() { closeEnd(1); }

 private:
  void closeEnd(int end) {
    if (ends_[end] >= 0) ::close(ends_[end]);
    ends_[end] = -1;
  }

  int ends_[2] = {-1, -1};
  std::string pending_;
};

}  // namespace vorno::testing
