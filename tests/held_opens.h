// Holds a child process at the moment it opens a chosen file: the test sees the open arrive, does
// what it needs while the program waits there (swaps a folder, closes the program's input), and
// lets it go on. Every open of the child is handed to a watcher thread of the test by a seccomp
// filter (a user notification); the first whose path the test's predicate picks is held, all the
// others go on at once. The program itself needs no hook.
//
//   HeldOpens held([](const std::string& path) { return path.ends_with("/project.json"); });
//   MCPProcess server(folder, "/dev/null", {}, VORNO_BINARY, held.inChild());
//   held.start();
//   ... a call that reads the document ...
//   ASSERT_TRUE(held.waitUntilHeld());  // the call is surely in the middle now
//   held.release();
#pragma once

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/hang_guard.h"
#include "tests/held_syscalls.h"

namespace vorno::testing {

class HeldOpens {
 public:
  explicit HeldOpens(std::function<bool(const std::string& path)> picks) : picks_(std::move(picks)) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel_) != 0) throw std::runtime_error("socketpair failed");
    filter_ = notifyingFilter(openCalls());
    program_ = sock_fprog{static_cast<unsigned short>(filter_.size()), filter_.data()};
  }

  ~HeldOpens() {
    stopping_ = true;
    if (watcher_.joinable()) watcher_.join();
    for (int fd : {channel_[0], channel_[1], listener_})
      if (fd >= 0) ::close(fd);
  }

  HeldOpens(const HeldOpens&) = delete;
  HeldOpens& operator=(const HeldOpens&) = delete;

  /// What the child runs between fork and exec: installs the filter and sends its listener.
  std::function<void()> inChild() {
    return [this] {
      if (!installNotifyingFilter(program_, channel_[1])) ::_exit(125);
    };
  }

  /// In the test, once the child is started: takes the listener and starts watching.
  void start() {
    ::close(channel_[1]);
    channel_[1] = -1;
    listener_ = receiveDescriptor(channel_[0]);
    if (listener_ < 0) throw std::runtime_error("the child could not install its seccomp filter");
    watcher_ = std::thread([this] { watch(); });
  }

  /// Waits until an open the predicate picks is held; false when the program ended first (or
  /// only after the hang guard).
  bool waitUntilHeld() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, hangGuard, [&] { return held_.has_value() || gone_; });
    return held_.has_value();
  }

  /// The path of the held open (empty before one is held).
  std::string heldPath() {
    std::lock_guard<std::mutex> lock(mutex_);
    return path_;
  }

  /// Lets the held open go on; every later open goes on at once.
  void release() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (held_ && !released_) allow(*held_);
    released_ = true;
  }

 private:
  static std::vector<unsigned> openCalls() {
    return {
#ifdef __NR_open
        __NR_open,
#endif
#ifdef __NR_openat2
        __NR_openat2,
#endif
        __NR_openat};
  }

  void watch() {
    while (!stopping_) {
      pollfd entry{listener_, POLLIN, 0};
      int ready = ::poll(&entry, 1, 100);
      if (ready <= 0) continue;
      if (entry.revents & (POLLHUP | POLLERR)) {  // no task left to watch
        std::lock_guard<std::mutex> lock(mutex_);
        gone_ = true;
        changed_.notify_all();
        return;
      }
      seccomp_notif request;
      std::memset(&request, 0, sizeof request);
      if (::ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &request) != 0) continue;  // its thread died
      std::lock_guard<std::mutex> lock(mutex_);
      if (!held_ && !released_) {
        std::string path = pathOf(request);
        if (picks_(path)) {
          held_ = request.id;
          path_ = path;
          changed_.notify_all();
          continue;
        }
      }
      allow(request.id);
    }
  }

  void allow(uint64_t id) {
    seccomp_notif_resp response;
    std::memset(&response, 0, sizeof response);
    response.id = id;
    response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    ::ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &response);
  }

  // The path the call opens, read from the child's memory a page at a time (a read may not cross
  // into a page that isn't mapped).
  static std::string pathOf(const seccomp_notif& request) {
    const bool plainOpen = request.data.nr != __NR_openat
#ifdef __NR_openat2
                           && request.data.nr != __NR_openat2
#endif
        ;
    uintptr_t address = static_cast<uintptr_t>(request.data.args[plainOpen ? 0 : 1]);
    std::string path;
    while (path.size() < 4096) {
      char chunk[4096];
      const size_t length = 4096 - (address % 4096);
      iovec local{chunk, length};
      iovec remote{reinterpret_cast<void*>(address), length};
      ssize_t got = ::process_vm_readv(static_cast<pid_t>(request.pid), &local, 1, &remote, 1, 0);
      if (got <= 0) break;
      const std::string_view text(chunk, static_cast<size_t>(got));
      const size_t end = text.find('\0');
      path.append(text.substr(0, end));
      if (end != std::string_view::npos) break;
      address += static_cast<uintptr_t>(got);
    }
    return path;
  }

  std::function<bool(const std::string&)> picks_;
  int channel_[2] = {-1, -1};
  int listener_ = -1;
  std::vector<sock_filter> filter_;
  sock_fprog program_{};
  std::thread watcher_;
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<uint64_t> held_;
  std::string path_;
  bool released_ = false;
  bool gone_ = false;
};

}  // namespace vorno::testing
