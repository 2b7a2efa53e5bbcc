#include "platform/linux/wayland/beneath/OwnSurfaces.h"

#include <gtest/gtest.h>

namespace vesk::wayland::beneath::VESK_FILE {
namespace {

TEST(OwnSurfacesTest, AreCertainButDuringAChange) {
  OwnSurfaces surfaces;
  const auto before = surfaces.shown();
  EXPECT_TRUE(before.isCertain);
  {
    const OwnSurfaces::Change change(surfaces);
    const OwnSurfaces::Change another(surfaces);
    EXPECT_FALSE(surfaces.shown().isCertain);
  }
  EXPECT_TRUE(surfaces.shown().isCertain);
  EXPECT_NE(surfaces.shown().generation, before.generation) << "a change came between";
  EXPECT_EQ(surfaces.shown().generation, surfaces.shown().generation);
}

TEST(OwnSurfacesTest, LieInTheOrderInWhichTheyCame) {
  OwnSurfaces surfaces;
  const OwnSurfaces::Change change(surfaces);
  const auto first = surfaces.add({1, {0, 0, 10, 10}, nullptr});
  const auto second = surfaces.add({2, {0, 0, 20, 20}, nullptr});
  surfaces.replace(first, {3, {0, 0, 30, 30}, nullptr});
  auto shown = surfaces.shown().surfaces;
  ASSERT_EQ(shown.size(), 2U);
  EXPECT_EQ(shown[0].output, 3U);
  EXPECT_EQ(shown[1].output, 2U);
  surfaces.remove(first);
  surfaces.replace(first, {4, {}, nullptr});
  shown = surfaces.shown().surfaces;
  ASSERT_EQ(shown.size(), 1U);
  EXPECT_EQ(shown[0].area, (PixelRect{0, 0, 20, 20}));
  surfaces.remove(second);
  EXPECT_TRUE(surfaces.shown().surfaces.empty());
}

}  // namespace
}  // namespace vesk::wayland::beneath::VESK_FILE
