#include "platform/macos/VideoToolboxSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "capture/annexB.h"
#include "platform/macos/PixelBufferImage.h"
#include "platform/macos/VideoToolboxCompression.h"

namespace vesk::mac {
namespace {

using namespace std::chrono_literals;

/// The system's encoder, which every Mac has in software at least.
class VideoToolboxSessionTest : public ::testing::Test {
 protected:
  VideoToolboxSessionTest() {
    CompressionSpecification specification;
    specification.width = 320;
    specification.height = 240;
    auto made = VideoToolboxCompression().makeH264Session(specification);
    EXPECT_EQ(made.status, 0);
    session_ = std::move(made.session);
    session_->setProperty(CompressionProperty::realTime, true);
    session_->setProperty(CompressionProperty::profileLevel,
                          ProfileLevel::h264ConstrainedBaselineAutoLevel);
    session_->setProperty(CompressionProperty::allowFrameReordering, false);
    session_->setProperty(CompressionProperty::averageBitRate, 1'000'000);
    session_->setProperty(CompressionProperty::expectedFrameRate, 30);
  }

  static ImageBufferRef image() {
    constexpr OSType videoRange = 0x34323076;
    CVPixelBufferRef buffer = nullptr;
    CVPixelBufferCreate(kCFAllocatorDefault, 320, 240, videoRange, nullptr, &buffer);
    return std::make_shared<PixelBufferImage>(adopt(buffer));
  }

  /// Encodes one image at a time and waits for it.
  std::optional<EncodedSample> encode(int number, bool forceKeyFrame) {
    std::optional<EncodedSample> result;
    session_->encodeFrame(
        image(), HostTime(number * 33ms), forceKeyFrame,
        [&](Status, std::optional<EncodedSample> sample) { result = std::move(sample); });
    session_->completeFrames();
    return result;
  }

  std::unique_ptr<CompressionSession> session_;
};

/// The types of the NAL units of an access unit.
std::vector<int> unitTypes(const EncodedSample& sample) {
  const auto bytes = annexB(sample).value_or(Bytes());
  std::vector<int> types;
  for (std::size_t i = 0; i + 4 < bytes.size(); ++i) {
    const bool start = bytes[i] == std::byte{0} && bytes[i + 1] == std::byte{0} &&
                       bytes[i + 2] == std::byte{0} && bytes[i + 3] == std::byte{1};
    if (start) types.push_back(std::to_integer<int>(bytes[i + 4]) & 0x1f);
  }
  return types;
}

bool holds(const std::vector<int>& types, int wanted) {
  return std::find(types.begin(), types.end(), wanted) != types.end();
}

constexpr int plainSlice = 1;
constexpr int keySlice = 5;
constexpr int sequenceParameterSet = 7;
constexpr int pictureParameterSet = 8;

TEST_F(VideoToolboxSessionTest, BeginsWithAKeyFrameAndItsParameterSets) {
  const auto first = encode(0, /*forceKeyFrame=*/true);
  ASSERT_TRUE(first);
  const auto types = unitTypes(*first);
  EXPECT_TRUE(holds(types, sequenceParameterSet));
  EXPECT_TRUE(holds(types, pictureParameterSet));
  EXPECT_TRUE(holds(types, keySlice));
}

TEST_F(VideoToolboxSessionTest, GoesOnWithFramesThatNeedOthers) {
  encode(0, /*forceKeyFrame=*/true);
  const auto second = encode(1, /*forceKeyFrame=*/false);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->notSync, true);
  EXPECT_TRUE(holds(unitTypes(*second), plainSlice));
  EXPECT_FALSE(holds(unitTypes(*second), sequenceParameterSet));
}

TEST_F(VideoToolboxSessionTest, MakesAKeyFrameWhenAsked) {
  encode(0, /*forceKeyFrame=*/true);
  encode(1, /*forceKeyFrame=*/false);
  const auto third = encode(2, /*forceKeyFrame=*/true);
  ASSERT_TRUE(third);
  EXPECT_TRUE(holds(unitTypes(*third), keySlice));
}

TEST_F(VideoToolboxSessionTest, RefusesAnImageOfAnotherKindAndAnythingAfterItsEnd) {
  class Other final : public ImageBuffer {
   public:
    PixelSize size() const override { return {}; }
  };
  const auto ignore = [](Status, const std::optional<EncodedSample>&) {};
  EXPECT_NE(session_->encodeFrame(std::make_shared<Other>(), HostTime(), false, ignore), 0);
  session_->invalidate();
  session_->invalidate();
  EXPECT_NE(session_->encodeFrame(image(), HostTime(), false, ignore), 0);
}

TEST_F(VideoToolboxSessionTest, AnswersForEveryFrameWithOrWithoutASample) {
  std::mutex mutex;
  int samples = 0;
  int answers = 0;
  const auto note = [&](Status, const std::optional<EncodedSample>& sample) {
    const std::lock_guard lock(mutex);
    ++answers;
    if (sample) ++samples;
  };
  constexpr int many = 200;
  for (int i = 0; i < many; ++i) session_->encodeFrame(image(), HostTime(i * 1ms), false, note);
  session_->completeFrames();
  const std::lock_guard lock(mutex);
  EXPECT_EQ(answers, many);
  EXPECT_GT(samples, 0);
}

}  // namespace
}  // namespace vesk::mac
