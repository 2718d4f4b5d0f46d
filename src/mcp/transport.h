// Transport: what the server needs of a connection. Whole messages in, whole messages out.
//
// The server is written against this narrow interface so that the protocol can be tested on
// anything that moves lines; the program itself uses StdioTransport.
#pragma once

#include <optional>
#include <string>

namespace vorno::mcp {

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
  virtual std::optional<std::string> receive() = 0;
};

}  // namespace vorno::mcp
