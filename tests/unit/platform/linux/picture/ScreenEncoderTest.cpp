#include "platform/linux/picture/ScreenEncoder.h"

#include <gtest/gtest.h>

#include "capture/annexB.h"
#include "support/H264Decoder.h"
#include "support/PaintedImages.h"

namespace vesk::picture {
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
    const auto sample = encoder.encode(*screen.image(), time += 33'333'333ns, keyFrame);
    if (!sample) return 0;
    if (keyFrame) {
      EXPECT_EQ(sample->notSync, false);
    }
    const auto unit = annexB(*sample).value_or(Bytes{});
    EXPECT_TRUE(decoder.decode(unit));
    return unit.size();
  }

  PaintedImages screen;
  ScreenEncoder encoder;
  H264Decoder decoder;
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

TEST_F(ScreenEncoderTest, TakesNoImageOfAnotherSize) {
  EXPECT_FALSE(encoder.encode(Nv12Image({640, 480}), time, true));
  EXPECT_GT(encode(true), 0U);
}

}  // namespace
}  // namespace vesk::picture
