// Implementation details.
//
// Writers lock, readers do not. The lock is an flock on a file under the user's caches folder,
// named after the SHA-256 of the package's real path: outside the package so that no lock file is
// ever committed and a package in a read-only or synced folder still locks, and named by the real
// path so that two spellings of one folder (a symbolic link, "./") share it. flock locks belong to
// an open file description, so every call opens its own descriptor: threads of one process
// exclude each other just like processes do, and the lock dies with a killed holder.
#include "kit/store/file_project_store.h"

#include "kit/model/coding.h"
#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/util/atomic_write.h"
#include "kit/util/json_output.h"
#include "kit/util/paths.h"
#include "kit/util/read_file.h"
#include "kit/util/sha256.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

namespace vorno {
namespace {

[[noreturn]] void failReading(const std::filesystem::path& path, int errorNumber) {
  throw VornoError::io("Couldn't read " + path.string() + ": " + whyNotRead(errorNumber) + ".");
}

// The bytes of a package's project.json: notFound when there is none, io when it cannot be read
// (a folder in its place, no permission, a named pipe that would keep the reader waiting).
std::string readProjectFile(const FileProjectStore& store) {
  auto data = readRegularFile(store.project());
  if (!data) {
    if (errno == ENOENT)
      throw VornoError::notFound("No project at " + store.root().string() + ". Create one with project_create.");
    failReading(store.project(), errno);
  }
  return std::move(*data);
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Lines of a .gitignore, split at any line break, trimmed of blanks and tabs, empty ones dropped.
std::set<std::string> gitignoreEntries(std::string_view text) {
  std::set<std::string> entries;
  auto add = [&](std::string_view line) {
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    while (!line.empty() && isBlank(line.back())) line.remove_suffix(1);
    if (!line.empty()) entries.emplace(line);
  };
  size_t start = 0;
  for (size_t i = 0; i < text.size();) {
    size_t breakLength = 0;
    if (text[i] == '\n' || text[i] == '\r' || text[i] == '\v' || text[i] == '\f') breakLength = 1;
    else if (text.compare(i, 2, "\xC2\x85") == 0) breakLength = 2;
    else if (text.compare(i, 3, "\xE2\x80\xA8") == 0 || text.compare(i, 3, "\xE2\x80\xA9") == 0) breakLength = 3;
    if (breakLength == 0) {
      ++i;
      continue;
    }
    add(text.substr(start, i - start));
    i += breakLength;
    start = i;
  }
  add(text.substr(start));
  return entries;
}

// Symbolic links resolved where the path exists, then standardised; the path as it stands when
// resolution fails.
std::filesystem::path resolvedPath(const std::filesystem::path& path) {
  std::filesystem::path standard = standardizePath(path);
  std::error_code error;
  std::filesystem::path resolved = std::filesystem::weakly_canonical(standard, error);
  return error ? standard : standardizePath(resolved);
}

void findProjects(const std::filesystem::path& folder, int depth, std::vector<std::filesystem::path>& found) {
  std::error_code error;
  if (std::filesystem::exists(folder / "project.json", error)) {
    found.push_back(folder);
    return;  // packages do not nest: the inside of one is not searched
  }
  if (depth < 1) return;
  std::filesystem::directory_iterator entries(folder, error);
  if (error) return;  // an unlistable folder holds nothing we can find
  for (auto end = std::filesystem::directory_iterator(); entries != end; entries.increment(error)) {
    if (error) break;
    std::string name = entries->path().filename().string();
    if (name.empty() || name.front() == '.' || FileProjectStore::skippedFolders().contains(name)) continue;
    std::error_code statusError;
    auto status = entries->symlink_status(statusError);
    if (statusError) continue;
    if (std::filesystem::is_directory(status)) findProjects(entries->path(), depth - 1, found);
  }
}

// Holds the package lock; unlocks and closes when it goes, whether or not the body threw.
class HeldLock {
 public:
  explicit HeldLock(int fd) : fd_(fd) {}
  ~HeldLock() {
    ::flock(fd_, LOCK_UN);
    ::close(fd_);
  }
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

 private:
  int fd_;
};

}  // namespace

int (*FileProjectStore::flockCall)(int fd, int operation) = ::flock;

FileProjectStore::FileProjectStore(const std::filesystem::path& root) : root_(standardizePath(root)) {}

bool FileProjectStore::exists() const {
  std::error_code error;
  return std::filesystem::exists(project(), error);
}

Project FileProjectStore::load() const { return decode(readProjectFile(*this)); }

Project FileProjectStore::decode(std::string_view data) {
  Project project;
  try {
    project = decodeProject(parseJSON(data));
  } catch (const DecodingError& error) {
    throw VornoError::invalid("project.json is invalid: " + error.summary());
  }
  // After decoding, so a file from the future that does not decode reports what is wrong with it.
  if (project.schemaVersion > Project::currentSchemaVersion)
    throw VornoError::invalid("Project schema " + std::to_string(project.schemaVersion) +
                              " is newer than this Vorno (" + std::to_string(Project::currentSchemaVersion) +
                              "). Update Vorno.");
  return project;
}

std::string FileProjectStore::encode(const Project& project) {
  // Older documents are read as they are, and written back at the current version: the readers'
  // tolerance is the migration.
  Project current = project;
  current.schemaVersion = Project::currentSchemaVersion;
  return documentJSON(encodeProject(current));
}

std::string FileProjectStore::save(const Project& project) const {
  createFolders(root_);
  std::string bytes = encode(project);
  atomicWrite(this->project(), bytes);
  return bytes;
}

void FileProjectStore::modifyImpl(const std::function<void(Project&)>& body) const {
  withLockImpl([&] {
    // Always the state on disk, so a change another process made since the last call is seen.
    Project original = decode(readProjectFile(*this));
    Project working = original;
    body(working);
    // Saving only a real change keeps the bytes, the modification time and any unknown fields.
    if (!(working == original)) save(working);
  });
}

std::filesystem::path FileProjectStore::lockFile() const {
  std::string path = root_.string();
  if (std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free); real)
    path = real.get();
  return userCachesFolder() / "app.vorno" / "locks" / (hexDigits(sha256(path), 16) + ".lock");
}

void FileProjectStore::withLockImpl(const std::function<void()>& body) const {
  std::filesystem::path lock = lockFile();
  createFolders(lock.parent_path());
  int fd = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) throw VornoError::io("Couldn't open " + lock.string() + ": " + errorText(errno) + ".");
  // Blocks with no time-out: every waiter gets its turn, in whatever order the kernel chooses.
  while (flockCall(fd, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    int failure = errno;
    ::close(fd);
    throw VornoError::io("Couldn't lock " + root_.filename().string() + ": " + errorText(failure) + ".");
  }
  HeldLock held(fd);
  body();
}

void FileProjectStore::create(const Project& project) const {
  if (exists()) throw VornoError::invalid("A project already exists at " + root_.string() + ".");
  createFolders(capturesDir());
  createFolders(rendersDir());
  createFolders(exportsDir());
  ignoreGeneratedFiles();
  save(project);
}

void FileProjectStore::ignoreGeneratedFiles() const {
  std::filesystem::path path = root_ / ".gitignore";
  std::string text = readRegularFile(path).value_or("");
  std::set<std::string> present = gitignoreEntries(text);
  std::vector<std::string> missing;
  for (const char* entry : {"renders/", "exports/", ".activity.jsonl"})
    if (!present.contains(entry)) missing.push_back(entry);
  if (missing.empty()) return;
  if (!text.empty() && text.back() != '\n') text += '\n';
  for (const auto& entry : missing) text += entry + "\n";
  atomicWrite(path, text);
}

std::string FileProjectStore::import(const std::filesystem::path& file, const std::string& folder) const {
  std::filesystem::path source = standardizePath(file);
  std::string sourceText = source.string(), prefix = root_.string() + "/";
  if (sourceText.starts_with(prefix)) return sourceText.substr(prefix.size());

  // Check the source before making folders for it, so a wrong path leaves the package as it was.
  struct stat info {};
  if (::stat(source.c_str(), &info) != 0) failReading(source, errno);
  if (S_ISDIR(info.st_mode)) failReading(source, EISDIR);
  if (!S_ISREG(info.st_mode)) failReading(source, EINVAL);  // a pipe or device would never end

  std::string folderName = folder;
  while (folderName.size() > 1 && folderName.back() == '/') folderName.pop_back();
  const std::filesystem::path destinationFolder = root_ / folderName;

  std::string name = source.filename().string();
  std::string stem = source.stem().string(), extension = source.extension().string();
  std::error_code error;
  for (int counter = 2; std::filesystem::exists(std::filesystem::symlink_status(destinationFolder / name, error));
       ++counter)
    name = stem + "-" + std::to_string(counter) + extension;
  // The folder is made and the copy placed from the package down, never through a link in it.
  copyFileBelow(source, root_, std::filesystem::path(folderName) / name);
  return folderName + "/" + name;
}

void FileProjectStore::copyReplacing(const std::filesystem::path& source, const std::filesystem::path& destination) {
  std::filesystem::path from = resolvedPath(source);
  if (from == resolvedPath(destination)) return;
  // The copy lands at the destination as named, never where a link there points: the rename
  // below replaces a link itself, so a link planted in a package can't carry the copy outside.
  std::filesystem::path to = standardizePath(destination);
  createFolders(to.parent_path());
  // Whether or not a file is there already, the copy goes to ".<name>.<UUID>" beside it and is
  // renamed into place: a reader never sees a half-written file, and a failed copy leaves the old
  // one untouched. On failure the temporary file is removed.
  atomicCopy(from, to);
}

std::vector<std::filesystem::path> FileProjectStore::projects(const std::filesystem::path& folder, int depth) {
  std::vector<std::filesystem::path> found;
  findProjects(standardizePath(folder), depth, found);
  std::sort(found.begin(), found.end(),
            [](const std::filesystem::path& a, const std::filesystem::path& b) { return a.string() < b.string(); });
  return found;
}

const std::set<std::string>& FileProjectStore::skippedFolders() {
  static const std::set<std::string> names = {"node_modules", "Pods", "Carthage", "DerivedData",
                                              "build",        "vendor", "dist"};
  return names;
}

}  // namespace vorno
