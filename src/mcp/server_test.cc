// The message loop's own cases: version negotiation, initialize, framing as the server sees it,
// batches, unknown methods, end of input.
#include "mcp/server.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sys/ioctl.h>

#include <condition_variable>
#include <mutex>
#include <regex>
#include <set>

#include "kit/util/vorno_error.h"
#include "mcp/testing/server_harness.h"
#include "tests/hang_guard.h"

namespace vorno::mcp::server_test {
namespace {

using namespace std::chrono_literals;
using testing::errorCode;
using testing::errorMessage;
using testing::LogCapture;
using testing::ServerHarness;
using ::vorno::testing::hangGuard;

const std::string* stringAt(const Value& value, std::initializer_list<const char*> path) {
  const Value* at = &value;
  for (const char* key : path) {
    at = at->find(key);
    if (!at) return nullptr;
  }
  return at->stringValue();
}

TEST(MCPServer, ClientAskingForVersion2099GetsLatestAndNoError) {
  ServerHarness h;
  h.start();
  Value response = h.exchange(ServerHarness::initialize("1", "2099-01-01"));
  EXPECT_EQ(response.find("error"), nullptr);
  ASSERT_NE(stringAt(response, {"result", "protocolVersion"}), nullptr);
  EXPECT_EQ(*stringAt(response, {"result", "protocolVersion"}), "2025-11-25");
  EXPECT_EQ(h.server.protocolVersion(), "2025-11-25");
}

TEST(MCPServer, SupportedVersionIsAnsweredAsAsked) {
  ServerHarness h;
  h.start();
  Value response = h.exchange(ServerHarness::initialize("1", "2024-11-05"));
  EXPECT_EQ(*stringAt(response, {"result", "protocolVersion"}), "2024-11-05");
}

TEST(MCPServer, SecondInitializeIsInvalidRequestAlreadyInitialized) {
  ServerHarness h;
  h.start();
  h.exchange(ServerHarness::initialize("1"));
  Value second = h.exchange(ServerHarness::initialize("2"));
  EXPECT_EQ(errorCode(second), -32600);
  EXPECT_EQ(errorMessage(second), "Invalid Request: Server is already initialized");
  EXPECT_EQ(second.find("id")->intValue(), 2);
}

TEST(MCPServer, InitializeAnswerIsOneLineWithSortedKeys) {
  ServerHarness h;
  h.start();
  h.client.sendLine(ServerHarness::initialize("1", "2025-06-18"));
  EXPECT_EQ(h.client.readLine(),
            R"({"id":1,"jsonrpc":"2.0","result":{"capabilities":{"resources":{"listChanged":false,"subscribe":false},)"
            R"("tools":{"listChanged":false}},"instructions":"Be kind.","protocolVersion":"2025-06-18",)"
            R"("serverInfo":{"name":"vorno","title":"Vorno","version":"9.9.9"}}})");
}

TEST(MCPServer, InitializeHookSeesClientInfoBeforeTheAnswer) {
  ServerHarness h;
  ClientInfo seen;
  h.start([&](const ClientInfo& client, const Value&) { seen = client; });
  h.exchange(ServerHarness::initialize("1", "2025-06-18", "Claude Code"));
  EXPECT_EQ(seen, (ClientInfo{"Claude Code", "1.0"}));
  EXPECT_EQ(h.server.clientInfo(), seen);
  EXPECT_TRUE(h.server.isInitialized());
}

TEST(MCPServer, FailingInitializeHookFailsInitializeAndAllowsAnother) {
  ServerHarness h;
  int calls = 0;
  h.start([&](const ClientInfo&, const Value&) {
    if (++calls == 1) throw VornoError::invalid("Not now.");
  });
  Value first = h.exchange(ServerHarness::initialize("1"));
  EXPECT_EQ(errorCode(first), -32603);
  EXPECT_EQ(errorMessage(first), "Internal error: Not now.");
  EXPECT_FALSE(h.server.isInitialized());
  Value second = h.exchange(ServerHarness::initialize("2"));
  EXPECT_NE(second.find("result"), nullptr);
}

TEST(MCPServer, InitializeWithoutParamsIsMissingRequiredParams) {
  ServerHarness h;
  h.start();
  Value response = h.exchange(ServerHarness::request("1", "initialize"));
  EXPECT_EQ(errorCode(response), -32602);
  EXPECT_EQ(errorMessage(response), "Invalid params: Missing required params field");
  Value unreadable = h.exchange(ServerHarness::request("2", "initialize", "[1]"));
  EXPECT_EQ(errorMessage(unreadable), "Invalid params: Invalid params field");
}

TEST(MCPServer, PingAnswersEmptyResultBeforeInitialize) {
  ServerHarness h;
  h.start();
  h.client.sendLine(ServerHarness::request("\"p\"", "ping"));
  EXPECT_EQ(h.client.readLine(), R"({"id":"p","jsonrpc":"2.0","result":{}})");
}

TEST(MCPServer, TwoMessagesInOneReadAreBothHandled) {
  ServerHarness h;
  h.start();
  h.client.write(ServerHarness::request("1", "ping") + "\n" + ServerHarness::request("2", "ping") + "\n");
  std::set<int64_t> ids;
  for (int i = 0; i < 2; ++i) ids.insert(h.client.readMessage().find("id")->intValue().value_or(0));
  EXPECT_EQ(ids, (std::set<int64_t>{1, 2}));
}

TEST(MCPServer, MessageSplitAcrossReadsIsHandledOnceWhole) {
  ServerHarness h;
  h.start();
  std::string line = ServerHarness::request("1", "ping") + "\n";
  h.client.write(line.substr(0, 10));
  ASSERT_TRUE(h.client.waitUntilServerHasRead());  // the server holds half a message
  h.client.write(line.substr(10));
  Value response = h.client.readMessage();
  ASSERT_NE(response.find("id"), nullptr) << "no answer";
  EXPECT_EQ(response.find("id")->intValue(), 1);
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);  // and exactly one answer
}

TEST(MCPServer, EmptyLineIsSkippedWithoutResponse) {
  ServerHarness h;
  h.start();
  h.client.write("\n\n");
  h.client.sendLine(ServerHarness::request("7", "ping"));
  Value response = h.client.readMessage();
  EXPECT_EQ(response.find("id")->intValue(), 7);
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
}

TEST(MCPServer, EmptyBatchGetsOneErrorUnderAUUID) {
  ServerHarness h;
  h.start();
  Value response = h.exchange("[]");
  EXPECT_EQ(errorCode(response), -32600);
  EXPECT_EQ(errorMessage(response), "Invalid Request: Batch array must not be empty");
  const Value* id = response.find("id");
  ASSERT_TRUE(id && id->stringValue());
  EXPECT_TRUE(std::regex_match(*id->stringValue(),
                               std::regex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")))
      << *id->stringValue();
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
}

TEST(MCPServer, UnknownMethodNopeIsMethodNotFound) {
  ServerHarness h;
  h.start();
  Value response = h.exchange(R"({"jsonrpc":"2.0","id":1,"method":"nope"})");
  EXPECT_EQ(errorCode(response), -32601);
  EXPECT_EQ(errorMessage(response), "Method not found: Unknown method: nope");
  EXPECT_EQ(response.find("id")->intValue(), 1);
}

TEST(MCPServer, EndOfInputEndsTheLoop) {
  ServerHarness h;
  h.start();
  h.client.sendLine(ServerHarness::request("1", "ping"));
  EXPECT_NE(h.client.readMessage().find("result"), nullptr);
  h.client.closeInput();
  EXPECT_TRUE(h.server.waitUntilCompleted(hangGuard));
}

// The way the program ends: a child process serves on its standard input and output, and exits
// once its input ends while a request is still running, one that would never end by itself.
TEST(MCPServer, EndOfInputEndsTheProcessWithStatusZero) {
  int toChild[2], fromChild[2];
  ASSERT_EQ(::pipe(toChild), 0);
  ASSERT_EQ(::pipe(fromChild), 0);
  pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::dup2(toChild[0], STDIN_FILENO);
    ::dup2(fromChild[1], STDOUT_FILENO);
    for (int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]}) ::close(fd);
    Logger::setSink([](Logger::Level, std::string_view, std::string_view) {});
    auto server = new Server({"vorno", "Vorno", "1"}, {});
    server->withMethodHandler("endless", [](const Value&, RequestContext& context) -> Value {
      context.notify("notifications/started", Value());
      for (;;) ::pause();
    });
    server->start(StdioTransport::standardStreams());
    server->waitUntilCompleted();
    std::_Exit(0);
  }
  ::close(toChild[0]);
  ::close(fromChild[1]);
  std::string input = ServerHarness::request("1", "ping") + "\n" + ServerHarness::request("2", "endless") + "\n";
  ASSERT_EQ(::write(toChild[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
  // The ping's answer and the endless request's first words, in either order: the child serves,
  // and the request runs.
  std::string output;
  auto guard = std::chrono::steady_clock::now() + hangGuard;
  while ((output.find(R"("id":1)") == std::string::npos || output.find("notifications/started") == std::string::npos) &&
         std::chrono::steady_clock::now() < guard) {
    pollfd entry{fromChild[0], POLLIN, 0};
    if (::poll(&entry, 1, 1000) <= 0) continue;
    char chunk[4096];
    ssize_t n = ::read(fromChild[0], chunk, sizeof chunk);
    if (n <= 0) break;
    output.append(chunk, static_cast<size_t>(n));
  }
  EXPECT_NE(output.find(R"("id":1)"), std::string::npos) << output;
  EXPECT_NE(output.find("notifications/started"), std::string::npos) << output;
  ::close(toChild[1]);
  // The request never ends, so waiting for it would never end either.
  int status = 0;
  pid_t ended = 0;
  while ((ended = ::waitpid(child, &status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < guard)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  if (ended != child) {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
  ::close(fromChild[0]);
  ASSERT_EQ(ended, child) << "the running request was waited for";
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(MCPServer, InitializedNotificationNeedsNoHandlerAndGetsNoAnswer) {
  ServerHarness h;
  h.start();
  h.exchange(ServerHarness::initialize("1"));
  h.client.sendLine(ServerHarness::notification("notifications/initialized"));
  h.client.sendLine(ServerHarness::request("2", "ping"));
  EXPECT_EQ(h.client.readMessage().find("id")->intValue(), 2);
  EXPECT_EQ(h.markAndReadNext(), ServerHarness::markAnswer);
}

TEST(MCPServer, StrictModeOffAnswersMethodsBeforeInitialize) {
  ServerHarness h;
  h.server.withMethodHandler("tools/list", [](const Value&, RequestContext&) {
    return Value(Value::Object{{"tools", Value(Value::Array{})}});
  });
  h.start();
  Value response = h.exchange(ServerHarness::request("1", "tools/list"));
  EXPECT_NE(response.find("result"), nullptr);
}

TEST(MCPServer, StrictModeRefusesMethodsBeforeInitialize) {
  ServerHarness h(testing::testOptions(/*strict=*/true));
  h.server.withMethodHandler("tools/list", [](const Value&, RequestContext&) { return Value(Value::Object{}); });
  h.start();
  Value refused = h.exchange(ServerHarness::request("1", "tools/list"));
  EXPECT_EQ(errorMessage(refused), "Invalid Request: Server is not initialized");
  EXPECT_NE(h.exchange(ServerHarness::request("2", "ping")).find("result"), nullptr);
  h.exchange(ServerHarness::initialize("3"));
  EXPECT_NE(h.exchange(ServerHarness::request("4", "tools/list")).find("result"), nullptr);
}

TEST(MCPServer, HandlerFailuresBecomeErrorResponses) {
  ServerHarness h;
  h.server.withMethodHandler("protocol", [](const Value&, RequestContext&) -> Value {
    throw MCPError::invalidParams("Unknown resource vorno://nope");
  });
  h.server.withMethodHandler("library", [](const Value&, RequestContext&) -> Value {
    throw VornoError::notFound("No slide named intro: list the slides with project_get.");
  });
  h.server.withMethodHandler("other", [](const Value&, RequestContext&) -> Value { throw 42; });
  h.start();
  Value protocol = h.exchange(ServerHarness::request("1", "protocol"));
  EXPECT_EQ(errorCode(protocol), -32602);
  EXPECT_EQ(errorMessage(protocol), "Invalid params: Unknown resource vorno://nope");
  Value library = h.exchange(ServerHarness::request("2", "library"));
  EXPECT_EQ(errorCode(library), -32603);
  EXPECT_EQ(errorMessage(library), "Internal error: No slide named intro: list the slides with project_get.");
  Value other = h.exchange(ServerHarness::request("3", "other"));
  EXPECT_EQ(errorCode(other), -32603);
}

TEST(MCPServer, HandlerReceivesParamsOrAnEmptyObject) {
  ServerHarness h;
  h.server.withMethodHandler("echo", [](const Value& params, RequestContext&) { return params; });
  h.start();
  EXPECT_EQ(h.exchange(ServerHarness::request("1", "echo", R"({"a":[1,2.5]})")).find("result")->wire(),
            R"({"a":[1,2.5]})");
  EXPECT_EQ(h.exchange(ServerHarness::request("2", "echo")).find("result")->wire(), "{}");
}

// Requests beyond the cap wait unread: no thread is started for them, and the loop handles
// nothing after them (here a ping) until a running request ends.
TEST(MCPServer, RequestsBeyondTheCapWaitUntilARunningOneEnds) {
  LogCapture log;
  auto options = testing::testOptions();
  options.maxRequestsInFlight = 2;
  ServerHarness h(options);
  std::mutex lock;
  std::condition_variable changed;
  int started = 0;
  bool released = false;
  h.server.withMethodHandler("hold", [&](const Value&, RequestContext&) {
    std::unique_lock guard(lock);
    ++started;
    changed.notify_all();
    changed.wait(guard, [&] { return released; });
    return Value(Value::Object{});
  });
  h.start();
  for (int id = 1; id <= 3; ++id) h.client.sendLine(ServerHarness::request(std::to_string(id), "hold"));
  h.client.sendLine(ServerHarness::request("\"after\"", "ping"));

  ASSERT_TRUE(log.waitFor("Reading on when one of the 2 running requests ends"));
  {
    // The loop is held; the two threads it started reach their handlers in their own time.
    std::unique_lock guard(lock);
    ASSERT_TRUE(changed.wait_for(guard, hangGuard, [&] { return started >= 2; }));
    EXPECT_EQ(started, 2);
  }
  EXPECT_EQ(h.server.runningRequestCount(), 2u);
  int written = -1;
  ASSERT_EQ(::ioctl(h.client.clientInput(), FIONREAD, &written), 0);
  EXPECT_EQ(written, 0);  // the ping behind the third request is not answered yet

  {
    std::lock_guard guard(lock);
    released = true;
  }
  changed.notify_all();
  std::set<std::string> answered;
  for (int i = 0; i < 4; ++i) {
    Value answer = h.client.readMessage();
    ASSERT_NE(answer.find("id"), nullptr);
    answered.insert(answer.find("id")->wire());
  }
  EXPECT_EQ(answered, (std::set<std::string>{"1", "2", "3", "\"after\""}));
  std::lock_guard guard(lock);
  EXPECT_EQ(started, 3);
}

TEST(MCPServer, ServerStartedIsLoggedWithNameAndVersion) {
  LogCapture log;
  ServerHarness h;
  h.start();
  EXPECT_TRUE(log.contains("mcp.server: Server started name=vorno version=9.9.9"));
}

}  // namespace
}  // namespace vorno::mcp::server_test
