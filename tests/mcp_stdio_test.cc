// `vorno mcp` as a host runs it: a child process on pipes, fed lines a well-behaved client would
// never send, many at once, and an input that closes early. It answers what it should, never
// crashes, writes nothing but protocol to standard output, and exits 0 at the end of its input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "tests/held_opens.h"
#include "tests/mcp_process.h"
#include "tests/temp_folder.h"
#include "tests/thread_waits.h"

namespace vorno::mcp_stdio_test {
namespace {

namespace fs = std::filesystem;
using testing::MCPProcess;
using namespace std::chrono_literals;

std::string request(int id, const std::string& method, const std::string& params = "") {
  std::string text = R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":")" + method + "\"";
  if (!params.empty()) text += R"(,"params":)" + params;
  return text + "}";
}

std::string toolCall(int id, const std::string& tool, const std::string& arguments) {
  return request(id, "tools/call", R"({"name":")" + tool + R"(","arguments":)" + arguments + "}");
}

bool isError(const mcp::Value& answer) {
  const mcp::Value* result = answer.find("result");
  return !result || result->find("isError")->boolValue().value_or(true);
}

std::string readText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

/// Waits until the file at `path` holds `text`; false only after the hang guard.
bool waitForLine(const fs::path& path, const std::string& text) {
  const auto guard = std::chrono::steady_clock::now() + testing::hangGuard;
  while (readText(path).find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() > guard) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// Picks the opening of a package's project.json: a call that reads the document is held there,
/// so the test knows it is running and can't finish.
bool opensTheDocument(const std::string& path) { return path.ends_with("/project.json"); }

/// The example package, copied without its renders and exports.
class StdioServer : public ::testing::Test {
 protected:
  StdioServer() {
    fs::path example = fs::path(VORNO_SOURCE_DIR) / "examples/Demo.vorno";
    fs::create_directories(package());
    for (const char* part : {"project.json", "captures", "assets"})
      if (fs::exists(example / part)) fs::copy(example / part, package() / part, fs::copy_options::recursive);
  }

  fs::path package() const { return folder_.path() / "Demo.vorno"; }
  std::string projectArgument() const { return R"("project":")" + package().string() + "\""; }

  testing::TempFolder folder_{"vorno-mcp-stdio"};
};

TEST_F(StdioServer, EndOfInputEndsTheProcessWithStatusZero) {
  MCPProcess server(folder_.path().string());
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(StdioServer, LineThatIsNotJSONGetsNoAnswerAndTheNextLineIsReadNormally) {
  MCPProcess server(folder_.path().string());
  server.sendLine("this is not json {");
  server.sendLine(request(2, "ping"));
  mcp::Value answer = server.readMessage();
  EXPECT_EQ(answer.find("id")->intValue(), 2) << answer.wire();
  EXPECT_EQ(answer.find("result")->wire(), "{}");
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

// The most memory the process has held so far (VmHWM), in bytes.
long peakResidentBytes(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6) * 1024;
  }
  return -1;
}

TEST_F(StdioServer, TwentyMegabyteLineOfSmallIntegersIsRefusedWithinBoundedMemory) {
  MCPProcess server(folder_.path().string());
  // Ten million small integers: decoded whole, they took 1.6 GB.
  std::string integers;
  integers.reserve(20 * 1000 * 1000);
  while (integers.size() < 20 * 1000 * 1000) integers += "1,";
  integers += "1";
  server.sendLine(toolCall(1, "project_get", R"({"numbers":[)" + integers + "]}"));
  mcp::Value refusal = server.answerTo(1);
  ASSERT_NE(refusal.find("error"), nullptr) << refusal.wire().substr(0, 300);
  EXPECT_EQ(refusal.find("error")->find("code")->intValue(), -32600);
  EXPECT_LT(peakResidentBytes(server.pid()), 200L << 20);
  // A tool given an argument of 3 MB, under the limit, answers with words.
  server.sendLine(toolCall(2, "project_get", R"({"project":")" + std::string(3 << 20, 'x') + ".vorno\"}"));
  mcp::Value answer = server.answerTo(2);
  EXPECT_TRUE(isError(answer)) << answer.wire().substr(0, 300);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(StdioServer, FiftyRequestsInFlightAreAllAnsweredOnce) {
  MCPProcess server(folder_.path().string());
  std::string lines;
  for (int id = 1; id <= 50; ++id) {
    if (id % 5 == 0) lines += toolCall(id, "lint", "{" + projectArgument() + "}") + "\n";
    else if (id % 5 == 1) lines += request(id, "tools/list") + "\n";
    else lines += toolCall(id, "project_get", "{" + projectArgument() + "}") + "\n";
  }
  server.write(lines);
  std::set<int64_t> answered;
  for (int i = 0; i < 50; ++i) {
    mcp::Value answer = server.readMessage();
    ASSERT_FALSE(answer.isNull()) << "only " << answered.size() << " answers";
    ASSERT_TRUE(answer.find("result")) << answer.wire().substr(0, 300);
    EXPECT_TRUE(answered.insert(*answer.find("id")->intValue()).second);
  }
  EXPECT_EQ(answered.size(), 50u);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(StdioServer, BatchMixingRequestsAndNotificationsAnswersTheRequestsInOrder) {
  MCPProcess server(folder_.path().string());
  server.sendLine("[" + request(1, "ping") + R"(,{"jsonrpc":"2.0","method":"notifications/initialized"},)" +
                  request(2, "resources/list") + "]");
  mcp::Value answer = server.readMessage();
  ASSERT_TRUE(answer.arrayValue()) << answer.wire();
  ASSERT_EQ(answer.arrayValue()->size(), 2u);
  EXPECT_EQ((*answer.arrayValue())[0].find("id")->intValue(), 1);
  EXPECT_EQ((*answer.arrayValue())[1].find("id")->intValue(), 2);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(StdioServer, CancelledRenderGetsNoAnswerWhileOthersDo) {
  // The render is held as it opens project.json, so the cancellation is known to reach it while
  // it runs.
  testing::HeldOpens held(opensTheDocument);
  const fs::path log = folder_.path() / "stderr.txt";
  MCPProcess server(folder_.path().string(), log.string(), {"VORNO_MCP_DEBUG=1"}, VORNO_BINARY, held.inChild());
  held.start();
  server.sendLine(toolCall(5, "render_overview", "{" + projectArgument() + "}"));
  ASSERT_TRUE(held.waitUntilHeld()) << "the render never read the document";
  server.sendLine(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":5,"reason":"user"}})");
  ASSERT_TRUE(waitForLine(log, "Cancelled request id=5 reason=user"));

  // Let go, it runs to its end, and its answer is withheld.
  held.release();
  ASSERT_TRUE(waitForLine(log, "Response withheld for cancelled request id=5")) << "the cancelled render never ended";

  // Others are answered, and the cancelled call never is.
  server.sendLine(request(6, "ping"));
  EXPECT_EQ(server.answerTo(6).find("result")->wire(), "{}");
  server.sendLine(toolCall(7, "render_overview", "{" + projectArgument() + ", \"words_only\": true}"));
  mcp::Value later = server.answerTo(7);
  EXPECT_FALSE(isError(later)) << later.wire().substr(0, 300);
  for (const mcp::Value& passed : server.skipped) EXPECT_NE(passed.find("id")->intValue(), 5) << "answer of a cancelled call";
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(StdioServer, InputClosedInTheMiddleOfACallStillAnswersItAndExitsZero) {
  // The render is held as it opens project.json until the server has read the end of its input:
  // it is surely in the middle. (Once let go it must end within the server's grace after end of
  // input, ten seconds; it takes a fraction of one.)
  testing::HeldOpens held(opensTheDocument);
  const fs::path log = folder_.path() / "stderr.txt";
  MCPProcess server(folder_.path().string(), log.string(), {}, VORNO_BINARY, held.inChild());
  held.start();
  server.sendLine(toolCall(3, "render_slide", "{" + projectArgument() + R"(, "slide": "week"})"));
  ASSERT_TRUE(held.waitUntilHeld()) << "the server ended before the render read the document";
  server.closeInput();
  ASSERT_TRUE(waitForLine(log, "EOF received"));
  held.release();
  mcp::Value answer;
  bool ended = false;
  const auto guard = std::chrono::steady_clock::now() + testing::hangGuard;
  while (answer.isNull() && !ended && std::chrono::steady_clock::now() < guard) {
    ended = server.waitForExit(0s).has_value();
    answer = server.messageWaiting();  // after the look at the exit, so an answer before it is seen
    if (answer.isNull()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ASSERT_FALSE(answer.isNull()) << (ended ? "the server ended without answering" : "no answer");
  EXPECT_EQ(answer.find("id")->intValue(), 3) << answer.wire().substr(0, 300);
  EXPECT_FALSE(isError(answer)) << answer.wire().substr(0, 300);
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(StdioServer, LibrariesLoggingNeverReachesTheProtocolStream) {
  // A font family that isn't installed and a capture that isn't there make the text and image
  // libraries talk; whatever they say must go to standard error.
  MCPProcess server(folder_.path().string(), (folder_.path() / "stderr.txt").string());
  const std::string slide =
      R"({"id": "odd", "headline": "Odd **font**", "textStyles": {"headline": {"fontFamily": "No Such Family"}}, )"
      R"("device": {"screenshot": "captures/{locale}/missing.png"}})";
  server.sendLine(toolCall(1, "slide_upsert", "{" + projectArgument() + R"(, "slide": )" + slide + "}"));
  mcp::Value saved = server.answerTo(1);
  ASSERT_FALSE(isError(saved)) << saved.wire().substr(0, 300);
  server.sendLine(toolCall(2, "render_slide", "{" + projectArgument() + R"(, "slide": "odd"})"));
  mcp::Value answer = server.answerTo(2);  // readMessage throws on any line that is no JSON
  EXPECT_FALSE(isError(answer)) << answer.wire().substr(0, 300);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

}  // namespace
}  // namespace vorno::mcp_stdio_test
