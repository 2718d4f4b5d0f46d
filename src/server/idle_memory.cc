#include "server/idle_memory.h"

namespace vorno {

IdleMemory::IdleMemory(Clock::duration quiet, std::function<void()> release)
    : quiet_(quiet), release_(std::move(release)), watcher_([this] { watch(); }) {}

IdleMemory::~IdleMemory() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  changed_.notify_all();
  watcher_.join();
}

void IdleMemory::callStarted() {
  std::lock_guard guard(lock_);
  ++running_;
}

void IdleMemory::callEnded(Clock::time_point now) {
  {
    std::lock_guard guard(lock_);
    --running_;
    worthReleasing_ = true;
    lastEnd_ = now;
  }
  changed_.notify_all();
}

bool IdleMemory::releaseIfIdle(Clock::time_point now) {
  {
    std::lock_guard guard(lock_);
    if (running_ > 0 || !worthReleasing_ || now - lastEnd_ < quiet_) return false;
    worthReleasing_ = false;
  }
  // Outside the lock: a call starting now only finds the pools emptier.
  release_();
  return true;
}

void IdleMemory::watch() {
  std::unique_lock guard(lock_);
  while (!stopping_) {
    if (running_ > 0 || !worthReleasing_) {
      changed_.wait(guard);
      continue;
    }
    const Clock::time_point due = lastEnd_ + quiet_;
    if (changed_.wait_until(guard, due, [&] { return stopping_ || running_ > 0 || lastEnd_ + quiet_ != due; }))
      continue;
    guard.unlock();
    releaseIfIdle(Clock::now());
    guard.lock();
  }
}

}  // namespace vorno
