#include "platform/linux/picture/X264Encoder.h"

#include <gtest/gtest.h>

#include "platform/linux/picture/h264/SliceSyntax.h"
#include "platform/linux/picture/h264/emulationPrevention.h"
#include "support/PaintedImages.h"
#include "support/SequenceSet.h"

namespace vesk::picture::VESK_FILE {
namespace {

constexpr PixelSize size{640, 368};

X264Settings settings(std::int32_t width, std::int32_t height, std::int64_t fps = 30) {
  return {width, height, fps};
}

/// How far the first slice's quantiser lies from the one of the picture parameter set (ITU-T H.264,
/// 7.3.3).
int quantiserDelta(const X264Encoder::Bytes& picture, const h264::SliceSyntax& syntax) {
  constexpr std::size_t lengthSize = 4;
  const auto raw = h264::unescaped(h264::ByteView(picture).subspan(lengthSize));
  h264::BitReader reader(raw);
  const bool isKey = (reader.bits(8).value() & 0x1fU) == 5;
  for (int i = 0; i < 3; ++i) reader.ue();  // first macroblock, type, picture parameter set
  reader.bits(syntax.frameNumberBits);
  if (isKey) {
    reader.ue();     // which key frame
    reader.bits(2);  // what becomes of earlier references
  } else {
    if (reader.bits(1).value() != 0) reader.ue();  // how many references
    reader.bits(2);                                // their order and marking
  }
  const auto code = static_cast<int>(reader.ue().value());
  return code % 2 != 0 ? (code + 1) / 2 : -code / 2;
}

/// The quantiser of the picture parameter set (ITU-T H.264, 7.3.2.2).
int quantiserOf(const X264Encoder::Bytes& pictureSet) {
  const auto raw = h264::unescaped(pictureSet);
  h264::BitReader reader(raw);
  reader.bits(8);
  for (int i = 0; i < 2; ++i) reader.ue();  // its identifier and the sequence's
  reader.bits(2);                           // entropy coding, picture order
  for (int i = 0; i < 3; ++i) reader.ue();  // slice groups, references
  reader.bits(3);                           // weighted prediction
  const auto code = static_cast<int>(reader.ue().value());
  return 26 + (code % 2 != 0 ? (code + 1) / 2 : -code / 2);
}

TEST(X264EncoderTest, EncodesEachPictureAtTheQuantiserItIsAskedFor) {
  X264Encoder encoder(settings(size.width, size.height));
  ASSERT_TRUE(encoder);
  const auto syntax = h264::sliceSyntax(encoder.parameterSets());
  ASSERT_TRUE(syntax);
  testing::PaintedImages screen(size);
  const int base = quantiserOf(encoder.parameterSets()[1]);
  for (const bool keyFrame : {true, false}) {
    for (const int quantiser : {11, 20, 21, 30, 40, 50, 51}) {
      screen.next();
      screen.noise(0, 0, size.width, size.height);
      const auto picture = encoder.encode(*screen.image(), {keyFrame, quantiser, nullptr});
      ASSERT_TRUE(picture);
      EXPECT_EQ(base + quantiserDelta(*picture, *syntax), quantiser);
    }
  }
}

TEST(X264EncoderTest, HasParameterSetsAndNoWordAboutItself) {
  const X264Encoder encoder(settings(size.width, size.height));
  ASSERT_EQ(encoder.parameterSets().size(), 2U);
  EXPECT_EQ(encoder.parameterSets()[0][0], std::byte{0x67});
  EXPECT_EQ(encoder.parameterSets()[1][0], std::byte{0x68});
}

TEST(X264EncoderTest, SaysHowToLookAtItsPictures) {
  for (const std::int64_t fps : {5, 24, 30, 60}) {
    const X264Encoder encoder(settings(size.width, size.height, fps));
    const auto colours = testing::sequenceSet(encoder.parameterSets().at(0));
    ASSERT_TRUE(colours);
    EXPECT_FALSE(colours->fullRange);
    EXPECT_EQ(colours->primaries, 1U) << "of sRGB";
    EXPECT_EQ(colours->transfer, 13U) << "of sRGB";
    EXPECT_EQ(colours->matrix, 6U) << "of BT.601";
    EXPECT_EQ(colours->chromaPlace, 1U) << "in the middle of four pixels";
    EXPECT_EQ(colours->picturesPerSecond, fps);
  }
}

TEST(X264EncoderTest, RefusesWhatItCannotEncode) {
  EXPECT_FALSE(X264Encoder(settings(0, 0)));
  EXPECT_FALSE(X264Encoder(settings(641, 360)));
  EXPECT_FALSE(X264Encoder(settings(-2, 360)));
  EXPECT_FALSE(X264Encoder(settings(20000, 360)));
  EXPECT_FALSE(X264Encoder(settings(640, 360, 0)));
  X264Encoder encoder(settings(size.width, size.height));
  EXPECT_FALSE(encoder.encode(Nv12Image({320, 240}), {true, 20, nullptr}));
}

TEST(X264EncoderTest, TakesPicturesFromTheSmallestToTheLargest) {
  EXPECT_TRUE(X264Encoder(settings(2, 2)));
  EXPECT_TRUE(X264Encoder(settings(16384, 2)));
  EXPECT_TRUE(X264Encoder(settings(2, 16384)));
  EXPECT_TRUE(X264Encoder(settings(640, 360, 1))) << "of a second each";
}

TEST(X264EncoderTest, LeavesOutMoreAndMoreBeyondTheStandardsQuantisers) {
  auto coarse = settings(size.width, size.height);
  coarse.quantisers = {26, QuantiserRange::worstOfAll};
  X264Encoder encoder(coarse);
  const testing::PaintedImages screen(size);
  std::size_t before = SIZE_MAX;
  for (int quantiser = 49; quantiser <= QuantiserRange::worstOfAll; ++quantiser) {
    const auto picture = encoder.encode(*screen.image(), {true, quantiser});
    ASSERT_TRUE(picture);
    EXPECT_LT(picture->size(), before) << quantiser;
    before = picture->size();
  }
}

TEST(X264EncoderTest, SendsKeyFramesOnDemandAndNoOthers) {
  X264Encoder encoder(settings(32, 32));
  testing::PaintedImages screen({32, 32});
  for (int i = 0; i < 300; ++i) {
    screen.next();
    screen.noise(0, 0, 32, 32);
    const bool wanted = i % 280 == 0;
    const auto picture = encoder.encode(*screen.image(), {wanted, 30});
    ASSERT_TRUE(picture);
    EXPECT_EQ(static_cast<int>(picture->at(4)) & 0x1f, wanted ? 5 : 1) << i;
  }
}

TEST(X264EncoderTest, FindsAPageThatWasScrolledFarWhereItIsToSearchForIt) {
  const auto sizesOf = [](bool far) {
    X264Encoder encoder(settings(size.width, size.height));
    testing::PaintedImages screen(size);
    screen.patches(0, 0, size.width, size.height);
    std::vector<std::size_t> sizes;
    for (const bool searchesFar : {far, false}) {
      encoder.encode(*screen.image(), {true, 24});
      screen.scroll(25);
      const auto picture =
          encoder.encode(*screen.image(), {false, 24, nullptr, false, searchesFar});
      sizes.push_back(picture.value_or(X264Encoder::Bytes{}).size());
    }
    return sizes;
  };
  const auto far = sizesOf(true);
  const auto near = sizesOf(false);
  EXPECT_LT(far[0], near[0] / 2);
  EXPECT_EQ(far[1], near[1]) << "and only there";
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
