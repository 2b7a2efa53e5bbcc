#include <gtest/gtest.h>

#include <algorithm>

#include "platform/linux/portal/screen/StreamImages.h"
#include "support/CastImages.h"
#include "support/Mutter.h"
#include "support/MutterCast.h"
#include "support/MutterHand.h"
#include "support/Patience.h"
#include "support/WlWindow.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

using testing::CastImages;
using testing::largestDifference;
using testing::MutterCast;
using testing::MutterHand;
using testing::WlWindow;

constexpr PixelSize monitor{640, 400};

/// The pointer over the desktop's own background.
class StreamPointerTest : public ::testing::Test {
 protected:
  StreamPointerTest() { mutter.enter(); }

  static CastImages::Options withPointer() { return {true, 30, nullptr}; }

  /// Whether what is painted becomes what the desktop itself paints, but for how it rounds.
  static bool become(CastImages& images, CastImages& painted) {
    return images.waitUntil([&](const auto& image) {
      painted.next(0);
      return painted.last() != nullptr && largestDifference(image, *painted.last()) <= 1;
    });
  }

  testing::Mutter mutter{{monitor, false, false}};
  MutterHand hand{mutter};
};

TEST_F(StreamPointerTest, IsPaintedAsTheDesktopWouldPaintIt) {
  hand.moveTo({100, 100});
  MutterCast beside(mutter, MutterCast::Pointer::beside);
  MutterCast within(mutter, MutterCast::Pointer::inThePicture);
  MutterCast without(mutter, MutterCast::Pointer::hidden);
  CastImages images(beside, monitor, withPointer());
  CastImages painted(within, monitor);
  CastImages bare(without, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_EQ(painted.open(), std::nullopt);
  ASSERT_EQ(bare.open(), std::nullopt);
  bare.drain();
  for (const Point& place : {Point{200, 150}, {201, 151}, {2, 3}, {636, 396}, {320, 200}, {0, 0}}) {
    hand.moveTo(place);
    painted.drain(100);
    EXPECT_TRUE(become(images, painted)) << place.x << "," << place.y;
    EXPECT_GT(largestDifference(*images.last(), *bare.last()), 50) << "it is to be seen";
  }
}

TEST_F(StreamPointerTest, CostsOnlyItsOwnPlacesWhenItMoves) {
  hand.moveTo({100, 100});
  MutterCast cast(mutter);
  CastImages images(cast, monitor, withPointer());
  ASSERT_EQ(images.open(), std::nullopt);
  images.drain();
  hand.moveTo({300, 200});
  images.drain();
  const auto changed = [](const picture::Nv12Image& image) {
    return std::ranges::count(image.changedAt, image.sequence);
  };
  hand.moveTo({330, 210});
  const auto image = images.next(testing::patience());
  ASSERT_NE(image, nullptr);
  EXPECT_GT(changed(*image), 0);
  // 24 by 24 pixels twice.
  EXPECT_LE(changed(*image), 2 * 9);
}

TEST_F(StreamPointerTest, LeavesNoTraces) {
  hand.moveTo({100, 100});
  MutterCast cast(mutter);
  MutterCast without(mutter, MutterCast::Pointer::hidden);
  CastImages images(cast, monitor, withPointer());
  CastImages bare(without, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_EQ(bare.open(), std::nullopt);
  bare.drain();
  for (int i = 0; i < 20; ++i) hand.moveTo({20.0 + 30 * i, 10.0 + 10 * i});
  images.drain();
  // Its last place is (590, 200).
  EXPECT_EQ(largestDifference(*images.last(), *bare.last(), {0, 0, 540, 400}), 0);
  EXPECT_GT(largestDifference(*images.last(), *bare.last(), {560, 170, 64, 64}), 50);
}

TEST_F(StreamPointerTest, IsLeftOutWhereItIsNotWished) {
  hand.moveTo({100, 100});
  MutterCast cast(mutter);
  MutterCast without(mutter, MutterCast::Pointer::hidden);
  CastImages images(cast, monitor);
  CastImages bare(without, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_EQ(bare.open(), std::nullopt);
  bare.drain();
  images.drain();
  hand.moveTo({300, 200});
  EXPECT_EQ(images.drain(300), 0) << "and its moves are no news";
  EXPECT_EQ(largestDifference(*images.last(), *bare.last()), 0);
}

TEST_F(StreamPointerTest, StaysOnWhatChangesBeneathIt) {
  WlWindow window;
  hand.moveTo({300, 200});
  MutterCast beside(mutter, MutterCast::Pointer::beside);
  MutterCast within(mutter, MutterCast::Pointer::inThePicture);
  CastImages images(beside, monitor, withPointer());
  CastImages painted(within, monitor);
  ASSERT_EQ(images.open(), std::nullopt);
  ASSERT_EQ(painted.open(), std::nullopt);
  for (const std::uint32_t colour : {0xffffffU, 0xff0000U, 0x00ff00U, 0x000000U}) {
    window.fill(290, 190, 15, 15, colour);
    painted.drain(100);
    EXPECT_TRUE(become(images, painted)) << std::hex << colour;
  }
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
