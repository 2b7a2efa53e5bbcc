#include <gtest/gtest.h>

#include <algorithm>

#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/frameNumber.h"
#include "platform/linux/picture/h264/skipPicture.h"
#include "platform/linux/picture/h264/slice.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::h264::VESK_FILE {
namespace {

Bytes bytes(std::initializer_list<int> values) {
  Bytes made;
  for (const int value : values) made.push_back(static_cast<std::byte>(value));
  return made;
}

struct SequenceSet {
  std::uint32_t profile = 66;
  std::uint32_t pictureOrder = 2;
  std::uint32_t references = 1;
  bool framesOnly = true;
  std::uint32_t numberBitsAbove4 = 1;

  Bytes unit() const {
    BitWriter writer;
    writer.bits(0x67, 8);
    writer.bits(profile, 8);
    writer.bits(0xc028, 16);
    writer.ue(0);
    writer.ue(numberBitsAbove4);
    writer.ue(pictureOrder);
    writer.ue(references);
    writer.bits(0, 1);
    writer.ue(119);
    writer.ue(67);
    writer.bits(framesOnly ? 1 : 0, 1);
    return escaped(writer.finished());
  }
};

struct PictureSet {
  std::uint32_t arithmetic = 0;
  std::uint32_t groups = 0;
  std::uint32_t weighted = 0;
  std::uint32_t redundant = 0;

  Bytes unit() const {
    BitWriter writer;
    writer.bits(0x68, 8);
    writer.ue(3);
    writer.ue(0);
    writer.bits(arithmetic, 1);
    writer.bits(0, 1);
    writer.ue(groups);
    writer.ue(0);
    writer.ue(0);
    writer.bits(weighted, 1);
    writer.bits(0, 2);
    for (int i = 0; i < 3; ++i) writer.ue(0);
    writer.bits(1, 1);
    writer.bits(0, 1);
    writer.bits(redundant, 1);
    return escaped(writer.finished());
  }
};

TEST(SliceSyntaxTest, IsReadFromTheParameterSets) {
  const auto syntax = sliceSyntax(SequenceSet().unit(), PictureSet().unit());
  EXPECT_EQ(syntax, (SliceSyntax{3, 5, true, true}));
}

TEST(SliceSyntaxTest, TakesFrameNumbersOfSixteenBitsAtMost) {
  const Bytes picture = PictureSet().unit();
  const auto syntax = sliceSyntax(SequenceSet{.numberBitsAbove4 = 12}.unit(), picture);
  ASSERT_TRUE(syntax);
  EXPECT_EQ(syntax->frameNumberBits, 16U);
  EXPECT_FALSE(sliceSyntax(SequenceSet{.numberBitsAbove4 = 13}.unit(), picture));
}

TEST(SliceSyntaxTest, RefusesStreamsOfAnotherKind) {
  const Bytes picture = PictureSet().unit();
  EXPECT_FALSE(sliceSyntax(SequenceSet{77, 2, 1, true}.unit(), picture));
  EXPECT_FALSE(sliceSyntax(SequenceSet{66, 0, 1, true}.unit(), picture));
  EXPECT_FALSE(sliceSyntax(SequenceSet{66, 2, 2, true}.unit(), picture));
  EXPECT_FALSE(sliceSyntax(SequenceSet{66, 2, 1, false}.unit(), picture));
  const Bytes sequence = SequenceSet().unit();
  EXPECT_FALSE(sliceSyntax(sequence, PictureSet{1, 0, 0, 0}.unit()));
  EXPECT_FALSE(sliceSyntax(sequence, PictureSet{0, 1, 0, 0}.unit()));
  EXPECT_FALSE(sliceSyntax(sequence, PictureSet{0, 0, 1, 0}.unit()));
  EXPECT_FALSE(sliceSyntax(sequence, PictureSet{0, 0, 0, 1}.unit()));
}

TEST(SliceSyntaxTest, RefusesParameterSetsThatAreCutShort) {
  const Bytes sequence = SequenceSet().unit();
  const Bytes picture = PictureSet().unit();
  for (std::size_t size = 0; size + 3 < sequence.size(); ++size) {
    EXPECT_FALSE(sliceSyntax(ByteView(sequence).first(size), picture)) << size;
  }
  for (std::size_t size = 0; size + 1 < picture.size(); ++size) {
    EXPECT_FALSE(sliceSyntax(sequence, ByteView(picture).first(size))) << size;
  }
}

TEST(SliceSyntaxTest, TellsWhatPiecesOfTwoStreamsMustHaveInCommon) {
  BitWriter writer;
  writer.bits(0x68, 8);
  writer.ue(0);
  writer.ue(0);
  writer.bits(0, 2);
  for (int i = 0; i < 3; ++i) writer.ue(0);
  writer.bits(0, 3);
  writer.se(5);
  writer.se(0);
  writer.se(-2);
  writer.bits(0b010, 3);
  const auto syntax = sliceSyntax(SequenceSet().unit(), escaped(writer.finished()));
  ASSERT_TRUE(syntax);
  EXPECT_EQ(*syntax, (SliceSyntax{0, 5, true, false, 31, -2, true}));
}

TEST(SliceDataTest, IsWhatFollowsTheHeader) {
  const SliceSyntax syntax{0, 4, true, true, 30};
  for (const int quantiser : {0, 11, 30, 51}) {
    BitWriter writer;
    writeSliceHeader(writer, syntax, {77, 21, quantiser});
    writer.bits(0x1234, 15);
    const Bytes unit = escaped(writer.finished());
    const auto data = sliceData(unit, syntax);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->quantiser, quantiser);
    ASSERT_EQ(data->to - data->from, 15U);
    BitReader reader(data->raw);
    reader.skipTo(data->from);
    EXPECT_EQ(reader.bits(15), 0x1234U);
    for (std::size_t size = 0; size < 4; ++size) {
      EXPECT_FALSE(sliceData(ByteView(unit).first(size), syntax)) << size;
    }
  }
}

