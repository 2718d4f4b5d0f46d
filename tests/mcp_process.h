// Test support: `vorno mcp` as a child process on two pipes, the way an agent's host runs it.
// Every line it writes to standard output is checked to be one JSON message: nothing else may
// reach the protocol's stream.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "mcp/value.h"
#include "tests/hang_guard.h"

namespace vorno::testing {

class MCPProcess {
 public:
  pid_t pid() const { return pid_; }
  /// Starts `vorno mcp` in `directory`; its standard error goes to `errorLog` (or nowhere), and
  /// `environment` ("NAME=value") is added to what it inherits. `program` is the vorno to run:
  /// the build's own unless a test installed one elsewhere. `inChild` runs in the child just
  /// before exec (a test's seccomp filter); it may only make system calls.
  explicit MCPProcess(const std::string& directory, const std::string& errorLog = "/dev/null",
                      const std::vector<std::string>& environment = {},
                      const std::string& program = VORNO_BINARY, const std::function<void()>& inChild = {}) {
    int input[2], output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ == 0) {
      ::dup2(input[0], 0);
      ::dup2(output[1], 1);
      int error = ::open(errorLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      if (error >= 0) ::dup2(error, 2);
      if (::chdir(directory.c_str()) != 0) ::_exit(126);
      for (const std::string& variable : environment) ::putenv(const_cast<char*>(variable.c_str()));
      if (inChild) inChild();
      ::execl(program.c_str(), program.c_str(), "mcp", static_cast<char*>(nullptr));
      ::_exit(127);
    }
    ::close(input[0]);
    ::close(output[1]);
    toServer_ = input[1];
    fromServer_ = output[0];
    ::signal(SIGPIPE, SIG_IGN);
  }

  ~MCPProcess() {
    closeInput();
    if (fromServer_ >= 0) ::close(fromServer_);
    if (pid_ > 0 && !exitStatus_) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
  }

  MCPProcess(const MCPProcess&) = delete;
  MCPProcess& operator=(const MCPProcess&) = delete;

  void write(const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
      ssize_t n = ::write(toServer_, bytes.data() + done, bytes.size() - done);
      if (n < 0) throw std::runtime_error("write to vorno mcp failed");
      done += static_cast<size_t>(n);
    }
  }
  void sendLine(const std::string& json) { write(json + "\n"); }

  void closeInput() {
    if (toServer_ >= 0) ::close(toServer_);
    toServer_ = -1;
  }

  /// The next message, or null when none came in time or the output ended. A line that is no
  /// JSON fails the test run loudly: it would break every client.
  mcp::Value readMessage(std::chrono::milliseconds timeout = hangGuard) {
    auto line = readLine(timeout);
    if (!line) return mcp::Value();
    auto value = mcp::Value::parse(*line);
    if (!value) throw std::runtime_error("vorno mcp wrote a line that is no JSON: " + line->substr(0, 200));
    return *value;
  }

  /// The next message that answers `id` (notifications and other answers are skipped).
  mcp::Value answerTo(int64_t id, std::chrono::milliseconds timeout = hangGuard) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return mcp::Value();
      mcp::Value message = readMessage(left);
      if (message.isNull()) return message;
      if (const mcp::Value* given = message.find("id"); given && given->intValue() == id) return message;
      skipped.push_back(message);
    }
  }

  /// A message written by now, without waiting for one; null when there is none.
  mcp::Value messageWaiting() {
    auto line = readLine(std::chrono::milliseconds(0));
    if (!line) return mcp::Value();
    auto value = mcp::Value::parse(*line);
    if (!value) throw std::runtime_error("vorno mcp wrote a line that is no JSON: " + line->substr(0, 200));
    return *value;
  }

  /// Waits for the process to end; its exit status, or none if it didn't end in time. With no
  /// time at all it only looks.
  std::optional<int> waitForExit(std::chrono::milliseconds timeout = hangGuard) {
    if (exitStatus_) return exitStatus_;
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      int status = 0;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return exitStatus_;
      }
      if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
      ::usleep(1000);
    }
  }

  /// Messages `answerTo` passed over, in order.
  std::vector<mcp::Value> skipped;

 private:
  std::optional<std::string> readLine(std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      if (size_t lf = buffer_.find('\n'); lf != std::string::npos) {
        std::string line = buffer_.substr(0, lf);
        buffer_.erase(0, lf + 1);
        return line;
      }
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      pollfd entry{fromServer_, POLLIN, 0};
      if (::poll(&entry, 1, static_cast<int>(std::max<int64_t>(left.count(), 0))) <= 0) {
        if (left.count() <= 0) return std::nullopt;
        continue;
      }
      char chunk[65536];
      ssize_t n = ::read(fromServer_, chunk, sizeof chunk);
      if (n <= 0) return std::nullopt;
      buffer_.append(chunk, static_cast<size_t>(n));
    }
  }

  pid_t pid_ = -1;
  int toServer_ = -1;
  int fromServer_ = -1;
  std::string buffer_;
  std::optional<int> exitStatus_;
};

}  // namespace vorno::testing
