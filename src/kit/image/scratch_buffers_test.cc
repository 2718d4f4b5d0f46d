#include "kit/image/scratch_buffers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

namespace vorno::scratch_buffers_test {
namespace {

constexpr size_t MiB = size_t{1} << 20;

class ScratchBuffersTest : public ::testing::Test {
 protected:
  void SetUp() override { ScratchBuffers::drain(); }
  void TearDown() override { ScratchBuffers::drain(); }
};

TEST_F(ScratchBuffersTest, BufferGivenBackServesTheNextRequestWithItsBytesUncleared) {
  const uint8_t* first = nullptr;
  {
    ScratchBuffer buffer = ScratchBuffers::take(4 * MiB);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer.size(), 4 * MiB);
    std::memset(buffer.data(), 0x5A, buffer.size());
    first = buffer.data();
  }
  EXPECT_EQ(ScratchBuffers::byteCount(), int64_t(4 * MiB));
  ScratchBuffer again = ScratchBuffers::take(3 * MiB);
  EXPECT_EQ(again.data(), first);
  EXPECT_EQ(again.size(), 3 * MiB);
  EXPECT_EQ(again.data()[3 * MiB - 1], 0x5A);  // nothing was cleared
  EXPECT_EQ(ScratchBuffers::byteCount(), 0);
}

TEST_F(ScratchBuffersTest, SmallRequestDoesNotPinABufferMoreThanTwiceItsSize) {
  const uint8_t* big = nullptr;
  {
    ScratchBuffer buffer = ScratchBuffers::take(12 * MiB);
    big = buffer.data();
  }
  ScratchBuffer small = ScratchBuffers::take(2 * MiB);
  EXPECT_NE(small.data(), big);
  EXPECT_EQ(ScratchBuffers::byteCount(), int64_t(12 * MiB));  // the big one stays for its kind
}

TEST_F(ScratchBuffersTest, SmallBuffersAreNeverKept) {
  { ScratchBuffer buffer = ScratchBuffers::take(64 * 1024); ASSERT_TRUE(buffer); }
  EXPECT_EQ(ScratchBuffers::byteCount(), 0);
}

TEST_F(ScratchBuffersTest, PoolKeepsNoMoreThanItsBudget) {
  {
    std::vector<ScratchBuffer> many;
    for (int i = 0; i < 10; ++i) many.push_back(ScratchBuffers::take(20 * MiB));
  }
  EXPECT_LE(ScratchBuffers::byteCount(), ScratchBuffers::budget);
  EXPECT_EQ(ScratchBuffers::byteCount(), int64_t(60 * MiB));  // three of the ten fit in 64 MiB
}

TEST_F(ScratchBuffersTest, DrainGivesEveryKeptByteBack) {
  { ScratchBuffer a = ScratchBuffers::take(2 * MiB), b = ScratchBuffers::take(5 * MiB); }
  EXPECT_EQ(ScratchBuffers::byteCount(), int64_t(7 * MiB));
  ScratchBuffers::drain();
  EXPECT_EQ(ScratchBuffers::byteCount(), 0);
}

TEST_F(ScratchBuffersTest, MovedBufferIsGivenBackOnce) {
  {
    ScratchBuffer a = ScratchBuffers::take(2 * MiB);
    ScratchBuffer b = std::move(a);
    EXPECT_FALSE(a);  // NOLINT(bugprone-use-after-move): the moved-from buffer is empty
    ScratchBuffer c;
    c = std::move(b);
    EXPECT_TRUE(c);
  }
  EXPECT_EQ(ScratchBuffers::byteCount(), int64_t(2 * MiB));
}

}  // namespace
}  // namespace vorno::scratch_buffers_test
