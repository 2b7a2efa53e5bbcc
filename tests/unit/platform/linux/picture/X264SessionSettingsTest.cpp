#include <gtest/gtest.h>

#include "platform/linux/picture/X264Compression.h"
#include "platform/linux/picture/X264Session.h"
#include "support/PaintedImages.h"
#include "support/SequenceSet.h"

/// What a session was set to, where that is not what it would do by itself.

namespace vesk::picture::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Property = CompressionProperty;

constexpr PixelSize size{320, 192};

class X264SessionSettingsTest : public ::testing::Test {
 protected:
  struct KeyFrames {
    std::int64_t frames = 1000;
    std::int64_t seconds = 1000;
  };

  void prepare(std::int64_t fps, KeyFrames apart) {
    session = X264Compression().makeH264Session({size.width, size.height, true}).session;
    session->setProperty(Property::expectedFrameRate, fps);
    session->setProperty(Property::maxKeyFrameInterval, apart.frames);
    session->setProperty(Property::maxKeyFrameIntervalDuration, apart.seconds);
    ASSERT_EQ(session->prepareToEncodeFrames(), 0);
  }

  std::optional<EncodedSample> encode(const ImageBufferRef& image, bool forceKeyFrame = false) {
    std::optional<EncodedSample> encoded;
    session->encodeFrame(image, time, forceKeyFrame,
                         [&](auto, auto sample) { encoded = std::move(sample); });
    session->completeFrames();
    return encoded;
  }

  /// Whether the picture of that time is a key frame.
  bool isKeyAt(HostTime::duration sinceBegin) {
    time = begin + sinceBegin;
    const auto sample = encode(screen.image());
    EXPECT_TRUE(sample);
    return sample && sample->notSync == false;
  }

  /// Which of so many pictures, one after the other, are key frames.
  std::vector<int> keysAmong(int pictures, HostTime::duration interval) {
    std::vector<int> keys;
    for (int i = 0; i < pictures; ++i) {
      if (isKeyAt(i * interval)) keys.push_back(i);
    }
    return keys;
  }

  testing::PaintedImages screen{size};
  std::unique_ptr<CompressionSession> session;
  const HostTime begin{1h};
  HostTime time = begin;
};

TEST_F(X264SessionSettingsTest, SendsAKeyFrameAfterSoManyPictures) {
  prepare(30, {.frames = 7});
  EXPECT_EQ(keysAmong(24, 33ms), (std::vector{0, 7, 14, 21}));
}

TEST_F(X264SessionSettingsTest, SendsAKeyFrameAfterSoManySeconds) {
  prepare(10, {.seconds = 2});
  EXPECT_EQ(keysAmong(50, 100ms), (std::vector{0, 20, 40}));
}

TEST_F(X264SessionSettingsTest, SendsAKeyFrameRatherHalfAPictureEarlyThanLate) {
  prepare(5, {.seconds = 2});
  EXPECT_TRUE(isKeyAt(0ms));
  EXPECT_FALSE(isKeyAt(1850ms));
  EXPECT_TRUE(isKeyAt(1950ms));
}

TEST_F(X264SessionSettingsTest, TellsAViewerHowManyPicturesThereAre) {
  for (const std::int64_t fps : {5, 24, 60}) {
    prepare(fps, {});
    const auto sample = encode(screen.image());
    ASSERT_TRUE(sample && sample->parameterSets);
    const auto colours = testing::sequenceSet(sample->parameterSets->at(0));
    ASSERT_TRUE(colours);
    EXPECT_EQ(colours->picturesPerSecond, fps);
  }
}

TEST_F(X264SessionSettingsTest, MakesTheNextPictureAKeyFrameWhereTheOneAskedForWasLost) {
  class Other final : public ImageBuffer {
    PixelSize size() const override { return {320, 192}; }
  };
  prepare(30, {});
  EXPECT_TRUE(isKeyAt(0ms));
  EXPECT_FALSE(encode(std::make_shared<Nv12Image>(PixelSize{64, 64}), /*forceKeyFrame=*/true));
  EXPECT_TRUE(isKeyAt(33ms)) << "an image of another size";
  EXPECT_FALSE(isKeyAt(67ms));
  EXPECT_FALSE(encode(std::make_shared<Other>(), /*forceKeyFrame=*/true));
  EXPECT_TRUE(isKeyAt(100ms)) << "an image of another kind";
  EXPECT_FALSE(isKeyAt(133ms));
}

}  // namespace
}  // namespace vesk::picture::VESK_FILE
