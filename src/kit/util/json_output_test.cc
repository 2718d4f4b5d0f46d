#include "kit/util/json_output.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vorno::json_output_test {
namespace {

TEST(JSONOutput, WholeDoublesHaveNoFraction) {
  Json value = {{"angle", 170.0}, {"dim", 0.25}, {"count", 3}};
  EXPECT_EQ(wireJSON(value), R"({"angle":170,"count":3,"dim":0.25})");
}

TEST(JSONOutput, DocumentIsIndentedSortedAndEndsInOneNewline) {
  Json value = {{"zeta", Json::array({1, 2})}, {"alpha", "a/b"}, {"empty", Json::object()}, {"none", Json::array()}};
  EXPECT_EQ(documentJSON(value),
            "{\n  \"alpha\": \"a/b\",\n  \"empty\": {},\n  \"none\": [],\n  \"zeta\": [\n    1,\n    2\n  ]\n}\n");
}

TEST(JSONOutput, EscapesControlCharactersButNotSlashOrUnicode) {
  Json value = "line\nbreak \"quoted\" \\ / é\x01";
  EXPECT_EQ(wireJSON(value), "\"line\\nbreak \\\"quoted\\\" \\\\ / é\\u0001\"");
}

TEST(JSONOutput, InvalidUTF8InStringsAndKeysIsWrittenAsReplacementCharacters) {
  Json value = {{"file", "captures/en-US/shot\xFE.png"}, {"cwd\xFF", "/tmp/\xFF/App.vorno"}};
  EXPECT_EQ(wireJSON(value),
            "{\"cwd\xEF\xBF\xBD\":\"/tmp/\xEF\xBF\xBD/App.vorno\",\"file\":\"captures/en-US/shot\xEF\xBF\xBD.png\"}");
  EXPECT_EQ(documentJSON(Json("\xC0\xAF")), "\"\xEF\xBF\xBD\xEF\xBF\xBD\"\n");
  // What is written reads back: a strict reader accepts it.
  EXPECT_EQ(Json::parse(wireJSON(value))["file"], "captures/en-US/shot\xEF\xBF\xBD.png");
}

TEST(JSONOutput, ShortestRoundTripForFractions) {
  EXPECT_EQ(formatNumber(0.1), "0.1");
  EXPECT_EQ(formatNumber(-0.02), "-0.02");
  EXPECT_EQ(formatNumber(1e-7), "1e-07");
  EXPECT_EQ(formatNumber(-0.0), "0");
  EXPECT_EQ(formatNumber(1320), "1320");
  double third = 1.0 / 3.0;
  EXPECT_EQ(std::stod(formatNumber(third)), third);
}

}  // namespace
}  // namespace vorno::json_output_test
