#include "platform/linux/picture/ScreenEncoder.h"

#include <gtest/gtest.h>

#include <random>

#include "capture/annexB.h"
#include "platform/linux/picture/h264/units.h"
#include "support/H264Decoder.h"
#include "support/PaintedImages.h"

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::H264Decoder;
using testing::PaintedImages;

constexpr std::size_t mostBytes = 1'000'000;

class ScreenEncoderTest : public ::testing::Test {
 protected:
  explicit ScreenEncoderTest(PixelSize size = {1280, 720})
      : screen(size), encoder(settingsFor(size)) {}

  static ScreenEncoderSettings settingsFor(PixelSize size) {
    ScreenEncoderSettings settings;
    settings.encoder.width = static_cast<std::int32_t>(size.width);
    settings.encoder.height = static_cast<std::int32_t>(size.height);
    settings.bitRate = 20'000'000;
    return settings;
  }

  /// The size of the access unit, which a decoder must take.
  std::size_t encode(bool keyFrame = false) {
    const auto sample = encoder.encode(screen.image(), time += 33'333'333ns, keyFrame);
    if (!sample) return 0;
    if (keyFrame) {
      EXPECT_EQ(sample->notSync, false);
    }
    const auto unit = annexB(*sample).value_or(Bytes{});
    auto picture = decoder.decode(unit);
    EXPECT_TRUE(picture);
    if (picture) shown = std::move(*picture);
    return unit.size();
  }

  /// Of what a viewer sees of some columns.
  double meanError(int left, int width) const {
    const auto image = screen.image();
    double sum = 0;
    for (int y = 0; y < shown.height; ++y) {
      for (int x = left; x < left + width; ++x) {
        sum += std::abs(shown.pixels[static_cast<std::size_t>(y * shown.width + x)] -
                        image->luma()[y * image->stride() + x]);
      }
    }
    return sum / shown.height / width;
  }

  PaintedImages screen;
  ScreenEncoder encoder;
  H264Decoder decoder;
  testing::Luma shown;
  HostTime time{1h};
};

class LargeScreenEncoderTest : public ScreenEncoderTest {
 protected:
  LargeScreenEncoderTest() : ScreenEncoderTest({1920, 1080}) {}
};

/// The worst there is: nothing can be foretold of noise, so it takes more than anything else.
TEST_F(LargeScreenEncoderTest, SendsNoPictureThatIsTooLarge) {
  screen.noise(0, 0, 1920, 1080);
  for (int i = 0; i < 3; ++i) {
    const auto size = encode(true);
    EXPECT_GT(size, 0U);
    EXPECT_LT(size, mostBytes);
  }
  screen.next();
  screen.noise(0, 0, 1920, 1080);
  const auto size = encode();
  EXPECT_GT(size, 0U);
  EXPECT_LT(size, mostBytes);
}

TEST_F(ScreenEncoderTest, SendsAHandfulOfBytesForAPictureWithoutAChange) {
  encode(true);
  for (int i = 0; i < 60; ++i) encode();
  EXPECT_LE(encode(), 16U);
}

int slicesOf(const EncodedSample& sample) {
  return sample.data ? static_cast<int>(h264::unitsOf(*sample.data).size()) : 0;
}

/// A letter comes in slices of its own; a decoder that cannot take these gets whole pictures.
TEST_F(ScreenEncoderTest, ComposesAPictureWithALetterUnlessToldNotTo) {
  auto settings = settingsFor({1280, 720});
  for (const bool composes : {true, false}) {
    settings.composes = composes;
    ScreenEncoder other(settings);
    HostTime now = time;
    const auto next = [&] { return other.encode(screen.image(), now += 33'333'333ns, false); };
    for (int i = 0; i < 60; ++i) next();
    screen.next();
    screen.text(640, 320, 8, 16);
    const auto letter = next();
    ASSERT_TRUE(letter);
    EXPECT_EQ(slicesOf(*letter) > 1, composes);
  }
}

/// After one that has come in slices, the key frame before is not what is seen any more.
TEST_F(ScreenEncoderTest, RepeatsNoKeyFrameFromBeforeAComposedPicture) {
  encode(true);
  for (int i = 0; i < 60; ++i) encode();
  screen.next();
  screen.flat(640, 320, 64, 64);
  encode();
  encode(true);
  EXPECT_LT(meanError(640, 64), 3);
}

TEST_F(ScreenEncoderTest, TakesNoImageOfAnotherSize) {
  EXPECT_FALSE(encoder.encode(std::make_shared<Nv12Image>(PixelSize{640, 480}), time, true));
  EXPECT_GT(encode(true), 0U);
}

