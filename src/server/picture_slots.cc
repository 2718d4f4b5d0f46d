#include "server/picture_slots.h"

#include <algorithm>
#include <thread>

namespace vorno {

PictureSlots::PictureSlots(int count) : free_(std::max(count, 1)) {}

PictureSlots::Held::~Held() {
  if (slots_) slots_->giveBack();
}

PictureSlots::Held PictureSlots::take() {
  std::unique_lock lock(mutex_);
  ++waiting_;
  freed_.wait(lock, [&] { return free_ > 0; });
  --waiting_;
  --free_;
  return Held(this);
}

void PictureSlots::giveBack() {
  {
    std::lock_guard lock(mutex_);
    ++free_;
  }
  freed_.notify_one();
}

int PictureSlots::freeCount() const {
  std::lock_guard lock(mutex_);
  return free_;
}

int PictureSlots::waitingCount() const {
  std::lock_guard lock(mutex_);
  return waiting_;
}

PictureSlots& PictureSlots::shared() {
  // Never destroyed: calls still running at exit may give a slot back after static destructors.
  static PictureSlots* slots = new PictureSlots(std::max(2, static_cast<int>(std::thread::hardware_concurrency())));
  return *slots;
}

}  // namespace vorno
