#include "server/vorno_server.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>

#include "kit/store/activity_log.h"
#include "mcp/testing/pipe_client.h"
#include "server/agent_identity.h"
#include "server/tool_registry.h"
#include "server/tool_test_support.h"

namespace vorno::vorno_server_test {
namespace {

using testing::ToolHarness;

std::vector<nlohmann::json> logOf(const std::string& package) {
  std::vector<nlohmann::json> events;
  std::ifstream file(std::filesystem::path(package) / ".activity.jsonl");
  for (std::string line; std::getline(file, line);)
    if (!line.empty()) events.push_back(nlohmann::json::parse(line));
  return events;
}

/// A number as the wire gave it: whole numbers arrive as integers.
double numberOf(const mcp::Value* value) {
  if (!value) return -1;
  if (auto number = value->doubleValue()) return *number;
  return static_cast<double>(value->intValue().value_or(-1));
}

bool anyActivityLogBelow(const std::filesystem::path& folder) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.path().filename() == ".activity.jsonl") return true;
  return false;
}

class ScopedHome {
 public:
  explicit ScopedHome(const std::string& home) {
    if (const char* old = std::getenv("HOME")) old_ = old;
    setenv("HOME", home.c_str(), 1);
  }
  ~ScopedHome() {
    if (old_) setenv("HOME", old_->c_str(), 1);
    else unsetenv("HOME");
  }

 private:
  std::optional<std::string> old_;
};

TEST(VornoServer, CallWithArgumentsAbsentEntirelyBehavesAsWithAnEmptyMap) {
  ToolHarness harness;
  mcp::Value result = VornoServer::callTool(mcp::Value::Object{{"name", "project_get"}}, harness.context(), nullptr);
  EXPECT_EQ(result.wire(),
            R"({"content":[{"text":"project_get: project is required.","type":"text"}],"isError":true})");
}

TEST(VornoServer, ProjectArgumentThatIsNoStringIsTreatedLikeAMissingOne) {
  ToolHarness harness;
  harness.package("App.vorno");
  auto result = harness.call("project_get", R"({"project": 3})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "project_get: project is required.");
  EXPECT_FALSE(anyActivityLogBelow(harness.folder()));
}

TEST(VornoServer, FailingCallLeavesStartedAndFailedEventsWithOneID) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("slide_delete", R"({"project": "App.vorno", "id": "nowhere"})");
  ASSERT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "No slide nowhere.");
  auto events = logOf(package);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["phase"], "started");
  EXPECT_EQ(events[1]["phase"], "failed");
  EXPECT_EQ(events[0]["id"], events[1]["id"]);
  EXPECT_EQ(events[1]["error"], "No slide nowhere.");
  EXPECT_EQ(events[0]["tool"], "slide_delete");
  EXPECT_EQ(events[0]["summary"], "Deleted slide nowhere");
  EXPECT_EQ(events[0]["slide"], "nowhere");
}

TEST(VornoServer, CallOnAFolderThatIsNoPackageLeavesNoLogThere) {
  // "/" was the case found: any existing folder named as the project got a log, even for a
  // call that failed. A plain folder of the test's own stands in for it.
  ToolHarness harness;
  const std::filesystem::path plain = harness.folder() / "Plain";
  std::filesystem::create_directories(plain);
  auto result = harness.call("project_get", R"({"project": ")" + plain.string() + R"("})");
  ASSERT_TRUE(result.isError);
  EXPECT_FALSE(std::filesystem::exists(plain / ".activity.jsonl"));
  EXPECT_FALSE(anyActivityLogBelow(harness.folder()));
}

TEST(VornoServer, SucceedingCallLeavesStartedAndFinishedEventsWithOneID) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno", {"intro"});
  auto result = harness.call("project_get", R"({"project": "App.vorno"})");
  ASSERT_FALSE(result.isError) << result.text();
  auto events = logOf(package);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["phase"], "started");
  EXPECT_EQ(events[1]["phase"], "finished");
  EXPECT_EQ(events[0]["id"], events[1]["id"]);
  EXPECT_EQ(events[1]["summary"], "Read the project");
  EXPECT_FALSE(events[1].contains("error"));
}

