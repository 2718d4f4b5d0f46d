// How it works: the program's two output pipes are read by two threads, each waiting in poll() on
// its pipe and on one shared "stop" eventfd. A reader ends at its pipe's end, which normally comes
// when the program exits. A grandchild that inherited the pipe (a daemon the program started) can
// keep it open for ever, so once the program has been reaped the stop descriptor is raised: each
// reader then takes what is left in its pipe without waiting and ends. Everything the program
// itself wrote is in the pipe by the time it has exited, so nothing of it is lost.
#include "kit/util/child_process.h"

#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <thread>

extern char** environ;

namespace vorno {

namespace {

void closeQuietly(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

int statusOf(int raw) { return WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw); }

}  // namespace

struct ChildProcess::Readers {
  struct Stream {
    int fd = -1;
    std::string bytes;
    std::thread thread;
  };

  Stream out, err;
  int stop = -1;
  mutable std::mutex mutex;
  bool stopped = false;

  ~Readers() {
    stopAndJoin();
    closeQuietly(out.fd);
    closeQuietly(err.fd);
    closeQuietly(stop);
  }

  void start() {
    out.thread = std::thread([this] { read(out); });
    err.thread = std::thread([this] { read(err); });
  }

  // Takes what the pipe holds now; false at its end or on an error.
  bool take(Stream& stream) {
    char buffer[65536];
    for (;;) {
      ssize_t got = ::read(stream.fd, buffer, sizeof buffer);
      if (got > 0) {
        std::lock_guard lock(mutex);
        stream.bytes.append(buffer, static_cast<size_t>(got));
      } else if (got < 0 && errno == EINTR) {
        continue;
      } else {
        return got < 0 && errno == EAGAIN;
      }
    }
  }

  void read(Stream& stream) {
    for (;;) {
      pollfd fds[2] = {{stream.fd, POLLIN, 0}, {stop, POLLIN, 0}};
      if (::poll(fds, 2, -1) < 0) {
        if (errno == EINTR) continue;
        return;
      }
      if (fds[1].revents & POLLIN) {
        take(stream);  // the program has ended: what is left, without waiting for more
        return;
      }
      if (fds[0].revents && !take(stream)) return;
    }
  }

  void stopAndJoin() {
    if (stopped) return;
    stopped = true;
    if (stop >= 0) {
      uint64_t one = 1;
      ssize_t ignored = ::write(stop, &one, sizeof one);
      (void)ignored;
    }
    if (out.thread.joinable()) out.thread.join();
    if (err.thread.joinable()) err.thread.join();
  }

  std::string copy(const Stream& stream) const {
    std::lock_guard lock(mutex);
    return stream.bytes;
  }
};

ChildProcess::ChildProcess(const std::string& path, const std::vector<std::string>& arguments)
    : readers_(std::make_unique<Readers>()) {
  int outPipe[2] = {-1, -1}, errPipe[2] = {-1, -1};
  auto launchFailure = [&](int error) {
    closeQuietly(outPipe[1]);
    closeQuietly(errPipe[1]);
    if (error == ENOENT) return VornoError::notFound(path + " isn't installed.");
    return VornoError::io("Couldn't run " + path + ": " + errorText(error) + ".");
  };
  if (::pipe2(outPipe, O_CLOEXEC) != 0) throw launchFailure(errno);
  readers_->out.fd = outPipe[0];
  if (::pipe2(errPipe, O_CLOEXEC) != 0) throw launchFailure(errno);
  readers_->err.fd = errPipe[0];
  readers_->stop = ::eventfd(0, EFD_CLOEXEC);
  if (readers_->stop < 0) throw launchFailure(errno);
  // Only our reading ends are non-blocking: the program writes to ordinary pipes, as programs
  // expect, and simply waits when one is full until its reader has caught up.
  ::fcntl(outPipe[0], F_SETFL, O_NONBLOCK);
  ::fcntl(errPipe[0], F_SETFL, O_NONBLOCK);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
  posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // A group of its own: at a time limit whatever the program started goes with it, and a signal
  // meant for it (an interrupt that ends a recording) reaches its helpers too.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setpgroup(&attributes, 0);
  sigset_t none, defaults;
  sigemptyset(&none);
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  sigaddset(&defaults, SIGINT);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &defaults);

  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(path.c_str()));
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  int spawned = ::posix_spawn(&pid_, path.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (spawned != 0) {
    pid_ = -1;
    throw launchFailure(spawned);
  }
  // Our copies of the writing ends go, so each pipe ends when the program's last copy does.
  closeQuietly(outPipe[1]);
  closeQuietly(errPipe[1]);
  readers_->start();
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0 && !status_) kill();
  readers_->stopAndJoin();
}

void ChildProcess::reapWith(int raw) {
  status_ = statusOf(raw);
  readers_->stopAndJoin();
}

bool ChildProcess::isRunning() {
  if (status_) return false;
  int raw = 0;
  pid_t done = ::waitpid(pid_, &raw, WNOHANG);
  if (done == pid_) {
    reapWith(raw);
    return false;
  }
  if (done < 0 && errno != EINTR) {
    reapWith(0);  // not ours to wait for any more: treat as ended
    return false;
  }
  return true;
}

void ChildProcess::signal(int signal) {
  if (status_) return;
  ::kill(-pid_, signal);
  ::kill(pid_, signal);
}

void ChildProcess::kill() {
  signal(SIGKILL);
  wait();
}

int ChildProcess::wait() {
  if (status_) return *status_;
  int raw = 0;
  while (::waitpid(pid_, &raw, 0) < 0) {
    if (errno != EINTR) {
      raw = 0;
      break;
    }
  }
  reapWith(raw);
  return *status_;
}

std::string ChildProcess::output() const { return readers_->copy(readers_->out); }
std::string ChildProcess::errorOutput() const { return readers_->copy(readers_->err); }

}  // namespace vorno
