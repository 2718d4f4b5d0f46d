#include "kit/util/shell.h"

#include "kit/util/child_process.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace vorno {

std::chrono::steady_clock::time_point (*shellClockHook)() = nullptr;

namespace {

// How often a running program is looked at: the most a short command waits beyond its end.
constexpr auto kPollInterval = std::chrono::milliseconds(20);

std::chrono::steady_clock::time_point now() {
  return shellClockHook ? shellClockHook() : std::chrono::steady_clock::now();
}

// The first `count` words, with spaces between them.
std::string firstWords(const std::vector<std::string>& words, size_t count) {
  std::string text;
  for (size_t i = 0; i < words.size() && i < count; ++i) text += (i ? " " : "") + words[i];
  return text;
}

// Length of the valid UTF-8 sequence at `i`, or 0.
size_t validSequence(const std::string& s, size_t i) {
  auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  unsigned char lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length;
  unsigned char low = 0x80, high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (i + length > s.size()) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k)
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
  return length;
}

}  // namespace

namespace Shell {

std::string repairedUTF8(const std::string& bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) {
    size_t length = validSequence(bytes, i);
    if (length == 0) {
      text += "\xEF\xBF\xBD";
      ++i;
    } else {
      text.append(bytes, i, length);
      i += length;
    }
  }
  return text;
}

ShellResult execute(const std::string& path, const std::vector<std::string>& arguments, int timeoutSeconds) {
  ChildProcess child(path, arguments);
  const auto deadline = now() + std::chrono::seconds(timeoutSeconds);
  while (child.isRunning()) {
    if (now() > deadline) {
      child.kill();
      throw VornoError::io(path + (arguments.empty() ? "" : " ") + firstWords(arguments, arguments.size()) +
                           " timed out after " + std::to_string(timeoutSeconds) + "s.");
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  return {child.wait(), child.output(), child.errorOutput()};
}

std::string runData(const std::string& path, const std::vector<std::string>& arguments, int timeoutSeconds) {
  ShellResult result = execute(path, arguments, timeoutSeconds);
  if (result.status == 0) return std::move(result.out);
  std::string reason = trimmed(repairedUTF8(result.err));
  if (reason.empty()) reason = "exit " + std::to_string(result.status);
  throw VornoError::io(firstWords(arguments, 3) + " failed: " + reason);
}

std::string run(const std::string& path, const std::vector<std::string>& arguments, int timeoutSeconds) {
  return repairedUTF8(runData(path, arguments, timeoutSeconds));
}

bool isExecutable(const std::string& path) { return !path.empty() && ::access(path.c_str(), X_OK) == 0; }

void spawn(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(path.c_str()));
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  // The grandchild tells us why exec failed through this pipe; a successful exec closes it empty.
  int report[2];
  if (::pipe2(report, O_CLOEXEC) != 0) throw VornoError::io("Couldn't run " + path + ": " + errorText(errno) + ".");

  // Two forks: the middle process starts a session and the program in it, then ends at once, so
  // the program is adopted by init (no zombie of ours, no terminal's hang-up). Between fork and
  // exec only async-signal-safe calls are made: this process has other threads.
  pid_t middle = ::fork();
  if (middle == 0) {
    ::setsid();
    pid_t program = ::fork();
    if (program != 0) {
      if (program < 0) {
        int error = errno;
        ssize_t ignored = ::write(report[1], &error, sizeof error);
        (void)ignored;
      }
      ::_exit(0);
    }
    int null = ::open("/dev/null", O_RDWR);
    if (null >= 0) {
      ::dup2(null, 0);
      ::dup2(null, 1);
      ::dup2(null, 2);
    }
    // Nothing of ours stays open in a program that outlives us (a package's lock file above all).
    if (report[1] > 3) ::syscall(SYS_close_range, 3u, static_cast<unsigned>(report[1] - 1), 0u);
    ::syscall(SYS_close_range, static_cast<unsigned>(report[1] + 1), ~0u, 0u);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::execv(path.c_str(), argv.data());
    int error = errno;
    ssize_t ignored = ::write(report[1], &error, sizeof error);
    (void)ignored;
    ::_exit(127);
  }
  ::close(report[1]);
  if (middle < 0) {
    int error = errno;
    ::close(report[0]);
    throw VornoError::io("Couldn't run " + path + ": " + errorText(error) + ".");
  }
  while (::waitpid(middle, nullptr, 0) < 0 && errno == EINTR) {
  }
  int error = 0;
  ssize_t got;
  do {
    got = ::read(report[0], &error, sizeof error);
  } while (got < 0 && errno == EINTR);
  ::close(report[0]);
  if (got == static_cast<ssize_t>(sizeof error)) {
    if (error == ENOENT) throw VornoError::notFound(path + " isn't installed.");
    throw VornoError::io("Couldn't run " + path + ": " + errorText(error) + ".");
  }
}

}  // namespace Shell

}  // namespace vorno
