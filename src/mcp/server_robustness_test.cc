// What a real client does to the loop: lines that are no JSON, huge lines, many requests at once,
// mixed batches, cancellations, responses of its own, and closing our input mid-call.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <set>

#include <sys/ioctl.h>
#include <unistd.h>

#include <future>

#include "mcp/server.h"
#include "mcp/testing/server_harness.h"
#include "tests/hang_guard.h"

namespace vorno::mcp::server_robustness_test {
namespace {

using namespace std::chrono_literals;
using testing::errorCode;
using testing::errorMessage;
using testing::LogCapture;
using testing::ServerHarness;

using ::vorno::testing::hangGuard;

/// A gate a test opens; handlers wait at it, and give up after the hang guard so that a failing
/// test ends instead of hanging.
class Gate {
 public:
  void open() {
    {
      std::lock_guard lock(mutex_);
      open_ = true;
    }
    changed_.notify_all();
  }
  bool wait(std::chrono::milliseconds timeout = hangGuard) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

/// Waits up to `timeout` for `condition`: a guard against a hang, never part of what is proved.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds timeout = hangGuard) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TEST(MCPServerRobustness, LineThatIsNotJSONGetsNoResponseAndNextLineIsRead) {
  LogCapture log;
  ServerHarness h;
  h.start();
  h.client.sendLine("this is not json {");
  h.client.sendLine(ServerHarness::request("1", "ping"));
  Value response = h.client.readMessage();
  EXPECT_EQ(response.find("id")->intValue(), 1);
  EXPECT_NE(response.find("result"), nullptr);
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
  EXPECT_TRUE(log.contains("Error processing message: Parse error: Invalid JSON"));
}

TEST(MCPServerRobustness, MalformedRequestWithReadableIDGetsInvalidMessageFormat) {
  ServerHarness h;
  h.start();
  Value response = h.exchange(R"({"jsonrpc":"1.0","id":"x","method":"ping"})");
  EXPECT_EQ(errorCode(response), -32600);
  EXPECT_EQ(errorMessage(response), "Invalid Request: Invalid message format");
  EXPECT_EQ(*response.find("id")->stringValue(), "x");
}

TEST(MCPServerRobustness, JSONThatIsNoMessageGetsNoResponse) {
  ServerHarness h;
  h.start();
  for (const char* line : {"42", "\"ping\"", "{}", R"({"jsonrpc":"2.0","id":{"a":1},"method":"ping"})"}) {
    h.client.sendLine(line);
  }
  h.client.sendLine(ServerHarness::request("9", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 9);
}

TEST(MCPServerRobustness, LineOfTheLongestLengthAllowedIsHandled) {
  ServerHarness h;
  h.server.withMethodHandler("measure", [](const Value& params, RequestContext&) {
    const Value* text = params.find("text");
    return Value(Value::Object{{"length", Value(int64_t(text && text->stringValue() ? text->stringValue()->size() : 0))}});
  });
  h.start();
  const std::string empty = ServerHarness::request("1", "measure", R"({"text":""})");
  const size_t textLength = kMaxMessageBytes - empty.size();
  std::string line = ServerHarness::request("1", "measure", R"({"text":")" + std::string(textLength, 'q') + "\"}");
  ASSERT_EQ(line.size(), kMaxMessageBytes);
  std::thread writer([&] { h.client.sendLine(line); });
  Value response = h.client.readMessage();
  writer.join();
  ASSERT_NE(response.find("result"), nullptr) << response.wire().substr(0, 200);
  EXPECT_EQ(response.find("result")->find("length")->intValue(), static_cast<int64_t>(textLength));
  // Read in one pass: each byte was searched for the end of its line once.
  EXPECT_EQ(h.client.transport()->searchedBytes(), line.size() + 1);
}

TEST(MCPServerRobustness, TwentyMegabyteLineIsRefusedUnderItsIDAndTheNextLineIsAnswered) {
  ServerHarness h;
  std::atomic<int> measured{0};
  h.server.withMethodHandler("measure", [&](const Value&, RequestContext&) {
    ++measured;
    return Value(Value::Object{});
  });
  h.start();
  std::string line = ServerHarness::request("\"big\"", "measure", R"({"text":")" + std::string(20 * 1000 * 1000, 'q') + "\"}");
  std::thread writer([&] {
    h.client.sendLine(line);
    h.client.sendLine(ServerHarness::request("2", "ping"));
  });
  Value refusal = h.client.readMessage();
  Value pong = h.client.readMessage();
  writer.join();
  EXPECT_EQ(refusal.find("id")->wire(), "\"big\"");
  ASSERT_NE(refusal.find("error"), nullptr) << refusal.wire().substr(0, 200);
  EXPECT_EQ(refusal.find("error")->find("code")->intValue(), -32600);
  EXPECT_EQ(*refusal.find("error")->find("message")->stringValue(),
            "Invalid Request: A message may be at most 4194304 bytes; this one has " + std::to_string(line.size()) +
                ". vorno's tools take paths, not contents: write large content to a file and pass its path");
  EXPECT_EQ(pong.find("id")->intValue(), 2);
  EXPECT_EQ(measured, 0) << "the handler ran on a message that was never whole";
}

TEST(MCPServerRobustness, LongLineWhoseIDComesAfterTheBulkIsDroppedWithoutAnAnswer) {
  ServerHarness h;
  h.start();
  std::string line = R"({"jsonrpc":"2.0","method":"ping","params":{"pad":")" + std::string(kMaxMessageBytes, 'p') + R"("},"id":5})";
  std::thread writer([&] {
    h.client.sendLine(line);
    h.client.sendLine(ServerHarness::request("6", "ping"));
  });
  Value next = h.client.readMessage();
  writer.join();
  EXPECT_EQ(next.find("id")->intValue(), 6) << next.wire();
}

TEST(MCPServerRobustness, FiftyRequestsInFlightAtOnce) {
  constexpr int kRequests = 50;
  // Up to the cap on requests in flight, which is set to fifty here: beyond it, requests wait.
  auto options = testing::testOptions();
  options.maxRequestsInFlight = kRequests;
  ServerHarness h(options);
  std::mutex mutex;
  std::condition_variable allIn;
  int inside = 0;
  h.server.withMethodHandler("wait", [&](const Value& params, RequestContext&) {
    // Each handler returns only once all fifty are running: that can only happen if none of
    // them waits for another to finish.
    std::unique_lock lock(mutex);
    ++inside;
    allIn.notify_all();
    bool together = allIn.wait_for(lock, hangGuard, [&] { return inside == kRequests; });
    return Value(Value::Object{{"together", Value(together)}, {"n", *params.find("n")}});
  });
  h.start();
  std::string lines;
  for (int i = 0; i < kRequests; ++i) {
    lines += ServerHarness::request(std::to_string(i), "wait", R"({"n":)" + std::to_string(i) + "}") + "\n";
  }
  h.client.write(lines);
  std::set<int64_t> ids;
  for (int i = 0; i < kRequests; ++i) {
    Value response = h.client.readMessage();
    ASSERT_NE(response.find("result"), nullptr) << "response " << i << ": " << response.wire();
    EXPECT_EQ(response.find("result")->find("together")->boolValue(), true);
    EXPECT_EQ(response.find("result")->find("n")->intValue(), response.find("id")->intValue());
    ids.insert(*response.find("id")->intValue());
  }
  EXPECT_EQ(ids.size(), static_cast<size_t>(kRequests));
  EXPECT_TRUE(eventually([&] { return h.server.runningRequestCount() == 0; }));
}

TEST(MCPServerRobustness, ConcurrentLargeResponsesNeverInterleave) {
  ServerHarness h;
  h.server.withMethodHandler("blob", [](const Value& params, RequestContext&) {
    char fill = static_cast<char>('a' + *params.find("n")->intValue());
    return Value(Value::Object{{"blob", Value(std::string(300000, fill))}});
  });
  h.start();
  std::string lines;
  for (int i = 0; i < 20; ++i) lines += ServerHarness::request(std::to_string(i), "blob", R"({"n":)" + std::to_string(i) + "}") + "\n";
  h.client.write(lines);
  for (int i = 0; i < 20; ++i) {
    auto line = h.client.readLine();
    ASSERT_TRUE(line);
    auto response = Value::parse(*line);
    ASSERT_TRUE(response) << "a line that isn't whole JSON: lines were mixed";
    int64_t id = *response->find("id")->intValue();
    EXPECT_EQ(*response->find("result")->find("blob")->stringValue(), std::string(300000, static_cast<char>('a' + id)));
  }
}

TEST(MCPServerRobustness, BatchMixingRequestsAndNotificationsAnswersInItemOrder) {
  ServerHarness h;
  std::vector<std::string> order;
  std::mutex mutex;
  h.server.withNotificationHandler("notifications/note", [&](const Value& params) {
    std::lock_guard lock(mutex);
    order.push_back("note " + *params.find("text")->stringValue());
  });
  h.server.withMethodHandler("record", [&](const Value& params, RequestContext&) {
    std::lock_guard lock(mutex);
    order.push_back("record " + *params.find("text")->stringValue());
    return params;
  });
  h.start();
  std::string batch = "[" + ServerHarness::request("1", "record", R"({"text":"a"})") + "," +
                      ServerHarness::notification("notifications/note", R"({"text":"b"})") + "," +
                      ServerHarness::request("2", "nope") + "," +
                      ServerHarness::notification("notifications/unhandled") + "," +
                      ServerHarness::request("\"three\"", "record", R"({"text":"c"})") + "]";
  auto line = (h.client.sendLine(batch), h.client.readLine());
  ASSERT_TRUE(line);
  EXPECT_EQ(*line,
            R"([{"id":1,"jsonrpc":"2.0","result":{"text":"a"}},)"
            R"({"error":{"code":-32601,"data":{"detail":"Unknown method: nope"},"message":"Method not found: Unknown method: nope"},"id":2,"jsonrpc":"2.0"},)"
            R"({"id":"three","jsonrpc":"2.0","result":{"text":"c"}}])");
  EXPECT_EQ(order, (std::vector<std::string>{"record a", "note b", "record c"}));
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
}

TEST(MCPServerRobustness, BatchOfNotificationsOnlySendsNothing) {
  ServerHarness h;
  std::atomic<int> notes{0};
  h.server.withNotificationHandler("notifications/note", [&](const Value&) { ++notes; });
  h.start();
  h.client.sendLine("[" + ServerHarness::notification("notifications/note") + "," +
                    ServerHarness::notification("notifications/note") + "]");
  h.client.sendLine(ServerHarness::request("5", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 5);
  EXPECT_EQ(notes.load(), 2);
}

TEST(MCPServerRobustness, BatchWithItemOfNoFormIsLoggedNotAnswered) {
  LogCapture log;
  ServerHarness h;
  h.start();
  h.client.sendLine("[" + ServerHarness::request("1", "ping") + R"(,{"jsonrpc":"2.0","id":2,"result":{}}])");
  h.client.sendLine(ServerHarness::request("3", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 3);
  EXPECT_TRUE(log.contains("Error processing message: Invalid Request: Invalid batch item format"));
}

TEST(MCPServerRobustness, CancellingARunningRequestWithholdsItsResponse) {
  LogCapture log;
  ServerHarness h;
  std::atomic<bool> sawCancellation{false};
  std::atomic<bool> finished{false};
  h.server.withMethodHandler("sleep", [&](const Value&, RequestContext& context) {
    bool cancelled = eventually([&] { return context.isCancelled(); });
    sawCancellation = cancelled;
    finished = true;
    return Value(Value::Object{{"slept", Value(true)}});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("1", "sleep"));
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 1; }));
  h.client.sendLine(ServerHarness::notification("notifications/cancelled", R"({"requestId":1,"reason":"user"})"));
  ASSERT_TRUE(eventually([&] { return finished.load(); }));
  EXPECT_TRUE(sawCancellation);
  // A request leaves the running list only after its answer was sent or withheld.
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 0; }));
  // The loop went on: a ping is answered, and it is the only answer.
  h.client.sendLine(ServerHarness::request("2", "ping"));
  Value next = h.client.readMessage();
  EXPECT_EQ(next.find("id")->intValue(), 2) << next.wire();
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
  EXPECT_TRUE(log.contains("Cancelled request id=1 reason=user"));
}

