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

namespace vorno {
namespace {

namespace fs = std::filesystem;
using testing::MCPProcess;

std::string readText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string renderCall(int id, const fs::path& package, const std::string& slide) {
  return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
         R"(,"method":"tools/call","params":{"name":"render_slide","arguments":{"project":")" + package.string() +
         R"(","slide":")" + slide + R"("}}})";
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

  testing::TempFolder folder_{"vorno-write-race"};
};

TEST_F(WriteRace, RendersFolderSwappedForALinkJustBeforeTheFileIsCreatedWritesNothingOutside) {
  // The render's temporary file is ".week__<target>__<locale>.png.<UUID>" beside its place.
  testing::HeldOpens held([](const std::string& path) {
    return fs::path(path).filename().string().starts_with(".week__");
  });
  MCPProcess server(folder_.path().string(), "/dev/null", {}, VORNO_BINARY, held.inChild());
  held.start();
  server.sendLine(renderCall(1, package(), "week"));
  ASSERT_TRUE(held.waitUntilHeld()) << "the render never created its file";

  // The renders/ the server looked at moves aside, and a link to outside takes its name.
  fs::rename(package() / "renders", package() / "renders-looked-at");
  fs::create_directory_symlink(outside(), package() / "renders");
  held.release();
  mcp::Value answer = server.answerTo(1);
  ASSERT_FALSE(answer.isNull()) << "no answer";

  EXPECT_EQ(readText(outside() / "canary.txt"), "untouched");
  for (const auto& entry : fs::directory_iterator(outside()))
    EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
  // The picture is where the server had looked: in the real folder, now renamed.
  size_t pictures = 0;
  for (const auto& entry : fs::directory_iterator(package() / "renders-looked-at"))
    pictures += entry.path().filename().string().starts_with("week__") ? 1 : 0;
  EXPECT_EQ(pictures, 1u);
  server.closeInput();
  EXPECT_EQ(server.waitForExit(), 0);
}

}  // namespace
}  // namespace vorno
