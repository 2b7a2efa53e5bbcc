#include "platform/linux/picture/composed/ComposedPicture.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/linux/picture/h264/emulationPrevention.h"
#include "platform/linux/picture/h264/units.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

using h264::BitReader;
using h264::Bytes;
using h264::SliceData;

const h264::SliceSyntax syntax{0, 4, true, true};

/// What is read of a slice: where it begins, its quantiser, and its data's bits as text.
struct Slice {
  std::uint32_t first = 0;
  std::uint32_t frameNumber = 0;
  int quantiser = 0;
  std::string bits;

  bool operator==(const Slice&) const = default;
};

std::string textOf(h264::ByteView raw, std::size_t from, std::size_t to) {
  BitReader reader(raw);
  reader.skipTo(from);
  std::string text;
  for (; from < to; ++from) text += reader.bits(1) == 1U ? '1' : '0';
  return text;
}

std::vector<Slice> slicesOf(const Bytes& units) {
  std::vector<Slice> slices;
  for (const auto unit : h264::unitsOf(units)) {
    const auto data = h264::sliceData(unit, syntax);
    if (!data) {
      ADD_FAILURE() << "no slice";
      continue;
    }
    BitReader reader(data->raw);
    reader.bits(8);
    Slice slice;
    slice.first = reader.ue().value();
    reader.ue();
    reader.ue();
    slice.frameNumber = reader.bits(4).value();
    slice.quantiser = data->quantiser;
    slice.bits = textOf(data->raw, data->from, data->to);
    slices.push_back(slice);
  }
  return slices;
}

SliceData dataOf(const std::string& bits, int quantiser) {
  h264::BitWriter writer;
  writer.bits(5, 3);  // something before it
  for (const char bit : bits) writer.bits(bit == '1' ? 1 : 0, 1);
  return {writer.finished(), 3, 3 + bits.size(), quantiser};
}

TEST(ComposedPictureTest, OfNothingSkipsAll) {
  ComposedPicture picture(syntax, 3, 20);
  EXPECT_EQ(slicesOf(picture.finished()), (std::vector<Slice>{{0, 3, 26, "000010101"}}));
}

TEST(ComposedPictureTest, SkipsWhatLiesBetweenInSlicesOfItsOwn) {
  ComposedPicture picture(syntax, 20, 12);
  picture.add({2, 3, false}, dataOf("1011", 30));
  EXPECT_EQ(slicesOf(picture.finished()),
            (std::vector<Slice>{{0, 4, 26, "011"}, {2, 4, 30, "1011"}, {5, 4, 26, "0001000"}}))
      << "two before it, seven behind, and the lowest bits of its number";
}

TEST(ComposedPictureTest, GoesOnSkippingInASliceThatEndsWithWhatIsEncoded) {
  ComposedPicture picture(syntax, 1, 12);
  picture.add({0, 2, true}, dataOf("1", 20));
  picture.add({4, 1, true}, dataOf("0011", 21));
  picture.add({5, 1, true}, dataOf("01", 22));
  EXPECT_EQ(slicesOf(picture.finished()),
            (std::vector<Slice>{{0, 1, 20, "1011"}, {4, 1, 21, "0011"}, {5, 1, 22, "0100111"}}));
}

/// A slice of its own is only for skipped ones of which some move.
TEST(ComposedPictureTest, GoesOnSkippingBehindWhatMoves) {
  MovedBlocks moved{12, std::vector<std::uint8_t>(12), {16, 0}};
  moved.marks[2] = 1;
  ComposedPicture picture(syntax, 1, 12, &moved);
  picture.add({4, 1, true}, dataOf("1", 20));
  const auto slices = slicesOf(picture.finished());
  ASSERT_EQ(slices.size(), 2U);
  EXPECT_EQ(slices[0].first, 0U);
  EXPECT_EQ(slices[1], (Slice{4, 1, 20, "10001000"})) << "seven behind it";
}

TEST(ComposedPictureTest, TakesSlicesOfAnyLength) {
  std::string bits;
  for (int i = 0; i < 500; ++i) bits += i * i % 7 < 3 ? '1' : '0';
  for (std::size_t length = 1; length <= bits.size(); length += 13) {
    ComposedPicture picture(syntax, 1, 12);
    picture.add({0, 12, false}, dataOf(bits.substr(0, length), 20));
    EXPECT_EQ(slicesOf(picture.finished()),
              (std::vector<Slice>{{0, 1, 20, bits.substr(0, length)}}));
  }
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
