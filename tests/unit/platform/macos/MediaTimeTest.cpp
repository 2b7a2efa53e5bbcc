#include "platform/macos/MediaTime.h"

#include <gtest/gtest.h>

#include "platform/macos/MacClock.h"

namespace vesk::mac::VESK_FILE {
namespace {

using namespace std::chrono_literals;

TEST(MediaTimeTest, CountsNanoseconds) {
  const CMTime time = mediaTime(HostTime(1500ms));
  EXPECT_EQ(time.value, 1'500'000'000);
  EXPECT_EQ(time.timescale, 1'000'000'000);
}

TEST(MediaTimeTest, KnowsOtherTimescales) {
  EXPECT_EQ(hostTime(CMTimeMake(45'000, 90'000)), HostTime(500ms));
  EXPECT_EQ(hostTime(CMTimeMake(1, 3)), HostTime(333'333'333ns));
}

TEST(MediaTimeTest, DoesNotOverflowAfterYears) {
  const HostTime late(87'600h);
  EXPECT_EQ(hostTime(mediaTime(late)), late);
  EXPECT_EQ(hostTime(CMTimeMake(3'600LL * 87'600 * 90'000, 90'000)), late);
}

TEST(MediaTimeTest, IsTheClocksOwn) {
  const MacClock clock;
  const HostTime before = clock.hostTime();
  const HostTime after = clock.hostTime();
  EXPECT_GT(before, HostTime());
  EXPECT_LE(before, after);
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
