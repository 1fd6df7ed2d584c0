#include "findings/size_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace dw {
namespace {

constexpr std::int64_t kMiB = 1'048'576, kGiB = 1'073'741'824;

TEST(SizeText, MegabytesBelowOneGibibyteThenGigabytes) {
  // Each text with the sizes that must give it; halves round away from zero.
  const std::vector<std::pair<std::string, std::vector<std::int64_t>>> rows = {
      {"0 MB", {0, -1, INT64_MIN, 300 * 1024, kMiB / 2 - 1}},
      {"1 MB", {kMiB / 2, 600 * 1024}},
      {"2 MB", {kMiB * 16 / 10 + 1}},
      {"1024 MB", {kGiB - 1}},
      {"1 GB", {kGiB, kGiB + 1}},
      {"1.05 GB", {kGiB * 105 / 100 + 1}},
      {"1.5 GB", {kGiB * 3 / 2}},
      {"2 GB", {kGiB * 2 - 1}},
      {"12.34 GB", {kGiB * 1234 / 100 + 1}},
      {"1,234 GB", {kGiB * 1234}},
      {"8,589,934,592 GB", {INT64_MAX}}};
  for (const auto& [text, sizes] : rows)
    for (std::int64_t bytes : sizes)
      EXPECT_EQ(sizeText(bytes), text) << bytes;
}

TEST(SizeText, CountsNounsWithTheLastWordPlural) {
  using Row = std::tuple<std::int64_t, const char*, const char*>;
  for (const auto& [n, noun, text] :
       {Row(1, "cache", "1 cache"), Row(1, "duplicate group", "1 duplicate group"),
        Row(0, "leftover", "0 leftovers"), Row(-1, "file", "-1 files"),
        Row(12, "large file", "12 large files"), Row(3, "copy", "3 copies"),
        Row(2, "story copy", "2 story copies"), Row(2, "day", "2 days"), Row(2, "key", "2 keys"),
        Row(2, "box", "2 boxes"), Row(2, "match", "2 matches"), Row(2, "dish", "2 dishes"),
        Row(2, "bus", "2 buses")})
    EXPECT_EQ(countNoun(n, noun), text);
}

}  // namespace
}  // namespace dw