TEST(MCPServerRobustness, HandlerThatIgnoresCancellationRunsToItsEndSilently) {
  ServerHarness h;
  Gate gate;
  std::atomic<bool> finished{false};
  h.server.withMethodHandler("work", [&](const Value&, RequestContext&) {
    gate.wait();
    finished = true;
    return Value(Value::Object{});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("\"w\"", "work"));
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 1; }));
  h.client.sendLine(ServerHarness::notification("notifications/cancelled", R"({"requestId":"w"})"));
  h.client.sendLine(ServerHarness::request("2", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 2);  // after the cancellation was read
  gate.open();
  ASSERT_TRUE(eventually([&] { return finished.load(); }));
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 0; }));  // answered or withheld
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
}

TEST(MCPServerRobustness, CancellationWithoutRequestIdOrOfUnknownRequestIsOnlyLogged) {
  LogCapture log;
  ServerHarness h;
  h.start();
  h.client.sendLine(ServerHarness::notification("notifications/cancelled", R"({"reason":"x"})"));
  h.client.sendLine(ServerHarness::notification("notifications/cancelled", R"({"requestId":77})"));
  h.client.sendLine(ServerHarness::request("1", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 1);
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
  EXPECT_TRUE(log.contains("Received cancellation notification with no requestId (violates spec MUST)"));
  EXPECT_TRUE(log.contains("Cancellation notification for unknown or completed request id=77"));
}

TEST(MCPServerRobustness, ResponseFromClientIsLoggedAndDropped) {
  LogCapture log;
  ServerHarness h;
  h.start();
  h.client.sendLine(R"({"jsonrpc":"2.0","id":9,"result":{}})");
  h.client.sendLine(R"({"jsonrpc":"2.0","id":10,"error":{"code":-1,"message":"no"}})");
  h.client.sendLine(ServerHarness::request("1", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 1);
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
  EXPECT_TRUE(log.contains("Received response for unknown request id=9"));
  EXPECT_TRUE(log.contains("Received response for unknown request id=10"));
}

TEST(MCPServerRobustness, InputClosedInTheMiddleOfACallEndsTheLoopWithoutWaiting) {
  ServerHarness h;
  Gate gate;
  h.server.withMethodHandler("work", [&](const Value&, RequestContext&) {
    gate.wait();
    return Value(Value::Object{{"done", Value(true)}});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("1", "work"));
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 1; }));
  h.client.closeInput();
  // The handler waits at the gate, which opens only below: the loop ends without it.
  EXPECT_TRUE(h.server.waitUntilCompleted(hangGuard));
  EXPECT_EQ(h.server.runningRequestCount(), 1u);  // still running: not waited for
  // Until the program stops the server, the call may still answer.
  gate.open();
  Value response = h.client.readMessage();
  EXPECT_EQ(response.find("result")->find("done")->boolValue(), true);
}

