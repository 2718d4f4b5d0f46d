// `vorno mcp` as a host runs it: a child process on pipes, fed lines a well-behaved client would
// never send, many at once, and an input that closes early. It answers what it should, never
// crashes, writes nothing but protocol to standard output, and exits 0 at the end of its input.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/mcp_process.h"
#include "tests/temp_folder.h"

namespace vorno {
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
  EXPECT_EQ(server.waitForExit(10s), 0);
}

TEST_F(StdioServer, LineThatIsNotJSONGetsNoAnswerAndTheNextLineIsReadNormally) {
  MCPProcess server(folder_.path().string());
  server.sendLine("this is not json {");
  server.sendLine(request(2, "ping"));
  mcp::Value answer = server.readMessage();
  EXPECT_EQ(answer.find("id")->intValue(), 2) << answer.wire();
  EXPECT_EQ(answer.find("result")->wire(), "{}");
  server.closeInput();
  EXPECT_EQ(server.waitForExit(10s), 0);
}

TEST_F(StdioServer, TwentyMegabyteLineIsReadWholeAndAnswered) {
  MCPProcess server(folder_.path().string());
  std::string pad(20 * 1024 * 1024, 'x');
  auto start = std::chrono::steady_clock::now();
  server.sendLine(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"pad":")" + pad + "\"}}");
  EXPECT_EQ(server.answerTo(1).find("result")->wire(), "{}");
  // And a tool given a 20 MB argument answers with words.
  server.sendLine(toolCall(2, "project_get", R"({"project":")" + pad + ".vorno\"}"));
  mcp::Value answer = server.answerTo(2);
  EXPECT_TRUE(isError(answer)) << answer.wire().substr(0, 300);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(10s), 0);
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
    mcp::Value answer = server.readMessage(60s);
    ASSERT_FALSE(answer.isNull()) << "only " << answered.size() << " answers";
    ASSERT_TRUE(answer.find("result")) << answer.wire().substr(0, 300);
    EXPECT_TRUE(answered.insert(*answer.find("id")->intValue()).second);
  }
  EXPECT_EQ(answered.size(), 50u);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(10s), 0);
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
  EXPECT_EQ(server.waitForExit(10s), 0);
}

TEST_F(StdioServer, CancelledRenderGetsNoAnswerWhileOthersDo) {
  MCPProcess server(folder_.path().string());
  server.sendLine(toolCall(5, "render_overview", "{" + projectArgument() + "}"));
  server.sendLine(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":5,"reason":"user"}})");
  server.sendLine(request(6, "ping"));
  EXPECT_EQ(server.answerTo(6).find("result")->wire(), "{}");
  // The render runs to its end in the background; its answer is withheld.
  server.sendLine(toolCall(7, "render_overview", "{" + projectArgument() + ", \"words_only\": true}"));
  mcp::Value later = server.answerTo(7, 120s);
  EXPECT_FALSE(isError(later)) << later.wire().substr(0, 300);
  server.sendLine(request(8, "ping"));
  server.answerTo(8);
  for (const mcp::Value& passed : server.skipped) EXPECT_NE(passed.find("id")->intValue(), 5) << "answer of a cancelled call";
  server.closeInput();
  EXPECT_EQ(server.waitForExit(20s), 0);
}

TEST_F(StdioServer, InputClosedInTheMiddleOfACallStillAnswersItAndExitsZero) {
  MCPProcess server(folder_.path().string());
  server.sendLine(toolCall(3, "render_slide", "{" + projectArgument() + R"(, "slide": "week"})"));
  server.closeInput();
  mcp::Value answer = server.answerTo(3, 60s);
  ASSERT_FALSE(answer.isNull());
  EXPECT_FALSE(isError(answer)) << answer.wire().substr(0, 300);
  EXPECT_EQ(server.waitForExit(20s), 0);
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
  EXPECT_EQ(server.waitForExit(20s), 0);
}

}  // namespace
}  // namespace vorno
