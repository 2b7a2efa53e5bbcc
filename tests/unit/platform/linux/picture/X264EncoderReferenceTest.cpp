#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "capture/annexB.h"
#include "platform/linux/picture/X264Encoder.h"
#include "support/H264Decoder.h"

/// What an encoder knows of the picture before, and does with it.

namespace vesk::picture::VESK_FILE {
namespace {

/// Rows are longer than the picture.
constexpr PixelSize size{96, 80};
constexpr int across = 6;
constexpr int down = 5;

class X264EncoderReferenceTest : public ::testing::Test {
 protected:
  enum class Plane { luma, chroma };

  /// Noise in the macroblocks that are marked so.
  void noise(Plane plane, const std::vector<std::uint8_t>& marks, std::uint8_t mark) {
    const bool isLuma = plane == Plane::luma;
    const int edge = isLuma ? macroblockEdge : macroblockEdge / 2;
    for (int y = 0; y < (isLuma ? size.height : size.height / 2); ++y) {
      auto* const row = (isLuma ? image.luma() : image.chroma()) + y * image.stride();
      for (int x = 0; x < size.width; ++x) {
        const auto at = static_cast<std::size_t>(y / edge * across + x / macroblockEdge);
        if (marks[at] == mark) row[x] = static_cast<std::uint8_t>(60 + random() % 120);
      }
    }
  }

  /// What a viewer sees next.
  testing::Luma shown(const std::optional<X264Encoder::Bytes>& picture) {
    EncodedSample sample;
    sample.data = picture.value_or(X264Encoder::Bytes{});
    if (!begun) sample.parameterSets = encoder.parameterSets();
    begun = true;
    return decoder.decode(annexB(sample).value_or(Bytes{})).value_or(testing::Luma{});
  }

  std::mt19937 random{5};
  X264Encoder encoder{{size.width, size.height, 30}};
  testing::H264Decoder decoder;
  bool begun = false;
  Nv12Image image{size};
  const std::vector<std::uint8_t> none = std::vector<std::uint8_t>(across * down);
  const std::vector<std::uint8_t> all =
      std::vector<std::uint8_t>(across * down, X264Encoder::unchangedMark());
  /// Every other one, like the squares of a chessboard.
  const std::vector<std::uint8_t> some = [] {
    std::vector<std::uint8_t> marks(across * down);
    for (std::size_t i = 0; i < marks.size(); ++i) {
      if ((i / across + i % across) % 2 == 0) marks[i] = X264Encoder::unchangedMark();
    }
    return marks;
  }();
};

TEST_F(X264EncoderReferenceTest, TellsHowMuchItsPictureIsLikeAnImage) {
  const Nv12Image black(size);
  EXPECT_EQ(encoder.quality(image), 100) << "nothing is shown yet";
  shown(encoder.encode(black, {true, 11}));
  EXPECT_EQ(encoder.quality(black), 100);
  noise(Plane::luma, none, 0);
  for (const int quantiser : {11, 30, 51}) {
    const auto seen = shown(encoder.encode(image, {false, quantiser}));
    for (const auto* other : {static_cast<const Nv12Image*>(&image), &black}) {
      EXPECT_NEAR(encoder.quality(*other), testing::psnr(seen, other->luma(), other->stride()),
                  0.001)
          << quantiser;
    }
  }
}

TEST_F(X264EncoderReferenceTest, TellsOfTheLeastDifference) {
  shown(encoder.encode(image, {true, 11}));
  auto differing = std::make_unique<Nv12Image>(size);
  differing->luma()[3 * differing->stride() + 5] += 1;
  // A single level in a single pixel.
  EXPECT_NEAR(encoder.quality(*differing), 10 * std::log10(255.0 * 255 * 96 * 80), 0.001);
}

TEST_F(X264EncoderReferenceTest, LooksNotAtWhatIsSaidToBeUnchanged) {
  noise(Plane::luma, none, 0);
  const auto before = shown(encoder.encode(image, {true, 30}));
  noise(Plane::luma, none, 0);
  auto marks = all;
  const auto after = shown(encoder.encode(image, {false, 30, &marks}));
  EXPECT_EQ(after.pixels, before.pixels);
}

/// Though the picture is a much finer one, the macroblocks that are to stay cost nothing.
TEST_F(X264EncoderReferenceTest, KeepsWhatIsCoarse) {
  for (const auto plane : {Plane::luma, Plane::chroma}) {
    for (const auto* marks : {&some, &all}) {
      image = Nv12Image(size);
      shown(encoder.encode(image, {true, 14}));
      noise(plane, *marks, X264Encoder::unchangedMark());
      const auto before = shown(encoder.encode(image, {false, 45}));
      auto kept = *marks;
      const auto picture = encoder.encode(image, {false, 14, &kept, true});
      ASSERT_TRUE(picture);
      EXPECT_LE(picture->size(), 30U);
      EXPECT_EQ(shown(picture).pixels, before.pixels);
    }
  }
}

TEST_F(X264EncoderReferenceTest, MakesTheRestBetterBesidesWhatItKeeps) {
  noise(Plane::luma, none, 0);
  const auto before = shown(encoder.encode(image, {true, 45}));
  auto kept = some;
  const auto after = shown(encoder.encode(image, {false, 14, &kept, true}));
  ASSERT_EQ(after.pixels.size(), before.pixels.size());
  for (int row = 0; row < down; ++row) {
    for (int column = 0; column < across; ++column) {
      const int x = column * macroblockEdge;
      const int y = row * macroblockEdge;
      const testing::Region region{x, y, macroblockEdge, macroblockEdge};
      const double was = testing::psnr(before, image.luma(), image.stride(), region);
      const double is = testing::psnr(after, image.luma(), image.stride(), region);
      if (some[static_cast<std::size_t>(row * across + column)] != 0) {
        EXPECT_DOUBLE_EQ(is, was) << column << "," << row;
      } else {
        EXPECT_GT(is, 40) << column << "," << row;
      }
    }
  }
}

TEST_F(X264EncoderReferenceTest, MakesTheRestOfTheColoursBetterToo) {
  noise(Plane::chroma, some, 0);
  shown(encoder.encode(image, {true, 45}));
  auto kept = some;
  const auto better = encoder.encode(image, {false, 14, &kept, true});
  ASSERT_TRUE(better);
  EXPECT_GT(better->size(), 1000U);
}

TEST_F(X264EncoderReferenceTest, KeepsNothingInAKeyFrame) {
  noise(Plane::luma, none, 0);
  auto kept = all;
  shown(encoder.encode(image, {true, 45, &kept, true}));
  shown(encoder.encode(image, {true, 14, &kept, true}));
  EXPECT_GT(encoder.quality(image), 40);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
