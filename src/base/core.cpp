#include "base/core.h"

#include <cstdio>
#include <cstdlib>

namespace dw {

std::int64_t addBytes(std::int64_t a, std::int64_t b) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) {
    std::fputs("dustwhale: byte count overflow\n", stderr);
    std::abort();
  }
  return sum;
}

}  // namespace dw
