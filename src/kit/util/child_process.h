// ChildProcess: one running program, owned. Its standard input is the null device, its standard
// output and error go to two pipes that two background readers drain into buffers, so no pipe can
// fill up and block it. It runs in a process group of its own, so that a signal reaches whatever
// it started too. Shell builds its calls on this; a caller that must talk to a program while it
// runs (a screen recording that ends on an interrupt) uses it directly.
//
//   ChildProcess child("/usr/bin/xcrun", {"simctl", "io", udid, "recordVideo", ...});
//   while (child.isRunning() && child.errorOutput().find("Recording started") == npos) ...
//   child.signal(SIGINT);
//   int status = child.wait();
#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

class ChildProcess {
 public:
  /// Starts `path` with `arguments`. Throws VornoError: notFound "<path> isn't installed." when
  /// there is no such program, io "Couldn't run <path>: <reason>." for any other launch failure.
  ChildProcess(const std::string& path, const std::vector<std::string>& arguments);
  /// A program still running is killed with its group; the readers are stopped and joined.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  /// Whether the program still runs; reaps it when it has ended.
  bool isRunning();
  /// Sends `signal` to the program's process group.
  void signal(int signal);
  /// Kills the group and reaps the program.
  void kill();
  /// Blocks until the program ends; its exit status, or 128 + the signal that ended it. The
  /// readers have taken everything it wrote when this returns.
  int wait();

  /// What the program has written so far (all of it once `wait` returned).
  std::string output() const;
  std::string errorOutput() const;

 private:
  struct Readers;
  void reapWith(int raw);

  pid_t pid_ = -1;
  std::optional<int> status_;
  std::unique_ptr<Readers> readers_;
};

}  // namespace vorno
