// Test support: a client at the other end of two pipes, for driving a StdioTransport (and the
// server on it) in-process, and a capture of what the protocol layer logs.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <string>
#include <vector>

#include "mcp/logger.h"
#include "mcp/stdio_transport.h"
#include "mcp/value.h"
#include "tests/hang_guard.h"

namespace vorno::mcp::testing {

class PipeClient {
 public:
  PipeClient() {
    if (::pipe2(toServer_, O_CLOEXEC) != 0 || ::pipe2(fromServer_, O_CLOEXEC) != 0) {
      throw std::runtime_error("pipe failed");
    }
    transport_ = std::make_shared<StdioTransport>(toServer_[0], fromServer_[1]);
  }
  ~PipeClient() {
    transport_->disconnect();
    for (int fd : {toServer_[0], toServer_[1], fromServer_[0], fromServer_[1]}) {
      if (fd >= 0) ::close(fd);
    }
  }
  PipeClient(const PipeClient&) = delete;
  PipeClient& operator=(const PipeClient&) = delete;

  /// The server's end.
  std::shared_ptr<StdioTransport> transport() const { return transport_; }
  int serverInput() const { return toServer_[0]; }
  int serverOutput() const { return fromServer_[1]; }
  /// The end the client reads the server's lines from.
  int clientInput() const { return fromServer_[0]; }

  /// Writes raw bytes to the server's input, all of them (blocking).
  void write(const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
      ssize_t n = ::write(toServer_[1], bytes.data() + done, bytes.size() - done);
      if (n < 0) throw std::runtime_error("write to server failed");
      done += static_cast<size_t>(n);
    }
  }
  void sendLine(const std::string& json) { write(json + "\n"); }

  /// Waits until the server has read every byte written to it so far; false only if that takes
  /// longer than the guard.
  bool waitUntilServerHasRead() const {
    auto guard = std::chrono::steady_clock::now() + ::vorno::testing::hangGuard;
    for (;;) {
      int unread = 0;
      if (::ioctl(toServer_[0], FIONREAD, &unread) != 0) return false;
      if (unread == 0) return true;
      if (std::chrono::steady_clock::now() > guard) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  /// Ends the server's input: the server sees end of file.
  void closeInput() {
    ::close(toServer_[1]);
    toServer_[1] = -1;
  }

  /// The next line the server wrote, without its LF; none if none is whole within `timeout`.
  std::optional<std::string> readLine(std::chrono::milliseconds timeout = ::vorno::testing::hangGuard) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      if (size_t lf = buffer_.find('\n'); lf != std::string::npos) {
        std::string line = buffer_.substr(0, lf);
        buffer_.erase(0, lf + 1);
        return line;
      }
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return std::nullopt;
      pollfd entry{fromServer_[0], POLLIN, 0};
      if (::poll(&entry, 1, static_cast<int>(left.count())) <= 0) continue;
      char chunk[65536];
      ssize_t n = ::read(fromServer_[0], chunk, sizeof chunk);
      if (n <= 0) return std::nullopt;
      buffer_.append(chunk, static_cast<size_t>(n));
    }
  }

  /// A whole line the server has written by now, without waiting for one. A test calls it once
  /// whatever could have been written is known to be written.
  std::optional<std::string> lineWaiting() {
    for (;;) {
      if (size_t lf = buffer_.find('\n'); lf != std::string::npos) {
        std::string line = buffer_.substr(0, lf);
        buffer_.erase(0, lf + 1);
        return line;
      }
      pollfd entry{fromServer_[0], POLLIN, 0};
      if (::poll(&entry, 1, 0) <= 0 || !(entry.revents & POLLIN)) return std::nullopt;
      char chunk[65536];
      ssize_t n = ::read(fromServer_[0], chunk, sizeof chunk);
      if (n <= 0) return std::nullopt;
      buffer_.append(chunk, static_cast<size_t>(n));
    }
  }

  /// The next line read as a Value; fails the caller's expectations by returning null when
  /// there is none or it is no JSON.
  Value readMessage(std::chrono::milliseconds timeout = ::vorno::testing::hangGuard) {
    auto line = readLine(timeout);
    if (!line) return Value();
    auto value = Value::parse(*line);
    return value ? *value : Value();
  }

 private:
  int toServer_[2] = {-1, -1};
  int fromServer_[2] = {-1, -1};
  std::shared_ptr<StdioTransport> transport_;
  std::string buffer_;
};

/// Collects every line the protocol layer logs while it lives, as "label: message".
class LogCapture {
 public:
  LogCapture() {
    previous_ = Logger::setSink([this](Logger::Level, std::string_view label, std::string_view message) {
      std::lock_guard lock(mutex_);
      lines_.push_back(std::string(label) + ": " + std::string(message));
    });
  }
  ~LogCapture() { Logger::setSink(std::move(previous_)); }

  std::vector<std::string> lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  bool contains(std::string_view text) const {
    std::lock_guard lock(mutex_);
    for (const auto& line : lines_) {
      if (line.find(text) != std::string::npos) return true;
    }
    return false;
  }
  /// Waits up to `timeout` for a line holding `text`.
  bool waitFor(std::string_view text, std::chrono::milliseconds timeout = ::vorno::testing::hangGuard) const {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
      if (contains(text)) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return contains(text);
  }

 private:
  Logger::Sink previous_;
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace vorno::mcp::testing
