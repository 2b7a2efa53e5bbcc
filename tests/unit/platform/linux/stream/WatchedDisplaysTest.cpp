#include "platform/linux/stream/WatchedDisplays.h"

#include <gtest/gtest.h>

#include <utility>

#include "fakes/FakeDisplays.h"

namespace vesk::stream::VESK_FILE {
namespace {

class WatchedDisplaysTest : public ::testing::Test {
 protected:
  WatchedDisplaysTest() {
    fake->main = 1;
    fake->boundsOf[1] = {{0, 0}, 1920, 1080};
    fake->boundsOf[2] = {{1920, 0}, 1280, 720};
    fake->modes[2] = {2560, 1440};
  }

  WatchedDisplay watched;
  std::unique_ptr<fakes::FakeDisplays> made = std::make_unique<fakes::FakeDisplays>();
  fakes::FakeDisplays* const fake = made.get();
  WatchedDisplays displays{std::move(made), watched};
};

TEST_F(WatchedDisplaysTest, HaveTheDesktopsMainOneWhileNobodyWatches) {
  EXPECT_EQ(displays.mainDisplay(), 1U);
  EXPECT_EQ(displays.bounds(2), fake->boundsOf[2]);
  EXPECT_EQ(displays.modePixels(2), (PixelSize{2560, 1440}));
  EXPECT_EQ(displays.pixels(2), fake->pixels(2));
}

TEST_F(WatchedDisplaysTest, HaveTheWatchedOneAsLongAsItIsHeld) {
  auto hold = watched.hold(2);
  EXPECT_EQ(displays.mainDisplay(), 2U);
  hold.reset();
  EXPECT_EQ(displays.mainDisplay(), 1U);
}

TEST_F(WatchedDisplaysTest, HaveTheOneThatWasHeldLast) {
  fake->boundsOf[3] = {{0, 1080}, 640, 480};
  auto former = watched.hold(2);
  const auto latter = watched.hold(3);
  EXPECT_EQ(displays.mainDisplay(), 3U);
  former.reset();
  EXPECT_EQ(displays.mainDisplay(), 3U);
}

TEST_F(WatchedDisplaysTest, HaveTheFormerOneAgainWhereTheLatterIsDroppedFirst) {
  fake->boundsOf[3] = {{0, 1080}, 640, 480};
  const auto former = watched.hold(2);
  auto latter = watched.hold(3);
  latter.reset();
  EXPECT_EQ(displays.mainDisplay(), 2U);
  latter = watched.hold(3);
  EXPECT_EQ(displays.mainDisplay(), 3U);
}

TEST_F(WatchedDisplaysTest, HaveTheDesktopsMainOneWhenTheWatchedOneIsGone) {
  const auto hold = watched.hold(2);
  fake->boundsOf.erase(2);
  EXPECT_EQ(displays.mainDisplay(), 1U);
}

}  // namespace
}  // namespace vesk::stream::VESK_FILE
