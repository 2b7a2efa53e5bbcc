#include "platform/linux/picture/composed/TinyEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <utility>

namespace vesk::picture::composed::VESK_FILE {
namespace {

/// Of the last macroblocks to the right and below, little is seen.
constexpr PixelSize size{34, 20};
constexpr X264Settings settings{.width = size.width, .height = size.height};
constexpr int across = 3;
constexpr Run lastRow{1, 0, across};

constexpr std::uint8_t stays = 1;
constexpr int fine = 11;

/// A grey picture, over which noise is to be laid.
class TinyEncoderTest : public ::testing::Test {
 protected:
  TinyEncoderTest() {
    const auto bytes = image.stride() * size.height;
    std::fill_n(image.luma(), bytes, grey);
    std::fill_n(image.chroma(), bytes / 2, grey);
    X264Encoder::Request key;
    key.keyFrame = true;
    key.quantiser = fine;
    whole.encode(image, key);
    std::mt19937 random(1);
    const auto next = [&] { return static_cast<std::uint8_t>(60 + random() % 130); };
    std::generate_n(image.luma(), bytes, next);
    std::generate_n(image.chroma(), bytes / 2, next);
  }

  std::optional<h264::SliceData> encode(int quantiser) {
    auto slices =
        tiny.encode(image, whole.reconstruction().view(), {lastRow, unchanged, quantiser});
    if (slices.size() != 1) return std::nullopt;
    return std::move(slices.front());
  }

  /// How far a macroblock that was encoded is from the noise there, at most. Beyond the edges it is
  /// to be as it is at them.
  int fromNoise(int column) const {
    return farthest(column, [&](int x, int y) {
      const int atX = std::min(x, static_cast<int>(size.width) - 1);
      const int atPair = std::min(x / 2 * 2, static_cast<int>(size.width) - 2) + x % 2;
      const PlanesView planes = image.planes();
      return std::pair{*planes.lumaAt(atX, std::min(y, static_cast<int>(size.height) - 1)),
                       *planes.chromaAt(atPair, std::min(y, static_cast<int>(size.height) - 2))};
    });
  }

  /// The same from the grey that was there before.
  int fromGrey(int column) const {
    return farthest(column, [](int, int) { return std::pair{grey, grey}; });
  }

  static constexpr std::uint8_t grey = 20;
  static constexpr int near = 10;
  Nv12Image image{size};
  X264Encoder whole{settings};
  TinyEncoder tiny{settings, {across, 1}};
  std::vector<std::uint8_t> unchanged = std::vector<std::uint8_t>(across * 2);

 private:
  template <typename Wanted>
  int farthest(int column, Wanted wanted) const {
    const int left = column * macroblockEdge;
    int farthest = 0;
    for (int y = 0; y < macroblockEdge; ++y) {
      for (int x = left; x < left + macroblockEdge; ++x) {
        const auto [luma, chroma] = wanted(x, lastRow.row * macroblockEdge + y);
        const Planes& made = tiny.reconstruction();
        farthest = std::max(farthest, std::abs(*made.lumaAt(x, y) - luma));
        if (y % 2 == 0) farthest = std::max(farthest, std::abs(*made.chromaAt(x, y) - chroma));
      }
    }
    return farthest;
  }
};

TEST_F(TinyEncoderTest, EncodesAtTheQuantiserThatItIsAskedFor) {
  for (const int quantiser : {11, 30, 51}) {
    const auto data = encode(quantiser);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->quantiser, quantiser);
  }
}

/// What is not seen is as what is beside it, so that nothing is spent on an edge there.
TEST_F(TinyEncoderTest, GoesOnBeyondTheEdgesOfTheImage) {
  ASSERT_TRUE(encode(fine));
  for (int column = 0; column < across; ++column) EXPECT_LE(fromNoise(column), near) << column;
}

TEST_F(TinyEncoderTest, LeavesWhatIsToStayAsItIs) {
  unchanged[across + 1] = stays;
  ASSERT_TRUE(encode(fine));
  EXPECT_LE(fromNoise(0), near);
  EXPECT_LE(fromGrey(1), 2);
  EXPECT_LE(fromNoise(2), near);
}

TEST(NoTinyEncoderTest, IsFalseWhereThereIsNoEncoderOfThatKind) {
  X264Settings motionless = settings;
  motionless.framesPerSecond = 0;
  EXPECT_FALSE(TinyEncoder(motionless, {1, 1}));
  EXPECT_TRUE(TinyEncoder(settings, {1, 1}));
}

/// A slice for each row, in their order.
TEST_F(TinyEncoderTest, EncodesRowsOneBelowTheOtherAtOnce) {
  TinyEncoder both(settings, {2, 2});
  const auto slices =
      both.encode(image, whole.reconstruction().view(), {{0, 1, 2}, unchanged, fine});
  ASSERT_EQ(slices.size(), 2U);
  TinyEncoder one(settings, {2, 1});
  for (int row = 0; row < 2; ++row) {
    const auto alone =
        one.encode(image, whole.reconstruction().view(), {{row, 1, 2}, unchanged, fine});
    ASSERT_EQ(alone.size(), 1U);
    const PlanesView made = both.reconstruction().from(0, row * macroblockEdge).view();
    for (int y = 0; y < macroblockEdge; ++y) {
      EXPECT_TRUE(std::equal(made.lumaAt(0, y), made.lumaAt(2 * macroblockEdge, y),
                             one.reconstruction().lumaAt(0, y)))
          << "line " << y << " of row " << row;
    }
    EXPECT_EQ(slices[static_cast<std::size_t>(row)].quantiser, alone.front().quantiser);
  }
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
