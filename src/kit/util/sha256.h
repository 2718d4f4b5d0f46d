// SHA-256 of a byte string: lock file names and content keys.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace vorno {

using SHA256Digest = std::array<uint8_t, 32>;

/// The 32-byte digest of `data`.
SHA256Digest sha256(std::string_view data);

/// Lowercase hexadecimal of the first `count` bytes of a digest (all 32 by default), two digits a byte.
std::string hexDigits(const SHA256Digest& digest, size_t count = 32);

}  // namespace vorno
