#include "platform/linux/picture/composed/Origin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace vesk::picture::composed::VESK_FILE {
namespace {

constexpr int stride = 8;

/// Chroma in pairs, of which each place has a value of its own.
constexpr std::array<std::uint8_t, stride * 3> plane{10, 90, 20, 80, 35, 75, 40, 70,  //
                                                     11, 91, 25, 85, 31, 72, 46, 67,  //
                                                     12, 92, 29, 81, 33, 77, 48, 61};

/// What comes to the samples in the middle of the plane, and what is behind these afterwards.
std::array<std::uint8_t, 4> fetched(const Shift& shift) {
  std::array<std::uint8_t, 4> to{};
  to.fill(7);
  fetch(plane.data() + stride + 2, chromaOrigin(shift, stride), 3, to.data());
  return to;
}

using Samples = std::array<std::uint8_t, 4>;

TEST(FetchTest, TakesWholeSamplesAndNoMoreThanItIsAskedFor) {
  EXPECT_EQ(fetched({0, 0}), (Samples{25, 85, 31, 7}));
  EXPECT_EQ(fetched({2, 0}), (Samples{11, 91, 25, 7}));
  EXPECT_EQ(fetched({0, 2}), (Samples{20, 80, 35, 7}));
  EXPECT_EQ(fetched({-2, -2}), (Samples{33, 77, 48, 7}));
}

TEST(FetchTest, TakesTheMeanOfThoseThatItLiesBetween) {
  EXPECT_EQ(fetched({1, 0}), (Samples{18, 88, 28, 7})) << "halves are rounded up";
  EXPECT_EQ(fetched({-1, 0}), (Samples{28, 79, 39, 7}));
  EXPECT_EQ(fetched({0, 1}), (Samples{23, 83, 33, 7}));
  EXPECT_EQ(fetched({0, -1}), (Samples{27, 83, 32, 7}));
  EXPECT_EQ(fetched({1, 1}), (Samples{17, 87, 28, 7})) << "of four";
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
