#include "kit/setup/setup_process.h"

#include "kit/util/vorno_error.h"

#include <gtest/gtest.h>

namespace vorno {
namespace {

TEST(SetupProcess, ReturnsStatusAndBothOutputs) {
  auto result = SetupProcess::run("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"}, 30);
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out, "out\n");
  EXPECT_EQ(result.err, "err\n");
}

TEST(SetupProcess, DrainsBothPipesSoAChattyProgramNeverBlocks) {
  // Far more than a pipe holds (64 KiB) on each stream: undrained, the child would wait forever.
  auto result = SetupProcess::run("/bin/sh", {"-c", "head -c 300000 /dev/zero; head -c 300000 /dev/zero >&2"}, 60);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.size(), 300000u);
  EXPECT_EQ(result.err.size(), 300000u);
}

TEST(SetupProcess, StandardInputIsTheNullDevice) {
  // `cat` would wait for a terminal that never types; from the null device it ends at once.
  auto result = SetupProcess::run("/bin/cat", {}, 30);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
}

TEST(SetupProcess, ProgramPastItsLimitIsKilledWithASentence) {
  try {
    SetupProcess::run("/bin/sleep", {"600"}, 1);
    FAIL() << "expected a time-out";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_STREQ(error.what(), "/bin/sleep 600 timed out after 1s.");
  }
}

TEST(SetupProcess, AGrandchildHoldingThePipeDoesNotHoldTheCaller) {
  // The child ends at once; the sleeper it leaves behind keeps stdout open. The answer must come
  // from the child's end, not from the time limit, which would throw.
  auto result = SetupProcess::run("/bin/sh", {"-c", "echo done; sleep 30 & exit 0"}, 20);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "done\n");
}

TEST(SetupProcess, MissingProgramFailsWithASentence) {
  try {
    SetupProcess::run("/no/such/claude", {"mcp"}, 5);
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_EQ(std::string(error.what()).rfind("Couldn't run /no/such/claude: ", 0), 0u) << error.what();
  }
}

TEST(SetupProcess, CheckedRunNamesTheCommandAndItsErrorOutput) {
  try {
    SetupProcess::runChecked("/bin/sh", {"-c", "echo '  broken config  ' >&2; exit 2", "x", "y"}, 30);
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_STREQ(error.what(), "/bin/sh -c echo '  broken config  ' >&2; exit 2 x failed: broken config");
  }
  try {
    SetupProcess::runChecked("/bin/sh", {"-c", "exit 7"}, 30);
    FAIL() << "expected a failure";
  } catch (const VornoError& error) {
    EXPECT_STREQ(error.what(), "/bin/sh -c exit 7 failed: exit 7");
  }
  EXPECT_EQ(SetupProcess::runChecked("/bin/echo", {"fine"}, 30), "fine\n");
}

}  // namespace
}  // namespace vorno
