#include "kit/render/layer_cache.h"

#include "kit/render/render_test_support.h"
#include "kit/util/vorno_error.h"
#include "tests/thread_waits.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <future>
#include <thread>
#include <vector>

namespace vorno::layer_cache_test {
namespace {

using testing::block;
using testing::FlatLayers;

// The first drawing is held until the second caller is known to wait (asleep in the cache), so
// the second asks while the layer is being drawn however the threads are scheduled.
TEST(LayerCache, TwoThreadsAskingTheSameKeyRenderOnceAndOneWaits) {
  FlatLayers flat;
  testing::HeldUntilThreadWaits held;
  std::atomic<bool> inside{false};
  std::atomic<int> overlapping{0}, drawings{0};
  LayerCache cache(64 << 20, [&](const ElementLayout& element, double scale) {
    if (inside.exchange(true)) overlapping.fetch_add(1);
    if (drawings.fetch_add(1) == 0) held.hold();
    Image image = flat(element, scale);
    inside = false;
    return image;
  });
  ElementLayout element = block("a", {0, 0, 40, 40});
  Image first, second;
  std::thread one([&] { first = cache.layer(element, 1); });
  ASSERT_TRUE(testing::pollUntil([&] { return held.holding() == 1; }));
  std::promise<pid_t> secondThread;
  std::thread two([&] {
    secondThread.set_value(::gettid());
    second = cache.layer(element, 1);
  });
  held.releaseWhenWaiting(secondThread.get_future().get());
  one.join();
  two.join();
  EXPECT_EQ(flat.calls.load(), 1);
  EXPECT_EQ(overlapping.load(), 0);
  ASSERT_TRUE(first);
  EXPECT_EQ(first.surface(), second.surface());  // the waiter got the drawer's pixels
}

TEST(LayerCache, FailedLayerLeavesNoKeyInDrawing) {
  int calls = 0;
  LayerCache cache(64 << 20, [&](const ElementLayout&, double) -> Image {
    ++calls;
    throw VornoError::notFound("Image not found: /nowhere.png");
  });
  ElementLayout element = block("a", {0, 0, 40, 40});
  EXPECT_THROW(cache.layer(element, 1), VornoError);
  EXPECT_FALSE(cache.isDrawing(LayerCache::key(element, 1)));
  EXPECT_EQ(cache.count(), 0u);
  // Nothing was remembered: the next caller tries again.
  EXPECT_THROW(cache.layer(element, 1), VornoError);
  EXPECT_EQ(calls, 2);
}

TEST(LayerCache, WaiterDrawsTheLayerItselfAfterTheDrawerFailed) {
  std::atomic<int> calls{0};
  FlatLayers flat;
  testing::HeldUntilThreadWaits held;
  // The first drawing fails, but only once the second caller waits for it.
  LayerCache cache(64 << 20, [&](const ElementLayout& element, double scale) -> Image {
    if (calls.fetch_add(1) == 0) {
      held.hold();
      throw VornoError::io("Layer render failed.");
    }
    return flat(element, scale);
  });
  ElementLayout element = block("a", {0, 0, 40, 40});
  std::atomic<int> failures{0};
  Image drawn;
  std::thread one([&] {
    try {
      cache.layer(element, 1);
    } catch (const VornoError&) {
      failures.fetch_add(1);
    }
  });
  ASSERT_TRUE(testing::pollUntil([&] { return held.holding() == 1; }));
  std::promise<pid_t> secondThread;
  std::thread two([&] {
    secondThread.set_value(::gettid());
    try {
      drawn = cache.layer(element, 1);
    } catch (const VornoError&) {
      failures.fetch_add(1);
    }
  });
  held.releaseWhenWaiting(secondThread.get_future().get());
  one.join();
  two.join();
  EXPECT_EQ(failures.load(), 1);
  EXPECT_EQ(calls.load(), 2);
  EXPECT_TRUE(drawn);
}

TEST(LayerCache, MovedElementHitsTheCacheAndOtherScaleMisses) {
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  ElementLayout element = block("a", {0, 0, 40, 40});
  cache.layer(element, 1);
  element.frame = element.frame.offsetBy(30, 50);  // same content, new place
  cache.layer(element, 1);
  EXPECT_EQ(flat.calls.load(), 1);
  cache.layer(element, 0.5);
  EXPECT_EQ(flat.calls.load(), 2);
  EXPECT_EQ(LayerCache::key(element, 0.5), element.contentKey + "|0.5");
}

TEST(LayerCache, ByteLimitEvictsOlderLayers) {
  FlatLayers flat;
  // One 40 x 40 layer is 6400 bytes: a limit of 7000 keeps only the newest.
  LayerCache cache(7000, std::ref(flat));
  ElementLayout a = block("a", {0, 0, 40, 40}), b = block("b", {0, 0, 40, 40});
  cache.layer(a, 1);
  cache.layer(b, 1);
  EXPECT_EQ(cache.count(), 1u);
  cache.layer(a, 1);
  EXPECT_EQ(flat.calls.load(), 3);
}

TEST(LayerCache, PlannedCacheKeepsALayerUntilItsLastUseThenLetsItGo) {
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  ElementLayout shared = block("shared", {0, 0, 40, 40}), once = block("once", {0, 0, 40, 40});
  const std::string sharedKey = LayerCache::phasedKey(shared, 1, 0, 0);
  for (int i = 0; i < 3; ++i) cache.expect(sharedKey);
  cache.expect(LayerCache::phasedKey(once, 1, 0, 0));
  EXPECT_TRUE(cache.worthKeeping(sharedKey));
  EXPECT_FALSE(cache.worthKeeping(LayerCache::phasedKey(once, 1, 0, 0)));
  EXPECT_FALSE(cache.worthKeeping(LayerCache::phasedKey(shared, 1, 1, 0)));  // never planned

  Image first = cache.layer(shared, 1, 0, 0);
  EXPECT_EQ(cache.count(), 1u);
  EXPECT_EQ(cache.byteCount(), first.byteCount());
  EXPECT_EQ(cache.layer(shared, 1, 0, 0).surface(), first.surface());
  EXPECT_TRUE(cache.worthKeeping(sharedKey));  // decided by the plan, not by what is left
  // The third and last use gets the same pixels, and the cache holds nothing after it.
  EXPECT_EQ(cache.layer(shared, 1, 0, 0).surface(), first.surface());
  EXPECT_EQ(cache.count(), 0u);
  EXPECT_EQ(cache.byteCount(), 0);
  EXPECT_EQ(flat.calls.load(), 1);
}

TEST(LayerCache, WithoutAPlanEveryLayerIsWorthKeeping) {
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  ElementLayout element = block("a", {0, 0, 40, 40});
  EXPECT_TRUE(cache.worthKeeping(LayerCache::phasedKey(element, 1, 0, 0)));
  cache.layer(element, 1, 0, 0);
  cache.layer(element, 1, 0, 0);
  EXPECT_EQ(cache.count(), 1u);
  EXPECT_EQ(flat.calls.load(), 1);
}

TEST(LayerCache, PlannedUsesOnManyThreadsDrawOnceAndLeaveNothing) {
  FlatLayers flat;
  LayerCache cache(64 << 20, std::ref(flat));
  ElementLayout element = block("a", {0, 0, 40, 40});
  const int threads = 8, uses = 25;
  for (int i = 0; i < threads * uses; ++i) cache.expect(LayerCache::phasedKey(element, 1, 2, 3));
  std::vector<std::thread> workers;
  std::atomic<int> nulls{0};
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&] {
      for (int i = 0; i < uses; ++i)
        if (!cache.layer(element, 1, 2, 3)) nulls.fetch_add(1);
    });
  for (auto& worker : workers) worker.join();
  EXPECT_EQ(nulls.load(), 0);
  EXPECT_EQ(flat.calls.load(), 1);
  EXPECT_EQ(cache.count(), 0u);
}

}  // namespace
}  // namespace vorno::layer_cache_test
