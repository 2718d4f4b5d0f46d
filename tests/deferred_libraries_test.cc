// The media libraries (FFmpeg, libheif, poppler, librsvg), the readers of JPEG, WebP, TIFF and
// property lists, and the drawing and text stack are loaded on first use: a run that needs none
// of them never maps them; and no cryptography library is linked at all. The dynamic loader says what it loads when LD_DEBUG=files
// is set, which is how these tests see it.
#include "kit/util/deferred_libraries.h"
#include "kit/util/vorno_error.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace vorno::deferred_libraries_test {
namespace {

namespace fs = std::filesystem;

const char* const mediaLibraries[] = {"libavcodec", "libavformat", "libavutil", "libswscale", "libheif",
                                      "libpoppler", "librsvg",     "libjpeg",   "libwebp",    "libtiff",
                                      "libplist",   "libcrypto"};

const char* const drawingLibraries[] = {"libcairo", "libpango", "libharfbuzz", "libfontconfig", "libglib", "libgobject"};

// The loader's trace of a vorno run: one line per shared object it maps.
std::string loadedBy(const std::vector<std::string>& args) {
  auto result = testing::runProcess(VORNO_BINARY, args, "", {{"LD_DEBUG", "files"}});
  EXPECT_EQ(result.status, 0) << result.err.substr(result.err.size() > 2000 ? result.err.size() - 2000 : 0);
  return result.err;
}

TEST(DeferredLibraries, VersionMapsNeitherMediaNorDrawingLibraries) {
  const std::string trace = loadedBy({"--version"});
  ASSERT_NE(trace.find("libstdc++"), std::string::npos);  // the trace is there at all
  for (const char* library : mediaLibraries) EXPECT_EQ(trace.find(library), std::string::npos) << library;
  for (const char* library : drawingLibraries) EXPECT_EQ(trace.find(library), std::string::npos) << library;
}

TEST(DeferredLibraries, RenderOfASlideWithoutVideoMapsNoVideoLibrary) {
  const std::string out = testing::makeTempFolder("vorno-deferred") + "/week.png";
  const std::string trace = loadedBy({"render", "--project", testing::sourceDir() + "/examples/Demo.vorno", "--slide",
                                      "week", "--target", "ios.iphone-6.9", "--locale", "en-US", "--out", out});
  EXPECT_TRUE(fs::exists(out));
  // The drawing stack came when the first slide was drawn, and the slide is there.
  for (const char* library : drawingLibraries) EXPECT_NE(trace.find(library), std::string::npos) << library;
  for (const char* library : {"libavcodec", "libavformat", "libswscale", "libheif", "libpoppler", "libjpeg", "libwebp",
                              "libtiff", "libplist", "libcrypto"})
    EXPECT_EQ(trace.find(library), std::string::npos) << library;
  fs::remove_all(fs::path(out).parent_path());
}

TEST(DeferredLibraries, LibraryThatCantBeLoadedIsASentence) {
  try {
    DeferredLibraries::require("libvorno-no-such-library.so.0");
    FAIL() << "loaded a library that doesn't exist";
  } catch (const VornoError& error) {
    EXPECT_EQ(std::string(error.what()).rfind("Could not load libvorno-no-such-library.so.0: ", 0), 0u) << error.what();
  }
  EXPECT_FALSE(DeferredLibraries::loaded("libvorno-no-such-library.so.0"));
}

}  // namespace
}  // namespace vorno::deferred_libraries_test