TEST(MCPServerRobustness, StopAfterEndOfInputWithholdsAnswersOfRunningCalls) {
  ServerHarness h;
  Gate gate;
  std::atomic<bool> finished{false};
  h.server.withMethodHandler("work", [&](const Value&, RequestContext& context) {
    gate.wait();
    finished = true;
    EXPECT_TRUE(context.isCancelled());
    return Value(Value::Object{});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("1", "work"));
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 1; }));
  h.client.closeInput();
  h.server.waitUntilCompleted();
  h.server.stop();
  gate.open();
  ASSERT_TRUE(eventually([&] { return finished.load(); }));
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 0; }));  // its answer is settled
  EXPECT_EQ(h.client.lineWaiting(), std::nullopt);
}

TEST(MCPServerRobustness, ProgressGoesOutWithTheTokenAndOnlyWhenItGrows) {
  ServerHarness h;
  h.server.withMethodHandler("tools/call", [](const Value&, RequestContext& context) {
    EXPECT_TRUE(context.hasProgressToken());
    EXPECT_TRUE(context.progress(1, 3, "Rendering intro"));
    EXPECT_FALSE(context.progress(1, 3, "again"));  // not growing
    EXPECT_FALSE(context.progress(0.5, 3));         // backwards
    EXPECT_TRUE(context.progress(2.5, std::nullopt, ""));
    return Value(Value::Object{{"isError", Value(false)}});
  }, Params::required);
  h.start();
  h.client.sendLine(ServerHarness::request("4", "tools/call", R"({"name":"render_slide","_meta":{"progressToken":"tok-1"}})"));
  EXPECT_EQ(h.client.readLine(),
            R"({"jsonrpc":"2.0","method":"notifications/progress","params":{"message":"Rendering intro","progress":1,"progressToken":"tok-1","total":3}})");
  EXPECT_EQ(h.client.readLine(),
            R"({"jsonrpc":"2.0","method":"notifications/progress","params":{"progress":2.5,"progressToken":"tok-1"}})");
  EXPECT_EQ(h.client.readLine(), R"({"id":4,"jsonrpc":"2.0","result":{"isError":false}})");
}

