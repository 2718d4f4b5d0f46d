// Writers killed in the middle of a save, at each of its steps: readers see the old document
// whole until the rename and the new one whole after it, and a killed writer leaves at most its
// one temporary file. The writer is a forked process that stops itself at the chosen step and
// says so through a pipe, so the kill lands inside the save however fast or slow the disk is.
#include "kit/store/concurrency_fixture.h"
#include "kit/util/atomic_write.h"
#include "kit/util/vorno_error.h"
#include "tests/read_text.h"
#include "tests/signal_pipe.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vorno::file_project_store_killed_writer_test {
namespace {

namespace fs = std::filesystem;
using testing::SignalPipe;

// A document in a failure message: its size and how it starts, not its 80 000 letters.
std::string brief(const std::string& bytes) {
  return std::to_string(bytes.size()) + " bytes \"" + bytes.substr(0, 24) + "...\"";
}

#define EXPECT_SAME_BYTES(actual, expected)                                              \
  do {                                                                                   \
    const std::string actualBytes = (actual), expectedBytes = (expected);                \
    EXPECT_TRUE(actualBytes == expectedBytes) << #actual << " is " << brief(actualBytes) \
                                              << ", expected " << brief(expectedBytes);  \
  } while (false)

const char* nameOf(WriteStep step) {
  switch (step) {
    case WriteStep::opening: return "opening";
    case WriteStep::opened: return "opened";
    case WriteStep::halfWritten: return "halfWritten";
    case WriteStep::written: return "written";
    case WriteStep::flushed: return "flushed";
    case WriteStep::renamed: return "renamed";
  }
  return "?";
}

// Save `save` of writer `writer`: large, of a size and letter of its own, so that a mix of two
// saves or a cut-off one can't pass for either.
Project savedBy(int writer, int save) {
  Project project;
  size_t size = 20000 + static_cast<size_t>((writer * 31 + save) * 7919) % 60000;
  project.appName = std::string(size, static_cast<char>('a' + (writer * 5 + save) % 26));
  return project;
}

// What the writer in the child stops at; set before fork, so the child has its own copy.
struct StopPoint {
  int save = 0;  // counted from 1
  WriteStep step = WriteStep::opened;
  const SignalPipe* stopped = nullptr;
  int savesStarted = 0;
};
StopPoint stopPoint;

// The hook in the child: at the chosen step of the chosen save, tell the parent which temporary
// file is being written and wait there to be killed.
void stopAtChosenStep(const fs::path& target, const fs::path& temporary, WriteStep step) {
  if (target.filename() != "project.json") return;
  if (step == WriteStep::opened) ++stopPoint.savesStarted;
  if (stopPoint.savesStarted != stopPoint.save || step != stopPoint.step) return;
  stopPoint.stopped->send(temporary.string());
  for (;;) ::pause();
}

class FileProjectStoreKilledWriter : public testing::PackageFixture {
 protected:
  // Forks a writer that makes saves 1, 2, ... of `writer` and stops inside save `save` at `step`;
  // returns its pid and the temporary file it was writing, or no file when it never got there.
  std::pair<pid_t, std::optional<fs::path>> startWriterStoppingAt(int writer, int save, WriteStep step) {
    SignalPipe stopped;
    stopPoint = StopPoint{save, step, &stopped, 0};
    pid_t pid = fork();
    if (pid < 0) return {pid, std::nullopt};
    if (pid == 0) {
      // The child only runs the store and leaves with _exit: no test framework, no destructors.
      stopped.keepOnlyWriting();
      atomicWriteStepHook = stopAtChosenStep;
      try {
        FileProjectStore store(root_);
        for (int i = 1; i <= save; ++i) store.save(savedBy(writer, i));
      } catch (...) {
      }
      _exit(1);  // only reached when the save never came to the step
    }
    stopped.keepOnlyReading();
    std::optional<std::string> temporary = stopped.receive();
    return {pid, temporary ? std::optional<fs::path>(*temporary) : std::nullopt};
  }
};

TEST_F(FileProjectStoreKilledWriter, KilledAtEveryStepOfASaveLeavesAWholeDocument) {
  FileProjectStore store(root_);
  const std::vector<WriteStep> steps = {WriteStep::opened, WriteStep::halfWritten, WriteStep::written,
                                        WriteStep::flushed, WriteStep::renamed};
  size_t killedBeforeRename = 0;
  int writer = 0;
  for (int round = 0; round < 3; ++round) {
    for (size_t s = 0; s < steps.size(); ++s, ++writer) {
      const WriteStep step = steps[s];
      const int save = 2 + static_cast<int>((s + round) % 3);  // the 2nd, 3rd or 4th save
      SCOPED_TRACE(std::string("writer ") + std::to_string(writer) + ", save " + std::to_string(save) + ", " +
                   nameOf(step));
      auto [pid, temporary] = startWriterStoppingAt(writer, save, step);
      ASSERT_GT(pid, 0);
      if (!temporary) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        FAIL() << "the writer ended without reaching the step";
      }

      // Held at the step: a reader sees one whole document, the old one until the rename.
      const std::string old = FileProjectStore::encode(savedBy(writer, save - 1));
      const std::string fresh = FileProjectStore::encode(savedBy(writer, save));
      const bool renamed = step == WriteStep::renamed;
      EXPECT_SAME_BYTES(testing::readText(store.project()), renamed ? fresh : old);
      try {
        EXPECT_SAME_BYTES(store.load().appName, savedBy(writer, renamed ? save : save - 1).appName);
      } catch (const VornoError& error) {
        ADD_FAILURE() << "read during the save failed: " << error.what();
      }
      // The temporary file beside it is exactly as far along as the step says.
      switch (step) {
        case WriteStep::opening: ADD_FAILURE() << "writers aren't held before their temporary file exists"; break;
        case WriteStep::opened: EXPECT_SAME_BYTES(testing::readText(*temporary), ""); break;
        case WriteStep::halfWritten: EXPECT_SAME_BYTES(testing::readText(*temporary), fresh.substr(0, fresh.size() / 2)); break;
        case WriteStep::written:
        case WriteStep::flushed: EXPECT_SAME_BYTES(testing::readText(*temporary), fresh); break;
        case WriteStep::renamed: EXPECT_FALSE(fs::exists(*temporary)); break;
      }

      ASSERT_EQ(kill(pid, SIGKILL), 0);
      int status = 0;
      ASSERT_EQ(waitpid(pid, &status, 0), pid);
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "writer ended on its own: " << status;

      // After the kill: the document parses and is the one readers saw; the killed writer left
      // its one temporary file if it died before the rename, and none after.
      try {
        EXPECT_SAME_BYTES(store.load().appName, savedBy(writer, renamed ? save : save - 1).appName);
      } catch (const VornoError& error) {
        ADD_FAILURE() << "after the kill: " << error.what();
      }
      if (!renamed) {
        EXPECT_TRUE(fs::exists(*temporary));
        ++killedBeforeRename;
      }
      EXPECT_EQ(temporaryFiles(), killedBeforeRename);
    }
  }
  // Leftover temporary files are never taken for the package or its document.
  EXPECT_TRUE(store.exists());
  EXPECT_EQ(FileProjectStore::projects(folder_, 2), std::vector<fs::path>{root_});
  Project after;
  after.appName = "after";
  store.save(after);
  EXPECT_EQ(store.load().appName, "after");
  EXPECT_EQ(temporaryFiles(), killedBeforeRename);  // a finished save leaves none of its own
}

}  // namespace
}  // namespace vorno::file_project_store_killed_writer_test
