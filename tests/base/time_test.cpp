// Times as a person reads them.

#include "base/time.h"

#include <gtest/gtest.h>

namespace dw {
namespace {

TEST(Time, RelativeTimeInWords) {
  TimePoint now = Clock::now();
  using namespace std::chrono;
  EXPECT_EQ(timefmt::relativeText(now, now), "0 seconds ago");
  EXPECT_EQ(timefmt::relativeText(now - seconds(1), now), "1 second ago");
  EXPECT_EQ(timefmt::relativeText(now - minutes(5) - seconds(20), now), "5 minutes ago");
  EXPECT_EQ(timefmt::relativeText(now - hours(1), now), "1 hour ago");
  EXPECT_EQ(timefmt::relativeText(now - hours(50), now), "2 days ago");
  EXPECT_EQ(timefmt::relativeText(now - hours(24 * 400), now), "1 year ago");
  EXPECT_EQ(timefmt::relativeText(now + seconds(3), now), "in 3 seconds");
}

}  // namespace
}  // namespace dw
