#include "kit/setup/setup_process.h"

#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

extern char** environ;

namespace vorno {

namespace {

using Clock = std::chrono::steady_clock;

// How often a finished child is looked for while its pipes stay quiet. A grandchild that keeps a
// pipe open (a server the program started) must not hold us until the time limit.
constexpr int kPollMilliseconds = 20;

struct Fd {
  int fd = -1;
  ~Fd() { close(); }
  void close() {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
};

std::string commandText(const std::string& program, const std::vector<std::string>& arguments, size_t count) {
  std::string text = program;
  for (size_t i = 0; i < arguments.size() && i < count; ++i) text += " " + arguments[i];
  return text;
}

// Reads what the pipe holds now; closes it at its end.
void drain(Fd& pipe, std::string& into) {
  char buffer[16384];
  while (pipe.fd >= 0) {
    ssize_t got = ::read(pipe.fd, buffer, sizeof buffer);
    if (got > 0) {
      into.append(buffer, static_cast<size_t>(got));
    } else if (got == 0) {
      pipe.close();
    } else if (errno == EINTR) {
      continue;
    } else {
      if (errno != EAGAIN) pipe.close();
      return;
    }
  }
}

int statusOf(int raw) { return WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw); }

std::string trimmed(const std::string& text) {
  size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return "";
  size_t end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

}  // namespace

namespace SetupProcess {

SetupProcessResult run(const std::string& program, const std::vector<std::string>& arguments, int timeoutSeconds) {
  int outPipe[2], errPipe[2];
  if (::pipe2(outPipe, O_CLOEXEC) != 0) throw VornoError::io("Couldn't run " + program + ": " + errorText(errno) + ".");
  Fd outRead{outPipe[0]}, outWrite{outPipe[1]};
  if (::pipe2(errPipe, O_CLOEXEC) != 0) throw VornoError::io("Couldn't run " + program + ": " + errorText(errno) + ".");
  Fd errRead{errPipe[0]}, errWrite{errPipe[1]};
  // Only our reading ends are non-blocking: the child writes to blocking pipes, as programs expect,
  // and waits while we drain the other one.
  ::fcntl(outRead.fd, F_SETFL, O_NONBLOCK);
  ::fcntl(errRead.fd, F_SETFL, O_NONBLOCK);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, outWrite.fd, 1);
  posix_spawn_file_actions_adddup2(&actions, errWrite.fd, 2);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // A group of its own, so that at the time limit whatever the program started goes with it.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);

  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  int spawned = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (spawned != 0) throw VornoError::io("Couldn't run " + program + ": " + errorText(spawned) + ".");
  // Our copies of the write ends go, so the pipes end when the child's do.
  outWrite.close();
  errWrite.close();

  SetupProcessResult result;
  const auto deadline = Clock::now() + std::chrono::seconds(timeoutSeconds);
  int raw = 0;
  bool exited = false;
  while (!exited) {
    if (outRead.fd >= 0 || errRead.fd >= 0) {
      pollfd fds[2] = {{outRead.fd, POLLIN, 0}, {errRead.fd, POLLIN, 0}};
      ::poll(fds, 2, kPollMilliseconds);  // a closed pipe (-1) is skipped by poll
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
    }
    drain(outRead, result.out);
    drain(errRead, result.err);
    pid_t done = ::waitpid(pid, &raw, WNOHANG);
    if (done == pid || (done < 0 && errno != EINTR)) {
      exited = true;
    } else if (Clock::now() >= deadline) {
      ::kill(-pid, SIGKILL);
      ::kill(pid, SIGKILL);
      while (::waitpid(pid, &raw, 0) < 0 && errno == EINTR) {
      }
      throw VornoError::io(commandText(program, arguments, arguments.size()) + " timed out after " +
                           std::to_string(timeoutSeconds) + "s.");
    }
  }
  // Whatever the child wrote before it ended is in the pipes now.
  drain(outRead, result.out);
  drain(errRead, result.err);
  result.status = statusOf(raw);
  return result;
}

std::string runChecked(const std::string& program, const std::vector<std::string>& arguments, int timeoutSeconds) {
  SetupProcessResult result = run(program, arguments, timeoutSeconds);
  if (result.status == 0) return result.out;
  std::string reason = trimmed(result.err);
  if (reason.empty()) reason = "exit " + std::to_string(result.status);
  throw VornoError::io(commandText(program, arguments, 3) + " failed: " + reason);
}

}  // namespace SetupProcess

}  // namespace vorno