/// Half a picture's letters are typed anew while the other half is still coarse.
TEST_F(ScreenEncoderTest, LeavesWhatIsCoarseToLaterPictures) {
  encoder.setBitRate(300'000);
  encode(true);
  ASSERT_GT(encode(), 0U);
  const auto before = encode();
  EXPECT_LE(before, 16U);
  screen.next();
  screen.text(96, 96, 32, 16);
  const auto typed = encode();
  EXPECT_GT(typed, 50U);
  EXPECT_LT(typed, 3'000U) << "more than the letters was encoded";
}

/// Where even the coarsest pictures are too many, the stream keeps its pace with small ones.
TEST_F(ScreenEncoderTest, LeavesPicturesOutOnASlowLink) {
  encoder.setBitRate(250'000);
  std::size_t sum = 0;
  int small = 0;
  for (int i = 0; i < 80; ++i) {
    const auto size = encode();
    EXPECT_GT(size, 0U);
    sum += size;
    small += size <= 16 ? 1 : 0;
    screen.next();
    screen.noise(0, 0, 1280, 720);
  }
  EXPECT_GE(small, 30);
  EXPECT_LE(static_cast<double>(sum) * 8, 250'000 * (80 / 30 + 2.0));
}

/// What was left out is not forgotten: it comes though nothing changes any more.
TEST_F(ScreenEncoderTest, ShowsWhatItHasLeftOutOnceThereIsRoom) {
  constexpr int edge = 16;
  encoder.setBitRate(200'000);
  screen.next();
  screen.flat(0, 0, 1280, 720);
  encode(true);
  int leftOut = 0;
  for (int column = 640; column < 1280; column += edge) {
    screen.next();
    screen.patches(0, 0, 640, 720);
    screen.text(column, 0, edge, 720);
    leftOut += encode() <= 16 ? 1 : 0;
  }
  ASSERT_GE(leftOut, 3);
  // A key frame would show it in any case.
  for (int i = 0; i < 75; ++i) encode();
  for (int column = 640; column < 1280; column += edge) {
    EXPECT_LT(meanError(column, edge), 30) << "still flat at " << column;
  }
}

/// After a key frame there is no motion from which to go on searching, nor after a gap.
TEST_F(ScreenEncoderTest, FindsWhatHasMovedFar) {
  encoder.setBitRate(2'000'000);
  const auto key = encode(true);
  screen.scroll(28);
  EXPECT_LT(encode(), key / 10) << "with what is new, which is finer";
}

/// A good page that is scrolled takes no more than what is new in it.
TEST_F(LargeScreenEncoderTest, GoesAlongWithAPageThatIsScrolled) {
  encode(true);
  for (int i = 0; i < 60; ++i) encode();
  for (int i = 0; i < 20; ++i) {
    screen.scroll(18);
    EXPECT_LT(encode(), 40'000U) << "three rows of macroblocks are new";
    const auto of = screen.image();
    EXPECT_GT(testing::psnr(shown, of->luma(), of->stride()), 40);
  }
}

constexpr PixelSize page{640, 480};

/// Of a page, without key frames but the first.
ScreenEncoderSettings onePage(std::int64_t bitRate) {
  ScreenEncoderSettings settings;
  settings.encoder.width = page.width;
  settings.encoder.height = page.height;
  settings.bitRate = bitRate;
  settings.maxKeyFrameInterval = 1'000'000;
  settings.maxKeyFrameDuration = 100h;
  return settings;
}

/// Of what a viewer sees of the image, in decibels.
double quality(const ScreenEncoder& encoder, const Nv12Image& image) {
  testing::Luma luma{page.width, page.height, {}};
  for (int y = 0; y < luma.height; ++y) {
    const auto* row = encoder.reconstruction().lumaAt(0, y);
    luma.pixels.insert(luma.pixels.end(), row, row + luma.width);
  }
  return testing::psnr(luma, image.luma(), image.stride());
}

/// What is typed all over the place while another part is scrolled is not taken to be good before
/// it is: once all stands still, the page becomes as good as one of pictures that were never
/// composed.
TEST(StaleTest, LeavesNothingCoarseBesideWhatMoves) {
  std::mt19937 random(84);
  for (const std::int64_t rate : {5'000'000, 3'000'000, 1'000'000}) {
    PaintedImages screen(page);
    auto settings = onePage(rate);
    ScreenEncoder composing(settings);
    settings.composes = false;
    ScreenEncoder whole(settings);
    HostTime time{1h};
    const auto pictures = [&](int count) {
      for (; count > 0; --count) {
        time += 33'333'333ns;
        composing.encode(screen.image(), time, false);
        whole.encode(screen.image(), time, false);
      }
    };
    pictures(150);
    for (int i = 0; i < 10; ++i) {
      screen.next();
      for (int letters = 0; letters < 299; ++letters) {
        screen.text(static_cast<int>(random() % 40) * 16,
                    160 + static_cast<int>(random() % 20) * 16, 16, 16);
      }
      pictures(1);
    }
    for (int i = 0; i < 11; ++i) {
      screen.scroll(384, 64, i % 2 == 0 ? 2 : -2);
      pictures(3);
    }
    pictures(400);
    EXPECT_GT(quality(composing, *screen.image()), quality(whole, *screen.image()) - 1) << rate;
  }
}

/// What is only coarse in some pictures is not mended by each of those that follow.
TEST_F(ScreenEncoderTest, KeepsAScrollingPageReadable) {
  encoder.setBitRate(2'000'000);
  encode(true);
  for (int i = 0; i < 75; ++i) {
    screen.scroll(14);
    encode();
  }
  const auto of = screen.image();
  EXPECT_GT(testing::psnr(shown, of->luma(), of->stride()), 30);
}

/// A stream that began with plenty goes on with scarce bits, and the other way round.
TEST_F(ScreenEncoderTest, FollowsTheRateFromPlentyToScarcityAndBack) {
  encode(true);
  const auto quality = [&] {
    const auto of = screen.image();
    return testing::psnr(shown, of->luma(), of->stride());
  };
  encoder.setBitRate(200'000);
  for (int i = 0; i < 3; ++i) {
    encode();
    screen.next();
    screen.noise(0, 0, 1280, 720);
    EXPECT_LT(encode(true), 200'000 / 8) << "a second of the link";
    screen.next();
  }
  encoder.setBitRate(20'000'000);
  screen.next();
  screen.text(0, 0, 1280, 720);
  encode(true);
  screen.next();
  encode();
  encode(true);
  for (int i = 0; i < 60; ++i) encode();
  EXPECT_GT(quality(), 52);
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
