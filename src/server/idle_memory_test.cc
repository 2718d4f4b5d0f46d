#include "server/idle_memory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace vorno::idle_memory_test {
namespace {

using namespace std::chrono_literals;
using Clock = IdleMemory::Clock;

// A watcher that never wakes on its own during the test: every release is asked for by hand.
constexpr auto never = std::chrono::hours(24 * 365);

TEST(IdleMemory, ReleasesOnceAfterTheQuietSpanSinceTheLastCall) {
  int releases = 0;
  IdleMemory idle(never, [&] { ++releases; });
  const Clock::time_point end = Clock::now();
  idle.callStarted();
  idle.callEnded(end);
  EXPECT_FALSE(idle.releaseIfIdle(end + never - 1s));
  EXPECT_TRUE(idle.releaseIfIdle(end + never));
  EXPECT_FALSE(idle.releaseIfIdle(end + 2 * never));  // nothing new since
  EXPECT_EQ(releases, 1);
}

TEST(IdleMemory, NeverReleasesWhileACallRuns) {
  int releases = 0;
  IdleMemory idle(never, [&] { ++releases; });
  const Clock::time_point end = Clock::now();
  idle.callStarted();
  idle.callStarted();
  idle.callEnded(end);  // one of two done
  EXPECT_FALSE(idle.releaseIfIdle(end + 2 * never));
  idle.callEnded(end + never);
  EXPECT_TRUE(idle.releaseIfIdle(end + 2 * never));
  EXPECT_EQ(releases, 1);
}

TEST(IdleMemory, NothingToReleaseBeforeAnyCall) {
  int releases = 0;
  IdleMemory idle(never, [&] { ++releases; });
  EXPECT_FALSE(idle.releaseIfIdle(Clock::now() + 2 * never));
  EXPECT_EQ(releases, 0);
}

TEST(IdleMemory, WatcherReleasesByItselfOnceTheServerIsQuiet) {
  std::promise<void> released;
  std::atomic<int> releases{0};
  IdleMemory idle(1ms, [&] {
    if (releases++ == 0) released.set_value();
  });
  idle.callStarted();
  idle.callEnded();
  ASSERT_EQ(released.get_future().wait_for(120s), std::future_status::ready);
  EXPECT_EQ(releases.load(), 1);
}

}  // namespace
}  // namespace vorno::idle_memory_test
