#include "kit/util/lru_cache.h"

#include <gtest/gtest.h>

#include <string>

namespace vorno::lru_cache_test {
namespace {

using Cache = LRUCache<std::string, int>;

TEST(LRUCache, LimitOfOneByteKeepsTheOneNewestItem) {
  Cache cache(Cache::unlimited, 1);
  cache.setValue(1, "a", 100);
  cache.setValue(2, "b", 100);
  cache.setValue(3, "c", 100);
  EXPECT_EQ(cache.count(), 1u);
  EXPECT_FALSE(cache.value("a"));
  EXPECT_FALSE(cache.value("b"));
  EXPECT_EQ(cache.value("c"), 3);
  EXPECT_EQ(cache.totalCost(), 100);
}

TEST(LRUCache, RetouchingOneKey5000TimesCompactsTheQueueToOneEntry) {
  Cache cache(Cache::unlimited, Cache::unlimited);
  cache.setValue(7, "only", 1);
  size_t longest = 0, compactions = 0, previous = cache.queueLength();
  for (int i = 0; i < 5000; ++i) {
    ASSERT_EQ(cache.value("only"), 7);
    longest = std::max(longest, cache.queueLength());
    if (cache.queueLength() < previous) {
      ++compactions;
      EXPECT_EQ(cache.queueLength(), 1u);  // rebuilt from the one item
    }
    previous = cache.queueLength();
  }
  // One item allows 1 × 4 + 64 live entries before the rebuild.
  EXPECT_LE(longest, 68u);
  EXPECT_EQ(compactions, 5000u / 68);
}

TEST(LRUCache, QueueStaysBoundedOverManyKeysAndTouches) {
  Cache cache(8, Cache::unlimited);
  for (int i = 0; i < 20000; ++i) {
    cache.setValue(i, std::to_string(i % 50), 1);
    cache.value(std::to_string((i * 7) % 50));
    ASSERT_LE(cache.queueLength(), 8u * 4 + 64 + 1);
  }
  EXPECT_EQ(cache.count(), 8u);
}

TEST(LRUCache, ReadingMakesAnEntryNewest) {
  Cache cache(2, Cache::unlimited);
  cache.setValue(1, "a", 0);
  cache.setValue(2, "b", 0);
  EXPECT_EQ(cache.value("a"), 1);  // now b is the oldest
  cache.setValue(3, "c", 0);
  EXPECT_TRUE(cache.contains("a"));
  EXPECT_FALSE(cache.contains("b"));
  EXPECT_TRUE(cache.contains("c"));
}

TEST(LRUCache, EvictsByCostOldestFirst) {
  Cache cache(Cache::unlimited, 250);
  cache.setValue(1, "a", 100);
  cache.setValue(2, "b", 100);
  cache.setValue(3, "c", 100);
  EXPECT_FALSE(cache.contains("a"));
  EXPECT_TRUE(cache.contains("b"));
  EXPECT_TRUE(cache.contains("c"));
  EXPECT_EQ(cache.totalCost(), 200);
}

TEST(LRUCache, ReplacingTakesTheOldCostOff) {
  Cache cache(Cache::unlimited, 1000);
  cache.setValue(1, "a", 600);
  cache.setValue(2, "a", 300);
  EXPECT_EQ(cache.totalCost(), 300);
  EXPECT_EQ(cache.count(), 1u);
  EXPECT_EQ(cache.value("a"), 2);
  // The stale queue entry of the first value must not evict the replacement.
  cache.setValue(3, "b", 600);
  EXPECT_TRUE(cache.contains("a"));
  EXPECT_TRUE(cache.contains("b"));
}

TEST(LRUCache, NegativeCostCountsAsZeroAndNegativeLimitAsZero) {
  Cache cache(Cache::unlimited, -5);
  cache.setValue(1, "a", -10);
  EXPECT_EQ(cache.totalCost(), 0);
  cache.setValue(2, "b", 1);
  EXPECT_EQ(cache.count(), 1u);
  EXPECT_TRUE(cache.contains("b"));
}

TEST(LRUCache, OneItemLargerThanTheLimitStays) {
  Cache cache(Cache::unlimited, 10);
  cache.setValue(1, "big", 1000);
  EXPECT_EQ(cache.value("big"), 1);
  EXPECT_EQ(cache.totalCost(), 1000);
}

TEST(LRUCache, RemoveValueAndRemoveAll) {
  Cache cache(Cache::unlimited, Cache::unlimited);
  cache.setValue(1, "a", 5);
  cache.setValue(2, "b", 7);
  cache.removeValue("a");
  cache.removeValue("missing");
  EXPECT_FALSE(cache.value("a"));
  EXPECT_EQ(cache.totalCost(), 7);
  cache.removeAll();
  EXPECT_EQ(cache.count(), 0u);
  EXPECT_EQ(cache.totalCost(), 0);
  EXPECT_EQ(cache.queueLength(), 0u);
  cache.setValue(3, "a", 1);
  EXPECT_EQ(cache.value("a"), 3);
}

TEST(LRUCache, CountLimitKeepsTheNewest) {
  Cache cache(3, Cache::unlimited);
  for (int i = 0; i < 10; ++i) cache.setValue(i, std::to_string(i), 1);
  EXPECT_EQ(cache.count(), 3u);
  for (int i = 7; i < 10; ++i) EXPECT_EQ(cache.value(std::to_string(i)), i);
}

}  // namespace
}  // namespace vorno::lru_cache_test
