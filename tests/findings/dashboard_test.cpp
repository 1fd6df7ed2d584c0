// Overview's storage bar: held space where the system reports it, and nowhere else.

#include <gtest/gtest.h>

#include "findings/dashboard.h"

namespace dw::dashboard {
namespace {

constexpr std::int64_t kGiB = 1LL << 30;

TEST(Dashboard, HeldSpaceIsShownOnlyWhereTheSystemReportsIt) {
  Finding cache;
  cache.bytes = 2 * kGiB;
  cache.removable = true;
  Finding file = cache;  // a large file is the user's call: never counted as ready
  file.kind = Finding::Kind::file;
  std::vector<Finding> findings{cache, file};

  // A Mac: 100 GB, 30 GB available, 40 GB with what the system purges by itself.
  VolumePicture mac{100 * kGiB, 30 * kGiB, 40 * kGiB, true};
  StorageAmounts m = storageAmounts(mac, findings);
  EXPECT_TRUE(m.heldShown);
  EXPECT_EQ(m.held, 10 * kGiB);
  EXPECT_EQ(m.ready, 2 * kGiB);
  EXPECT_EQ(m.used, 58 * kGiB);
  EXPECT_EQ(m.used + m.ready + m.held + m.free, m.total);
  EXPECT_EQ(storageSummary(m), "58 GB used, 2 GB ready to clear, 10 GB held by macOS, 30 GB free");
  EXPECT_EQ(storageExplanation(m), kHeldExplanation);
  EXPECT_EQ(storageLegend(m), (std::vector<Segment>{{"used", "Your files and apps"},
                                                    {"ready", "Ready to clear"},
                                                    {"held", "Held by macOS"},
                                                    {"free", "Free"}}));
  // A Mac that holds nothing right now still says so.
  mac.important = mac.available;
  EXPECT_EQ(storageSummary(storageAmounts(mac, findings)),
            "68 GB used, 2 GB ready to clear, 0 MB held by macOS, 30 GB free");

  // Linux reports no such space: the clause, the legend entry and the explanation are left out,
  // and an important figure that is not the system's adds nothing.
  VolumePicture linux{100 * kGiB, 30 * kGiB, 40 * kGiB, false};
  StorageAmounts l = storageAmounts(linux, findings);
  EXPECT_FALSE(l.heldShown);
  EXPECT_EQ(l.held, 0);
  EXPECT_EQ(l.used + l.ready + l.free, l.total);
  EXPECT_EQ(storageSummary(l), "68 GB used, 2 GB ready to clear, 30 GB free");
  EXPECT_EQ(storageExplanation(l), "");
  EXPECT_EQ(storageLegend(l),
            (std::vector<Segment>{
                {"used", "Your files and apps"}, {"ready", "Ready to clear"}, {"free", "Free"}}));
}

}  // namespace
}  // namespace dw::dashboard
