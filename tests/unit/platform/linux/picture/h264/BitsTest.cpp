#include "platform/linux/picture/h264/bits.h"

#include <gtest/gtest.h>

#include "platform/linux/picture/h264/emulationPrevention.h"

namespace vesk::picture::h264::VESK_FILE {
namespace {

Bytes bytes(std::initializer_list<int> values) {
  Bytes made;
  for (const int value : values) made.push_back(static_cast<std::byte>(value));
  return made;
}

TEST(BitReaderTest, ReadsMostSignificantFirst) {
  const Bytes input = bytes({0b1010'0110, 0xff});
  BitReader reader(input);
  EXPECT_EQ(reader.bits(1), 1U);
  EXPECT_EQ(reader.bits(3), 0b010U);
  EXPECT_EQ(reader.bits(6), 0b011011U);
  EXPECT_EQ(reader.position(), 10U);
}

TEST(BitReaderTest, EndsWithItsBytes) {
  const Bytes input = bytes({0xff});
  EXPECT_EQ(BitReader(input).bits(8), 0xffU);
  BitReader reader(input);
  EXPECT_EQ(reader.bits(9), std::nullopt);
  EXPECT_EQ(reader.bits(1), std::nullopt);
}

TEST(BitReaderTest, RefusesNumbersBeyondThirtyTwoBits) {
  const Bytes input = bytes({0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0xff});
  BitReader reader(input);
  EXPECT_EQ(reader.ue(), std::nullopt);
}

TEST(BitWriterTest, WritesWhatTheReaderReads) {
  BitWriter writer;
  const std::vector<std::uint32_t> numbers{0,    1,    2,     3,        7,          8,
                                           8159, 8160, 65535, 1U << 20, 0xffff'fffe};
  for (const auto number : numbers) writer.ue(number);
  writer.bits(0x2a5, 10);
  const Bytes written = writer.finished();
  BitReader reader(written);
  for (const auto number : numbers) EXPECT_EQ(reader.ue(), number);
  EXPECT_EQ(reader.bits(10), 0x2a5U);
  EXPECT_EQ(reader.bits(1), 1U) << "the stop bit";
}

TEST(BitWriterTest, WritesSignedNumbersByTheirSize) {
  BitWriter writer;
  for (int number = -60; number <= 60; ++number) writer.se(number);
  const Bytes written = writer.finished();
  BitReader reader(written);
  for (int number = -60; number <= 60; ++number) EXPECT_EQ(reader.se(), number);
  BitWriter one;
  one.se(1);
  one.se(-1);
  EXPECT_EQ(one.finished(), bytes({0b010'011'1'0})) << "the positive one is the shorter code";
}

TEST(BitWriterTest, CopiesFromAnyBitToAnyBit) {
  Bytes source;
  for (int i = 0; i < 40; ++i) source.push_back(static_cast<std::byte>(i * 37 + 11));
  for (unsigned before = 0; before < 9; ++before) {
    for (std::size_t from = 0; from < 20; ++from) {
      BitWriter writer;
      writer.bits(0x155, before);
      writer.copy(source, from, 250 + from);
      const Bytes written = writer.finished();
      BitReader there(written), here(source);
      EXPECT_EQ(there.bits(before), 0x155U & ((1U << before) - 1));
      here.skipTo(from);
      for (int i = 0; i < 250; ++i) ASSERT_EQ(there.bits(1), here.bits(1));
      EXPECT_EQ(there.bits(1), 1U) << "the stop bit";
    }
  }
}

TEST(BitReaderTest, StaysAtTheEndAfterASkipBeyond) {
  const Bytes input = bytes({0xff, 0xff});
  BitReader reader(input);
  reader.skipTo(99);
  EXPECT_EQ(reader.bits(1), std::nullopt);
}

TEST(BitWriterTest, BeginsAnewOnceItHasFinished) {
  BitWriter writer;
  for (int i = 0; i < 2; ++i) {
    writer.bits(0b101, 3);
    EXPECT_EQ(writer.finished(), bytes({0b1011'0000}));
  }
}

TEST(EmulationPreventionTest, KeepsPayloadsFromLookingLikeStartCodes) {
  EXPECT_EQ(escaped(bytes({0x41, 0, 0, 1, 0, 0, 0, 0, 0, 3, 0, 0, 4})),
            bytes({0x41, 0, 0, 3, 1, 0, 0, 3, 0, 0, 3, 0, 3, 0, 0, 4}));
}

TEST(EmulationPreventionTest, IsUndone) {
  std::uint32_t seed = 1;
  for (int round = 0; round < 200; ++round) {
    Bytes raw;
    for (int i = 0; i < 64; ++i) {
      seed = seed * 1664525 + 1013904223;
      raw.push_back(static_cast<std::byte>((seed >> 24) % 5));
    }
    EXPECT_EQ(unescaped(escaped(raw)), raw);
  }
}

}  // namespace
}  // namespace vesk::picture::h264::VESK_FILE
