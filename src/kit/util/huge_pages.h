// Huge pages for picture-sized blocks. Memory fresh from the kernel costs a page fault on the first
// touch of every 4 KiB page, and each fault is a trip into the kernel that zeroes its page: a
// store slide's 15 MB canvas alone is 3,700 of them, and on a virtual machine they were a third of
// a cold render's processor time. Where the kernel hands out transparent huge pages on request
// (its usual "madvise" setting), a block marked for them is faulted in 2 MiB at a time instead,
// at about a fifth of the cost. Only whole, aligned 2 MiB runs can be marked, so the blocks made
// here are aligned and rounded up to them; smaller blocks are left to the allocator.
//
//   uint8_t* rows = static_cast<uint8_t*>(HugePages::allocate(bytes));   // std::free it
//   void* pixels = HugePages::map(bytes);   // zeroed; HugePages::unmap(pixels, bytes)
#pragma once

#include <cstddef>

namespace vorno::HugePages {

/// The size of one huge page.
inline constexpr size_t size = size_t{2} << 20;

/// `bytes` of uninitialised memory, freed with std::free: for a block of a huge page or more,
/// aligned to one and marked for them throughout. Null when memory runs out.
void* allocate(size_t bytes);

/// `bytes` of zeroed memory straight from the kernel (no byte is written until used), aligned
/// to a huge page and marked for them throughout. Null when memory runs out. Give it back with
/// `unmap` and the same byte count.
void* map(size_t bytes);
void unmap(void* block, size_t bytes);

/// Marks the whole 2 MiB runs inside [block, block + bytes) for huge pages. Does nothing for
/// blocks too small to hold one, or where the kernel has none to offer; the memory behaves the
/// same either way. Call it before the block is first written.
void advise(void* block, size_t bytes);

}  // namespace vorno::HugePages
