#include "platform/linux/portal/screen/PointerNews.h"

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

#include <cstring>
#include <limits>
#include <random>

namespace vesk::portal::screen::VESK_FILE {
namespace {

constexpr std::uint32_t bitmapAt = sizeof(spa_meta_cursor);
constexpr std::uint32_t pixelsAt = sizeof(spa_meta_bitmap);

/// What a desktop writes of a pointer of two by two pixels.
struct Written {
  spa_meta_cursor cursor{1, 0, {10, 20}, {1, 2}, bitmapAt};
  spa_meta_bitmap bitmap{SPA_VIDEO_FORMAT_BGRA, {2, 2}, 8, pixelsAt};
  std::vector<std::uint32_t> pixels{0xff010203, 0x80102030, 0, 0xffffffff};

  std::vector<std::byte> bytes() const {
    std::vector<std::byte> all(bitmapAt + pixelsAt + pixels.size() * 4);
    std::memcpy(all.data(), &cursor, sizeof cursor);
    std::memcpy(all.data() + bitmapAt, &bitmap, sizeof bitmap);
    std::memcpy(all.data() + bitmapAt + pixelsAt, pixels.data(), pixels.size() * 4);
    return all;
  }
  std::optional<PointerNews> read() const { return pointerNews(bytes()); }
};

TEST(PointerNewsTest, AreAPlaceAndAShape) {
  const auto news = Written().read();
  ASSERT_TRUE(news);
  EXPECT_TRUE(news->isWithin);
  EXPECT_EQ(news->x, 10);
  EXPECT_EQ(news->y, 20);
  EXPECT_EQ(news->shape, (PointerShape{2, 2, 1, 2, {0xff010203, 0x80102030, 0, 0xffffffff}}));
}

TEST(PointerNewsTest, AreOfTheSameShapeWhereRedComesFirst) {
  Written written;
  written.bitmap.format = SPA_VIDEO_FORMAT_RGBA;
  written.pixels = {0xff030201, 0x80302010, 0, 0xffffffff};
  EXPECT_EQ(written.read()->shape, Written().read()->shape);
}

TEST(PointerNewsTest, TellOfNoOtherShapeWhereThereIsNone) {
  Written written;
  written.cursor.bitmap_offset = 0;
  const auto news = written.read();
  ASSERT_TRUE(news);
  EXPECT_TRUE(news->isWithin);
  EXPECT_EQ(news->shape, std::nullopt);
}

TEST(PointerNewsTest, TellThatThePointerIsElsewhere) {
  Written written;
  written.cursor.id = 0;
  const auto news = written.read();
  ASSERT_TRUE(news);
  EXPECT_FALSE(news->isWithin);
}

TEST(PointerNewsTest, AreOfAnEmptyShapeWhereThePointerIsHidden) {
  for (const bool hasSize : {true, false}) {
    Written written;
    if (hasSize) {
      written.bitmap.offset = 0;
    } else {
      written.bitmap.size = {0, 0};
    }
    ASSERT_TRUE(written.read());
    EXPECT_EQ(written.read()->shape, PointerShape{});
  }
}

TEST(PointerNewsTest, SkipWhatLiesBehindTheRows) {
  Written written;
  written.bitmap.stride = 12;
  written.pixels = {1, 2, 99, 3, 4};
  EXPECT_EQ(written.read()->shape->pixels, (std::vector<std::uint32_t>{1, 2, 3, 4}));
}

TEST(PointerNewsTest, AreNoneWhereTheyMakeNoSense) {
  constexpr auto largest = std::numeric_limits<std::int32_t>::max();
  constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
  const auto isRefused = [](auto change) {
    Written written;
    change(written);
    return !written.read();
  };
  EXPECT_TRUE(isRefused([](Written& w) { w.cursor.position.x = largest; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.cursor.position.y = smallest; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.cursor.hotspot.x = smallest; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.cursor.bitmap_offset = 0xffffffff; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.cursor.bitmap_offset = bitmapAt + 32; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.offset = 0xffffffff; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.offset = pixelsAt + 1; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.size = {0xffffffff, 0xffffffff}; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.size = {2, 3}; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.size = {1025, 1}; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.stride = -8; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.stride = 7; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.stride = largest; }));
  EXPECT_TRUE(isRefused([](Written& w) { w.bitmap.format = SPA_VIDEO_FORMAT_NV12; }));
}

TEST(PointerNewsTest, ReadNothingBehindTheEnd) {
  const auto all = Written().bytes();
  for (std::size_t length = 0; length < all.size(); ++length) {
    const std::vector<std::byte> part(all.begin(),
                                      all.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(pointerNews(part), std::nullopt) << length;
  }
}

TEST(PointerNewsTest, SurviveAnyBytes) {
  std::mt19937 random(5);
  int read = 0;
  for (int round = 0; round < 20'000; ++round) {
    auto bytes = Written().bytes();
    for (int i = 0; i < 3; ++i) bytes[random() % bytes.size()] = static_cast<std::byte>(random());
    const auto news = pointerNews(bytes);
    if (!news || !news->shape) continue;
    ++read;
    EXPECT_EQ(news->shape->pixels.size(),
              static_cast<std::size_t>(news->shape->width * news->shape->height));
  }
  EXPECT_GT(read, 0);
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
