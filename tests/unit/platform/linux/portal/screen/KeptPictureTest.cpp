#include "platform/linux/portal/screen/KeptPicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace vesk::portal::screen::VESK_FILE {
namespace {

using picture::PixelRect;

/// Somebody else's picture, of which each row ends in bytes that are none of it.
class Foreign {
 public:
  Foreign(PixelSize size, std::ptrdiff_t padding = 0)
      : size_(size),
        stride_(size.width * 4 + padding),
        bytes_(static_cast<std::size_t>(stride_ * (size.height - 1) + size.width * 4)) {}

  void set(std::int64_t x, std::int64_t y, std::uint8_t value) {
    bytes_.at(static_cast<std::size_t>(y * stride_ + x * 4)) = value;
  }
  void fill(std::mt19937& random) {
    for (auto& byte : bytes_) byte = static_cast<std::uint8_t>(random());
  }
  void update(KeptPicture& kept, const PixelRect& area) const {
    kept.update(bytes_.data(), stride_, area);
  }
  void update(KeptPicture& kept) const { update(kept, kept.whole()); }
  bool isWhatIsIn(const KeptPicture& kept) const {
    for (std::int64_t y = 0; y < size_.height; ++y) {
      if (!std::equal(kept.pixels() + y * kept.stride(),
                      kept.pixels() + y * kept.stride() + size_.width * 4,
                      bytes_.data() + y * stride_))
        return false;
    }
    return true;
  }

 private:
  PixelSize size_;
  std::ptrdiff_t stride_;
  std::vector<std::uint8_t> bytes_;
};

bool covers(const std::vector<PixelRect>& rects, std::int32_t x, std::int32_t y) {
  return std::ranges::any_of(rects, [&](const PixelRect& rect) {
    return !intersection(rect, {x, y, 1, 1}).isEmpty();
  });
}

std::int64_t pixelsOf(const std::vector<PixelRect>& rects) {
  std::int64_t sum = 0;
  for (const auto& rect : rects) sum += static_cast<std::int64_t>(rect.width) * rect.height;
  return sum;
}

using Rects = std::vector<PixelRect>;

TEST(KeptPictureTest, CountsAllOfTheFirstOneAsChanged) {
  KeptPicture kept({1920, 1080});
  EXPECT_TRUE(kept.hasChanges());
  EXPECT_EQ(kept.takeChanges(), (Rects{{0, 0, 1920, 1080}}));
  EXPECT_FALSE(kept.hasChanges());
  EXPECT_TRUE(kept.takeChanges().empty());
}

TEST(KeptPictureTest, TellsNothingOfTheSamePicture) {
  const PixelSize size{100, 60};
  KeptPicture kept(size);
  std::mt19937 random(1);
  Foreign picture(size);
  picture.fill(random);
  picture.update(kept);
  kept.takeChanges();
  picture.update(kept);
  EXPECT_FALSE(kept.hasChanges());
}

TEST(KeptPictureTest, TellsOfTheSquareInWhichAPixelHasChanged) {
  const PixelSize size{100, 60};
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size);
  picture.set(37, 21, 1);
  picture.update(kept);
  EXPECT_EQ(kept.takeChanges(), (Rects{{32, 16, 16, 16}}));
}

TEST(KeptPictureTest, KeepsApartWhatIsApart) {
  const PixelSize size{640, 400};
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size);
  // A clock and a caret in the same rows, and something below.
  picture.set(630, 5, 1);
  picture.set(3, 5, 1);
  picture.set(3, 300, 1);
  picture.update(kept);
  EXPECT_EQ(kept.takeChanges(), (Rects{{0, 0, 16, 16}, {624, 0, 16, 16}, {0, 288, 16, 16}}));
}

TEST(KeptPictureTest, MakesOneAreaOfNeighbours) {
  const PixelSize size{640, 400};
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size);
  for (int y = 100; y < 200; ++y) {
    for (int x = 50; x < 150; ++x) picture.set(x, y, 9);
  }
  picture.update(kept);
  EXPECT_EQ(kept.takeChanges(), (Rects{{48, 96, 112, 112}}));
}

