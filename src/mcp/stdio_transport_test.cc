#include "mcp/stdio_transport.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "mcp/mcp_error.h"
#include "mcp/testing/pipe_client.h"
#include "tests/thread_waits.h"

namespace vorno::mcp::stdio_transport_test {
namespace {

using testing::PipeClient;
using namespace std::chrono_literals;

// The next message's text; a message cut short at the length limit fails the test.
std::optional<std::string> receiveText(Transport& transport) {
  std::optional<Received> message = transport.receive();
  if (!message) return std::nullopt;
  EXPECT_TRUE(message->isWhole()) << "a message of " << message->length << " bytes was cut short";
  return message->text;
}

TEST(StdioTransport, TwoMessagesInOneReadAreBothReceived) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  client.write("{\"a\":1}\n{\"b\":2}\n");  // one write, read in one piece
  EXPECT_EQ(receiveText(*transport), "{\"a\":1}");
  EXPECT_EQ(receiveText(*transport), "{\"b\":2}");
}

TEST(StdioTransport, MessageSplitAcrossReadsIsReceivedOnceWhole) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  client.write("{\"method\":\"pi");
  ASSERT_TRUE(client.waitUntilServerHasRead());  // the first half is in the reader's hands
  client.write("ng\"}\n");
  client.closeInput();
  EXPECT_EQ(receiveText(*transport), "{\"method\":\"ping\"}");
  EXPECT_EQ(receiveText(*transport), std::nullopt);
}

TEST(StdioTransport, EmptyLinesAreSkippedAndCRIsKept) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  client.write("\n\n{}\r\n\n");
  client.closeInput();
  EXPECT_EQ(receiveText(*transport), "{}\r");
  EXPECT_EQ(receiveText(*transport), std::nullopt);
}

TEST(StdioTransport, BytesWithoutFinalLFAreDroppedAtEndOfInput) {
  testing::LogCapture log;
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  client.write("{\"a\":1}\n{\"unfinished\":");
  client.closeInput();
  EXPECT_EQ(receiveText(*transport), "{\"a\":1}");
  EXPECT_EQ(receiveText(*transport), std::nullopt);
  EXPECT_TRUE(log.contains("mcp.transport.stdio: EOF received"));
}

TEST(StdioTransport, LineOfTheLongestLengthAllowedIsOneMessage) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  std::string big(kMaxMessageBytes - 2, 'x');
  std::thread writer([&] {
    client.write("\"" + big + "\"\n{}\n");
    client.closeInput();
  });
  auto first = receiveText(*transport);
  writer.join();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->size(), kMaxMessageBytes);
  EXPECT_EQ(receiveText(*transport), "{}");
  EXPECT_EQ(receiveText(*transport), std::nullopt);
  // Each byte is searched for a LF once: rescanning the pending buffer on every read of 4 KB
  // would search about a thousand times as many.
  EXPECT_EQ(transport->searchedBytes(), big.size() + 6);
}

TEST(StdioTransport, LineOverTheLimitComesCutShortWithItsLengthAndTheNextLineIsWhole) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  const std::string head = R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"text":")";
  const size_t length = 20 * 1000 * 1000;
  std::thread writer([&] {
    client.write(head + std::string(length - head.size(), 'q') + "\n{}\n");
    client.closeInput();
  });
  std::optional<Received> cut = transport->receive();
  writer.join();
  ASSERT_TRUE(cut);
  EXPECT_FALSE(cut->isWhole());
  EXPECT_EQ(cut->length, length);
  EXPECT_EQ(cut->text.size(), StdioTransport::kKeptHeadBytes);
  EXPECT_EQ(cut->text.substr(0, head.size()), head);
  EXPECT_EQ(receiveText(*transport), "{}");
  EXPECT_EQ(receiveText(*transport), std::nullopt);
}

TEST(StdioTransport, ReaderStopsReadingWhileTheQueueIsFull) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  // Lines of 1000 bytes: one read of 4096 bytes holds at most five of them.
  constexpr int kLines = 60;
  const std::string line = "\"" + std::string(997, 'm') + "\"\n";
  // Joined however the test ends; the lines fit in the pipe, so it never waits for the reader.
  std::jthread writer([&] {
    for (int i = 0; i < kLines; ++i) client.write(line);
  });
  auto deadline = std::chrono::steady_clock::now() + ::vorno::testing::hangGuard;
  while (!transport->isWaitingForRoom() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(1ms);
  }
  ASSERT_TRUE(transport->isWaitingForRoom()) << "the reader never waited: it read "
                                             << transport->searchedBytes() << " bytes";
  EXPECT_GE(transport->queuedMessageCount(), StdioTransport::kQueuedMessagesLimit);
  EXPECT_LE(transport->queuedMessageCount(), StdioTransport::kQueuedMessagesLimit + 5);
  EXPECT_LT(transport->searchedBytes(), kLines * line.size());
  // Taking the messages lets it read on: all of them arrive, in order and whole.
  for (int i = 0; i < kLines; ++i) {
    auto message = receiveText(*transport);
    ASSERT_TRUE(message) << "message " << i;
    EXPECT_EQ(*message + "\n", line);
  }
  writer.join();
  client.closeInput();
  EXPECT_EQ(receiveText(*transport), std::nullopt);
}

