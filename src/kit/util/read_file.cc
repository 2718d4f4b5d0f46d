#include "kit/util/read_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "kit/util/paths.h"

namespace vorno {

std::optional<std::string> readRegularFile(const std::filesystem::path& path) {
  // O_NONBLOCK makes open return at once even on a pipe with no writer; a regular file reads the
  // same either way, and only regular files get past fstat.
  int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  auto fail = [fd](int error) -> std::optional<std::string> {
    ::close(fd);
    errno = error;
    return std::nullopt;
  };
  struct stat info {};
  if (::fstat(fd, &info) != 0) return fail(errno);
  if (S_ISDIR(info.st_mode)) return fail(EISDIR);
  if (!S_ISREG(info.st_mode)) return fail(EINVAL);
  std::string bytes;
  bytes.reserve(static_cast<size_t>(info.st_size));
  char buffer[65536];
  for (;;) {
    ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return fail(errno);
    if (got == 0) break;
    bytes.append(buffer, static_cast<size_t>(got));
  }
  ::close(fd);
  return bytes;
}

std::string whyNotRead(int errorNumber) {
  if (errorNumber == EINVAL) return "it is a named pipe or a device, not a file";
  return errorText(errorNumber);
}

}  // namespace vorno
