#include "kit/store/activity_log.h"

#include "kit/model/coding.h"
#include "kit/store/file_project_store.h"
#include "kit/util/atomic_write.h"
#include "kit/util/json_output.h"
#include "kit/util/paths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace vorno {
namespace {

// Reads from `start` to the end of an open file; stops quietly at an error, since a poll that
// reads less just reads the rest next time.
std::string readFrom(int fd, uint64_t start, uint64_t end) {
  std::string out;
  if (end <= start) return out;
  out.resize(end - start);
  size_t filled = 0;
  while (filled < out.size()) {
    ssize_t got = ::pread(fd, out.data() + filled, out.size() - filled, static_cast<off_t>(start + filled));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    filled += static_cast<size_t>(got);
  }
  out.resize(filled);
  return out;
}

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    if (end > start) lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

}  // namespace

double ActivityEvent::now() {
  using namespace std::chrono;
  return duration<double>(system_clock::now().time_since_epoch()).count();
}

Json encodeActivityEvent(const ActivityEvent& event) {
  return ObjectWriter()
      .put("id", event.id)
      .put("time", event.time)
      .put("agent", event.agent)
      .put("tool", event.tool)
      .put("phase", event.phase)
      .put("summary", event.summary)
      .putIfPresent("slide", event.slide)
      .putIfPresent("target", event.target)
      .putIfPresent("locale", event.locale)
      .putIfPresent("error", event.error)
      .done();
}

ActivityEvent decodeActivityEvent(const Json& json) {
  Reader r(json);
  r.requireObject();
  ActivityEvent event;
  event.id = r.get<std::string>("id");
  event.time = r.get<double>("time");
  event.agent = r.get<std::string>("agent");
  event.tool = r.get<std::string>("tool");
  event.phase = r.get<ActivityEvent::Phase>("phase");
  event.summary = r.get<std::string>("summary");
  event.slide = r.getIfPresent<std::string>("slide");
  event.target = r.getIfPresent<std::string>("target");
  event.locale = r.getIfPresent<std::string>("locale");
  event.error = r.getIfPresent<std::string>("error");
  return event;
}

ActivityLog::ActivityLog(const std::filesystem::path& root) : url_(standardizePath(root) / ".activity.jsonl") {}

void ActivityLog::append(const ActivityEvent& event) const {
  try {
    // The log never creates a package and never lands in a folder that isn't one: a tool called
    // with "/" or a user's home as its project must leave no file there, even when it fails.
    if (!FileProjectStore(url_.parent_path()).exists()) return;
    std::string line = wireJSON(encodeActivityEvent(event)) + "\n";
    // Not through a symbolic link (it could point anywhere outside the package), and not into a
    // pipe or device (opening a pipe for writing waits for a reader): only a regular file.
    int fd = ::open(url_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644);
    if (fd < 0) return;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
      ::close(fd);
      return;
    }
    // One write with O_APPEND keeps lines of several processes whole, so no lock is needed. A
    // short write is not continued: a second write could interleave with another process's line.
    ssize_t written;
    do {
      written = ::write(fd, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    ::close(fd);
    compactIfNeeded();
  } catch (...) {
    // A watcher's convenience must never fail the tool call that writes it.
  }
}

void ActivityLog::compactIfNeeded() const {
  struct stat info {};
  if (::lstat(url_.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
      static_cast<uint64_t>(info.st_size) <= compactionThreshold)
    return;
  int fd = ::open(url_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  std::string text = readFrom(fd, 0, static_cast<uint64_t>(info.st_size));
  ::close(fd);
  auto lines = splitLines(text);
  size_t first = lines.size() > keptLines ? lines.size() - keptLines : 0;
  std::string kept;
  for (size_t i = first; i < lines.size(); ++i) {
    kept += lines[i];
    kept += '\n';
  }
  // Two compactions may race and one may drop a line appended in between: a log of this kind
  // tolerates that, and a lock would make every append pay for it.
  atomicWrite(url_, kept);
}

ActivityLog::Batch ActivityLog::read(uint64_t offset) const {
  int fd = ::open(url_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {{}, offset};
  // Only a regular file is a log: a folder in its place reports a meaningless "end".
  struct stat info {};
  off_t end = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) ? ::lseek(fd, 0, SEEK_END) : -1;
  if (end < 0) {
    ::close(fd);
    return {{}, offset};
  }
  uint64_t size = static_cast<uint64_t>(end);
  // A file shorter than the offset was compacted since the last poll: start again from the top.
  uint64_t start = size < offset ? 0 : offset;
  std::string text = readFrom(fd, start, size);
  ::close(fd);
  size_t lastNewline = text.rfind('\n');
  // With no whole line yet, a half-written one stays for the next poll.
  if (text.empty() || lastNewline == std::string::npos) return {{}, start};
  Batch batch;
  for (std::string_view line : splitLines(std::string_view(text).substr(0, lastNewline + 1))) {
    try {
      batch.events.push_back(decodeActivityEvent(parseJSON(line)));
    } catch (const std::exception&) {
      // A garbled line is skipped; its bytes still count in the offset, so it is not read again.
    }
  }
  batch.offset = start + lastNewline + 1;
  return batch;
}

}  // namespace vorno