TEST(MCPServerRobustness, IntegerProgressTokenIsSentBackAsInteger) {
  ServerHarness h;
  h.server.withMethodHandler("tools/call", [](const Value&, RequestContext& context) {
    context.progress(1);
    return Value(Value::Object{});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("1", "tools/call", R"({"_meta":{"progressToken":17}})"));
  EXPECT_EQ(h.client.readLine(),
            R"({"jsonrpc":"2.0","method":"notifications/progress","params":{"progress":1,"progressToken":17}})");
}

TEST(MCPServerRobustness, WithoutProgressTokenNothingIsSent) {
  ServerHarness h;
  h.server.withMethodHandler("tools/call", [](const Value&, RequestContext& context) {
    EXPECT_FALSE(context.hasProgressToken());
    EXPECT_FALSE(context.progress(1, 2, "x"));
    return Value(Value::Object{});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("1", "tools/call", R"({"name":"lint"})"));
  EXPECT_EQ(h.client.readLine(), R"({"id":1,"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServerRobustness, ProgressOfCancelledRequestIsWithheld) {
  ServerHarness h;
  Gate cancelled;
  std::atomic<bool> sentAfterCancel{true};
  std::atomic<bool> finished{false};
  h.server.withMethodHandler("tools/call", [&](const Value&, RequestContext& context) {
    context.progress(1);
    eventually([&] { return context.isCancelled(); });
    sentAfterCancel = context.progress(2);
    finished = true;
    return Value(Value::Object{});
  });
  h.start();
  h.client.sendLine(ServerHarness::request("1", "tools/call", R"({"_meta":{"progressToken":"t"}})"));
  EXPECT_NE(h.client.readLine()->find("notifications/progress"), std::string::npos);
  h.client.sendLine(ServerHarness::notification("notifications/cancelled", R"({"requestId":1})"));
  ASSERT_TRUE(eventually([&] { return finished.load(); }));
  EXPECT_FALSE(sentAfterCancel);
  ASSERT_TRUE(eventually([&] { return h.server.runningRequestCount() == 0; }));  // its answer is settled
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
}

TEST(MCPServerRobustness, ClientThatStopsReadingFailsOnlyItsSends) {
  LogCapture log;
  auto h = std::make_unique<ServerHarness>();
  h->server.withMethodHandler("blob", [](const Value&, RequestContext&) {
    return Value(Value::Object{{"blob", Value(std::string(1 << 20, 'z'))}});
  });
  h->start();
  h->client.sendLine(ServerHarness::request("1", "ping"));
  EXPECT_NE(h->client.readMessage().find("result"), nullptr);
  // A megabyte answer to a client that reads no more: once its first bytes are in the pipe, the
  // send is under way and can't finish, since the pipe holds far less.
  h->client.sendLine(ServerHarness::request("2", "blob"));
  const int clientInput = h->client.clientInput();
  ASSERT_TRUE(eventually([&] {
    int unread = 0;
    return ::ioctl(clientInput, FIONREAD, &unread) == 0 && unread > 0;
  }));
  // Destroying the server must not hang on it: the blocked send sees the disconnect and gives up.
  auto destroyed = std::async(std::launch::async, [&] { h.reset(); });
  bool ended = destroyed.wait_for(hangGuard) == std::future_status::ready;
  // Otherwise read the answer, so that the send can finish and the test end.
  char chunk[65536];
  while (!ended && destroyed.wait_for(0s) != std::future_status::ready && ::read(clientInput, chunk, sizeof chunk) > 0) {
  }
  EXPECT_TRUE(ended) << "destroying the server waited for a send nobody reads";
}

}  // namespace
}  // namespace vorno::mcp::server_robustness_test
