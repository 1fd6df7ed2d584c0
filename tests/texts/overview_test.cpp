// Overview: the storage bar shows held space where the system reports it, and nowhere else;
// the cards count what each list holds.

#include <gtest/gtest.h>

#include "texts/overview.h"

namespace dw::texts::overview {
namespace {

constexpr std::int64_t kGiB = 1LL << 30;

TEST(Overview, HeldSpaceIsShownOnlyWhereTheSystemReportsIt) {
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
}  // namespace dw::texts::overview

namespace dw::texts::overview {
namespace {

TEST(Overview, CardsCountEachListAndTheExtraCopiesOnceASearchHasRun) {
  std::vector<Finding> findings(3);
  findings[0].bytes = 3 << 20;
  findings[1].bytes = 1 << 20;
  findings[2].kind = Finding::Kind::leftover;
  Wording mac = Wording::of(Locations::macos("/", "/Users/ann"));
  std::vector<Card> before = cards(findings, false, std::nullopt, mac);
  ASSERT_EQ(before.size(), 4u);
  EXPECT_EQ(before[0].value, "4 MB");
  EXPECT_EQ(before[0].detail, "2 folders apps rebuild on their own");
  EXPECT_EQ(before[1].detail, "From 1 app no longer installed");
  EXPECT_EQ(before[2].value, "up to 0 MB");
  EXPECT_EQ(before[2].detail, "Find extra copies in Downloads and media folders.");
  std::vector<Card> after = cards(findings, false, ExtraCopies{3, 7 << 20}, mac);
  EXPECT_EQ(after[2].value, "up to 7 MB");
  EXPECT_EQ(after[2].detail, "3 files with an identical copy");
  EXPECT_EQ(cards(findings, true, std::nullopt, mac)[3].detail, "Looking through large files.");
}

}  // namespace
}  // namespace dw::texts::overview
