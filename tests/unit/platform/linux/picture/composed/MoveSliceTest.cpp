#include "platform/linux/picture/composed/moveSlice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <random>

#include "platform/linux/picture/X264Encoder.h"
#include "platform/linux/picture/composed/shiftedPlanes.h"
#include "platform/linux/picture/h264/SliceSyntax.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "support/H264Decoder.h"
#include "support/pictureSum.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

using h264::BitReader;
using h264::BitWriter;
using h264::Bytes;

/// How many bits were written: the last one that is set ends them.
std::size_t position(BitWriter writer) {
  const Bytes bytes = writer.finished();
  const auto last = std::to_integer<unsigned>(bytes.back());
  return bytes.size() * 8 - 1 - static_cast<std::size_t>(std::countr_zero(last));
}

/// A picture of noise that a decoder is made to have, and what becomes of it. Its size is no whole
/// number of macroblocks, so that a decoder shows less than there is.
class Noise {
 public:
  static constexpr int across = 15;
  static constexpr int down = 11;
  static constexpr int width = across * macroblockEdge - 6;
  static constexpr int height = down * macroblockEdge - 8;

  explicit Noise(unsigned seed) {
    const X264Encoder encoder(settings());
    sets_ = encoder.parameterSets();
    syntax_ = *h264::sliceSyntax(sets_.at(0), sets_.at(1));
    std::mt19937 random(seed);
    for (auto& value : luma_) value = static_cast<std::uint8_t>(random());
    for (auto& value : chroma_) value = static_cast<std::uint8_t>(random());
  }

  static X264Settings settings() { return {.width = width, .height = height, .level = 40}; }

  /// The picture as it is: its samples, one by one.
  Bytes keyFrame() {
    Bytes stream = parameterSets();
    BitWriter writer = slice(0x65, 0, 7);
    writer.ue(0);       // which key frame
    writer.bits(0, 2);  // shown in order, not kept for longer
    endHeader(writer);
    for (int at = 0; at < across * down; ++at) writeSamples(writer, at);
    append(stream, h264::escaped(writer.finished()));
    return stream;
  }

  Bytes parameterSets() const {
    Bytes stream;
    for (const auto& set : sets_) append(stream, set);
    return stream;
  }

  /// The next picture, in slices that end after each of `ends`.
  Bytes move(const MovedBlocks& moved, const std::vector<int>& ends) {
    ++number_;
    Bytes stream;
    int first = 0;
    for (const int last : ends) {
      BitWriter writer = slice(0x41, first, 5);
      writer.bits(0, 3);  // as many references as always, in their order; the oldest makes room
      endHeader(writer);
      writeMoveSlice(writer, moved, first, last);
      append(stream, h264::escaped(writer.finished()));
      first = last + 1;
    }
    shift({luma_.data(), chroma_.data(), stride, stride}, moved);
    return stream;
  }

  /// As a decoder's picture is summed up.
  std::uint32_t sum() const {
    std::uint32_t sum = 0;
    for (int y = 0; y < height; ++y)
      sum = vesk::testing::pictureSum({&luma_[at(0, y)], width}, sum);
    for (int part = 0; part < 2; ++part) {
      for (int y = 0; y < height / 2; ++y) {
        std::array<std::uint8_t, width / 2> row{};
        for (int x = 0; x < width / 2; ++x)
          row[static_cast<std::size_t>(x)] = chroma_[at(x * 2 + part, y)];
        sum = vesk::testing::pictureSum(row, sum);
      }
    }
    return sum;
  }

 private:
  static constexpr int stride = across * macroblockEdge + 32;
  static constexpr std::size_t at(int x, int y) { return static_cast<std::size_t>(y * stride + x); }

  static void append(Bytes& stream, const Bytes& unit) {
    constexpr std::array<std::byte, 4> startCode{std::byte{0}, std::byte{0}, std::byte{0},
                                                 std::byte{1}};
    stream.insert(stream.end(), startCode.begin(), startCode.end());
    stream.insert(stream.end(), unit.begin(), unit.end());
  }

  BitWriter slice(std::uint32_t kind, int first, std::uint32_t type) const {
    BitWriter writer;
    writer.bits(kind, 8);
    writer.ue(static_cast<std::uint32_t>(first));
    writer.ue(type);
    writer.ue(syntax_.pictureParameterSet);
    writer.bits(number_ % (1U << syntax_.frameNumberBits), syntax_.frameNumberBits);
    return writer;
  }

  void endHeader(BitWriter& writer) const {
    writer.ue(0);                                 // the quantiser as it is
    if (syntax_.deblockingControl) writer.ue(1);  // nothing to smooth
  }

