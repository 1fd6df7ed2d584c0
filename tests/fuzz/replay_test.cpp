// Every input kept for the fuzz targets, run through its parser in the regular suite (and under
// AddressSanitizer in the asan one): the seeds, and each input a fuzzer once found crashing.

#include <gtest/gtest.h>

#include <filesystem>

#include "fuzz/targets.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

namespace fs = std::filesystem;

TEST(FuzzInputs, EveryKeptInputRunsThroughItsParser) {
  const fs::path inputs = DUSTWHALE_FUZZ_INPUTS;
  for (const fuzz::Target& target : fuzz::targets()) {
    fs::path folder = inputs / target.name;
    ASSERT_TRUE(fs::is_directory(folder)) << "no inputs for " << target.name;
    size_t count = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
      SCOPED_TRACE(entry.path().string());
      target.run(test::readFile(entry.path()));
      ++count;
    }
    EXPECT_GT(count, 0u) << target.name;
  }
  // Every folder of inputs belongs to a target.
  for (const auto& entry : fs::directory_iterator(inputs))
    EXPECT_TRUE(fuzz::find(entry.path().filename().string())) << entry.path();
}

}  // namespace
}  // namespace dw