TEST(KeptPictureTest, EndsAtTheEdgesOfOddPictures) {
  for (const auto size : {PixelSize{1, 1}, {2, 3}, {17, 16}, {16, 17}, {1919, 1079}}) {
    KeptPicture kept(size);
    EXPECT_EQ(kept.takeChanges(), Rects{kept.whole()});
    Foreign picture(size, 12);
    picture.set(size.width - 1, size.height - 1, 200);
    picture.update(kept);
    const auto changes = kept.takeChanges();
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].right(), size.width);
    EXPECT_EQ(changes[0].bottom(), size.height);
    EXPECT_TRUE(picture.isWhatIsIn(kept)) << size.width << "x" << size.height;
  }
}

TEST(KeptPictureTest, NeitherReadsNorTellsOfWhatLiesBehindARow) {
  const PixelSize size{30, 20};
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size, 64);
  // In the first row's padding.
  picture.set(30, 0, 255);
  picture.update(kept);
  EXPECT_FALSE(kept.hasChanges());
}

TEST(KeptPictureTest, GathersWhatSeveralPicturesHaveChanged) {
  const PixelSize size{640, 400};
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size);
  picture.set(0, 0, 1);
  picture.update(kept);
  picture.set(0, 0, 0);
  picture.set(100, 0, 1);
  picture.update(kept);
  EXPECT_EQ(kept.takeChanges(), (Rects{{0, 0, 16, 16}, {96, 0, 16, 16}}));
  EXPECT_TRUE(picture.isWhatIsIn(kept));
}

TEST(KeptPictureTest, LooksOnlyWhereItIsTold) {
  const PixelSize size{100, 60};
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size);
  picture.set(20, 20, 1);
  picture.set(60, 20, 1);
  picture.update(kept, {10, 18, 20, 5});
  EXPECT_EQ(kept.takeChanges(), (Rects{{16, 16, 16, 16}}));
  EXPECT_FALSE(picture.isWhatIsIn(kept));
}

TEST(KeptPictureTest, MakesNothingOfAreasBesideThePicture) {
  const PixelSize size{100, 60};
  KeptPicture kept(size);
  kept.takeChanges();
  std::mt19937 random(2);
  Foreign picture(size);
  picture.fill(random);
  constexpr int far = 1 << 20;
  for (const PixelRect& area : {PixelRect{100, 0, 5, 5},
                                {0, 60, 5, 5},
                                {-far, -far, far, far},
                                {0, 0, 0, 0},
                                {5, 5, -3, 4}})
    picture.update(kept, area);
  EXPECT_FALSE(kept.hasChanges());
  picture.update(kept, {-far, -far, 2 * far, 2 * far});
  EXPECT_TRUE(picture.isWhatIsIn(kept));
}

TEST(KeptPictureTest, AlwaysEqualsWhatCameLastAndTellsOfEachDifference) {
  const PixelSize size{133, 71};
  std::mt19937 random(3);
  const auto below = [&](std::int64_t most) {
    return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(most));
  };
  KeptPicture kept(size);
  kept.takeChanges();
  Foreign picture(size, 8);
  for (int round = 0; round < 300; ++round) {
    std::vector<PixelRect> touched;
    for (int i = below(30); i >= 0; --i) {
      const auto x = below(size.width);
      const auto y = below(size.height);
      // One that was not there before.
      picture.set(x, y, static_cast<std::uint8_t>(1 + round % 255));
      touched.push_back({x, y, 1, 1});
    }
    picture.update(kept);
    const auto changes = kept.takeChanges();
    ASSERT_TRUE(picture.isWhatIsIn(kept));
    for (const auto& each : touched) ASSERT_TRUE(covers(changes, each.x, each.y)) << round;
    EXPECT_LE(pixelsOf(changes), static_cast<std::int64_t>(touched.size()) * 16 * 16);
    EXPECT_EQ(pixelsOf(changes), pixelsOf(picture::disjoint(changes))) << "nothing twice";
  }
}

TEST(KeptPictureTest, TellsOfAScrolledPictureInOnePiece) {
  const PixelSize size{1920, 1080};
  std::mt19937 random(4);
  KeptPicture kept(size);
  Foreign picture(size);
  picture.fill(random);
  picture.update(kept);
  kept.takeChanges();
  picture.fill(random);
  picture.update(kept);
  EXPECT_EQ(kept.takeChanges(), (Rects{{0, 0, 1920, 1080}}));
  EXPECT_TRUE(picture.isWhatIsIn(kept));
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
