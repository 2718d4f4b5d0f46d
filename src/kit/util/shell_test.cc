#include "kit/util/shell.h"

#include "kit/util/child_process.h"
#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"
#include "tests/thread_waits.h"
#include "tests/error_of.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <filesystem>
#include <fstream>

namespace vorno::shell_test {
namespace {

using testing::errorOf;
using testing::TempFolder;

bool processIsGone(pid_t pid) { return ::kill(pid, 0) != 0 && errno == ESRCH; }

TEST(Shell, ReturnsStandardOutputAndIgnoresStandardError) {
  EXPECT_EQ(Shell::run("/bin/sh", {"-c", "echo out; echo err >&2"}, 30), "out\n");
}

TEST(Shell, RunDataKeepsBinaryOutputAsItIs) {
  std::string bytes = Shell::runData("/bin/sh", {"-c", "printf '\\211PNG\\r\\n\\032\\n\\000\\377'"}, 30);
  EXPECT_EQ(bytes, std::string("\x89PNG\r\n\x1a\n\0\xff", 10));
}

TEST(Shell, RunRepairsInvalidUTF8) {
  EXPECT_EQ(Shell::run("/bin/sh", {"-c", "printf 'a\\377b\\303\\251'"}, 30), "a\xEF\xBF\xBD" "b\xC3\xA9");
}

TEST(Shell, StandardInputIsTheNullDevice) {
  // `cat` would wait for input that never comes; from the null device it ends at once.
  EXPECT_EQ(Shell::run("/bin/cat", {}, 30), "");
}

TEST(Shell, CommandWritingOneMegabyteToStandardErrorThenExitingOneDoesNotDeadlock) {
  // Sixteen times what a pipe holds: an undrained standard error would block the child for ever.
  ShellResult result = Shell::execute("/bin/sh", {"-c", "head -c 1048576 /dev/zero | tr '\\0' x >&2; exit 1"}, 120);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.size(), 1048576u);
  std::string message = errorOf([] { Shell::run("/bin/sh", {"-c", "head -c 1048576 /dev/zero | tr '\\0' x >&2; exit 1"}, 120); });
  EXPECT_EQ(message.rfind("-c head -c 1048576 /dev/zero | tr '\\0' x >&2; exit 1 failed: xxxx", 0), 0u) << message.substr(0, 200);
}

TEST(Shell, FailingCommandWithEmptyStandardErrorReportsExitStatus) {
  EXPECT_EQ(errorOf([] { Shell::run("/bin/sh", {"-c", "exit 1", "ABC"}, 30); }), "-c exit 1 ABC failed: exit 1");
}

TEST(Shell, FailureNamesTheFirstThreeArgumentsAndTheTrimmedErrorOutput) {
  EXPECT_EQ(errorOf([] { Shell::run("/bin/sh", {"-c", "echo '  no such device  ' >&2; exit 3", "a", "b"}, 30); }),
            "-c echo '  no such device  ' >&2; exit 3 a failed: no such device");
}

TEST(Shell, CommandOutlivingItsLimitIsKilledAndNamedInTheSentence) {
  // Real time: a one-second limit on a program that would sleep ten minutes.
  EXPECT_EQ(errorOf([] { Shell::run("/bin/sleep", {"600"}, 1); }), "/bin/sleep 600 timed out after 1s.");
}

// The time Shell sees in the next test: the limit has passed once the program has written its pid.
std::filesystem::path pidFileForClock;
std::chrono::steady_clock::time_point fixedStart;
std::chrono::steady_clock::time_point clockPastLimitOncePidWritten() {
  return std::filesystem::exists(pidFileForClock) ? fixedStart + std::chrono::seconds(61) : fixedStart;
}

TEST(Shell, AtTheLimitTheProgramIsTerminated) {
  TempFolder folder;
  pidFileForClock = folder.path() / "pid";
  fixedStart = std::chrono::steady_clock::now();
  shellClockHook = clockPastLimitOncePidWritten;
  std::string script = "echo $$ > " + (folder.path() / "pid.new").string() + "; mv " +
                       (folder.path() / "pid.new").string() + " " + pidFileForClock.string() + "; exec sleep 600";
  std::string message = errorOf([&] { Shell::run("/bin/sh", {"-c", script}, 60); });
  shellClockHook = nullptr;
  EXPECT_EQ(message, "/bin/sh -c " + script + " timed out after 60s.");
  std::ifstream in(pidFileForClock);
  pid_t pid = 0;
  in >> pid;
  ASSERT_GT(pid, 0);
  EXPECT_TRUE(processIsGone(pid));
}

TEST(Shell, AGrandchildHoldingThePipeDoesNotHoldTheCaller) {
  // The child ends at once; the program it leaves behind keeps standard output open until the
  // test lets it go, which happens only after the call has returned. Waiting for the pipe's end
  // instead of the child's would never return.
  TempFolder folder;
  std::filesystem::path go = folder.path() / "go";
  // It also ends when the folder is gone, should the test end before it sees the file.
  std::string holder = "(while [ ! -f " + go.string() + " ] && [ -d " + folder.path().string() +
                       " ]; do sleep 0.01; done) &";
  EXPECT_EQ(Shell::run("/bin/sh", {"-c", "echo done; " + holder + " exit 0"}, 60), "done\n");
  std::ofstream(go) << "";
}

TEST(Shell, MissingProgramSaysItIsntInstalled) {
  EXPECT_EQ(errorOf([] { Shell::run("/no/such/adb", {"devices"}, 5); }), "/no/such/adb isn't installed.");
  EXPECT_EQ(errorOf([] { Shell::spawn("/no/such/emulator", {"-avd", "x"}); }), "/no/such/emulator isn't installed.");
}

TEST(Shell, SpawnedProgramOutlivesItsStarterAndIsNoChildOfOurs) {
  TempFolder folder;
  std::filesystem::path note = folder.path() / "note";
  // The program waits for a file the test writes only after spawn has returned: proof that spawn
  // doesn't wait for it.
  std::filesystem::path go = folder.path() / "go";
  Shell::spawn("/bin/sh", {"-c", "while [ ! -f " + go.string() + " ] && [ -d " + folder.path().string() +
                                     " ]; do sleep 0.01; done; echo $PPID $(ps -o sid= -p $$) > " +
                                     note.string() + ".new; mv " + note.string() + ".new " + note.string()});
  std::ofstream(go) << "";
  ASSERT_TRUE(testing::pollUntil([&] { return std::filesystem::exists(note); }));
  std::ifstream in(note);
  pid_t parent = 0, session = 0;
  in >> parent >> session;
  EXPECT_NE(parent, ::getpid());       // adopted, not our child: it can't become our zombie
  EXPECT_NE(session, ::getsid(0));     // a session of its own: no hang-up when ours ends
}

TEST(ChildProcess, ReadsStandardErrorWhileTheProgramRunsAndEndsOnAnInterrupt) {
  ChildProcess child("/bin/sh", {"-c", "trap 'echo stopped; exit 0' INT; echo ready >&2; while :; do sleep 0.01; done"});
  ASSERT_TRUE(testing::pollUntil([&] { return child.errorOutput().find("ready") != std::string::npos; }));
  EXPECT_TRUE(child.isRunning());
  child.signal(SIGINT);
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(child.output(), "stopped\n");
}

TEST(Shell, RepairedUTF8LeavesValidTextAlone) {
  EXPECT_EQ(Shell::repairedUTF8("iPhone 17 Pro — 9:41 ✓"), "iPhone 17 Pro — 9:41 ✓");
  EXPECT_EQ(Shell::repairedUTF8("\xED\xA0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");  // a surrogate isn't UTF-8
}

}  // namespace
}  // namespace vorno::shell_test
