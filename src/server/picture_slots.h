// PictureSlots: how many tool calls may draw pictures at once.
//
// A render holds a canvas, its layers, a decoded capture and the encoders' buffers: tens of
// megabytes. With more renders running than there are cores none of them finishes sooner, and
// memory grows with every one (sixty renders at once once held 1.9 GB). So a call that draws takes
// a slot first, and calls beyond the slots wait their turn holding nothing.
//
//   PictureSlots::Held slot = PictureSlots::shared().take();   // given back when `slot` goes
#pragma once

#include <condition_variable>
#include <mutex>

namespace vorno {

class PictureSlots {
 public:
  explicit PictureSlots(int count);
  PictureSlots(const PictureSlots&) = delete;
  PictureSlots& operator=(const PictureSlots&) = delete;

  /// One slot, given back when it is destroyed.
  class Held {
   public:
    explicit Held(PictureSlots* slots) : slots_(slots) {}
    Held(Held&& other) noexcept : slots_(other.slots_) { other.slots_ = nullptr; }
    Held& operator=(Held&&) = delete;
    ~Held();

   private:
    PictureSlots* slots_;
  };

  /// Waits for a free slot and takes it.
  Held take();

  int freeCount() const;
  /// Calls waiting in `take` now.
  int waitingCount() const;

  /// The server's slots: one per core, and at least two, so that a quick render can pass a long
  /// export.
  static PictureSlots& shared();

 private:
  void giveBack();

  mutable std::mutex mutex_;
  std::condition_variable freed_;
  int free_;
  int waiting_ = 0;
};

}  // namespace vorno