TEST(StdioTransport, SendEndsEachMessageWithLF) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  transport->send("{\"x\":1}");
  transport->send("{\"y\":2}");
  EXPECT_EQ(client.readLine(), "{\"x\":1}");
  EXPECT_EQ(client.readLine(), "{\"y\":2}");
}

TEST(StdioTransport, ConcurrentSendsNeverInterleave) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  constexpr int kSenders = 8, kEach = 4;
  std::vector<std::thread> senders;
  for (int s = 0; s < kSenders; ++s) {
    senders.emplace_back([&, s] {
      // Larger than the pipe, so every send is cut into partial writes and EAGAIN waits.
      for (int i = 0; i < kEach; ++i) transport->send(std::string(200000, static_cast<char>('a' + s)));
    });
  }
  int lines = 0;
  while (lines < kSenders * kEach) {
    auto line = client.readLine();
    ASSERT_TRUE(line);
    ASSERT_EQ(line->size(), 200000u);
    EXPECT_EQ(line->find_first_not_of((*line)[0]), std::string::npos) << "mixed line";
    ++lines;
  }
  for (auto& sender : senders) sender.join();
}

TEST(StdioTransport, SendAfterDisconnectIsConnectionClosed) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  transport->disconnect();
  try {
    transport->send("{}");
    FAIL() << "send went through";
  } catch (const MCPError& error) {
    EXPECT_EQ(error.kind(), MCPError::Kind::connectionClosed);
  }
  EXPECT_EQ(receiveText(*transport), std::nullopt);
}

TEST(StdioTransport, ClosedReaderIsTransportError) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  int input[2];
  ASSERT_EQ(::pipe(input), 0);
  StdioTransport transport(input[0], fds[1]);
  transport.connect();
  ::close(fds[0]);  // nobody reads our output any more
  try {
    transport.send("{}");
    FAIL() << "send went through";
  } catch (const MCPError& error) {
    EXPECT_EQ(error.kind(), MCPError::Kind::transportError);
    EXPECT_EQ(error.code(), -32001);
    EXPECT_NE(error.message().find("Transport error: "), std::string::npos);
  }
  transport.disconnect();
  for (int fd : {fds[1], input[0], input[1]}) ::close(fd);
}

TEST(StdioTransport, DescriptorsAreNonBlockingWhileConnectedAndRestoredAfter) {
  PipeClient client;
  auto transport = client.transport();
  EXPECT_FALSE(::fcntl(client.serverInput(), F_GETFL) & O_NONBLOCK);
  transport->connect();
  EXPECT_TRUE(::fcntl(client.serverInput(), F_GETFL) & O_NONBLOCK);
  EXPECT_TRUE(::fcntl(client.serverOutput(), F_GETFL) & O_NONBLOCK);
  transport->disconnect();
  EXPECT_FALSE(::fcntl(client.serverInput(), F_GETFL) & O_NONBLOCK);
  EXPECT_FALSE(::fcntl(client.serverOutput(), F_GETFL) & O_NONBLOCK);
}

TEST(StdioTransport, ConnectOnBadDescriptorIsTransportError) {
  StdioTransport transport(-1, -1);
  try {
    transport.connect();
    FAIL() << "connected";
  } catch (const MCPError& error) {
    EXPECT_EQ(error.kind(), MCPError::Kind::transportError);
  }
}

TEST(StdioTransport, DisconnectEndsAWaitingReceive) {
  PipeClient client;
  auto transport = client.transport();
  transport->connect();
  std::promise<pid_t> receiverThread;
  std::promise<std::optional<std::string>> received;
  auto result = received.get_future();
  // The receiver keeps the transport alive, so that a receive that never ends fails the test
  // without touching freed memory.
  std::thread receiver([&receiverThread, &received, transport] {
    receiverThread.set_value(::gettid());
    received.set_value(receiveText(*transport));
  });
  // Disconnect only once the receiver sleeps in receive, waiting for a message.
  ASSERT_TRUE(::vorno::testing::waitUntilThreadWaits(receiverThread.get_future().get()));
  transport->disconnect();
  if (result.wait_for(::vorno::testing::hangGuard) != std::future_status::ready) {
    receiver.detach();
    FAIL() << "receive went on waiting after the disconnect";
  }
  EXPECT_EQ(result.get(), std::nullopt);
  receiver.join();
}

}  // namespace
}  // namespace vorno::mcp::stdio_transport_test
