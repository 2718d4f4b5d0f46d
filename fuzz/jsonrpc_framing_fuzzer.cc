// Feeds arbitrary bytes to the stdio transport through a pipe, as a client writes to the server's
// standard input. Every LF-ended, non-empty piece arrives as one message, in order, and nothing
// else does; a message sent back comes out whole with its LF.
#include "fuzz/fuzz_support.h"
#include "mcp/logger.h"
#include "mcp/mcp_error.h"
#include "mcp/stdio_transport.h"

#include <unistd.h>

#include <string>
#include <vector>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

namespace {

// Inputs stay below a pipe's capacity (64 KiB), so every byte is written before the transport
// starts and the messages sent back fit without a reader.
constexpr size_t kMaxInput = 60000;

std::vector<std::string> expectedLines(std::string_view bytes) {
  std::vector<std::string> lines;
  for (size_t lf = bytes.find('\n'); lf != std::string_view::npos; lf = bytes.find('\n')) {
    if (lf > 0) lines.emplace_back(bytes.substr(0, lf));
    bytes.remove_prefix(lf + 1);
  }
  return lines;
}

std::string drained(int descriptor) {
  std::string out;
  char buffer[4096];
  for (ssize_t n; (n = ::read(descriptor, buffer, sizeof buffer)) > 0;) out.append(buffer, static_cast<size_t>(n));
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Every run ends its stream; a line of log for each would bury the fuzzer's own report.
  static const bool quiet = (mcp::Logger::setMinimumLevel(mcp::Logger::Level::warning), true);
  (void)quiet;
  std::string_view bytes = fuzz::asText(data, size).substr(0, kMaxInput);
  int input[2], output[2];
  fuzzCheck(::pipe(input) == 0 && ::pipe(output) == 0, "no pipes for the transport");
  fuzzCheck(::write(input[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "a short write");
  ::close(input[1]);

  std::vector<std::string> received;
  {
    mcp::StdioTransport transport(input[0], output[1], /*ownsOutput=*/true);
    transport.connect();
    while (auto message = transport.receive()) {
      // The input is far below the transport's longest line, so every message comes whole.
      fuzzCheck(message->isWhole(), "a line under the limit was cut short");
      received.push_back(std::move(message->text));
    }
    if (!received.empty()) transport.send(received.front());
    transport.disconnect();
  }
  ::close(input[0]);
  std::string echoed = drained(output[0]);
  ::close(output[0]);

  fuzzCheck(received == expectedLines(bytes), "the messages received are not the lines sent");
  fuzzCheck(received.empty() ? echoed.empty() : echoed == received.front() + "\n", "a message sent is not one line");
  return 0;
}
