#include <gtest/gtest.h>

#include "platform/linux/wayland/server/outputAt.h"

namespace vesk::wayland::server::VESK_FILE {
namespace {

const Rect left{{0, 0}, 1280, 800};
const Rect right{{1280, 0}, 1920, 1080};
const std::vector<Output> two{{.id = 1, .area = left, .mode = {1280, 800}},
                              {.id = 2, .area = right, .mode = {3840, 2160}}};

DisplayId idAt(const Rect& told) {
  const auto found = outputAt(told, two);
  return found ? found->id : 0;
}

TEST(OutputAtTest, IsTheOneThatLiesThere) {
  EXPECT_EQ(idAt(left), 1U);
  EXPECT_EQ(idAt(right), 2U);
}

TEST(OutputAtTest, IsFoundThoughItsSizeIsToldInPixels) {
  EXPECT_EQ(idAt({{1280, 0}, 3840, 2160}), 2U);
}

TEST(OutputAtTest, IsNoneWhereNoneFits) {
  EXPECT_EQ(idAt({{0, 0}, 3200, 1080}), 0U);
  EXPECT_EQ(idAt({{1280, 0}, 1280, 800}), 0U);
  EXPECT_EQ(idAt({{0, 0}, 3840, 2160}), 0U);
  EXPECT_EQ(idAt({{1280, 1}, 1920, 1080}), 0U);
}

}  // namespace
}  // namespace vesk::wayland::server::VESK_FILE
