#include "base/sha256.h"

#include <openssl/evp.h>

#include <new>
#include <utility>

namespace dw {

namespace {

EVP_MD_CTX* freshContext() {
  EVP_MD_CTX* ctx = EVP_MD_CTX_new();
  if (!ctx || EVP_DigestInit_ex(ctx, EVP_sha256(), nullptr) != 1) {
    EVP_MD_CTX_free(ctx);
    throw std::bad_alloc();
  }
  return ctx;
}

}  // namespace

Sha256::Sha256() : ctx_(freshContext()) {}

Sha256::~Sha256() {
  EVP_MD_CTX_free(ctx_);
}

Sha256::Sha256(const Sha256& other) : ctx_(EVP_MD_CTX_new()) {
  if (!ctx_ || EVP_MD_CTX_copy_ex(ctx_, other.ctx_) != 1) {
    EVP_MD_CTX_free(ctx_);
    throw std::bad_alloc();
  }
}

Sha256& Sha256::operator=(const Sha256& other) {
  if (this != &other) {
    Sha256 copy(other);
    std::swap(ctx_, copy.ctx_);
  }
  return *this;
}

Sha256::Sha256(Sha256&& other) noexcept : ctx_(std::exchange(other.ctx_, nullptr)) {}

Sha256& Sha256::operator=(Sha256&& other) noexcept {
  std::swap(ctx_, other.ctx_);
  return *this;
}

void Sha256::update(const void* data, std::size_t size) {
  if (size > 0) EVP_DigestUpdate(ctx_, data, size);
}

Sha256::Digest Sha256::finish() {
  Digest digest{};
  unsigned int length = 0;
  EVP_DigestFinal_ex(ctx_, digest.data(), &length);
  return digest;
}

std::string Sha256::hex(const Digest& digest) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(digest.size() * 2);
  for (unsigned char byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0f];
  }
  return text;
}

}  // namespace dw
