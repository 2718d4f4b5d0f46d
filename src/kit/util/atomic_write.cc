#include "kit/util/atomic_write.h"

#include "kit/util/paths.h"
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

// The shared part of both writes. `fill` writes the content into the open temporary file and
// returns 0, or an errno value; `mode` is the permission the new file gets (nothing: the default).
void replaceThroughTemporary(const std::filesystem::path& target, std::optional<mode_t> mode,
                             const std::function<int(int fd, const std::filesystem::path& temporary)>& fill,
                             Durability durability = Durability::flushed) {
  std::filesystem::path temporary = temporaryPathBeside(target);
  int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
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
  if (failure == 0 && ::rename(temporary.c_str(), target.c_str()) != 0) failure = errno;
  if (failure != 0) {
    ::unlink(temporary.c_str());  // best effort: the error worth reporting is the first one
    failWriting(target, failure);
  }
  reportStep(target, temporary, WriteStep::renamed);
}

std::optional<mode_t> existingMode(const std::filesystem::path& target) {
  struct stat info {};
  if (::stat(target.c_str(), &info) == 0 && S_ISREG(info.st_mode)) return info.st_mode & 07777;
  return std::nullopt;
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
  replaceThroughTemporary(
      target, existingMode(target),
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
  int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (in >= 0 && ::fstat(in, &info) != 0) {
    int failure = errno;
    ::close(in);
    errno = failure;
    in = -1;
  }
  if (in >= 0 && S_ISDIR(info.st_mode)) {
    ::close(in);
    errno = EISDIR;
    in = -1;
  }
  if (in < 0) throw VornoError::io("Couldn't read " + source.string() + ": " + errorText(errno) + ".");

  int readFailure = 0;
  try {
    replaceThroughTemporary(target, static_cast<mode_t>(info.st_mode & 07777), [&](int fd, const std::filesystem::path&) {
      std::vector<char> buffer(1 << 20);
      for (;;) {
        ssize_t got = ::read(in, buffer.data(), buffer.size());
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
    ::close(in);
    if (readFailure != 0)
      throw VornoError::io("Couldn't read " + source.string() + ": " + errorText(readFailure) + ".");
    throw;
  }
  ::close(in);
}

}  // namespace vorno
