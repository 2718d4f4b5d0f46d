#include "mcp/stdio_transport.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>
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
  overlong_.reset();
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
    if (!waitForRoom(stop)) break;
    ssize_t n = ::read(input_, buffer, sizeof buffer);
    if (n > 0) {
      searched_ += static_cast<uint64_t>(n);
      queue(cutLines(std::string_view(buffer, static_cast<size_t>(n)), pending));
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
  uint64_t dropped = overlong_ ? overlong_->length : pending.size();
  if (dropped > 0) logger_.debug("Dropped " + std::to_string(dropped) + " bytes without a final LF");
  finishStream();
}

// Only the bytes just read are searched for a LF, so a line of 20 MB is scanned once, not once per
// read; and a line past the limit stops growing `pending` at the limit.
std::vector<Received> StdioTransport::cutLines(std::string_view bytes, std::string& pending) {
  std::vector<Received> lines;
  while (!bytes.empty()) {
    size_t lf = bytes.find('\n');
    std::string_view piece = bytes.substr(0, lf);
    if (overlong_) {
      overlong_->length += piece.size();
    } else {
      pending.append(piece);
      if (pending.size() > kMaxMessageBytes) {
        overlong_ = Received{pending.substr(0, kKeptHeadBytes), pending.size()};
        pending = std::string();
      }
    }
    if (lf == std::string_view::npos) break;
    if (overlong_) {
      lines.push_back(std::move(*overlong_));
      overlong_.reset();
    } else if (!pending.empty()) {
      lines.push_back(Received::whole(std::exchange(pending, std::string())));
    }
    bytes.remove_prefix(lf + 1);
  }
  return lines;
}

void StdioTransport::queue(std::vector<Received> messages) {
  if (messages.empty()) return;
  {
    std::lock_guard lock(stateMutex_);
    for (auto& message : messages) queue_.push_back(std::move(message));
  }
  received_.notify_all();
}

bool StdioTransport::waitForRoom(const std::stop_token& stop) {
  std::unique_lock lock(stateMutex_);
  if (queue_.size() < kQueuedMessagesLimit) return true;
  waitingForRoom_ = true;
  // Bounded waits, so that a stop request (which doesn't notify this variable) is seen soon.
  while (queue_.size() >= kQueuedMessagesLimit && connected_ && !stop.stop_requested()) {
    taken_.wait_for(lock, std::chrono::milliseconds(kPollMilliseconds));
  }
  waitingForRoom_ = false;
  return connected_ && !stop.stop_requested();
}

bool StdioTransport::isWaitingForRoom() const {
  std::lock_guard lock(stateMutex_);
  return waitingForRoom_;
}

size_t StdioTransport::queuedMessageCount() const {
  std::lock_guard lock(stateMutex_);
  return queue_.size();
}

void StdioTransport::finishStream() {
  {
    std::lock_guard lock(stateMutex_);
    finished_ = true;
  }
  received_.notify_all();
}

std::optional<Received> StdioTransport::receive() {
  std::unique_lock lock(stateMutex_);
  received_.wait(lock, [&] { return !queue_.empty() || finished_; });
  if (queue_.empty()) return std::nullopt;
  Received message = std::move(queue_.front());
  queue_.pop_front();
  lock.unlock();
  taken_.notify_all();
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
