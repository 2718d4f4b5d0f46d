#include "kit/video/partial_files.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <string>
#include <system_error>

namespace vorno::PartialFiles {

namespace {

namespace fs = std::filesystem;

std::string prefixOf(const fs::path& target) { return "." + target.filename().string() + ".partial-"; }

// The process id at the start of "<pid>-<counter>"; 0 when the name isn't ours.
pid_t processOf(const std::string& suffix) {
  long pid = 0;
  auto [end, error] = std::from_chars(suffix.data(), suffix.data() + suffix.size(), pid);
  if (error != std::errc() || end == suffix.data() || end == suffix.data() + suffix.size() || *end != '-') return 0;
  return pid > 0 ? static_cast<pid_t>(pid) : 0;
}

bool isAlive(pid_t pid) { return ::kill(pid, 0) == 0 || errno == EPERM; }

}  // namespace

fs::path create(const fs::path& target) {
  static std::atomic<unsigned> counter{0};
  std::string name = prefixOf(target) + std::to_string(::getpid()) + "-" + std::to_string(counter++);
  return target.parent_path() / name;
}

void removeStale(const fs::path& target) {
  std::string prefix = prefixOf(target);
  fs::path folder = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::string name = it->path().filename().string();
    if (name.compare(0, prefix.size(), prefix) != 0) continue;
    pid_t pid = processOf(name.substr(prefix.size()));
    if (pid == 0 || isAlive(pid)) continue;
    std::error_code ignored;
    fs::remove(it->path(), ignored);
  }
}

}  // namespace vorno::PartialFiles
