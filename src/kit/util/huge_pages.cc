#include "kit/util/huge_pages.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>

namespace vorno::HugePages {
namespace {

size_t roundedUp(size_t bytes) { return (bytes + size - 1) & ~(size - 1); }

}  // namespace

void* allocate(size_t bytes) {
  if (bytes < size) return std::malloc(bytes ? bytes : 1);
  if (roundedUp(bytes) < bytes) return nullptr;  // overflow
  void* block = std::aligned_alloc(size, roundedUp(bytes));
  advise(block, roundedUp(bytes));
  return block;
}

void* map(size_t bytes) {
  const size_t length = roundedUp(bytes ? bytes : 1);
  if (length < bytes || length + size < length) return nullptr;
  // The kernel aligns a mapping to ordinary pages only: map one huge page more and cut the ends
  // off so that what's left starts on a boundary.
  void* mapped = ::mmap(nullptr, length + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  const uintptr_t start = reinterpret_cast<uintptr_t>(mapped);
  const uintptr_t aligned = (start + size - 1) & ~uintptr_t{size - 1};
  if (aligned > start) ::munmap(mapped, aligned - start);
  const uintptr_t end = aligned + length;
  if (start + length + size > end) ::munmap(reinterpret_cast<void*>(end), start + length + size - end);
  void* block = reinterpret_cast<void*>(aligned);
  advise(block, length);
  return block;
}

void unmap(void* block, size_t bytes) {
  if (block) ::munmap(block, roundedUp(bytes ? bytes : 1));
}

void advise(void* block, size_t bytes) {
  if (!block || bytes < size) return;
  const uintptr_t start = reinterpret_cast<uintptr_t>(block);
  const uintptr_t first = (start + size - 1) & ~uintptr_t{size - 1};
  const uintptr_t end = (start + bytes) & ~uintptr_t{size - 1};
  // A refusal (no huge pages in this kernel) leaves ordinary pages, which is all that is lost.
  if (end > first) ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

}  // namespace vorno::HugePages
