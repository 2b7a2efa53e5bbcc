#include "platform/linux/portal/screen/bufferContents.h"

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <limits>

#include "platform/Descriptor.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

/// A buffer as a desktop fills it: a picture of four by three pixels, and what comes beside it.
struct Filled {
  std::array<std::uint8_t, 16 * 3> pixels{};
  spa_chunk chunk{0, sizeof pixels, 16, 0};
  spa_data data{SPA_DATA_MemPtr, SPA_DATA_FLAG_READABLE, -1,    0,
                sizeof pixels,   pixels.data(),          &chunk};
  spa_meta_header header{};
  std::array<spa_meta_region, 3> damage{};
  spa_meta_cursor cursor{};
  std::array<spa_meta, 3> metas{spa_meta{SPA_META_Header, sizeof header, &header},
                                spa_meta{SPA_META_VideoDamage, sizeof damage, damage.data()},
                                spa_meta{SPA_META_Cursor, sizeof cursor, &cursor}};
  spa_buffer buffer{static_cast<std::uint32_t>(metas.size()), 1, metas.data(), &data};

  Filled() = default;
  Filled(const Filled&) = delete;
  Filled& operator=(const Filled&) = delete;

  std::optional<RemotePicture> picture() const { return pictureIn(buffer, {{4, 3}}); }
};

constexpr auto largest = std::numeric_limits<std::int32_t>::max();

TEST(BufferContentsTest, AreAPictureWhereItLies) {
  Filled filled;
  const auto picture = filled.picture();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->pixels, filled.pixels.data());
  EXPECT_EQ(picture->stride, 16);
  EXPECT_EQ(picture->damage, std::nullopt) << "which may have changed anywhere";
}

TEST(BufferContentsTest, AreNoPictureWhereOnlyThePointerHasMoved) {
  Filled filled;
  filled.chunk.size = 0;
  filled.chunk.flags = SPA_CHUNK_FLAG_CORRUPTED;
  filled.cursor = {1, 0, {7, 8}, {}, 0};
  EXPECT_EQ(filled.picture(), std::nullopt);
  const auto news = pointerIn(filled.buffer);
  ASSERT_TRUE(news);
  EXPECT_EQ(*news, (PointerNews{true, 7, 8, std::nullopt}));
}

TEST(BufferContentsTest, AreNoPictureThatIsSpoilt) {
  Filled spoilt;
  spoilt.header.flags = SPA_META_HEADER_FLAG_CORRUPTED;
  EXPECT_EQ(spoilt.picture(), std::nullopt);
  Filled alsoSpoilt;
  alsoSpoilt.chunk.flags = SPA_CHUNK_FLAG_CORRUPTED;
  EXPECT_EQ(alsoSpoilt.picture(), std::nullopt);
}

TEST(BufferContentsTest, TellWhereThePictureHasChanged) {
  Filled filled;
  filled.damage[0].region = {{1, 0}, {2, 1}};
  filled.damage[1].region = {{0, 2}, {1, 1}};
  EXPECT_EQ(filled.picture()->damage, (std::vector<PixelRect>{{1, 0, 2, 1}, {0, 2, 1, 1}}));
  filled.damage[1].region.size = {0, 1};
  filled.damage[2].region = {{0, 0}, {4, 3}};
  EXPECT_EQ(filled.picture()->damage, (std::vector<PixelRect>{{1, 0, 2, 1}})) << "up to its end";
}

TEST(BufferContentsTest, AreOfDamageThatCanBeReckonedWith) {
  Filled filled;
  filled.damage[0].region = {{-largest - 1, largest}, {0xffffffff, 0xffffffff}};
  const auto damage = filled.picture()->damage;
  ASSERT_TRUE(damage);
  EXPECT_EQ(damage->at(0), (PixelRect{-(1 << 20), 1 << 20, 1 << 20, 1 << 20}));
}

TEST(BufferContentsTest, StayWithinTheMemory) {
  const auto isRefused = [](auto change) {
    Filled filled;
    change(filled);
    return !filled.picture();
  };
  EXPECT_TRUE(isRefused([](Filled& f) { f.data.maxsize -= 1; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.chunk.offset = 1; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.chunk.offset = 0xffffffff; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.chunk.stride = 15; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.chunk.stride = 17; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.chunk.stride = -16; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.chunk.stride = largest; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.data.data = nullptr; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.data.chunk = nullptr; }));
  EXPECT_TRUE(isRefused([](Filled& f) { f.buffer.n_datas = 0; }));
}

TEST(BufferContentsTest, StayWithinAFileThatIsShorterThanItWasAnnounced) {
  const Descriptor file(::memfd_create("picture", MFD_CLOEXEC));
  Filled filled;
  filled.data.type = SPA_DATA_MemFd;
  filled.data.fd = file.get();
  const auto isPicture = [&](std::size_t length, std::uint32_t mapOffset = 0) {
    EXPECT_EQ(::ftruncate(file.get(), static_cast<off_t>(length)), 0);
    filled.data.mapoffset = mapOffset;
    return filled.picture().has_value();
  };
  EXPECT_TRUE(isPicture(sizeof filled.pixels));
  EXPECT_FALSE(isPicture(sizeof filled.pixels - 1));
  EXPECT_TRUE(isPicture(4096 + sizeof filled.pixels, 4096));
  EXPECT_FALSE(isPicture(4095 + sizeof filled.pixels, 4096));
  EXPECT_FALSE(isPicture(100, 4096));
  filled.data.maxsize -= 1;
  EXPECT_FALSE(isPicture(4096)) << "and within what was announced";
  filled.data.fd = -1;
  EXPECT_FALSE(filled.picture());
}

TEST(BufferContentsTest, AreReadWithoutAnythingBeside) {
  Filled filled;
  filled.buffer.n_metas = 0;
  EXPECT_TRUE(filled.picture());
  EXPECT_EQ(pointerIn(filled.buffer), std::nullopt);
  for (auto& meta : filled.metas) meta.size = 3;
  filled.buffer.n_metas = 3;
  EXPECT_TRUE(filled.picture());
  EXPECT_EQ(pointerIn(filled.buffer), std::nullopt);
  for (auto& meta : filled.metas) meta.data = nullptr;
  EXPECT_TRUE(filled.picture());
  EXPECT_EQ(pointerIn(filled.buffer), std::nullopt);
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