  void writeSamples(BitWriter& writer, int number) const {
    constexpr std::uint32_t samplesFollow = 25;
    writer.ue(samplesFollow);
    // They begin at a whole byte, and end at one.
    const std::size_t used = number == 0 ? position(writer) : 9;
    writer.bits(0, static_cast<unsigned>((8 - used % 8) % 8));
    const int x = number % across * macroblockEdge;
    const int y = number / across * macroblockEdge;
    for (int j = 0; j < macroblockEdge; ++j) {
      for (int i = 0; i < macroblockEdge; ++i) writer.bits(luma_[at(x + i, y + j)], 8);
    }
    for (int part = 0; part < 2; ++part) {
      for (int j = 0; j < macroblockEdge / 2; ++j) {
        for (int i = part; i < macroblockEdge; i += 2)
          writer.bits(chroma_[at(x + i, y / 2 + j)], 8);
      }
    }
  }

  std::vector<Bytes> sets_;
  h264::SliceSyntax syntax_;
  std::uint32_t number_ = 0;
  std::vector<std::uint8_t> luma_ = std::vector<std::uint8_t>(at(0, down* macroblockEdge));
  std::vector<std::uint8_t> chroma_ = std::vector<std::uint8_t>(at(0, down* macroblockEdge / 2));
};

/// Marks what moves: of those that `chosen` says, the ones that come from inside the picture.
template <typename Chosen>
MovedBlocks movedBlocks(const Shift& shift, Chosen chosen) {
  MovedBlocks moved{Noise::across, {}, shift};
  for (int row = 0; row < Noise::down; ++row) {
    for (int column = 0; column < Noise::across; ++column) {
      const bool moves =
          comesFromInside(row, column, shift, Noise::across, Noise::down) && chosen(row, column);
      moved.marks.push_back(moves ? 1 : 0);
    }
  }
  return moved;
}

constexpr int last = Noise::across * Noise::down - 1;

/// A decoder, and what it must show. It has new noise every few pictures: what lies between samples
/// is smoother than they are, and in smooth pictures a wrong vector would not show.
class MoveSliceTest : public ::testing::Test {
 protected:
  /// It shows this picture exactly, in slices that end there.
  void expectMove(const MovedBlocks& moved, const std::vector<int>& ends = {last}) {
    constexpr unsigned picturesOfOne = 8;
    if (pictures_++ % picturesOfOne == 0) {
      noise_ = Noise(pictures_);
      ASSERT_EQ(decoder_.decodeToSum(noise_.keyFrame()), noise_.sum());
    }
    const Bytes stream = noise_.move(moved, ends);
    ASSERT_EQ(decoder_.decodeToSum(stream), noise_.sum())
        << moved.shift.right << " to the right, " << moved.shift.down << " down";
  }

 private:
  Noise noise_{0};
  unsigned pictures_ = 0;
  vesk::testing::H264Decoder decoder_;
};

TEST_F(MoveSliceTest, ScrollsAllOfThePictureByEveryDistance) {
  for (int distance = -80; distance <= 80; ++distance) {
    ASSERT_NO_FATAL_FAILURE(expectMove(movedBlocks({0, distance}, [](int, int) { return true; })));
  }
}

TEST_F(MoveSliceTest, MovesARectangleSidewaysByEveryDistance) {
  for (int distance = -80; distance <= 80; ++distance) {
    ASSERT_NO_FATAL_FAILURE(expectMove(movedBlocks({distance, 0}, [](int row, int column) {
      return row > 1 && row < 9 && column > 0 && column < 14;
    })));
  }
}

TEST_F(MoveSliceTest, MovesRectanglesAnywhereInSlicesOfAnyLength) {
  std::mt19937 random(2);
  const auto below = [&](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  for (int round = 0; round < 400; ++round) {
    const int left = below(Noise::across), top = below(Noise::down);
    const int right = left + 1 + below(Noise::across), bottom = top + 1 + below(Noise::down);
    std::vector<int> ends;
    for (int end = below(120); end < last; end += 1 + below(120)) ends.push_back(end);
    ends.push_back(last);
    const Shift shift{below(161) - 80, below(161) - 80};
    ASSERT_NO_FATAL_FAILURE(expectMove(movedBlocks(shift,
                                                   [&](int row, int column) {
                                                     return row >= top && row < bottom &&
                                                            column >= left && column < right;
                                                   }),
                                       ends));
  }
}

TEST_F(MoveSliceTest, MovesWhateverIsMarked) {
  std::mt19937 random(3);
  const auto distance = [&] { return static_cast<int>(random() % 33) - 16; };
  for (int round = 0; round < 400; ++round) {
    const Shift shift{distance(), distance()};
    const auto rarity = 2 + static_cast<unsigned>(round % 5);
    ASSERT_NO_FATAL_FAILURE(
        expectMove(movedBlocks(shift, [&](int, int) { return random() % rarity != 0; })));
  }
}

/// What the key frame looks like is what the decoder says.
TEST(MoveSliceEncoderTest, FollowsAKeyFrameOfTheEncoders) {
  X264Encoder encoder(Noise::settings());
  Nv12Image image({Noise::width, Noise::height});
  std::mt19937 random(5);
  std::generate_n(image.luma(), image.stride() * Noise::height,
                  [&] { return static_cast<std::uint8_t>(random()); });
  const auto key = encoder.encode(image, {.keyFrame = true, .quantiser = 30});
  ASSERT_TRUE(key);
  Noise noise(0);
  Bytes stream = noise.parameterSets();
  // The only unit, behind its length.
  const std::array startCode{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}};
  stream.insert(stream.end(), startCode.begin(), startCode.end());
  stream.insert(stream.end(), key->begin() + startCode.size(), key->end());

  vesk::testing::H264Decoder decoder;
  const auto before = decoder.decode(stream);
  ASSERT_TRUE(before);
  const auto moved = movedBlocks({0, -18}, [](int row, int) { return row > 1; });
  const auto after = decoder.decode(noise.move(moved, {last}));
  ASSERT_TRUE(after);
  for (int y = 0; y < Noise::height; ++y) {
    for (int x = 0; x < Noise::width; ++x) {
      const int from = moved.isMoved(y / macroblockEdge, x / macroblockEdge) ? y + 18 : y;
      if (from >= Noise::height) continue;
      const auto at = [&](int row) { return static_cast<std::size_t>(row * Noise::width + x); };
      ASSERT_EQ(after->pixels[at(y)], before->pixels[at(from)]) << x << ", " << y;
    }
  }
}

