#include "kit/util/thread_pool.h"

#include "tests/thread_waits.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace vorno::thread_pool_test {
namespace {

TEST(ThreadPool, EveryIndexRunsExactlyOnce) {
  std::vector<std::atomic<int>> runs(1000);
  ThreadPool::parallelFor(runs.size(), [&](size_t i) { runs[i].fetch_add(1); });
  for (size_t i = 0; i < runs.size(); ++i) EXPECT_EQ(runs[i].load(), 1) << i;
}

TEST(ThreadPool, ZeroIterationsNeverCallTheBody) {
  bool called = false;
  ThreadPool::parallelFor(0, [&](size_t) { called = true; });
  EXPECT_FALSE(called);
}

TEST(ThreadPool, NestedLoopRunsInlineWithoutDeadlock) {
  std::atomic<int> inner{0};
  ThreadPool::parallelFor(8, [&](size_t) {
    std::thread::id outer = std::this_thread::get_id();
    ThreadPool::parallelFor(16, [&](size_t) {
      EXPECT_EQ(std::this_thread::get_id(), outer);
      inner.fetch_add(1);
    });
  });
  EXPECT_EQ(inner.load(), 8 * 16);
}

TEST(ThreadPool, FailureIsRethrownAfterEveryIterationFinished) {
  // The worker's first iteration (not the failing one) is held until the caller is known to wait
  // for it; the caller's own iterations wait until it is held, so that one is always in flight
  // when the caller runs out of iterations, failure and all.
  constexpr size_t count = 20, failing = 3;
  ThreadPool::setConcurrency(2);
  const pid_t caller = ::gettid();
  testing::HeldUntilThreadWaits held;
  std::atomic<int> finished{0}, settled{0};
  auto settle = [&] {
    if (settled.fetch_add(1) + 1 == static_cast<int>(count) - 1) held.releaseWhenWaiting(caller);
  };
  try {
    ThreadPool::parallelFor(count, [&](size_t i) {
      if (i == failing) {
        settle();
        throw std::runtime_error("slide 3");
      }
      if (::gettid() != caller) {
        held.hold();
        finished.fetch_add(1);
        return;
      }
      testing::pollUntil([&] { return held.holding() > 0; });
      finished.fetch_add(1);
      settle();
    });
    ADD_FAILURE() << "expected the failure to come back";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "slide 3");
  }
  EXPECT_EQ(finished.load(), 19) << "the failure came back before every iteration finished";
  held.release();
  ThreadPool::setConcurrency(0);
}

TEST(ThreadPool, UsesSeveralThreadsWhenTheHardwareHasThem) {
  ThreadPool::setConcurrency(2);
  std::mutex lock;
  std::set<std::thread::id> threads;
  // Each of the two iterations waits until both have started: only two threads can get there.
  std::atomic<int> started{0};
  std::atomic<bool> together{true};
  ThreadPool::parallelFor(2, [&](size_t) {
    started.fetch_add(1);
    if (!testing::pollUntil([&] { return started.load() == 2; })) together = false;
    std::lock_guard guard(lock);
    threads.insert(std::this_thread::get_id());
  });
  ThreadPool::setConcurrency(0);
  EXPECT_TRUE(together) << "the two iterations never ran at the same time";
  EXPECT_EQ(threads.size(), 2u);
}

TEST(ThreadPool, ConcurrencyOneRunsOnTheCallingThread) {
  ThreadPool::setConcurrency(1);
  EXPECT_EQ(ThreadPool::concurrency(), 1u);
  std::thread::id caller = std::this_thread::get_id();
  std::atomic<int> elsewhere{0};
  ThreadPool::parallelFor(10, [&](size_t) {
    if (std::this_thread::get_id() != caller) elsewhere.fetch_add(1);
  });
  ThreadPool::setConcurrency(0);
  EXPECT_EQ(elsewhere.load(), 0);
  EXPECT_GE(ThreadPool::concurrency(), 1u);
}

TEST(ThreadPool, TwoOutsideCallersShareThePool) {
  ThreadPool::setConcurrency(2);
  std::atomic<int> total{0};
  std::thread a([&] { ThreadPool::parallelFor(200, [&](size_t) { total.fetch_add(1); }); });
  std::thread b([&] { ThreadPool::parallelFor(300, [&](size_t) { total.fetch_add(1); }); });
  a.join();
  b.join();
  ThreadPool::setConcurrency(0);
  EXPECT_EQ(total.load(), 500);
}

}  // namespace
}  // namespace vorno::thread_pool_test
