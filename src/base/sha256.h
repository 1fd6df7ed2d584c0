#pragma once
// SHA-256 through OpenSSL's EVP interface (which uses the CPU's SHA instructions when it has
// them). A hash can be copied part-way, so that two contents sharing a prefix hash it once.

#include <array>
#include <cstddef>
#include <string>

struct evp_md_ctx_st;

namespace dw {

class Sha256 {
 public:
  using Digest = std::array<unsigned char, 32>;

  Sha256();
  ~Sha256();
  Sha256(const Sha256& other);
  Sha256& operator=(const Sha256& other);
  Sha256(Sha256&& other) noexcept;
  Sha256& operator=(Sha256&& other) noexcept;

  void update(const void* data, std::size_t size);
  // Ends this hash; it may not be updated afterwards.
  Digest finish();

  static std::string hex(const Digest& digest);

 private:
  evp_md_ctx_st* ctx_;
};

}  // namespace dw