TEST(MoveSliceDecodersTest, AgreeOnIt) {
  Noise noise(9);
  Bytes stream = noise.keyFrame();
  std::vector<std::uint32_t> sums{noise.sum()};
  for (const Shift& shift : {Shift{0, -17}, {0, 40}, {-33, 0}, {22, 0}, {13, -9}, {-6, 31}}) {
    const Bytes picture =
        noise.move(movedBlocks(shift, [](int row, int column) { return row != 4 && column != 7; }),
                   {70, last});
    stream.insert(stream.end(), picture.begin(), picture.end());
    sums.push_back(noise.sum());
  }
  const auto decoded = vesk::testing::sumsByFfmpeg(stream);
  EXPECT_EQ(decoded.messages, "");
  EXPECT_EQ(decoded.sums, sums);
}

TEST(MoveSliceSizeTest, TakesHardlyMoreThanTheEdgeOfTheRectangle) {
  const auto moved = movedBlocks({0, -18}, [](int row, int column) {
    return row > 0 && row < 10 && column > 0 && column < 14;
  });
  BitWriter writer;
  writeMoveSlice(writer, moved, 0, last);
  // The upper edge, and both sides of each row: some 30 bits each.
  EXPECT_LT(writer.finished().size(), static_cast<std::size_t>((13 + 3 * 9) * 30 / 8));
}

TEST(MoveSliceSizeTest, SkipsAllOfWhatStays) {
  BitWriter writer;
  writeMoveSlice(writer, movedBlocks({0, -18}, [](int, int) { return false; }), 30, last);
  const Bytes bytes = writer.finished();
  BitReader reader(bytes);
  EXPECT_EQ(reader.ue(), static_cast<std::uint32_t>(last - 30 + 1));
  EXPECT_EQ(reader.bits(1), 1U) << "the end";
}

/// There the one above is the only one that foretells anything.
TEST(MoveSliceNarrowTest, GoesByTheOneAboveInASingleColumn) {
  BitWriter writer;
  writeMoveSlice(writer, {1, {0, 1, 1, 1}, {0, -16}}, 0, 3);
  const Bytes bytes = writer.finished();
  BitReader reader(bytes);
  const auto expectVector = [&](std::uint32_t skipped, std::uint32_t down) {
    EXPECT_EQ(reader.ue(), skipped);
    EXPECT_EQ(reader.ue(), 0U) << "one vector";
    EXPECT_EQ(reader.ue(), 0U) << "not to the side";
    EXPECT_EQ(reader.ue(), down);
    EXPECT_EQ(reader.ue(), 0U) << "nothing left over";
  };
  expectVector(1, 2 * 64 - 1);
  expectVector(0, 0);
  expectVector(0, 0);
  EXPECT_EQ(reader.bits(1), 1U) << "the end";
}

TEST(FarthestShiftTest, GoesByTheLevel) {
  EXPECT_EQ(farthestShift(40), 511);
  EXPECT_EQ(farthestShift(31), 511);
  EXPECT_EQ(farthestShift(30), 255);
  EXPECT_EQ(farthestShift(21), 255);
  EXPECT_EQ(farthestShift(20), 127);
  EXPECT_EQ(farthestShift(11), 127);
  EXPECT_EQ(farthestShift(10), 63);
}

TEST(ComesFromInsideTest, GoesByEveryEdgeOfTheCodedPicture) {
  const auto comes = [](int row, int column, const Shift& shift) {
    return comesFromInside(row, column, shift, 3, 2);
  };
  EXPECT_TRUE(comes(1, 1, {16, 16})) << "from the first one";
  EXPECT_FALSE(comes(1, 1, {17, 16}));
  EXPECT_FALSE(comes(1, 1, {16, 17}));
  EXPECT_TRUE(comes(0, 1, {-16, -16})) << "from the last one";
  EXPECT_FALSE(comes(0, 1, {-17, -16}));
  EXPECT_FALSE(comes(0, 1, {-16, -17}));
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
