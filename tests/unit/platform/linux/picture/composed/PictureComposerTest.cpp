#include "platform/linux/picture/composed/PictureComposer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/linux/picture/composed/moveSearch.h"
#include "platform/linux/picture/composed/reconstructionIsReference.h"
#include "support/ComposedStreamTest.h"
#include "support/PaintedImages.h"
#include "support/imageStream.h"

namespace vesk::picture::composed::VESK_FILE {
namespace {

using h264::Bytes;

/// Pictures composed after the key frame.
class PictureComposerTest : public testing::ComposedStreamTest {
 protected:
  using ComposedStreamTest::ComposedStreamTest;

  std::vector<std::uint8_t> unchanged() const {
    std::vector<std::uint8_t> marks;
    for (const auto at : screen.image()->changedAt) {
      marks.push_back(at == screen.image()->sequence ? 0 : X264Encoder::unchangedMark());
    }
    return marks;
  }

  Bytes compose(int quantiser = 20) {
    const auto marks = unchanged();
    auto units = composer.compose(
        *screen.image(), encoder.reconstruction(),
        {windowsOver(changedRuns(marks, across()), across()), marks, quantiser, ++number});
    EXPECT_TRUE(units);
    show(annexB({}, units.value_or(Bytes{})));
    return units.value_or(Bytes{});
  }

