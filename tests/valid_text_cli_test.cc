// The command line prints valid UTF-8 when the names it prints are not: a package in a folder
// whose name holds the byte 0xFF. The files are written and found as they are.
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace vorno::testing::valid_text_cli_test {
namespace {

namespace fs = std::filesystem;

const std::string replacement = "\xEF\xBF\xBD";

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

class OddFolderName : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = makeTempFolder("vorno-text");
    work_ = fs::path(folder_) / "work\xFF";
    fs::create_directories(work_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string folder_;
  fs::path work_;
};

TEST_F(OddFolderName, AnErrorNamingTheFolderIsValidUTF8) {
  auto result = runVorno({"lint"}, work_.string());
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(wellFormedUTF8(result.err)) << result.err;
  EXPECT_EQ(result.err, "Error: No project at " + folder_ + "/work" + replacement + ". Create one with project_create.\n");
}

TEST_F(OddFolderName, ARenderThereWritesItsFileAndPrintsItsPathAsValidUTF8) {
  Slide slide;
  slide.id = "intro";
  slide.headline.values = {{"en-US", "Plan your day"}};
  FileProjectStore(work_ / "App.vorno").create(Project("App", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), {slide}, {}));
  auto result = runVorno({"render", "--project", "App.vorno", "--slide", "intro"}, work_.string());
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(wellFormedUTF8(result.out)) << result.out;
  EXPECT_NE(result.out.find("work" + replacement + "/App.vorno/renders/"), std::string::npos) << result.out;
  bool written = false;
  for (const auto& entry : fs::directory_iterator(work_ / "App.vorno" / "renders"))
    written = written || entry.path().extension() == ".png";
  EXPECT_TRUE(written);
}

}  // namespace
}  // namespace vorno::testing::valid_text_cli_test
