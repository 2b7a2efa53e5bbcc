#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <vector>

#include "objc/frameworks/Media.h"
#include "objc/runtime/Runtime.h"
#include "objc/support/ObjcFixture.h"
#include "platform/macos/PixelBufferImage.h"
#include "platform/macos/VideoToolboxCompression.h"
#include "platform/macos/VideoToolboxSession.h"
#include "support/Patience.h"

namespace vesk::mac {
namespace {

/// An encoder that answers when the test says so.
class VideoToolboxAnswersTest : public testing::ObjcFixture {
 protected:
  void make(fakes::Answers answers) {
    encoder_.answers = answers;
    auto made = VideoToolboxCompression().makeH264Session({320, 240});
    ASSERT_EQ(made.status, 0);
    session_ = std::move(made.session);
  }

  Status encode(bool forceKeyFrame = false) {
    CVPixelBufferRef buffer = nullptr;
    CVPixelBufferCreate(kCFAllocatorDefault, 320, 240, 0, nullptr, &buffer);
    const auto image = std::make_shared<PixelBufferImage>(adopt(buffer));
    return session_->encodeFrame(image, HostTime(), forceKeyFrame, [this](Status, auto sample) {
      const std::lock_guard lock(mutex_);
      keys_.push_back(sample ? (sample->notSync ? 'p' : 'k') : '-');
    });
  }

  std::string keys() {
    const std::lock_guard lock(mutex_);
    return keys_;
  }

  fakes::Encoder& encoder_ = fakes::encoder();
  std::mutex mutex_;
  std::string keys_;
  std::unique_ptr<CompressionSession> session_;
};

TEST_F(VideoToolboxAnswersTest, FailsWithTheSystemsStatus) {
  encoder_.status = -12915;
  const auto made = VideoToolboxCompression().makeH264Session({320, 240});
  EXPECT_EQ(made.status, -12915);
  EXPECT_EQ(made.session, nullptr);
}

TEST_F(VideoToolboxAnswersTest, SetsEveryPropertyByItsName) {
  make(fakes::Answers::atOnce);
  session_->setProperty(CompressionProperty::realTime, true);
  session_->setProperty(CompressionProperty::allowFrameReordering, false);
  session_->setProperty(CompressionProperty::averageBitRate, 1'500'000);
  session_->setProperty(CompressionProperty::profileLevel,
                        ProfileLevel::h264ConstrainedBaselineAutoLevel);
  EXPECT_EQ(encoder_.properties, (std::map<std::string, long>{
                                     {"kVTCompressionPropertyKey_RealTime", 1},
                                     {"kVTCompressionPropertyKey_AllowFrameReordering", 0},
                                     {"kVTCompressionPropertyKey_AverageBitRate", 1'500'000},
                                     {"kVTCompressionPropertyKey_ProfileLevel", -1},
                                 }));
}

TEST_F(VideoToolboxAnswersTest, DropsFramesAboveFiveAndMakesUpForALostKeyFrame) {
  make(fakes::Answers::late);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(encode(), 0);
  EXPECT_EQ(keys(), "");
  EXPECT_EQ(encode(/*forceKeyFrame=*/true), 0);
  EXPECT_EQ(keys(), "-");
  encoder_.answerLate();
  EXPECT_EQ(keys(), "-kpppp");
  encode();
  session_->completeFrames();
  EXPECT_EQ(keys(), "-kppppk");
}

TEST_F(VideoToolboxAnswersTest, WaitsForNoFrameThatTheEncoderHasRefused) {
  make(fakes::Answers::late);
  encode();
  encoder_.answerLate();
  encoder_.frameStatus = -12902;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(encode(i == 0), -12902);
  encoder_.frameStatus = 0;
  encode();
  encode();
  encoder_.answerLate();
  EXPECT_EQ(keys(), "kkp") << "the refused key frame is made up for";
}

TEST_F(VideoToolboxAnswersTest, MakesUpForAKeyFrameThatComesOutEmptyOrWrong) {
  make(fakes::Answers::late);
  const auto next = [this](bool forceKeyFrame) {
    encode(forceKeyFrame);
    encoder_.answerLate();
  };
  next(true);
  encoder_.losesFrames = true;
  next(true);
  next(false);
  encoder_.losesFrames = false;
  next(false);
  next(false);
  EXPECT_EQ(keys(), "k--kp");
  encoder_.outcome = -12909;
  next(true);
  encoder_.outcome = 0;
  next(false);
  next(false);
  EXPECT_EQ(keys(), "k--kpkkp");
}

TEST_F(VideoToolboxAnswersTest, EndsTheSystemsSessionOnce) {
  make(fakes::Answers::atOnce);
  const auto ended = [this] {
    const std::lock_guard lock(encoder_.mutex);
    return encoder_.ended;
  };
  EXPECT_EQ(ended(), 0);
  session_->invalidate();
  EXPECT_TRUE(testing::waitUntil([&] { return ended() == 1; }));
  session_->invalidate();
  session_.reset();
  EXPECT_EQ(ended(), 1);
}

TEST_F(VideoToolboxAnswersTest, HoldsImagesUntilTheirFramesAreOut) {
  make(fakes::Answers::late);
  encode();
  EXPECT_EQ(objc::aliveOf("VeskPixelBuffer"), 1);
  session_->completeFrames();
  session_.reset();
  EXPECT_TRUE(testing::waitUntil([] { return objc::aliveOf("VeskPixelBuffer") == 0; }));
}

TEST_F(VideoToolboxAnswersTest, DeliversWhatIsUnderWayBeforeItEnds) {
  make(fakes::Answers::late);
  encode();
  encode();
  session_->invalidate();
  EXPECT_EQ(keys(), "kp");
  EXPECT_NE(encode(), 0);
  EXPECT_EQ(keys(), "kp");
}

TEST_F(VideoToolboxAnswersTest, MayBeDestroyedBeforeItIsAnswered) {
  make(fakes::Answers::late);
  encode();
  session_.reset();
  encoder_.answerLate();
  EXPECT_EQ(keys(), "k");
}

TEST_F(VideoToolboxAnswersTest, GoesOnWhereTheEncoderHangs) {
  make(fakes::Answers::never);
  for (int i = 0; i < 20; ++i) encode();
  EXPECT_EQ(encoder_.frames, 5);
  EXPECT_EQ(keys(), std::string(15, '-'));
  session_->invalidate();
  session_.reset();
}

TEST_F(VideoToolboxAnswersTest, EndsWhereTheEncoderNeverCompletesItsFrames) {
  const long before = objc::aliveOf("VeskCompressionSession");
  std::promise<void> moves;
  encoder_.completes = moves.get_future().share();
  make(fakes::Answers::late);
  encode();
  EXPECT_NE(session_->completeFrames(), 0);
  session_->invalidate();
  session_.reset();
  drainPool();
  moves.set_value();
  EXPECT_TRUE(
      testing::waitUntil([before] { return objc::aliveOf("VeskCompressionSession") == before; }));
  EXPECT_EQ(keys(), "") << "nobody waits for it any more";
}

TEST_F(VideoToolboxAnswersTest, LeavesNothingInThePoolsOfTheEncodersThread) {
  make(fakes::Answers::atOnce);
  for (int i = 0; i < 3; ++i) {
    encode();
    session_->completeFrames();
  }
  EXPECT_EQ(objc::aliveOf("VeskSampleBuffer"), 0);
  EXPECT_EQ(objc::aliveOf("NSNumber"), 0);
}

}  // namespace
}  // namespace vesk::mac
