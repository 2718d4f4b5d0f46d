#include "cli/valid_text_output.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace vorno::cli::valid_text_output_test {
namespace {

const std::string replacement = "\xEF\xBF\xBD";

TEST(ValidTextOutput, AByteFEInAPrintedFileNameBecomesAReplacementCharacter) {
  std::ostringstream target;
  {
    ValidUTF8Buffer buffer(target.rdbuf());
    std::ostream out(&buffer);
    out << "Wrote /tmp/work\xFF/App.vorno/captures/shot\xFE.png\n";
  }
  EXPECT_EQ(target.str(), "Wrote /tmp/work" + replacement + "/App.vorno/captures/shot" + replacement + ".png\n");
}

TEST(ValidTextOutput, ACharacterCutBetweenTwoWritesIsKeptWhole) {
  std::ostringstream target;
  ValidUTF8Buffer buffer(target.rdbuf());
  std::ostream out(&buffer);
  out << "caf\xC3";
  out << "\xA9 \xF0\x9F";
  out << "\x98\x80";
  out.flush();
  EXPECT_EQ(target.str(), "caf\xC3\xA9 \xF0\x9F\x98\x80");
}

TEST(ValidTextOutput, ACharacterNeverFinishedIsReplacedOnFlush) {
  std::ostringstream target;
  ValidUTF8Buffer buffer(target.rdbuf());
  std::ostream out(&buffer);
  out << "end\xE2\x82";
  out.flush();
  EXPECT_EQ(target.str(), "end" + replacement + replacement);
}

TEST(ValidTextOutput, InstalledItFiltersStandardOutputAndPutsItBackAfter) {
  std::ostringstream target;
  std::streambuf* original = std::cout.rdbuf(target.rdbuf());
  {
    ValidTextOutput validText;
    std::cout << "shot\xFE.png\n";
  }
  std::cout << "raw\xFE";
  std::cout.rdbuf(original);
  EXPECT_EQ(target.str(), "shot" + replacement + ".png\nraw\xFE");
}

}  // namespace
}  // namespace vorno::cli::valid_text_output_test