TEST(VornoServer, UnknownToolAnswersWithWordsAndLogsNothing) {
  ToolHarness harness;
  harness.package("App.vorno");
  auto result = harness.call("slide_paint", R"({"project": "App.vorno"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "Unknown tool slide_paint.");
  EXPECT_FALSE(anyActivityLogBelow(harness.folder()));
}

TEST(VornoServer, NullSlideReadsAsAbsentSoTheToolSaysItIsRequired) {
  ToolHarness harness;
  harness.package("App.vorno");
  auto result = harness.call("slide_upsert", R"({"project": "App.vorno", "slide": null})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "slide_upsert: slide is required.");
}

TEST(VornoServer, ProjectWithATildeLogsToTheSameFileAsTheExpandedPath) {
  ToolHarness harness;
  std::string package = harness.package("App.vorno");
  ScopedHome home(harness.folder().string());
  ASSERT_FALSE(harness.call("project_get", R"({"project": "~/App.vorno"})").isError);
  ASSERT_FALSE(harness.call("project_get", nlohmann::json{{"project", package}}.dump()).isError);
  auto events = logOf(package);
  ASSERT_EQ(events.size(), 4u);
  EXPECT_NE(events[0]["id"], events[2]["id"]);
}

TEST(VornoServer, ToolsListShowsAdditionalPropertiesFalseForEverySchema) {
  mcp::Value list = VornoServer::listTools();
  const mcp::Value::Array& tools = *list.find("tools")->arrayValue();
  ASSERT_EQ(tools.size(), 24u);
  for (size_t i = 0; i < tools.size(); ++i) {
    EXPECT_EQ(*tools[i].find("name")->stringValue(), ToolRegistry::order()[i]);
    const mcp::Value* schema = tools[i].find("inputSchema");
    ASSERT_TRUE(schema);
    EXPECT_EQ(schema->find("type")->stringValue() ? *schema->find("type")->stringValue() : "", "object");
    ASSERT_TRUE(schema->find("additionalProperties")) << *tools[i].find("name")->stringValue();
    EXPECT_EQ(schema->find("additionalProperties")->boolValue(), false);
    EXPECT_FALSE(tools[i].find("description")->stringValue()->empty());
  }
}

TEST(VornoServer, RegistryHoldsTheTwentyFourToolsWithTheirHints) {
  ASSERT_EQ(ToolRegistry::tools().size(), 24u);
  std::set<std::string> readOnly, destructive;
  for (const auto& tool : ToolRegistry::tools()) {
    ToolAnnotations hints = tool->annotations();
    if (hints.readOnlyHint == true) readOnly.insert(tool->name());
    if (hints.destructiveHint == true) destructive.insert(tool->name());
    EXPECT_FALSE(hints.idempotentHint || hints.openWorldHint) << tool->name();
    EXPECT_EQ(ToolRegistry::named(tool->name()), tool.get());
  }
  EXPECT_EQ(readOnly, (std::set<std::string>{"project_get", "render_slide", "render_overview", "render_spread",
                                             "render_creative", "devices_list", "lint"}));
  EXPECT_EQ(destructive,
            (std::set<std::string>{"slide_delete", "spread_delete", "creative_delete", "variant_delete"}));
  EXPECT_EQ(ToolRegistry::named("nothing"), nullptr);
}

TEST(VornoServer, DefaultActivityPutsTheNameInWords) {
  EXPECT_EQ(Tool::wordsOf("spread_delete"), "Spread Delete");
  EXPECT_EQ(Tool::wordsOf("lint"), "Lint");
}

TEST(AgentIdentity, KnownAssistantsAreNamedAsUsersKnowThem) {
  AgentIdentity identity;
  EXPECT_EQ(identity.name(), "Agent");  // before initialize
  identity.set("Claude Code");
  EXPECT_EQ(identity.name(), "Claude");
  identity.set("claude-desktop");
  EXPECT_EQ(identity.name(), "Claude");
  identity.set("My Client");
  EXPECT_EQ(identity.name(), "My Client");
  identity.set("");
  EXPECT_EQ(identity.name(), "Agent");
  identity.set("OpenAI Codex CLI");
  EXPECT_EQ(identity.name(), "Codex");
  identity.set("cursor-vscode");
  EXPECT_EQ(identity.name(), "Cursor");
  identity.set("codex meets claude");  // the first word of the list wins
  EXPECT_EQ(identity.name(), "Claude");
}

/// The whole server on a pipe, as `vorno mcp` runs it.
class ServedVorno : public ::testing::Test {
 protected:
  ServedVorno() : server_(VornoServer::make(harness_.context())) {
    server_->start(client_.transport(), [](const mcp::ClientInfo& client, const mcp::Value&) {
      AgentIdentity::shared().set(client.name);
    });
  }
  ~ServedVorno() override { server_->stop(); }

  mcp::Value exchange(const std::string& line) {
    client_.sendLine(line);
    return client_.readMessage(std::chrono::seconds(60));
  }

  ToolHarness harness_;
  mcp::testing::PipeClient client_;
  std::unique_ptr<mcp::Server> server_;
};

TEST_F(ServedVorno, BeforeInitializeTheAgentIsAgentAfterItTheClientsName) {
  std::string package = harness_.package("App.vorno");
  std::string get = R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"project_get","arguments":{"project":"App.vorno"}}})";
  exchange(get);
  exchange(R"({"jsonrpc":"2.0","id":2,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"Claude Code","version":"2"}}})");
  exchange(get);
  auto events = logOf(package);
  ASSERT_EQ(events.size(), 4u);
  EXPECT_EQ(events[0]["agent"], "Agent");
  EXPECT_EQ(events[1]["agent"], "Agent");
  EXPECT_EQ(events[2]["agent"], "Claude");
  EXPECT_EQ(events[3]["agent"], "Claude");
}

