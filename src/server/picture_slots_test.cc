#include "server/picture_slots.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "server/tool.h"
#include "server/tool_registry.h"
#include "tests/hang_guard.h"

namespace vorno::picture_slots_test {
namespace {

using namespace std::chrono_literals;

// Waits (bounded by the hang guard) until `condition` holds; whether it did.
template <typename Condition>
bool eventually(Condition condition) {
  auto deadline = std::chrono::steady_clock::now() + testing::hangGuard;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TEST(PictureSlots, ACallBeyondTheSlotsWaitsUntilOneIsGivenBack) {
  PictureSlots slots(2);
  auto first = std::make_optional(slots.take());
  auto second = slots.take();
  EXPECT_EQ(slots.freeCount(), 0);
  std::atomic<bool> thirdRan{false};
  std::jthread third([&] {
    PictureSlots::Held held = slots.take();
    thirdRan = true;
  });
  ASSERT_TRUE(eventually([&] { return slots.waitingCount() == 1; }));
  EXPECT_FALSE(thirdRan) << "a third call drew while two held both slots";
  first.reset();
  ASSERT_TRUE(eventually([&] { return thirdRan.load(); }));
  third.join();
  EXPECT_EQ(slots.freeCount(), 1);
}

TEST(PictureSlots, AMovedSlotIsGivenBackOnce) {
  PictureSlots slots(1);
  {
    PictureSlots::Held held = slots.take();
    PictureSlots::Held moved = std::move(held);
    EXPECT_EQ(slots.freeCount(), 0);
  }
  EXPECT_EQ(slots.freeCount(), 1);
}

TEST(PictureSlots, RendersAndExportsTakeASlotAndEditsDoNot) {
  for (const char* name : {"render_slide", "render_overview", "render_creative", "render_spread", "export"}) {
    ASSERT_NE(ToolRegistry::named(name), nullptr) << name;
    EXPECT_TRUE(ToolRegistry::named(name)->drawsPictures()) << name;
  }
  for (const char* name : {"project_get", "slide_upsert", "lint", "asset_add"}) {
    ASSERT_NE(ToolRegistry::named(name), nullptr) << name;
    EXPECT_FALSE(ToolRegistry::named(name)->drawsPictures()) << name;
  }
}

TEST(PictureSlots, TheServerHasAtLeastTwoSlots) { EXPECT_GE(PictureSlots::shared().freeCount(), 2); }

}  // namespace
}  // namespace vorno::picture_slots_test
