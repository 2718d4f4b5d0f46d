// Transport: what the server needs of a connection. Whole messages in, whole messages out.
//
// The server is written against this narrow interface so that the protocol can be tested on
// anything that moves lines; the program itself uses StdioTransport.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace vorno::mcp {

/// The longest line taken as a message: 4 MiB, far above any call vorno's tools take (they name
/// files; they don't carry them). A longer one is refused with an error under its id.
inline constexpr uint64_t kMaxMessageBytes = uint64_t{4} << 20;

/// One line taken from the connection. A line longer than the transport's limit is not kept:
/// `text` then holds only its first bytes, enough to read an id from, and `length` says how long
/// the whole line was, so that the server can refuse it under its id.
struct Received {
  std::string text;
  uint64_t length = 0;

  static Received whole(std::string text) {
    uint64_t length = text.size();
    return {std::move(text), length};
  }
  bool isWhole() const { return text.size() == length; }
};

class Transport {
 public:
  virtual ~Transport() = default;
  /// Starts receiving. Throws MCPError::transportError when the connection can't be set up.
  virtual void connect() = 0;
  /// Stops receiving and ends the stream of messages; sends fail afterwards. Safe to repeat.
  virtual void disconnect() = 0;
  /// Writes one message, whole, before any other message starts. Throws MCPError::transportError
  /// when the bytes can't go out, MCPError::connectionClosed after disconnect.
  virtual void send(std::string message) = 0;
  /// The next message received, in order; none once the stream has ended (end of input, a read
  /// error, or disconnect). Blocks until one of these.
  virtual std::optional<Received> receive() = 0;
};

}  // namespace vorno::mcp
