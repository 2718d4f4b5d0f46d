#include "kit/image/scratch_buffers.h"

#include "kit/util/huge_pages.h"

#include <cstdlib>
#include <mutex>
#include <vector>

namespace vorno {

struct ScratchBufferAccess {
  static ScratchBuffer make(ScratchBuffer::Bytes bytes, size_t capacity, size_t size) {
    ScratchBuffer buffer;
    buffer.bytes_ = std::move(bytes);
    buffer.capacity_ = capacity;
    buffer.size_ = size;
    return buffer;
  }
};

namespace {

struct Kept {
  ScratchBuffer::Bytes bytes;
  size_t capacity;
};

struct Pool {
  std::mutex lock;
  std::vector<Kept> buffers;  // newest last
  int64_t bytes = 0;
};

Pool& pool() {
  static Pool shared;
  return shared;
}

void giveBack(ScratchBuffer::Bytes bytes, size_t capacity) {
  if (!bytes || capacity < ScratchBuffers::smallest) return;
  Pool& p = pool();
  std::lock_guard guard(p.lock);
  if (p.bytes + static_cast<int64_t>(capacity) > ScratchBuffers::budget) return;  // freed on return
  p.bytes += static_cast<int64_t>(capacity);
  p.buffers.push_back({std::move(bytes), capacity});
}

}  // namespace

ScratchBuffer::ScratchBuffer(ScratchBuffer&& other) noexcept
    : bytes_(std::move(other.bytes_)), capacity_(other.capacity_), size_(other.size_) {
  other.capacity_ = other.size_ = 0;
}

ScratchBuffer& ScratchBuffer::operator=(ScratchBuffer&& other) noexcept {
  if (this != &other) {
    giveBack(std::move(bytes_), capacity_);
    bytes_ = std::move(other.bytes_);
    capacity_ = other.capacity_;
    size_ = other.size_;
    other.capacity_ = other.size_ = 0;
  }
  return *this;
}

void ScratchBuffer::Free::operator()(uint8_t* bytes) const { std::free(bytes); }

ScratchBuffer::~ScratchBuffer() { giveBack(std::move(bytes_), capacity_); }

namespace ScratchBuffers {

ScratchBuffer take(size_t bytes) {
  if (bytes >= smallest) {
    Pool& p = pool();
    std::lock_guard guard(p.lock);
    // The smallest kept buffer that holds the request, if it isn't more than twice too big: a
    // preview's few megabytes shouldn't pin a slide's eleven.
    auto best = p.buffers.end();
    for (auto it = p.buffers.begin(); it != p.buffers.end(); ++it)
      if (it->capacity >= bytes && it->capacity <= 2 * bytes && (best == p.buffers.end() || it->capacity < best->capacity))
        best = it;
    if (best != p.buffers.end()) {
      Kept kept = std::move(*best);
      p.buffers.erase(best);
      p.bytes -= static_cast<int64_t>(kept.capacity);
      return ScratchBufferAccess::make(std::move(kept.bytes), kept.capacity, bytes);
    }
  }
  // Uninitialised: no bytes are cleared that the caller will write anyway.
  ScratchBuffer::Bytes fresh(static_cast<uint8_t*>(HugePages::allocate(bytes)));
  if (!fresh) return {};
  return ScratchBufferAccess::make(std::move(fresh), bytes, bytes);
}

void drain() {
  std::vector<Kept> buffers;
  Pool& p = pool();
  std::lock_guard guard(p.lock);
  buffers.swap(p.buffers);
  p.bytes = 0;
}

int64_t byteCount() {
  Pool& p = pool();
  std::lock_guard guard(p.lock);
  return p.bytes;
}

}  // namespace ScratchBuffers
}  // namespace vorno
