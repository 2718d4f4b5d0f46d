// What a person can put in a package that the renderer can't use: every case ends as an issue
// or as one sentence, within seconds, never as a crash or a hang.
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vorno::testing::render_bad_input_test {
namespace {

namespace fs = std::filesystem;

void appendChunk(std::vector<uint8_t>& png, const char* type, const std::vector<uint8_t>& data) {
  auto be32 = [&](uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) png.push_back(static_cast<uint8_t>(v >> shift));
  };
  be32(static_cast<uint32_t>(data.size()));
  std::vector<uint8_t> body(type, type + 4);
  body.insert(body.end(), data.begin(), data.end());
  png.insert(png.end(), body.begin(), body.end());
  be32(libdeflate_crc32(0, body.data(), body.size()));
}

// A real, complete PNG of 20000 x 20000 one-bit grey pixels: 50 MB of rows that deflate to a few
// hundred kilobytes, so the test stays quick while the picture is as big as it claims.
std::vector<uint8_t> hugePNG() {
  const uint32_t side = 20000;
  std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<uint8_t> header;
  for (uint32_t v : {side, side})
    for (int shift = 24; shift >= 0; shift -= 8) header.push_back(static_cast<uint8_t>(v >> shift));
  header.insert(header.end(), {1, 0, 0, 0, 0});  // bit depth 1, grey, deflate, no filter method, no interlace
  appendChunk(png, "IHDR", header);
  std::vector<uint8_t> rows(static_cast<size_t>(side) * (side / 8 + 1), 0);
  libdeflate_compressor* compressor = libdeflate_alloc_compressor(1);
  std::vector<uint8_t> compressed(libdeflate_zlib_compress_bound(compressor, rows.size()));
  size_t size = libdeflate_zlib_compress(compressor, rows.data(), rows.size(), compressed.data(), compressed.size());
  libdeflate_free_compressor(compressor);
  compressed.resize(size);
  appendChunk(png, "IDAT", compressed);
  appendChunk(png, "IEND", {});
  return png;
}

class RenderBadInput : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = folder_.path() / "Set.vorno";
    fs::create_directories(root_ / "captures");
    fs::create_directories(root_ / "assets");
    std::ofstream(root_ / "captures" / "corrupt.png") << "this is not a picture at all";
    std::ofstream(root_ / "captures" / "empty.png");
    std::ofstream(root_ / "assets" / "broken.svg") << "<svg xmlns='http://www.w3.org/2000/svg'><rect";
    std::ofstream(root_ / "assets" / "blank.pdf") << "%PDF-1.4\n%%EOF\n";
    std::vector<uint8_t> huge = hugePNG();
    std::ofstream(root_ / "captures" / "huge.png", std::ios::binary)
        .write(reinterpret_cast<const char*>(huge.data()), static_cast<std::streamsize>(huge.size()));
    auto device = [](const char* id, const char* capture) {
      return std::string(R"({"id": ")") + id + R"(", "headline": "Hello", "device": {"screenshot": ")" + capture +
             R"("}})";
    };
    auto image = [](const char* id, const char* path) {
      return std::string(R"({"id": ")") + id + R"(", "headline": "Hello", "elements": [{"id": "pic", "kind": "image",
        "image": ")" + path + R"("}]})";
    };
    std::ofstream(root_ / "project.json")
        << R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
      "theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
      "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"}, "slides": [)"
        << device("missing", "captures/nowhere.png") << ", " << device("corrupt", "captures/corrupt.png") << ", "
        << device("empty", "captures/empty.png") << ", " << device("huge", "captures/huge.png") << ", "
        << image("svg", "assets/broken.svg") << ", " << image("pdf", "assets/blank.pdf") << ", "
        << image("hugeimage", "captures/huge.png") << "]}";
  }

  ProcessResult render(const std::string& slide) {
    return runVorno({"render", "--project", root_.string(), "--slide", slide});
  }

  TempFolder folder_{"vorno-bad-render"};
  fs::path root_;
};

TEST_F(RenderBadInput, MissingCaptureIsAnIssueAndTheSlideStillRenders) {
  ProcessResult r = render("missing");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("[error] capture.missing"), std::string::npos) << r.out;
  EXPECT_TRUE(fs::exists(root_ / "renders" / "missing-ios.iphone-6.9-en-US.png"));
}

TEST_F(RenderBadInput, CorruptCaptureEndsWithOneSentence) {
  ProcessResult r = render("corrupt");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: Not a readable image: " + (root_ / "captures" / "corrupt.png").string() + "\n");
}

TEST_F(RenderBadInput, ZeroByteCaptureEndsWithOneSentence) {
  ProcessResult r = render("empty");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: Not a readable image: " + (root_ / "captures" / "empty.png").string() + "\n");
}

TEST_F(RenderBadInput, SVGThatDoesNotParseIsAnImageIssue) {
  ProcessResult r = render("svg");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("[error] image.missing"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Image not found or unreadable: assets/broken.svg"), std::string::npos) << r.out;
}

TEST_F(RenderBadInput, PDFWithoutPagesIsAnImageIssue) {
  ProcessResult r = render("pdf");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Image not found or unreadable: assets/blank.pdf"), std::string::npos) << r.out;
}

TEST_F(RenderBadInput, TwentyThousandSquareCaptureEndsWithASentenceNotACrashOrAHang) {
  ProcessResult r = render("huge");
  ASSERT_LT(r.status, 128) << "ended by a signal";
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("Error: ", 0), 0u) << r.err;
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

TEST_F(RenderBadInput, TwentyThousandSquareImageElementEndsWithASentenceNotACrashOrAHang) {
  ProcessResult r = render("hugeimage");
  ASSERT_LT(r.status, 128) << "ended by a signal";
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("Error: ", 0), 0u) << r.err;
}

}  // namespace
}  // namespace vorno::testing::render_bad_input_test
