// Answers stay valid UTF-8 when the names on disk are not: a capture named with the byte 0xFE, a
// working directory with 0xFF. A client that meets one invalid byte drops the whole message.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>

#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "mcp/testing/pipe_client.h"
#include "server/tool_test_support.h"
#include "server/vorno_server.h"

namespace vorno::valid_wire_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;

// Written apart from the program's own encoder, so that a fault there can't hide itself here.
bool wellFormedUTF8(const std::string& bytes) {
  for (size_t i = 0; i < bytes.size();) {
    const uint8_t lead = static_cast<uint8_t>(bytes[i]);
    size_t length = lead < 0x80 ? 1 : lead >= 0xC2 && lead <= 0xDF ? 2 : lead >= 0xE0 && lead <= 0xEF ? 3
                                  : lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
    if (length == 0 || i + length > bytes.size()) return false;
    uint32_t scalar = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
      const uint8_t next = static_cast<uint8_t>(bytes[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      scalar = (scalar << 6) | (next & 0x3F);
    }
    const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (scalar < least[length] || scalar > 0x10FFFF || (scalar >= 0xD800 && scalar <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

/// The server on a pipe, working in a folder whose name holds the byte 0xFF, with a package whose
/// captures/ holds a file whose name holds 0xFE.
class OddBytesOnDisk : public ::testing::Test {
 protected:
  OddBytesOnDisk() : context_(harness_.context()) {
    context_.workingDirectory = context_.workingDirectory / "work\xFF";
    Slide slide;
    slide.id = "intro";
    slide.headline.values = {{"en-US", "Plan your day"}};
    Project project("App", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), {slide}, {});
    package_ = context_.workingDirectory / "App.vorno";
    FileProjectStore(package_).create(project);
    fs::create_directories(package_ / "captures" / "en-US");
    std::ofstream(package_ / "captures" / "en-US" / "shot\xFE.png") << "not looked at";
    server_ = VornoServer::make(context_);
    server_->start(client_.transport(), [](const mcp::ClientInfo&, const mcp::Value&) {});
  }
  ~OddBytesOnDisk() override { server_->stop(); }

  /// The answer's line as it came off the pipe, bytes untouched.
  std::string call(int id, const std::string& tool, const std::string& arguments) {
    client_.sendLine(R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" +
                     tool + R"(","arguments":)" + arguments + "}}");
    return client_.readLine(std::chrono::seconds(120)).value_or("");
  }

  ToolHarness harness_;
  ToolContext context_;
  fs::path package_;
  mcp::testing::PipeClient client_;
  std::unique_ptr<mcp::Server> server_;
};

TEST_F(OddBytesOnDisk, ProjectGetAnswerIsValidUTF8AndNamesTheCaptureWithAReplacementCharacter) {
  const std::string line = call(1, "project_get", R"({"project":"App.vorno"})");
  ASSERT_FALSE(line.empty());
  EXPECT_TRUE(wellFormedUTF8(line));
  auto answer = mcp::Value::parse(line);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->find("result")->find("isError")->boolValue(), false) << line;
  EXPECT_NE(line.find("captures/en-US/shot\xEF\xBF\xBD.png"), std::string::npos) << line;
  EXPECT_NE(line.find("work\xEF\xBF\xBD/App.vorno"), std::string::npos) << line;
}

TEST_F(OddBytesOnDisk, LintAnswerIsValidUTF8) {
  const std::string line = call(2, "lint", R"({"project":"App.vorno"})");
  ASSERT_FALSE(line.empty());
  EXPECT_TRUE(wellFormedUTF8(line));
  auto answer = mcp::Value::parse(line);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->find("result")->find("isError")->boolValue(), false) << line;
}

TEST_F(OddBytesOnDisk, AFailureNamingTheFolderIsValidUTF8) {
  const std::string line = call(3, "project_get", R"({"project":"Missing.vorno"})");
  ASSERT_FALSE(line.empty());
  EXPECT_TRUE(wellFormedUTF8(line));
  auto answer = mcp::Value::parse(line);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->find("result")->find("isError")->boolValue(), true) << line;
  EXPECT_NE(line.find("work\xEF\xBF\xBD/Missing.vorno"), std::string::npos) << line;
}

TEST_F(OddBytesOnDisk, ARenderInTheFolderStillWritesItsFileAndAnswersValidUTF8) {
  const std::string line = call(4, "render_slide", R"({"project":"App.vorno","slide":"intro"})");
  ASSERT_FALSE(line.empty());
  EXPECT_TRUE(wellFormedUTF8(line));
  auto answer = mcp::Value::parse(line);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->find("result")->find("isError")->boolValue(), false) << line;
  EXPECT_TRUE(fs::exists(package_ / "renders" / "intro__ios.iphone-6.9__en-US.png"));
  EXPECT_TRUE(fs::exists(package_ / "captures" / "en-US" / "shot\xFE.png"));  // the file itself is untouched
}

}  // namespace
}  // namespace vorno::valid_wire_test
