// One libFuzzer target: the parser named by DUSTWHALE_FUZZ_TARGET (see tests/fuzz/targets.h).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const dw::fuzz::Target* target = [] {
    const dw::fuzz::Target* found = dw::fuzz::find(DUSTWHALE_FUZZ_TARGET);
    if (!found) {
      std::fprintf(stderr, "no fuzz target named %s\n", DUSTWHALE_FUZZ_TARGET);
      std::abort();
    }
    return found;
  }();
  target->run(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
