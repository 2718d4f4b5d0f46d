// A program run in a child process whose renames the test lets through one at a time. Every
// atomic write ends in a rename, so a test can stop the program in the middle of its writes at a
// known point: after exactly so many files were put in place, with the next one written to its
// temporary file and waiting to be renamed. It uses a seccomp filter that hands each rename to
// the test (a user notification), so the program itself needs no hook.
#pragma once

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/hang_guard.h"
#include "tests/held_syscalls.h"

namespace vorno::testing {

class HeldRenames {
 public:
  /// Starts `program` with `args`, its standard streams on /dev/null.
  HeldRenames(const std::string& program, const std::vector<std::string>& args) {
    int channel[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel) != 0) throw std::runtime_error("socketpair failed");
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    std::vector<sock_filter> filter = notifyingFilter(renameCalls());
    sock_fprog filterProgram{static_cast<unsigned short>(filter.size()), filter.data()};
    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ == 0) {
      ::close(channel[0]);
      if (!installNotifyingFilter(filterProgram, channel[1])) ::_exit(125);
      int null = ::open("/dev/null", O_RDWR);
      ::dup2(null, 0);
      ::dup2(null, 1);
      ::dup2(null, 2);
      ::execv(program.c_str(), argv.data());
      ::_exit(127);
    }
    ::close(channel[1]);
    listener_ = receiveDescriptor(channel[0]);
    ::close(channel[0]);
  }

  ~HeldRenames() {
    kill();
    if (listener_ >= 0) ::close(listener_);
  }

  HeldRenames(const HeldRenames&) = delete;
  HeldRenames& operator=(const HeldRenames&) = delete;

  /// Whether the seccomp filter is in place, so that renames are the test's to let through.
  bool watching() const { return listener_ >= 0; }

  /// Lets `count` renames through and waits for the next, which is left waiting. False when the
  /// program ended first (or the guard passed).
  bool holdAfter(size_t count) {
    auto guard = std::chrono::steady_clock::now() + hangGuard;
    while (std::chrono::steady_clock::now() < guard) {
      pollfd entry{listener_, POLLIN, 0};
      int ready = ::poll(&entry, 1, 1000);
      if (ready < 0 && errno != EINTR) return false;
      if (ready > 0 && (entry.revents & POLLIN)) {
        seccomp_notif request;
        std::memset(&request, 0, sizeof request);
        if (::ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &request) != 0) continue;  // its thread died
        if (allowed_ == count) return true;
        seccomp_notif_resp response;
        std::memset(&response, 0, sizeof response);
        response.id = request.id;
        response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &response);
        ++allowed_;
        continue;
      }
      if (ready > 0 && (entry.revents & (POLLHUP | POLLERR))) return false;  // no task left to watch
      if (ended()) return false;
    }
    return false;
  }

  /// Ends the program with SIGKILL; true when the signal is what ended it.
  bool kill() {
    if (pid_ <= 0) return false;
    ::kill(pid_, SIGKILL);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

 private:
  // Every way of renaming a file.
  static std::vector<unsigned> renameCalls() {
    return {
#ifdef __NR_rename
        __NR_rename,
#endif
        __NR_renameat, __NR_renameat2};
  }

  bool ended() {
    int status = 0;
    if (pid_ > 0 && ::waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      return true;
    }
    return false;
  }

  pid_t pid_ = -1;
  int listener_ = -1;
  size_t allowed_ = 0;
};

}  // namespace vorno::testing