TEST_F(ServedVorno, InitializeAnswersWithInstructionsAndCapabilities) {
  mcp::Value answer = exchange(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"x","version":"1"}}})");
  const mcp::Value* result = answer.find("result");
  ASSERT_TRUE(result) << answer.wire();
  EXPECT_EQ(*result->find("instructions")->stringValue(), VornoServer::instructions());
  EXPECT_EQ(result->find("capabilities")->wire(),
            R"({"resources":{"listChanged":false,"subscribe":false},"tools":{"listChanged":false}})");
  EXPECT_EQ(result->find("serverInfo")->wire(), R"({"name":"vorno","title":"Vorno","version":"1.5.0"})");
}

TEST_F(ServedVorno, UnknownResourceIsAProtocolErrorNotAToolFailure) {
  mcp::Value answer = exchange(R"({"jsonrpc":"2.0","id":7,"method":"resources/read","params":{"uri":"vorno://nothing"}})");
  EXPECT_EQ(answer.find("error")->wire(),
            R"({"code":-32602,"data":{"detail":"Unknown resource vorno://nothing"},"message":"Invalid params: Unknown resource vorno://nothing"})");
}

TEST_F(ServedVorno, ResourcesListTheThreeGuidesAsMarkdown) {
  mcp::Value answer = exchange(R"({"jsonrpc":"2.0","id":3,"method":"resources/list"})");
  const mcp::Value::Array& resources = *answer.find("result")->find("resources")->arrayValue();
  ASSERT_EQ(resources.size(), 3u);
  EXPECT_EQ(*resources[0].find("uri")->stringValue(), "vorno://guide");
  EXPECT_EQ(*resources[1].find("uri")->stringValue(), "vorno://targets");
  EXPECT_EQ(*resources[2].find("uri")->stringValue(), "vorno://recipes");
  for (const mcp::Value& resource : resources) EXPECT_EQ(*resource.find("mimeType")->stringValue(), "text/markdown");
  mcp::Value read = exchange(R"({"jsonrpc":"2.0","id":4,"method":"resources/read","params":{"uri":"vorno://targets"}})");
  const mcp::Value& content = (*read.find("result")->find("contents")->arrayValue())[0];
  EXPECT_EQ(*content.find("uri")->stringValue(), "vorno://targets");
  EXPECT_TRUE(content.find("text")->stringValue()->starts_with("# Store targets\n"));
}

TEST_F(ServedVorno, ExportWithAProgressTokenSendsGrowingProgressBeforeItsAnswer) {
  harness_.package("App.vorno", {"one", "two", "three"});
  client_.sendLine(R"({"jsonrpc":"2.0","id":9,"method":"tools/call","params":{"name":"export","arguments":{"project":"App.vorno"},"_meta":{"progressToken":"p1"}}})");
  std::vector<double> steps;
  double total = 0;
  mcp::Value answer;
  for (;;) {
    mcp::Value message = client_.readMessage(std::chrono::seconds(120));
    ASSERT_FALSE(message.isNull()) << "no answer";
    if (message.find("id")) {
      answer = message;
      break;
    }
    ASSERT_EQ(*message.find("method")->stringValue(), "notifications/progress");
    const mcp::Value* params = message.find("params");
    EXPECT_EQ(*params->find("progressToken")->stringValue(), "p1");
    steps.push_back(numberOf(params->find("progress")));
    total = numberOf(params->find("total"));
    EXPECT_FALSE(params->find("message")->stringValue()->empty());
  }
  EXPECT_EQ(answer.find("result")->find("isError")->boolValue(), false) << answer.wire();
  ASSERT_EQ(steps.size(), 3u);
  for (size_t i = 1; i < steps.size(); ++i) EXPECT_GT(steps[i], steps[i - 1]);
  EXPECT_EQ(steps.back(), total);
}

TEST_F(ServedVorno, ExportWithoutAProgressTokenSendsOnlyItsAnswer) {
  harness_.package("App.vorno", {"one"});
  mcp::Value answer = exchange(R"({"jsonrpc":"2.0","id":9,"method":"tools/call","params":{"name":"export","arguments":{"project":"App.vorno"}}})");
  EXPECT_TRUE(answer.find("id")) << answer.wire();
  EXPECT_EQ(answer.find("result")->find("isError")->boolValue(), false) << answer.wire();
}

}  // namespace
}  // namespace vorno::vorno_server_test
