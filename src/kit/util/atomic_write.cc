#include "kit/util/atomic_write.h"

#include "kit/util/file_descriptor.h"
#include "kit/util/paths.h"
#include "kit/util/read_file.h"
#include "kit/util/vorno_error.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <vector>

namespace vorno {
namespace {

void reportStep(const std::filesystem::path& target, const std::filesystem::path& temporary, WriteStep step) {
  if (atomicWriteStepHook) atomicWriteStepHook(target, temporary, step);
}

[[noreturn]] void failWriting(const std::filesystem::path& target, int errorNumber) {
  throw VornoError::io("Couldn't write " + target.string() + ": " + errorText(errorNumber) + ".");
}

// Writes all of `data`, going on after short writes and signals; false with errno set on failure.
bool writeAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    ssize_t written = ::write(fd, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

// The parent folder of `target` as the caller named it (links on the way followed: the path is
// the caller's own), open for writing into.
FileDescriptor openParent(const std::filesystem::path& target) {
  std::filesystem::path parent = target.parent_path();
  if (parent.empty()) parent = ".";
  FileDescriptor folder(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.valid()) failWriting(target, errno);
  return folder;
}

// The shared part of both writes. `fill` writes the content into the open temporary file and
// returns 0, or an errno value; `mode` is the permission the new file gets (nothing: the default).
// Both names are taken in `folder`, never by path, so a folder swapped for a link after it was
// opened can't move the write.
void replaceThroughTemporary(const OpenFolder& folder, const std::string& name, std::optional<mode_t> mode,
                             const std::function<int(int fd, const std::filesystem::path& temporary)>& fill,
                             Durability durability = Durability::flushed) {
  const std::filesystem::path target = folder.path / name;
  const std::filesystem::path temporary = temporaryPathBeside(target);
  const std::string temporaryName = temporary.filename().string();
  reportStep(target, temporary, WriteStep::opening);
  int fd = ::openat(folder.fd, temporaryName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd < 0) failWriting(target, errno);
  reportStep(target, temporary, WriteStep::opened);
  int failure = fill(fd, temporary);
  if (failure == 0 && mode && ::fchmod(fd, *mode) != 0) failure = errno;
  if (failure == 0) reportStep(target, temporary, WriteStep::written);
  // fsync before the rename: otherwise a crash could leave the new name pointing at empty data.
  if (failure == 0 && durability == Durability::flushed) {
    if (::fsync(fd) != 0) failure = errno;
    else reportStep(target, temporary, WriteStep::flushed);
  }
  if (::close(fd) != 0 && failure == 0) failure = errno;
  if (failure == 0 && ::renameat(folder.fd, temporaryName.c_str(), folder.fd, name.c_str()) != 0) failure = errno;
  if (failure != 0) {
    ::unlinkat(folder.fd, temporaryName.c_str(), 0);  // best effort: the error worth reporting is the first one
    failWriting(target, failure);
  }
  reportStep(target, temporary, WriteStep::renamed);
}

// The permission bits of the regular file `name` in `folder`, looked at without following a link.
std::optional<mode_t> existingMode(const OpenFolder& folder, const std::string& name) {
  struct stat info {};
  if (::fstatat(folder.fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(info.st_mode))
    return info.st_mode & 07777;
  return std::nullopt;
}

// Opens `source` for copying: a regular file (a link to one followed), never a folder, pipe or
// device, which could wait forever or never end.
FileDescriptor openSource(const std::filesystem::path& source, struct stat& info) {
  FileDescriptor in(::open(source.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  int failure = in.valid() ? 0 : errno;
  if (in.valid() && ::fstat(in.get(), &info) != 0) failure = errno;
  else if (in.valid() && S_ISDIR(info.st_mode)) failure = EISDIR;
  else if (in.valid() && !S_ISREG(info.st_mode)) failure = EINVAL;
  if (failure != 0) throw VornoError::io("Couldn't read " + source.string() + ": " + whyNotRead(failure) + ".");
  ::fcntl(in.get(), F_SETFL, 0);  // a regular file: reads block as they always would
  return in;
}

}  // namespace

void (*atomicWriteStepHook)(const std::filesystem::path& target, const std::filesystem::path& temporary,
                            WriteStep step) = nullptr;

std::string randomUUID() {
  std::array<uint8_t, 16> bytes{};
  size_t filled = 0;
  while (filled < bytes.size()) {
    ssize_t got = ::getrandom(bytes.data() + filled, bytes.size() - filled, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      break;
    }
    filled += static_cast<size_t>(got);
  }
  if (filled < bytes.size()) {
    // Without the kernel's generator a uniqueness source is still needed; O_EXCL catches the rest.
    std::random_device device;
    for (auto& byte : bytes) byte = static_cast<uint8_t>(device());
  }
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0f) | 0x40);
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3f) | 0x80);
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string out;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) out += '-';
    out += hex[bytes[i] >> 4];
    out += hex[bytes[i] & 15];
  }
  return out;
}

std::filesystem::path temporaryPathBeside(const std::filesystem::path& target) {
  return target.parent_path() / ("." + target.filename().string() + "." + randomUUID());
}

void atomicWrite(const std::filesystem::path& target, std::string_view bytes, Durability durability) {
  FileDescriptor folder = openParent(target);
  atomicWriteInto({folder.get(), target.parent_path()}, target.filename().string(), bytes, durability);
}

void atomicWriteInto(const OpenFolder& folder, const std::string& name, std::string_view bytes,
                     Durability durability) {
  const std::filesystem::path target = folder.path / name;
  replaceThroughTemporary(
      folder, name, existingMode(folder, name),
      [&](int fd, const std::filesystem::path& temporary) {
        if (!atomicWriteStepHook) return writeAll(fd, bytes.data(), bytes.size()) ? 0 : errno;
        // Watched by a test: stop half-way once, so a partial temporary file can be seen.
        size_t half = bytes.size() / 2;
        if (!writeAll(fd, bytes.data(), half)) return errno;
        reportStep(target, temporary, WriteStep::halfWritten);
        return writeAll(fd, bytes.data() + half, bytes.size() - half) ? 0 : errno;
      },
      durability);
}

void atomicCopy(const std::filesystem::path& source, const std::filesystem::path& target) {
  struct stat info {};
  openSource(source, info);  // a source that can't be read is named before the target
  FileDescriptor folder = openParent(target);
  atomicCopyInto(source, {folder.get(), target.parent_path()}, target.filename().string());
}

void atomicCopyInto(const std::filesystem::path& source, const OpenFolder& folder, const std::string& name) {
  struct stat info {};
  FileDescriptor in = openSource(source, info);
  int readFailure = 0;
  try {
    replaceThroughTemporary(folder, name, static_cast<mode_t>(info.st_mode & 07777),
                            [&](int fd, const std::filesystem::path&) {
                              std::vector<char> buffer(1 << 20);
                              for (;;) {
                                ssize_t got = ::read(in.get(), buffer.data(), buffer.size());
                                if (got < 0) {
                                  if (errno == EINTR) continue;
                                  readFailure = errno;
                                  return readFailure;
                                }
                                if (got == 0) return 0;
                                if (!writeAll(fd, buffer.data(), static_cast<size_t>(got))) return errno;
                              }
                            });
  } catch (...) {
    if (readFailure != 0)
      throw VornoError::io("Couldn't read " + source.string() + ": " + errorText(readFailure) + ".");
    throw;
  }
}

}  // namespace vorno
