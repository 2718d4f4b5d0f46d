// ScratchBuffers: large byte buffers kept for reuse, the PNG encoder's filtered rows and its
// deflate output above all. Each is about the size of the picture (11 MB for a store slide); a
// fresh one costs the kernel page faults and zeroing on first touch, for bytes that are written
// over at once. A buffer whose user lets go comes back here and serves the next request of a
// similar size; its bytes are whatever the last user left, never cleared.
//
// The pool is small and bounded, keeps only large buffers, and is drained with the surface pool
// when long jobs end and when the server has been idle, so memory goes back. Safe from any thread.
//
//   ScratchBuffer rows = ScratchBuffers::take(bytes);   // empty when memory runs out
//   if (!rows) return std::nullopt;
//   fill(rows.data(), rows.size());
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vorno {

/// A byte buffer of at least the size asked for, given back to the pool when destroyed.
class ScratchBuffer {
 public:
  struct Free {
    void operator()(uint8_t* bytes) const;
  };
  using Bytes = std::unique_ptr<uint8_t, Free>;

  ScratchBuffer() = default;
  ScratchBuffer(ScratchBuffer&& other) noexcept;
  ScratchBuffer& operator=(ScratchBuffer&& other) noexcept;
  ~ScratchBuffer();

  uint8_t* data() const { return bytes_.get(); }
  /// The bytes asked for; the buffer may hold more.
  size_t size() const { return size_; }
  explicit operator bool() const { return bytes_ != nullptr; }

 private:
  friend struct ScratchBufferAccess;
  Bytes bytes_;
  size_t capacity_ = 0, size_ = 0;
};

namespace ScratchBuffers {

/// Bytes of buffers the pool keeps at most.
inline constexpr int64_t budget = int64_t{64} << 20;
/// Buffers smaller than this are never kept.
inline constexpr size_t smallest = size_t{1} << 20;

/// A buffer of `bytes` bytes, uncleared: a kept one of a similar size, or a new one. Empty when
/// memory runs out.
ScratchBuffer take(size_t bytes);
/// Frees every kept buffer.
void drain();
/// Bytes kept now.
int64_t byteCount();

}  // namespace ScratchBuffers
}  // namespace vorno
