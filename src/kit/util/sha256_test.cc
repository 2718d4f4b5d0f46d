#include "kit/util/sha256.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace vorno::sha256_test {
namespace {

TEST(SHA256, EmptyInputMatchesKnownDigest) {
  EXPECT_EQ(hexDigits(sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(SHA256, AbcMatchesKnownDigest) {
  EXPECT_EQ(hexDigits(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(SHA256, MillionAsMatchesKnownDigest) {
  EXPECT_EQ(hexDigits(sha256(std::string(1000000, 'a'))),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(SHA256, TwoBlockMessagesMatchKnownDigests) {
  EXPECT_EQ(hexDigits(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hexDigits(sha256("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
                             "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu")),
            "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
}

// Around a block's end the padding takes one block or two: each length where that changes.
TEST(SHA256, LengthsAroundABlocksEndMatchKnownDigests) {
  const std::pair<size_t, const char*> cases[] = {
      {55, "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {56, "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
      {63, "7d3e74a05d7db15bce4ad9ec0658ea98e3f06eeecf16b4c6fff2da457ddc2f34"},
      {64, "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
      {65, "635361c48bb9eab14198e76ea8ab7f1a41685d6ad62aa9146d301d4f17eb0ae0"},
      {119, "31eba51c313a5c08226adf18d4a359cfdfd8d2e816b13f4af952f7ea6584dcfb"},
      {120, "2f3d335432c70b580af0e8e1b3674a7c020d683aa5f73aaaedfdc55af904c21c"},
  };
  for (const auto& [length, digest] : cases) EXPECT_EQ(hexDigits(sha256(std::string(length, 'a'))), digest) << length;
}

TEST(SHA256, FirstSixteenBytesAreThirtyTwoLowercaseDigits) {
  EXPECT_EQ(hexDigits(sha256("abc"), 16), "ba7816bf8f01cfea414140de5dae2223");
}

TEST(SHA256, BytesAreHashedAsTheyAre) {
  // UTF-8 "é" is two bytes; its digest differs from the Latin-1 byte's.
  EXPECT_NE(hexDigits(sha256("\xC3\xA9")), hexDigits(sha256("\xE9")));
}

}  // namespace
}  // namespace vorno::sha256_test