  PictureComposer composer{settings, syntax};
  std::uint32_t number = 0;
};

TEST(ReconstructionTest, IsWhatTheNextPictureRefersTo) { EXPECT_TRUE(reconstructionIsReference()); }

/// At the finest and the coarsest, in the middle and at every edge.
TEST_F(PictureComposerTest, ShowsWhatTheEncoderTakesItToShow) {
  std::mt19937 random(1);
  for (int i = 0; i < 400; ++i) {
    screen.goOn();
    compose(11 + static_cast<int>(random() % 41));
    ASSERT_TRUE(isExact()) << "picture " << i;
    ASSERT_TRUE(bordersAreRight()) << "picture " << i;
  }
}

/// The encoder goes on from what was composed as if it had made it.
TEST_F(PictureComposerTest, IsReferredToByThePicturesOfTheEncoder) {
  for (int i = 0; i < 30; ++i) {
    screen.goOn();
    compose(14);
  }
  std::vector<std::uint8_t> marks(unchanged().size(), 0);
  X264Encoder::Request request;
  request.quantiser = 30;
  request.unchanged = &marks;
  const auto units = encoder.encode(*screen.image(), request);
  ASSERT_TRUE(units);
  EXPECT_LT(units->size(), 40U) << "nothing has changed since";
}

TEST_F(PictureComposerTest, CostsWhatHasChanged) {
  screen.goOn();
  const auto image = screen.image();
  std::vector<std::uint8_t> marks(unchanged().size(), X264Encoder::unchangedMark());
  marks[40] = 0;
  const auto units =
      composer.compose(*image, encoder.reconstruction(),
                       {windowsOver(changedRuns(marks, across()), across()), marks, 30, 1});
  ASSERT_TRUE(units);
  EXPECT_LE(h264::unitsOf(*units).size(), 3U);
  EXPECT_LT(units->size(), 400U) << "one macroblock, and two that skip";
}

/// Where what is encoded looks other than before, be it in its colours alone, what is skipped
/// behind it needs no slice of its own.
TEST_F(PictureComposerTest, GoesOnSkippingInTheSliceOfWhatHasChanged) {
  constexpr int row = 5;
  constexpr int column = 7;
  const int width = across();
  for (const bool colours : {false, true}) {
    for (const int line : {0, 7}) {
      const auto image = testing::nextImage(*screen.image());
      auto* plane = colours ? image->chroma() : image->luma();
      const int top = row * (colours ? macroblockEdge / 2 : macroblockEdge) + line;
      auto* pixels = plane + top * image->stride() + column * macroblockEdge;
      std::for_each_n(pixels, macroblockEdge, [](auto& each) { each ^= 0x40; });
      std::vector<std::uint8_t> marks(unchanged().size(), X264Encoder::unchangedMark());
      marks[static_cast<std::size_t>(row * width + column)] = 0;
      const auto units =
          composer.compose(*image, encoder.reconstruction(),
                           {windowsOver(changedRuns(marks, width), width), marks, 11, ++number});
      ASSERT_TRUE(units);
      EXPECT_EQ(h264::unitsOf(*units).size(), 2U) << "what is skipped before it, and itself";
    }
  }
}

/// Some go along with a move, some are encoded, the rest stays: whatever the shapes.
TEST_F(PictureComposerTest, IsExactBesideWhatMoves) {
  std::mt19937 random(2);
  const int down = macroblocksAcross(size.height);
  for (int i = 0; i < 300; ++i) {
    screen.goOn();
    MovedBlocks moved{across(),
                      std::vector<std::uint8_t>(unchanged().size()),
                      {static_cast<int>(random() % 41) - 20, static_cast<int>(random() % 81) - 40}};
    auto marks = unchanged();
    const int top = static_cast<int>(random()) & 3;
    for (int row = top; row < down; ++row) {
      for (int column = 0; column < across(); ++column) {
        const auto at = static_cast<std::size_t>(row * across() + column);
        const bool wanted = column % 9 != static_cast<int>(random() % 30);
        if (!wanted || !comesFromInside(row, column, moved.shift, across(), down)) continue;
        moved.marks[at] = 1;
        marks[at] = X264Encoder::unchangedMark();
      }
    }
    const auto windows = windowsBeside(marks, moved.marks, across());
    const auto units = composer.compose(*screen.image(), encoder.reconstruction(),
                                        {windows, marks, 24, ++number, &moved});
    ASSERT_TRUE(units);
    show(annexB({}, *units));
    ASSERT_TRUE(isExact()) << "picture " << i;
    ASSERT_TRUE(bordersAreRight()) << "picture " << i;
  }
}

TEST_F(PictureComposerTest, HasAsManySlicesAsPlannedAtMost) {
  for (int i = 0; i < 200; ++i) {
    screen.goOn();
    const auto runs = changedRuns(unchanged(), across()).size();
    EXPECT_LE(h264::unitsOf(compose()).size(), 2 * runs + 1);
  }
}

TEST_F(PictureComposerTest, IsGivenUpWithAnotherSyntax) {
  h264::SliceSyntax other = syntax;
  other.initialQuantiser += 1;
  PictureComposer stranger(settings, other);
  const std::vector<std::uint8_t> marks(unchanged().size(), 0);
  const auto before = *encoder.reconstruction().lumaAt(5, 5);
  EXPECT_FALSE(
      stranger.compose(*screen.image(), encoder.reconstruction(),
                       {windowsOver(changedRuns(marks, across()), across()), marks, 30, 1}));
  EXPECT_EQ(*encoder.reconstruction().lumaAt(5, 5), before);
}

class OddSizesTest : public ::testing::TestWithParam<PixelSize> {};

class OddPicture : public PictureComposerTest {
 public:
  explicit OddPicture(PixelSize pixels) : PictureComposerTest(pixels) {}
  void TestBody() override {
    for (int i = 0; i < 60; ++i) {
      screen.goOn();
      compose();
      ASSERT_TRUE(isExact()) << size.width << "x" << size.height << ", picture " << i;
    }
  }
};

TEST_P(OddSizesTest, AreExactToo) { OddPicture(GetParam()).TestBody(); }

INSTANTIATE_TEST_SUITE_P(, OddSizesTest,
                         ::testing::Values(PixelSize{16, 16}, PixelSize{18, 34}, PixelSize{34, 18},
                                           PixelSize{130, 16}, PixelSize{16, 130},
                                           PixelSize{1366, 62}, PixelSize{510, 34}));

/// Bytes of the picture in which a page is scrolled by a row and a little.
std::size_t scrolledBytes(bool searchesFar) {
  testing::PaintedImages page({640, 480});
  page.text(0, 0, 640, 480);
  const X264Settings settings{640, 480};
  X264Encoder encoder(settings);
  X264Encoder::Request key;
  key.keyFrame = true;
  key.quantiser = 20;
  EXPECT_TRUE(encoder.encode(*page.image(), key));
  const auto syntax = h264::sliceSyntax(encoder.parameterSets());
  PictureComposer composer(settings, *syntax);
  const auto before = page.image();
  page.scroll(18);
  const auto move = findMove(*before, *page.image(), {127, 600, nullptr});
  if (!move) return 0;
  std::vector<std::uint8_t> unchanged;
  for (const auto left : move->left) {
    unchanged.push_back(left != 0 ? 0 : X264Encoder::unchangedMark());
  }
  const auto windows = windowsBeside(unchanged, move->moved.marks, 40);
  const auto units = composer.compose(*page.image(), encoder.reconstruction(),
                                      {windows, unchanged, 20, 1, &move->moved, searchesFar});
  return units ? units->size() : 0;
}

/// Of macroblocks that are new in part, the other part has only moved.
TEST(ScrolledPictureTest, TakesLessWhereItSearchesFar) {
  const std::size_t near = scrolledBytes(false);
  const std::size_t far = scrolledBytes(true);
  ASSERT_GT(far, 0U);
  EXPECT_LT(far, near * 9 / 10);
}

}  // namespace
}  // namespace vesk::picture::composed::VESK_FILE
