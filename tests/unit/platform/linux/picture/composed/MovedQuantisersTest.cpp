#include "platform/linux/picture/composed/movedQuantisers.h"

#include <gtest/gtest.h>

namespace vesk::picture::composed::VESK_FILE {
namespace {

using Quantisers = std::vector<std::uint8_t>;

const Quantisers before{10, 20, 30,  //
                        40, 15, 25,  //
                        35, 45, 18};

/// The one in the middle moves there by so much.
Quantisers after(const Shift& shift) {
  return movedQuantisers(before, {3, {0, 0, 0, 0, 1, 0, 0, 0, 0}, shift});
}

TEST(MovedQuantisersTest, AreTheOnesOfWhereTheMacroblockWas) {
  EXPECT_EQ(after({16, 0}), (Quantisers{10, 20, 30, 40, 40, 25, 35, 45, 18}));
  EXPECT_EQ(after({0, -16})[4], 45);
  EXPECT_EQ(after({-16, 16})[4], 30);
}

TEST(MovedQuantisersTest, AreTheCoarsestOfSeveral) {
  EXPECT_EQ(after({1, 0})[4], 40);
  EXPECT_EQ(after({-1, 0})[4], 25);
  EXPECT_EQ(after({0, 15})[4], 20);
  EXPECT_EQ(after({-7, -7})[4], 45);
  EXPECT_EQ(after({-7, 7})[4], 30);
}

TEST(MovedQuantisersTest, GoAlongAtTheEdgesToo) {
  EXPECT_EQ(movedQuantisers(before, {3, {1, 1, 0, 1, 0, 0, 1, 0, 0}, {-16, 0}}),
            (Quantisers{20, 30, 30, 15, 15, 25, 45, 45, 18}));
  EXPECT_EQ(movedQuantisers(before, {3, {0, 0, 0, 0, 0, 0, 0, 1, 1}, {16, 16}}),
            (Quantisers{10, 20, 30, 40, 15, 25, 35, 40, 15}));
}

TEST(MovedQuantisersTest, StayWhereNothingMoves) {
  EXPECT_EQ(movedQuantisers(before, {3, Quantisers(9), {5, 5}}), before);
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
