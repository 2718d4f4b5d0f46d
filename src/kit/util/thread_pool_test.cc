#include "kit/util/thread_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace vorno {
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
  std::atomic<int> finished{0};
  try {
    ThreadPool::parallelFor(20, [&](size_t i) {
      if (i == 3) throw std::runtime_error("slide 3");
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      finished.fetch_add(1);
    });
    FAIL() << "expected the failure to come back";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "slide 3");
  }
  EXPECT_EQ(finished.load(), 19);
}

TEST(ThreadPool, UsesSeveralThreadsWhenTheHardwareHasThem) {
  ThreadPool::setConcurrency(2);
  std::mutex lock;
  std::set<std::thread::id> threads;
  ThreadPool::parallelFor(8, [&](size_t) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::lock_guard guard(lock);
    threads.insert(std::this_thread::get_id());
  });
  ThreadPool::setConcurrency(0);
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
}  // namespace vorno
