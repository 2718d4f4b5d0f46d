#include "kit/video/partial_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <memory>
#include <vector>

namespace vorno::PartialFiles {

namespace {

std::string prefixOf(const std::string& name) { return "." + name + ".partial-"; }

// The process id at the start of "<pid>-<counter>"; 0 when the name isn't ours.
pid_t processOf(const std::string& suffix) {
  long pid = 0;
  auto [end, error] = std::from_chars(suffix.data(), suffix.data() + suffix.size(), pid);
  if (error != std::errc() || end == suffix.data() || end == suffix.data() + suffix.size() || *end != '-') return 0;
  return pid > 0 ? static_cast<pid_t>(pid) : 0;
}

bool isAlive(pid_t pid) { return ::kill(pid, 0) == 0 || errno == EPERM; }

// The names in the open folder; none when it can't be listed (a sweep that finds nothing).
std::vector<std::string> namesIn(int folder) {
  std::vector<std::string> names;
  const int listing = ::fcntl(folder, F_DUPFD_CLOEXEC, 0);  // closedir closes what it was given
  if (listing < 0) return names;
  std::unique_ptr<DIR, int (*)(DIR*)> directory(::fdopendir(listing), ::closedir);
  if (!directory) {
    ::close(listing);
    return names;
  }
  ::rewinddir(directory.get());  // the duplicate shares its position with the writer's descriptor
  while (const dirent* entry = ::readdir(directory.get())) names.emplace_back(entry->d_name);
  return names;
}

}  // namespace

std::string create(const std::string& name) {
  static std::atomic<unsigned> counter{0};
  return prefixOf(name) + std::to_string(::getpid()) + "-" + std::to_string(counter++);
}

void removeStale(int folder, const std::string& name) {
  const std::string prefix = prefixOf(name);
  for (const std::string& each : namesIn(folder)) {
    if (each.compare(0, prefix.size(), prefix) != 0) continue;
    pid_t pid = processOf(each.substr(prefix.size()));
    if (pid == 0 || isAlive(pid)) continue;
    ::unlinkat(folder, each.c_str(), 0);  // best effort: a partial file left over is harmless
  }
}

}  // namespace vorno::PartialFiles
