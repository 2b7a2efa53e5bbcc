#include "platform/linux/portal/input/sharedArea.h"

#include <gtest/gtest.h>

namespace vesk::portal::input::VESK_FILE {
namespace {

using wayland::server::Output;

Output output(const Rect& area, PixelSize mode) { return {.area = area, .mode = mode}; }

const Rect left{{0, 0}, 1280, 800};
const Rect right{{1280, 0}, 1920, 1080};
const std::vector<Output> two{output(left, {1280, 800}), output(right, {3840, 2160})};

TEST(SharedAreaTest, IsAllOfThemWhereTheyAreSharedTogether) {
  const Rect all{{0, 0}, 3200, 1080};
  EXPECT_EQ(sharedArea(all, two), all);
  EXPECT_EQ(sharedArea({{0, 0}, 6400, 2160}, two), all);
}

TEST(SharedAreaTest, IsWhatWasToldWhereThatFitsNothing) {
  const Rect told{{100, 100}, 640, 480};
  EXPECT_EQ(sharedArea(told, two), told);
  EXPECT_EQ(sharedArea({{0, 0}, 640, 480}, two), (Rect{{0, 0}, 640, 480}));
  EXPECT_EQ(sharedArea(told, {}), told);
}

}  // namespace
}  // namespace vesk::portal::input::VESK_FILE
