// StdioTransport: MCP messages as LF-ended lines on two file descriptors, standard input and
// output in the program, pipes in tests.
//
// How it works. `connect` makes both descriptors non-blocking and starts a reader thread, which
// reads 4096 bytes at a time into a pending buffer and cuts it at every LF: each non-empty piece
// before an LF is one message, queued for `receive`. A CR before the LF is not special, and bytes
// without a final LF when input ends are dropped. When a descriptor has nothing to give or take
// (EAGAIN), the thread waits for it with poll for at most 10 milliseconds, so a slow client that
// reads a large image answer slowly holds up only the writer of that answer, and the reader can
// notice a disconnect quickly.
//
// Memory is bounded whatever the client sends. A line longer than `kMaxMessageBytes` is not
// gathered: its first `kKeptHeadBytes` are kept, the rest is counted and dropped as it arrives,
// and at its LF it is queued cut short (`Received::isWhole` is false) for the server to refuse.
// And the reader stops reading while `kQueuedMessagesLimit` messages wait for `receive`: a server
// that has stopped taking messages (every request slot busy answering a client that doesn't read)
// leaves further lines in the pipe, where they hold back the client instead of our memory.
//
// `send` writes the message and its LF whole, under one lock, so lines of concurrent senders never
// interleave. The original descriptor flags are put back on disconnect, because standard input
// and output are shared with the process that started us (a shell would find its terminal
// non-blocking otherwise).
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "mcp/logger.h"
#include "mcp/transport.h"

namespace vorno::mcp {

class StdioTransport : public Transport {
 public:
  /// How much of a longer line is kept, to read its id from.
  static constexpr size_t kKeptHeadBytes = size_t{64} << 10;
  /// Messages read ahead of the server before the reader waits.
  static constexpr size_t kQueuedMessagesLimit = 16;

  /// A transport on `input` and `output`; with `ownsOutput` it closes `output` when destroyed.
  StdioTransport(int input, int output, bool ownsOutput = false);
  ~StdioTransport() override;
  StdioTransport(const StdioTransport&) = delete;
  StdioTransport& operator=(const StdioTransport&) = delete;

  /// The transport of the program: standard input, and a private copy of standard output, while
  /// descriptor 1 itself is pointed at standard error. Whatever a library prints with printf or
  /// std::cout then lands among the diagnostics instead of corrupting the protocol.
  static std::shared_ptr<StdioTransport> standardStreams();

  void connect() override;
  void disconnect() override;
  void send(std::string message) override;
  std::optional<Received> receive() override;

  bool isConnected() const;

  /// True while the reader waits for the server to take queued messages before it reads on.
  bool isWaitingForRoom() const;
  size_t queuedMessageCount() const;

  /// Bytes searched for a LF so far. Each byte received is searched once however long its line
  /// grows, so this equals the bytes read: tests check it where timing would be flaky.
  uint64_t searchedBytes() const { return searched_; }

 private:
  void readLoop(std::stop_token stop);
  std::vector<Received> cutLines(std::string_view bytes, std::string& pending);
  void queue(std::vector<Received> messages);
  bool waitForRoom(const std::stop_token& stop);
  void finishStream();
  void waitFor(int descriptor, short events);

  int input_;
  int output_;
  bool ownsOutput_;
  int inputFlags_ = -1;
  int outputFlags_ = -1;
  Logger logger_{"mcp.transport.stdio"};

  mutable std::mutex stateMutex_;  // connected_, the queue, finished_ and waitingForRoom_
  std::condition_variable received_;
  std::condition_variable taken_;
  bool connected_ = false;
  bool finished_ = false;
  bool waitingForRoom_ = false;
  std::deque<Received> queue_;

  // The line being read, when it has outgrown kMaxMessageBytes: its kept head and its length.
  std::optional<Received> overlong_;

  std::atomic<uint64_t> searched_{0};
  std::mutex writeMutex_;  // held for the whole of one message
  std::jthread reader_;
};

}  // namespace vorno::mcp
