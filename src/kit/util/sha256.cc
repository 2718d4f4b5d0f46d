#include "kit/util/sha256.h"

#include <openssl/evp.h>

#include <memory>
#include <stdexcept>

namespace vorno {

SHA256Digest sha256(std::string_view data) {
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  SHA256Digest digest{};
  unsigned int length = 0;
  // These calls fail only when memory runs out or the library is broken: our bug, not the user's.
  if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1 ||
      EVP_DigestUpdate(context.get(), data.data(), data.size()) != 1 ||
      EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1 || length != digest.size())
    throw std::runtime_error("SHA-256 failed in libcrypto");
  return digest;
}

std::string hexDigits(const SHA256Digest& digest, size_t count) {
  static constexpr char hex[] = "0123456789abcdef";
  if (count > digest.size()) count = digest.size();
  std::string out;
  out.reserve(count * 2);
  for (size_t i = 0; i < count; ++i) {
    out += hex[digest[i] >> 4];
    out += hex[digest[i] & 15];
  }
  return out;
}

}  // namespace vorno
