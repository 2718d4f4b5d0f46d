#include "kit/util/huge_pages.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace vorno::huge_pages_test {
namespace {

// The kernel's setting for transparent huge pages: "always", "madvise" or "never".
std::string transparentHugePages() {
  std::ifstream in("/sys/kernel/mm/transparent_hugepage/enabled");
  std::string line;
  std::getline(in, line);
  const size_t open = line.find('['), close = line.find(']');
  return open == std::string::npos || close == std::string::npos ? "" : line.substr(open + 1, close - open - 1);
}

// Kilobytes of huge pages backing the mapping that holds `address`, from /proc/self/smaps.
long hugeKilobytesAt(const void* address) {
  const uintptr_t at = reinterpret_cast<uintptr_t>(address);
  std::ifstream in("/proc/self/smaps");
  bool inside = false;
  for (std::string line; std::getline(in, line);) {
    uintptr_t from = 0, to = 0;
    char dash = 0;
    std::istringstream range(line);
    if (range >> std::hex >> from >> dash >> to && dash == '-') {
      inside = from <= at && at < to;
      continue;
    }
    if (inside && line.rfind("AnonHugePages:", 0) == 0) return std::stol(line.substr(14));
  }
  return -1;
}

TEST(HugePages, AdvisedBlockIsFaultedInByHugePages) {
  const std::string setting = transparentHugePages();
  if (setting != "madvise" && setting != "always") GTEST_SKIP() << "this kernel offers no huge pages (" << setting << ")";
  const size_t bytes = 8 * HugePages::size;
  auto* block = static_cast<uint8_t*>(std::malloc(bytes));
  ASSERT_NE(block, nullptr);
  HugePages::advise(block, bytes);
  for (size_t i = 0; i < bytes; i += 4096) block[i] = 1;
  // At least the six whole runs that must lie inside an 8-run block, whatever its alignment.
  EXPECT_GE(hugeKilobytesAt(block + bytes / 2), long{6 * 2048});
  std::free(block);
}

TEST(HugePages, OnlyWholeAlignedRunsAreMarked) {
  // Under "always" every run gets huge pages anyway, so only "madvise" can tell.
  if (transparentHugePages() != "madvise") GTEST_SKIP() << "huge pages are not given on request here";
  HugePages::advise(nullptr, 64 * HugePages::size);  // nothing to mark, and no fault

  // A mapping of its own, so that its huge pages are counted apart from the heap's.
  const size_t mapped = 3 * HugePages::size;
  void* mapping = ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mapping, MAP_FAILED);
  const uintptr_t start = reinterpret_cast<uintptr_t>(mapping);
  auto* aligned = reinterpret_cast<uint8_t*>((start + HugePages::size - 1) & ~uintptr_t{HugePages::size - 1});
  // One huge page's worth that starts a page past a boundary holds no whole run.
  HugePages::advise(aligned + 4096, HugePages::size);
  for (size_t i = 0; i < HugePages::size; i += 4096) aligned[i] = 1;
  EXPECT_EQ(hugeKilobytesAt(aligned), 0);
  ::munmap(mapping, mapped);
}

bool isMapped(const void* address) {
  auto page = reinterpret_cast<uintptr_t>(address) & ~uintptr_t{4095};
  return ::msync(reinterpret_cast<void*>(page), 4096, MS_ASYNC) == 0;
}

TEST(HugePages, MappedBlockIsAlignedZeroedAndGivenBack) {
  const size_t bytes = 5 * HugePages::size + 3;
  auto* block = static_cast<uint8_t*>(HugePages::map(bytes));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % HugePages::size, 0u);
  size_t nonZero = 0;
  for (size_t i = 0; i < bytes; i += 997) nonZero += block[i] != 0;
  EXPECT_EQ(nonZero, 0u);
  block[bytes - 1] = 1;  // the last byte asked for is there
  HugePages::unmap(block, bytes);
  EXPECT_FALSE(isMapped(block));
  EXPECT_FALSE(isMapped(block + bytes - 1));
}

TEST(HugePages, AllocatedBlockIsAlignedAndFreedByFree) {
  void* big = HugePages::allocate(3 * HugePages::size + 1);
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(big) % HugePages::size, 0u);
  std::free(big);
  void* small = HugePages::allocate(100);
  ASSERT_NE(small, nullptr);
  std::free(small);
}

}  // namespace
}  // namespace vorno::huge_pages_test
