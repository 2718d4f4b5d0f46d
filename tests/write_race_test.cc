// A folder of the package swapped for a link to somewhere else at the worst moment: after the
// writer looked at the path and before it creates its file there. The server is held by the test
// as it opens the file (a seccomp hold on the open), the swap is made, and it goes on: the file
// stays in the folder the server had looked at, and nothing lands outside.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/held_opens.h"
#include "tests/mcp_process.h"
#include "tests/temp_folder.h"

namespace vorno::write_race_test {
namespace {

namespace fs = std::filesystem;
using testing::MCPProcess;

std::string readText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string toolCall(int id, const std::string& tool, const std::string& arguments) {
  return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" + tool +
         R"(","arguments":{)" + arguments + "}}}";
}

// A temporary file of a write whose target is named `name`: ".<name>.<UUID>".
bool temporaryOf(const std::string& path, const std::string& name) {
  return fs::path(path).filename().string().starts_with("." + name);
}

class WriteRace : public ::testing::Test {
 protected:
  WriteRace() {
    fs::path example = fs::path(VORNO_SOURCE_DIR) / "examples/Demo.vorno";
    fs::create_directories(package() / "renders");
    for (const char* part : {"project.json", "captures", "assets"})
      if (fs::exists(example / part)) fs::copy(example / part, package() / part, fs::copy_options::recursive);
    fs::create_directories(outside());
    std::ofstream(outside() / "canary.txt") << "untouched";
  }

  fs::path package() const { return folder_.path() / "Demo.vorno"; }
  fs::path outside() const { return folder_.path() / "outside"; }

  // Only the canary outside, with its bytes.
  void expectOutsideUntouched() const {
    EXPECT_EQ(readText(outside() / "canary.txt"), "untouched");
    for (const auto& entry : fs::directory_iterator(outside()))
      EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
  }

  // `folder` of the package moves aside to "<folder>-looked-at", and a link to outside takes its
  // name.
  void swapForALink(const std::string& folder) const {
    fs::rename(package() / folder, package() / (folder + "-looked-at"));
    fs::create_directory_symlink(outside(), package() / folder);
  }

  testing::TempFolder folder_{"vorno-write-race"};
};

TEST_F(WriteRace, RendersFolderSwappedForALinkJustBeforeTheFileIsCreatedWritesNothingOutside) {
  // The render's temporary file is ".week__<target>__<locale>.png.<UUID>" beside its place.
  testing::HeldOpens held([](const std::string& path) { return temporaryOf(path, "week__"); });
  MCPProcess server(folder_.path().string(), "/dev/null", {}, VORNO_BINARY, held.inChild());
  held.start();
  server.sendLine(toolCall(1, "render_slide", R"("project":")" + package().string() + R"(","slide":"week")"));
  ASSERT_TRUE(held.waitUntilHeld()) << "the render never created its file";

  swapForALink("renders");
  held.release();
  mcp::Value answer = server.answerTo(1);
  ASSERT_FALSE(answer.isNull()) << "no answer";

  expectOutsideUntouched();
  // The picture is where the server had looked: in the real folder, now renamed.
  size_t pictures = 0;
  for (const auto& entry : fs::directory_iterator(package() / "renders-looked-at"))
    pictures += entry.path().filename().string().starts_with("week__") ? 1 : 0;
  EXPECT_EQ(pictures, 1u);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

TEST_F(WriteRace, FontsFolderSwappedForALinkJustBeforeTheCopyIsCreatedWritesNothingOutside) {
  fs::create_directories(package() / "fonts");
  testing::HeldOpens held([](const std::string& path) { return temporaryOf(path, "Brand.ttf."); });
  MCPProcess server(folder_.path().string(), "/dev/null", {}, VORNO_BINARY, held.inChild());
  held.start();
  server.sendLine(toolCall(1, "asset_add",
                           R"("project":")" + package().string() +
                               R"(","name":"Brand.ttf","source_path":"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf")"));
  ASSERT_TRUE(held.waitUntilHeld()) << "the font was never copied";
  swapForALink("fonts");
  held.release();
  ASSERT_FALSE(server.answerTo(1).isNull()) << "no answer";

  expectOutsideUntouched();
  EXPECT_EQ(readText(package() / "fonts-looked-at" / "Brand.ttf"),
            readText("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"));
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

}  // namespace
}  // namespace vorno::write_race_test
