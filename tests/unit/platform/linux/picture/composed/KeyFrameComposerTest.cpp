#include "platform/linux/picture/composed/KeyFrameComposer.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/linux/picture/h264/frameNumber.h"
#include "support/ComposedStreamTest.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

using h264::Bytes;
using h264::ByteView;

class KeyFrameComposerTest : public testing::ComposedStreamTest {
 protected:
  using ComposedStreamTest::ComposedStreamTest;

  std::vector<Bytes> compose(int quantiser = 20) {
    identifier = identifier == 2 ? 3 : 2;
    const auto units =
        composer.compose(*screen.image(), encoder.reconstruction(), {quantiser, identifier});
    EXPECT_TRUE(units);
    show(annexB(encoder.parameterSets(), units.value_or(Bytes{})));
    std::vector<Bytes> all;
    for (const ByteView unit : h264::unitsOf(*units)) all.emplace_back(unit.begin(), unit.end());
    return all;
  }

  /// How many slices are not those of the key frame before.
  std::size_t newOnes(const std::vector<Bytes>& before, const std::vector<Bytes>& now) const {
    EXPECT_EQ(before.size(), now.size());
    std::size_t count = 0;
    for (std::size_t i = 0; i < now.size(); ++i) {
      const auto a = h264::keySliceData(before[i], syntax);
      const auto b = h264::keySliceData(now[i], syntax);
      EXPECT_TRUE(a && b);
      count += a && b && bitsOf(*a) == bitsOf(*b) ? 0 : 1;
    }
    return count;
  }

  static std::vector<std::uint32_t> bitsOf(const h264::SliceData& data) {
    h264::BitReader reader(data.raw);
    reader.skipTo(data.from);
    std::vector<std::uint32_t> bits;
    for (std::size_t at = data.from; at < data.to; ++at) bits.push_back(*reader.bits(1));
    return bits;
  }

  static constexpr std::size_t mostSlices = 60;
  KeyFrameComposer composer{settings, syntax, mostSlices};
  std::uint32_t identifier = 0;
};

/// At the finest and the coarsest, and the encoder goes on from it as if it had made it.
TEST_F(KeyFrameComposerTest, ShowsWhatTheEncoderTakesItToShow) {
  std::mt19937 random(1);
  std::uint32_t number = 0;
  for (int i = 0; i < 60; ++i) {
    screen.goOn();
    compose(11 + static_cast<int>(random() % 41));
    ASSERT_TRUE(isExact()) << "key frame " << i;
    ASSERT_TRUE(bordersAreRight()) << "key frame " << i;
    screen.goOn();
    X264Encoder::Request next;
    next.quantiser = 24;
    const auto units = encoder.encode(*screen.image(), next);
    ASSERT_TRUE(units);
    Bytes moved;
    // The encoder numbers its own pictures from its own key frame on.
    ++number;
    for (const ByteView unit : h264::unitsOf(*units)) {
      h264::appendUnit(moved, h264::withFrameNumberMoved(unit, syntax, 1 - number));
    }
    show(annexB({}, moved));
    ASSERT_TRUE(isExact()) << "the picture behind key frame " << i;
  }
}

TEST_F(KeyFrameComposerTest, KeepsAllOfAPictureThatIsAsItWas) {
  const auto first = compose();
  EXPECT_EQ(newOnes(first, compose()), 0U);
  EXPECT_TRUE(isExact());
}

/// As long as a page lasts, each of its key frames is what it would be by itself.
TEST_F(KeyFrameComposerTest, IsTheSameEachTimeButForItsIdentifier) {
  for (int i = 0; i < 6; ++i) {
    const auto lasting = compose();
    EXPECT_TRUE(isExact());
    KeyFrameComposer fresh(settings, syntax, mostSlices);
    const auto units = fresh.compose(*screen.image(), encoder.reconstruction(), {20, identifier});
    ASSERT_TRUE(units);
    std::vector<Bytes> first;
    for (const ByteView unit : h264::unitsOf(*units)) first.emplace_back(unit.begin(), unit.end());
    EXPECT_EQ(lasting, first) << "key frame " << i;
  }
}

/// Whatever was shown between the two.
TEST_F(KeyFrameComposerTest, KeepsWhatHasChangedAndIsAsItWasAgain) {
  const auto first = compose();
  const auto before = screen.image();
  for (int i = 0; i < 20; ++i) screen.goOn();
  X264Encoder::Request next;
  ASSERT_TRUE(encoder.encode(*screen.image(), next));
  identifier = identifier == 2 ? 3 : 2;
  const auto units = composer.compose(*before, encoder.reconstruction(), {20, identifier});
  ASSERT_TRUE(units);
  show(annexB(encoder.parameterSets(), *units));
  EXPECT_TRUE(isExact());
  std::vector<Bytes> again;
  for (const ByteView unit : h264::unitsOf(*units)) again.emplace_back(unit.begin(), unit.end());
  EXPECT_EQ(newOnes(first, again), 0U);
}

TEST_F(KeyFrameComposerTest, EncodesNothingButTheRowsThatDiffer) {
  const auto first = compose();
  ASSERT_EQ(first.size(), 12U) << "twelve rows of macroblocks";
  Nv12Image changed(size);
  const auto image = screen.image();
  const auto bytes = static_cast<std::size_t>(image->stride()) * 184;
  std::copy_n(image->luma(), bytes * 3 / 2, changed.luma());
  *changed.planes().lumaAt(100, 15) ^= 0x40;
  *changed.planes().chromaAt(200, 182) ^= 0x40;
  const auto units = composer.compose(changed, encoder.reconstruction(), {20, 7});
  ASSERT_TRUE(units);
  show(annexB(encoder.parameterSets(), *units));
  EXPECT_TRUE(isExact());
  std::vector<Bytes> second;
  for (const ByteView unit : h264::unitsOf(*units)) second.emplace_back(unit.begin(), unit.end());
  EXPECT_EQ(newOnes(first, second), 2U) << "luma in the first row, chroma in the last one";
}

TEST_F(KeyFrameComposerTest, EncodesAllAtAnotherQuantiser) {
  const auto first = compose(20);
  EXPECT_EQ(newOnes(first, compose(23)), first.size());
  EXPECT_TRUE(isExact());
}

TEST_F(KeyFrameComposerTest, TakesNoMoreSlicesThanItMay) {
  for (const std::size_t most : {0U, 1U, 3U, 5U}) {
    KeyFrameComposer few(settings, syntax, most);
    const auto units = few.compose(*screen.image(), encoder.reconstruction(), {20, 2});
    ASSERT_TRUE(units);
    EXPECT_LE(h264::unitsOf(*units).size(), std::max<std::size_t>(most, 1));
    show(annexB(encoder.parameterSets(), *units));
    EXPECT_TRUE(isExact());
  }
}

class OddKeyFrameTest : public KeyFrameComposerTest,
                        public ::testing::WithParamInterface<PixelSize> {
 protected:
  OddKeyFrameTest() : KeyFrameComposerTest(GetParam()) {}
};

/// The last rows are fewer, and cut.
TEST_P(OddKeyFrameTest, IsExactAtEverySize) {
  for (int i = 0; i < 3; ++i) {
    compose(18);
    EXPECT_TRUE(isExact());
    EXPECT_TRUE(bordersAreRight());
    screen.goOn();
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, OddKeyFrameTest,
                         ::testing::Values(PixelSize{2, 2}, PixelSize{16, 16}, PixelSize{34, 450},
                                           PixelSize{450, 18}, PixelSize{66, 738},
                                           PixelSize{330, 226}));

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
