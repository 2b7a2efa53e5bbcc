#include "link/Iso8601.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono;

TEST(Iso8601Test, FormatsWholeSecondsInUtc) {
  const auto time = sys_days(2026y / November / 16) + 4h + 4min + 3s;
  EXPECT_EQ(iso8601(time), "2026-11-16T04:04:03Z");
  EXPECT_EQ(iso8601(time + 999ms), "2026-11-16T04:04:03Z");
}

TEST(Iso8601Test, KnowsLeapDaysAndTheEndOfAYear) {
  EXPECT_EQ(iso8601(sys_days(2028y / February / 29)), "2028-02-29T00:00:00Z");
  EXPECT_EQ(iso8601(sys_days(2027y / January / 1) - 1s), "2026-12-31T23:59:59Z");
}

TEST(Iso8601Test, RoundsDownBeforeTheEpochToo) {
  EXPECT_EQ(iso8601(system_clock::time_point(-1ms)), "1969-12-31T23:59:59Z");
}

TEST(Iso8601Test, DoesNotCareForTheTimeZone) {
  ::setenv("TZ", "Pacific/Kiritimati", 1);
  ::tzset();
  EXPECT_EQ(iso8601(sys_days(2026y / November / 16)), "2026-11-16T00:00:00Z");
  ::unsetenv("TZ");
  ::tzset();
}

}  // namespace
}  // namespace vesk::VESK_FILE
