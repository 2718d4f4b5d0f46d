#include "kit/util/sha256.h"

#include <gtest/gtest.h>

#include <string>

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

TEST(SHA256, FirstSixteenBytesAreThirtyTwoLowercaseDigits) {
  EXPECT_EQ(hexDigits(sha256("abc"), 16), "ba7816bf8f01cfea414140de5dae2223");
}

TEST(SHA256, BytesAreHashedAsTheyAre) {
  // UTF-8 "é" is two bytes; its digest differs from the Latin-1 byte's.
  EXPECT_NE(hexDigits(sha256("\xC3\xA9")), hexDigits(sha256("\xE9")));
}

}  // namespace
}  // namespace vorno::sha256_test