TEST(SliceDataTest, IsNotTakenFromSlicesOfAnotherKind) {
  const SliceSyntax syntax{0, 4, true, true};
  const auto slice = [](std::uint32_t unit, std::uint32_t type, std::uint32_t set,
                        std::uint32_t lists, std::uint32_t smoothing) {
    BitWriter writer;
    writer.bits(unit, 8);
    writer.ue(0);
    writer.ue(type);
    writer.ue(set);
    writer.bits(0, 4 + 1);
    writer.bits(lists, 2);
    writer.se(0);
    writer.ue(smoothing);
    writer.ue(1);
    return escaped(writer.finished());
  };
  EXPECT_TRUE(sliceData(slice(0x41, 0, 0, 0, 1), syntax));
  EXPECT_TRUE(sliceData(slice(0x41, 5, 0, 0, 1), syntax));
  EXPECT_FALSE(sliceData(slice(0x65, 5, 0, 0, 1), syntax)) << "a key frame's";
  EXPECT_FALSE(sliceData(slice(0x01, 5, 0, 0, 1), syntax)) << "of no reference picture";
  EXPECT_FALSE(sliceData(slice(0x41, 7, 0, 0, 1), syntax)) << "intra";
  EXPECT_FALSE(sliceData(slice(0x41, 5, 1, 0, 1), syntax)) << "of other parameters";
  EXPECT_FALSE(sliceData(slice(0x41, 5, 0, 1, 1), syntax)) << "marks references";
  EXPECT_FALSE(sliceData(slice(0x41, 5, 0, 2, 1), syntax)) << "reorders references";
  EXPECT_FALSE(sliceData(slice(0x41, 5, 0, 0, 0), syntax)) << "smooths its edges";
  EXPECT_FALSE(sliceData(slice(0x41, 5, 0, 0, 1), {0, 4, false, true})) << "refers to more";
  EXPECT_FALSE(sliceData(slice(0x41, 5, 0, 0, 1), {0, 4, true, false})) << "may smooth its edges";
}

TEST(KeySliceDataTest, IsWhatFollowsTheHeader) {
  const SliceSyntax syntax{0, 4, false, true, 30};
  for (const std::uint32_t identifier : {0U, 3U, 65535U}) {
    BitWriter writer;
    writeSliceHeader(writer, syntax, {600, 21, 14, identifier});
    writer.bits(0x1234, 15);
    const Bytes unit = escaped(writer.finished());
    EXPECT_FALSE(sliceData(unit, syntax)) << "no P slice";
    const auto data = keySliceData(unit, syntax);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->quantiser, 14);
    ASSERT_EQ(data->to - data->from, 15U);
    BitReader reader(data->raw);
    reader.skipTo(data->from);
    EXPECT_EQ(reader.bits(15), 0x1234U);
  }
}

