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

namespace vorno::testing::render_fifo_test {
namespace {

namespace fs = std::filesystem;

class RenderFIFO : public ::testing::Test {
 protected:
  static constexpr const char* pipes[] = {"captures/pipe.png", "captures/pipe.mov", "assets/pipe.svg",
                                          "assets/frames/pipe.png"};

  void SetUp() override {
    root_ = folder_.path() / "Set.vorno";
    fs::create_directories(root_ / "captures");
    fs::create_directories(root_ / "assets" / "frames");
    for (const char* pipe : pipes)
      ASSERT_EQ(::mkfifo((root_ / pipe).c_str(), 0644), 0) << pipe;
    std::ofstream(folder_.path() / "canary.txt") << "untouched";
    std::ofstream(root_ / "project.json")
        << R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
      "theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
      "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"}, "slides": [
      {"id": "phone", "headline": "Hello", "device": {"screenshot": "captures/pipe.png"}},
      {"id": "picture", "headline": "Hello", "elements": [{"id": "pic", "kind": "image", "image": "captures/pipe.png"}]},
      {"id": "vector", "headline": "Hello", "elements": [{"id": "pic", "kind": "image", "image": "assets/pipe.svg"}]},
      {"id": "fill", "headline": "Hello", "background": {"image": "captures/pipe.png"}},
      {"id": "vector-fill", "headline": "Hello", "background": {"image": "assets/pipe.svg"}},
      {"id": "recording-fill", "headline": "Hello", "background": {"image": "captures/pipe.mov"}},
      {"id": "shape-fill", "headline": "Hello", "elements": [{"id": "card", "kind": "shape", "shape": "rectangle",
        "fill": {"image": "assets/pipe.svg"}, "placement": {"x": 0.5, "y": 0.7, "width": 0.6, "height": 0.2}}]},
      {"id": "frame", "headline": "Hello", "device": {"screenshot": "captures/none.png", "frame": "assets/frames/pipe.png"}}]})";
  }

  // Renders `slide`; a render stuck on the pipe is set free and reported as hung.
  ProcessResult render(const std::string& slide) {
    auto running = std::async(std::launch::async, [&] {
      return runVorno({"render", "--project", root_.string(), "--slide", slide});
    });
    if (running.wait_for(hangGuard) != std::future_status::ready) {
      ADD_FAILURE() << "render waited on the pipe";
      while (running.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        for (const char* pipe : pipes) {
          int fd = ::open((root_ / pipe).c_str(), O_WRONLY | O_NONBLOCK);
          if (fd >= 0) ::close(fd);
        }
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

// A slide that shows a pipe somewhere other than its device: rendered, with the pipes left as
// they were.
void expectRendered(const ProcessResult& r, const fs::path& root, const std::string& slide) {
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(root / "renders" / (slide + "-ios.iphone-6.9-en-US.png")));
  EXPECT_TRUE(fs::is_fifo(root / "assets" / "pipe.svg"));
}

TEST_F(RenderFIFO, VectorImageThatIsANamedPipeIsAnIssueAndTheSlideStillRenders) {
  ProcessResult r = render("vector");
  expectRendered(r, root_, "vector");
  EXPECT_NE(r.out.find("[error] image.missing"), std::string::npos) << r.out;
  expectCanary();
}

TEST_F(RenderFIFO, ImageFillThatIsANamedPipeShowsTheMissingPictureAndTheSlideStillRenders) {
  ProcessResult r = render("fill");
  expectRendered(r, root_, "fill");
  EXPECT_NE(r.out.find("[error] background.missing"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Background image pipe.png isn't a file that can be read."), std::string::npos) << r.out;
  expectCanary();
}

TEST_F(RenderFIFO, VectorImageFillThatIsANamedPipeDoesNotHoldTheRender) {
  ProcessResult r = render("vector-fill");
  expectRendered(r, root_, "vector-fill");
  expectCanary();
}

TEST_F(RenderFIFO, RecordingImageFillThatIsANamedPipeDoesNotHoldTheRender) {
  ProcessResult r = render("recording-fill");
  expectRendered(r, root_, "recording-fill");
  EXPECT_TRUE(fs::is_fifo(root_ / "captures" / "pipe.mov"));
  expectCanary();
}

TEST_F(RenderFIFO, ShapeImageFillThatIsANamedPipeDoesNotHoldTheRender) {
  ProcessResult r = render("shape-fill");
  expectRendered(r, root_, "shape-fill");
  expectCanary();
}

TEST_F(RenderFIFO, CustomFrameThatIsANamedPipeIsAnIssueAndTheSlideStillRenders) {
  ProcessResult r = render("frame");
  expectRendered(r, root_, "frame");
  EXPECT_NE(r.out.find("[error] frame.custom"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Frame pipe.png: Not a readable image"), std::string::npos) << r.out;
  EXPECT_TRUE(fs::is_fifo(root_ / "assets" / "frames" / "pipe.png"));
  expectCanary();
}

}  // namespace
}  // namespace vorno::testing::render_fifo_test
