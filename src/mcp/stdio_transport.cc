#include "mcp/stdio_transport.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>
#include <vector>

#include "mcp/mcp_error.h"

namespace vorno::mcp {
namespace {

constexpr size_t kReadSize = 4096;
constexpr int kPollMilliseconds = 10;

std::string errorText(int error) { return std::error_code(error, std::system_category()).message(); }

bool wouldBlock(int error) { return error == EAGAIN || error == EWOULDBLOCK; }

}  // namespace

StdioTransport::StdioTransport(int input, int output, bool ownsOutput)
    : input_(input), output_(output), ownsOutput_(ownsOutput) {}

StdioTransport::~StdioTransport() {
  disconnect();
  if (ownsOutput_) ::close(output_);
}

std::shared_ptr<StdioTransport> StdioTransport::standardStreams() {
  std::fflush(stdout);
  int protocolOutput = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  if (protocolOutput < 0) return std::make_shared<StdioTransport>(STDIN_FILENO, STDOUT_FILENO);
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  return std::make_shared<StdioTransport>(STDIN_FILENO, protocolOutput, /*ownsOutput=*/true);
}

void StdioTransport::connect() {
  std::lock_guard lock(stateMutex_);
  if (connected_) return;
  // A client that goes away while we answer must give us EPIPE, a failure we can report, and not
  // the signal that ends the process.
  std::signal(SIGPIPE, SIG_IGN);
  int inputFlags = ::fcntl(input_, F_GETFL);
  int outputFlags = ::fcntl(output_, F_GETFL);
  if (inputFlags < 0 || outputFlags < 0) throw MCPError::transportError(errorText(errno));
  if (::fcntl(input_, F_SETFL, inputFlags | O_NONBLOCK) < 0 ||
      ::fcntl(output_, F_SETFL, outputFlags | O_NONBLOCK) < 0) {
    int error = errno;
    ::fcntl(input_, F_SETFL, inputFlags);
    throw MCPError::transportError(errorText(error));
  }
  inputFlags_ = inputFlags;
  outputFlags_ = outputFlags;
  connected_ = true;
  finished_ = false;
  queue_.clear();
  reader_ = std::jthread([this](std::stop_token stop) { readLoop(stop); });
}

void StdioTransport::disconnect() {
  {
    std::lock_guard lock(stateMutex_);
    if (!connected_ && !reader_.joinable()) return;
    connected_ = false;
  }
  if (reader_.joinable()) {
    reader_.request_stop();
    reader_.join();
  }
  {
    std::lock_guard lock(stateMutex_);
    queue_.clear();
    finished_ = true;
  }
  received_.notify_all();
  // A send in progress sees the disconnect at its next wait and gives up; only then are the
  // descriptors made blocking again, so no writer can hang on them.
  std::lock_guard writing(writeMutex_);
  if (inputFlags_ >= 0) ::fcntl(input_, F_SETFL, inputFlags_);
  if (outputFlags_ >= 0) ::fcntl(output_, F_SETFL, outputFlags_);
  inputFlags_ = outputFlags_ = -1;
}

bool StdioTransport::isConnected() const {
  std::lock_guard lock(stateMutex_);
  return connected_;
}

void StdioTransport::waitFor(int descriptor, short events) {
  pollfd entry{descriptor, events, 0};
  ::poll(&entry, 1, kPollMilliseconds);
}

void StdioTransport::readLoop(std::stop_token stop) {
  char buffer[kReadSize];
  std::string pending;
  while (!stop.stop_requested() && isConnected()) {
    ssize_t n = ::read(input_, buffer, sizeof buffer);
    if (n > 0) {
      // Only the bytes just read can hold a new LF: a line of 20 MB is scanned once, not once
      // per read.
      size_t scanFrom = pending.size();
      pending.append(buffer, static_cast<size_t>(n));
      searched_ += pending.size() - scanFrom;
      size_t start = 0;
      std::vector<std::string> messages;
      for (size_t lf = pending.find('\n', scanFrom); lf != std::string::npos; lf = pending.find('\n', start)) {
        if (lf > start) messages.emplace_back(pending, start, lf - start);
        start = lf + 1;
      }
      if (start > 0) pending.erase(0, start);
      if (!messages.empty()) {
        {
          std::lock_guard lock(stateMutex_);
          for (auto& message : messages) queue_.push_back(std::move(message));
        }
        received_.notify_all();
      }
    } else if (n == 0) {
      logger_.info("EOF received");
      break;
    } else if (errno == EINTR) {
      continue;
    } else if (wouldBlock(errno)) {
      waitFor(input_, POLLIN);
    } else {
      if (!stop.stop_requested()) logger_.error("Read error occurred: " + errorText(errno));
      break;
    }
  }
  if (!pending.empty()) logger_.debug("Dropped " + std::to_string(pending.size()) + " bytes without a final LF");
  finishStream();
}

void StdioTransport::finishStream() {
  {
    std::lock_guard lock(stateMutex_);
    finished_ = true;
  }
  received_.notify_all();
}

std::optional<std::string> StdioTransport::receive() {
  std::unique_lock lock(stateMutex_);
  received_.wait(lock, [&] { return !queue_.empty() || finished_; });
  if (queue_.empty()) return std::nullopt;
  std::string message = std::move(queue_.front());
  queue_.pop_front();
  return message;
}

void StdioTransport::send(std::string message) {
  message.push_back('\n');
  std::lock_guard writing(writeMutex_);
  if (!isConnected()) throw MCPError::connectionClosed();
  const char* data = message.data();
  size_t left = message.size();
  while (left > 0) {
    ssize_t n = ::write(output_, data, left);
    if (n > 0) {
      data += n;
      left -= static_cast<size_t>(n);
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else if (n < 0 && wouldBlock(errno)) {
      if (!isConnected()) throw MCPError::connectionClosed();
      waitFor(output_, POLLOUT);
    } else {
      throw MCPError::transportError(n < 0 ? errorText(errno) : "write returned 0");
    }
  }
}

}  // namespace vorno::mcp