TEST(KeySliceDataTest, IsNotTakenFromSlicesOfAnotherKind) {
  const SliceSyntax syntax{0, 4, true, true};
  const auto slice = [](std::uint32_t unit, std::uint32_t type, std::uint32_t kept) {
    BitWriter writer;
    writer.bits(unit, 8);
    writer.ue(0);
    writer.ue(type);
    writer.ue(0);
    writer.bits(0, 4);
    writer.ue(1);
    writer.bits(kept, 2);
    writer.se(0);
    writer.ue(1);
    writer.ue(1);
    return escaped(writer.finished());
  };
  EXPECT_TRUE(keySliceData(slice(0x65, 2, 0), syntax));
  EXPECT_TRUE(keySliceData(slice(0x65, 7, 0), syntax));
  EXPECT_FALSE(keySliceData(slice(0x41, 7, 0), syntax)) << "of another picture";
  EXPECT_FALSE(keySliceData(slice(0x65, 5, 0), syntax)) << "a P slice";
  EXPECT_FALSE(keySliceData(slice(0x65, 7, 1), syntax)) << "kept for long";
  EXPECT_FALSE(keySliceData(slice(0x65, 7, 2), syntax)) << "what is before it is not shown";
  EXPECT_FALSE(keySliceData(slice(0x65, 7, 0), {0, 4, true, false})) << "may smooth its edges";
}

TEST(UnitsTest, AreFoundAgainUpToOneThatIsCutShort) {
  Bytes units;
  appendUnit(units, bytes({1, 2, 3}));
  appendUnit(units, Bytes{});
  appendUnit(units, Bytes(300, std::byte{7}));
  ASSERT_EQ(units.size(), 4U + 3 + 4 + 4 + 300);
  EXPECT_EQ(units[3], std::byte{3});
  EXPECT_EQ(units[13], std::byte{1}) << "most significant first";
  const auto found = unitsOf(units);
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[0].size(), 3U);
  EXPECT_EQ(found[1].size(), 0U);
  EXPECT_EQ(found[2].size(), 300U);
  EXPECT_EQ(unitsOf(ByteView(units).first(units.size() - 1)).size(), 2U);
  EXPECT_EQ(unitsOf(ByteView(units).first(6)).size(), 0U);
}

TEST(SkipPictureTest, SkipsEveryMacroblock) {
  const SliceSyntax syntax{0, 4, true, true};
  const Bytes unit = unescaped(skipPicture(syntax, 9, 8160));
  EXPECT_LE(unit.size(), 8U);
  BitReader reader(unit);
  EXPECT_EQ(reader.bits(8), 0x41U);
  EXPECT_EQ(reader.ue(), 0U);
  EXPECT_EQ(reader.ue(), 5U);
  EXPECT_EQ(reader.ue(), 0U);
  EXPECT_EQ(reader.bits(4), 9U);
  EXPECT_EQ(reader.bits(3), 0U);
  EXPECT_EQ(reader.ue(), 0U);
  EXPECT_EQ(reader.ue(), 1U);
  EXPECT_EQ(reader.ue(), 8160U);
  EXPECT_EQ(reader.bits(1), 1U);
}

TEST(SkipPictureTest, AsksForOneReferenceWhereMoreAreUsual) {
  const Bytes unit = unescaped(skipPicture({0, 4, false, false}, 9, 99));
  BitReader reader(unit);
  reader.bits(8);
  for (int i = 0; i < 3; ++i) reader.ue();
  reader.bits(4);
  EXPECT_EQ(reader.bits(1), 1U);
  EXPECT_EQ(reader.ue(), 0U) << "one, that is";
  EXPECT_EQ(reader.bits(2), 0U);
  EXPECT_EQ(reader.ue(), 0U);
  EXPECT_EQ(reader.ue(), 99U);
  EXPECT_EQ(reader.bits(1), 1U);
}

TEST(FrameNumberTest, MovesOnAndWrapsAround) {
  const SliceSyntax syntax{0, 4, true, true};
  for (std::uint32_t number = 0; number < 16; ++number) {
    for (std::uint32_t added = 0; added <= 16; ++added) {
      EXPECT_EQ(withFrameNumberMoved(skipPicture(syntax, number, 300), syntax, added),
                skipPicture(syntax, (number + added) % 16, 300))
          << number << " and " << added;
    }
  }
}

TEST(FrameNumberTest, LeavesTheRestOfTheSliceAlone) {
  const SliceSyntax syntax{0, 4, true, true};
  Bytes raw = unescaped(skipPicture(syntax, 0, 300));
  raw.insert(raw.end(), 20, std::byte{0});
  raw.push_back(std::byte{1});
  const Bytes moved = unescaped(withFrameNumberMoved(escaped(raw), syntax, 7));
  ASSERT_EQ(moved.size(), raw.size());
  EXPECT_TRUE(std::equal(raw.begin() + 4, raw.end(), moved.begin() + 4));
}

TEST(FrameNumberTest, LeavesOtherUnitsAlone) {
  const SliceSyntax syntax{0, 4, true, true};
  for (const Bytes& unit :
       {bytes({0x65, 0xff, 0xff}), bytes({0x41}), bytes({0x41, 0x00}), Bytes{}}) {
    EXPECT_EQ(withFrameNumberMoved(unit, syntax, 1), unit);
  }
}

}  // namespace
}  // namespace vesk::picture::h264::VESK_FILE
