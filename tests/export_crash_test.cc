// An export killed with SIGKILL in the middle of writing, then run again: the folder ends exactly
// as one clean run would leave it (the new files, no stale ones, no half-written temporaries), the
// manifest lists exactly those files, and the user's own files are all still there.
#include "tests/export_test_support.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace vorno::testing {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

size_t pngsNewerThan(const fs::path& folder, fs::file_time_type since) {
  size_t count = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code ignored;
    if (it->path().extension() == ".png" && it->last_write_time(ignored) > since) ++count;
  }
  return count;
}

// Starts `vorno export` and kills it once `atLeast` new PNGs exist; true when it was still running.
bool exportAndKill(const fs::path& root, const fs::path& exports, size_t atLeast) {
  const auto since = fs::file_time_type::clock::now();
  pid_t child = ::fork();
  if (child == 0) {
    int null = ::open("/dev/null", O_RDWR);
    ::dup2(null, 0);
    ::dup2(null, 1);
    ::dup2(null, 2);
    ::execl(VORNO_BINARY, VORNO_BINARY, "export", "--project", root.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
  bool killed = false;
  while (std::chrono::steady_clock::now() < deadline) {
    int status = 0;
    if (::waitpid(child, &status, WNOHANG) == child) return false;  // finished before we struck
    if (pngsNewerThan(exports, since) >= atLeast) {
      ::kill(child, SIGKILL);
      killed = true;
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (!killed) ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  return killed && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

TEST(ExportCrash, KilledMidRunThenRunAgainEndsCorrectAndKeepsUsersFiles) {
  TempFolder temp("vorno-export-crash");
  const fs::path root = copyExample(temp.path());
  const fs::path exports = root / "exports";

  // A complete earlier export, then the user's own files among it.
  ASSERT_EQ(runVorno({"export", "--project", root.string()}).status, 0);
  std::ofstream(exports / "notes.txt") << "launch plan";
  std::ofstream(exports / "ios/ios.iphone-6.9/en-US/retouch.psd") << "layers";

  // Drop one slide: the next run must renumber and remove, and is killed half-way.
  Json project = Json::parse(readText(root / "project.json"));
  auto& slides = project["slides"];
  slides.erase(slides.begin() + 1);
  std::ofstream(root / "project.json") << project.dump(2);
  ASSERT_TRUE(exportAndKill(root, exports, 10)) << "the export finished before it could be killed";

  auto again = runVorno({"export", "--project", root.string()});
  ASSERT_EQ(again.status, 0) << again.err;

  // What one clean run of the new document makes, in a fresh copy.
  TempFolder clean("vorno-export-clean");
  const fs::path cleanRoot = copyExample(clean.path());
  std::ofstream(cleanRoot / "project.json") << project.dump(2);
  ASSERT_EQ(runVorno({"export", "--project", cleanRoot.string()}).status, 0);

  std::set<std::string> expected = filesUnder(cleanRoot / "exports");
  expected.insert("notes.txt");
  expected.insert("ios/ios.iphone-6.9/en-US/retouch.psd");
  EXPECT_EQ(filesUnder(exports), expected);  // no stale names, no hidden temporaries left over
  EXPECT_EQ(readText(exports / ".vorno-export.json"), readText(cleanRoot / "exports/.vorno-export.json"));
  EXPECT_EQ(readText(exports / "notes.txt"), "launch plan");
  EXPECT_EQ(readText(exports / "ios/ios.iphone-6.9/en-US/retouch.psd"), "layers");
  for (const auto& file : filesUnder(cleanRoot / "exports")) {
    if (fs::path(file).extension() != ".png") continue;
    auto facts = readPNG((exports / file).string());
    ASSERT_TRUE(facts) << file;
    EXPECT_TRUE(facts->decodes) << file;
  }
}

}  // namespace
}  // namespace vorno::testing
