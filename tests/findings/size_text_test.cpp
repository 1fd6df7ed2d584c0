#include "findings/size_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace dw {
namespace {

constexpr std::int64_t kMiB = 1'048'576;
constexpr std::int64_t kGiB = 1'073'741'824;

TEST(SizeText, MegabytesBelowOneGibibyteThenGigabytes) {
  const std::vector<std::pair<std::int64_t, std::string>> rows = {
      {0, "0 MB"},
      {-1, "0 MB"},
      {std::numeric_limits<std::int64_t>::min(), "0 MB"},
      {1, "0 MB"},
      {300 * 1024, "0 MB"},
      {kMiB / 2 - 1, "0 MB"},
      {kMiB / 2, "1 MB"},  // halves round away from zero
      {600 * 1024, "1 MB"},
      {kMiB * 16 / 10 + 1, "2 MB"},
      {kMiB * 3 / 2 - 1, "1 MB"},
      {kMiB * 3 / 2, "2 MB"},
      {1023 * kMiB, "1023 MB"},
      {kGiB - 1, "1024 MB"},
      {kGiB, "1 GB"},
      {kGiB + 1, "1 GB"},
      {kGiB * 3 / 2, "1.5 GB"},
      {kGiB * 1234 / 100 + 1, "12.34 GB"},
      {kGiB * 105 / 100 + 1, "1.05 GB"},
      {kGiB * 2 - 1, "2 GB"},
      {kGiB * 1234, "1,234 GB"},
      {std::numeric_limits<std::int64_t>::max(), "8,589,934,592 GB"},
  };
  for (const auto& [bytes, text] : rows)
    EXPECT_EQ(sizeText(bytes), text) << bytes;
}

TEST(SizeText, CountsNounsWithTheLastWordPlural) {
  struct Row {
    std::int64_t n;
    std::string noun, text;
  };
  const std::vector<Row> rows = {
      {3, "copy", "3 copies"},
      {2, "duplicate group", "2 duplicate groups"},
      {1, "cache", "1 cache"},
      {1, "duplicate group", "1 duplicate group"},
      {0, "leftover", "0 leftovers"},
      {-1, "file", "-1 files"},
      {2, "box", "2 boxes"},
      {2, "match", "2 matches"},
      {2, "dish", "2 dishes"},
      {2, "bus", "2 buses"},
      {2, "day", "2 days"},
      {2, "key", "2 keys"},
      {2, "story copy", "2 story copies"},
      {12, "large file", "12 large files"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(countNoun(row.n, row.noun), row.text);
}

}  // namespace
}  // namespace dw
