// A named pipe in a package where a picture should be: the render reports it as an issue and
// finishes, instead of waiting forever for a writer.
//
// How the test stays bounded: the render runs on a thread of the test; if it hasn't ended within
// the hang guard, the test opens and closes the pipe's writing end again and again, which lets
// every waiting open and read return, so the render ends and the test fails instead of hanging.
#include "tests/hang_guard.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <thread>

namespace vorno::testing {
namespace {

namespace fs = std::filesystem;

class RenderFIFO : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = folder_.path() / "Set.vorno";
    fs::create_directories(root_ / "captures");
    ASSERT_EQ(::mkfifo((root_ / "captures" / "pipe.png").c_str(), 0644), 0);
    std::ofstream(folder_.path() / "canary.txt") << "untouched";
    std::ofstream(root_ / "project.json")
        << R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
      "theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
      "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"}, "slides": [
      {"id": "phone", "headline": "Hello", "device": {"screenshot": "captures/pipe.png"}},
      {"id": "picture", "headline": "Hello", "elements": [{"id": "pic", "kind": "image", "image": "captures/pipe.png"}]}]})";
  }

  // Renders `slide`; a render stuck on the pipe is set free and reported as hung.
  ProcessResult render(const std::string& slide) {
    auto running = std::async(std::launch::async, [&] {
      return runVorno({"render", "--project", root_.string(), "--slide", slide});
    });
    if (running.wait_for(hangGuard) != std::future_status::ready) {
      ADD_FAILURE() << "render waited on the pipe";
      const fs::path pipe = root_ / "captures" / "pipe.png";
      while (running.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        int fd = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) ::close(fd);
      }
    }
    return running.get();
  }

  void expectCanary() const {
    std::ifstream in(folder_.path() / "canary.txt");
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "untouched");
  }

  TempFolder folder_{"vorno-fifo"};
  fs::path root_;
};

TEST_F(RenderFIFO, CaptureThatIsANamedPipeIsAnIssueAndTheSlideStillRenders) {
  ProcessResult r = render("phone");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("[error] capture.missing"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("captures/pipe.png isn't a file that can be read."), std::string::npos) << r.out;
  EXPECT_TRUE(fs::exists(root_ / "renders" / "phone-ios.iphone-6.9-en-US.png"));
  EXPECT_TRUE(fs::is_fifo(root_ / "captures" / "pipe.png"));
  expectCanary();
}

TEST_F(RenderFIFO, ImageThatIsANamedPipeIsAnIssueAndTheSlideStillRenders) {
  ProcessResult r = render("picture");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("[error] image.missing"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Image not found or unreadable: captures/pipe.png"), std::string::npos) << r.out;
  EXPECT_TRUE(fs::exists(root_ / "renders" / "picture-ios.iphone-6.9-en-US.png"));
  expectCanary();
}

}  // namespace
}  // namespace vorno::testing
