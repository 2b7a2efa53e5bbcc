#include <gtest/gtest.h>

#include <algorithm>

#include "capture/Capturer.h"
#include "support/CapturerFixture.h"
#include "support/LogLines.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using testing::LogLines;
using testing::TestImage;

using CapturerPacingTest = testing::CapturerFixture;

TEST_F(CapturerPacingTest, SendsNothingBeforeTheFirstImage) {
  start();
  queues.advance(1s);
  EXPECT_TRUE(frames().empty());
}

TEST_F(CapturerPacingTest, EncodesTheLatestImageAtTheFrameRate) {
  start();
  deliverImage();
  queues.advance(1s);
  ASSERT_EQ(frames().size(), 30U);
  for (const auto& frame : frames()) EXPECT_EQ(frame.image, image);
  EXPECT_TRUE(frames().front().forceKeyFrame);
  EXPECT_FALSE(frames()[1].forceKeyFrame);
  EXPECT_EQ(frames()[1].presentationTime - frames()[0].presentationTime, 33'333'333ns);
}

TEST_F(CapturerPacingTest, GoesByTheFrameRateInEverything) {
  start(10);
  deliverImage();
  queues.advance(100ms);
  answer();
  queues.advance(900ms);
  EXPECT_EQ(frames().size(), 10U);
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].duration, Ticks{9000}) << "of a frame that has none before it";
  using P = CompressionProperty;
  const std::pair<P, PropertyValue> rate(P::expectedFrameRate, std::int64_t{10});
  const std::pair<P, PropertyValue> interval(P::maxKeyFrameInterval, std::int64_t{40});
  EXPECT_EQ(std::ranges::count(session()->properties, rate), 1);
  EXPECT_EQ(std::ranges::count(session()->properties, interval), 1);
}

TEST_F(CapturerPacingTest, LetsATickBeTwoMillisecondsLate) {
  start();
  ASSERT_EQ(queues.schedules().size(), 1U);
  EXPECT_EQ(queues.schedules()[0].leeway, 2ms);
}

TEST_F(CapturerPacingTest, DeliversAccessUnitsWithTheirDurations) {
  start();
  deliverImage();
  queues.advance(34ms);
  answer(0, std::nullopt);
  queues.advance(33'333'333ns);
  answer();
  ASSERT_EQ(units.size(), 2U);
  EXPECT_EQ(units[0].duration, Ticks{3000});
  EXPECT_EQ(units[1].duration, Ticks{2999});
  EXPECT_EQ(units[1].bytes,
            (Bytes{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x41}}));
}

TEST_F(CapturerPacingTest, DropsFramesThatTheEncoderLost) {
  start();
  deliverImage();
  queues.advance(34ms);
  answer(-12345);
  frames().back().handler(0, std::nullopt);
  frames().back().handler(0, EncodedSample{});
  EXPECT_TRUE(units.empty());
  EXPECT_TRUE(faults.empty());
}

TEST_F(CapturerPacingTest, KeepsTheImageThroughIncompleteFrames) {
  start();
  deliverImage();
  const ImageBufferRef other = std::make_shared<TestImage>();
  for (const int status : {1, 2, 3, 4, 5, 99, -1}) stream()->deliver({true, other, status});
  stream()->deliver({false, other, 0});
  stream()->deliver({true, nullptr, 0});
  stream()->deliver({true, other, 0}, StreamOutputType::audio);
  queues.advance(34ms);
  EXPECT_EQ(frames().back().image, image);

  stream()->deliver({true, other, 0});
  queues.advance(34ms);
  EXPECT_EQ(frames().back().image, other);
}

TEST_F(CapturerPacingTest, TakesAnImageOfUnknownStatus) {
  start();
  deliverImage(std::nullopt);
  queues.advance(34ms);
  ASSERT_EQ(frames().size(), 1U);
  EXPECT_EQ(frames()[0].image, image);
}

TEST_F(CapturerPacingTest, MakesOneKeyFrameOfSeveralRequests) {
  start();
  deliverImage();
  queues.advance(100ms);
  capturer->requestKeyframe();
  capturer->requestKeyframe();
  queues.run();
  capturer->requestKeyframe();
  const auto before = frames().size();
  queues.advance(100ms);
  ASSERT_EQ(frames().size(), before + 3);
  EXPECT_TRUE(frames()[before].forceKeyFrame);
  EXPECT_FALSE(frames()[before + 1].forceKeyFrame);
  EXPECT_FALSE(frames()[before + 2].forceKeyFrame);
}

TEST_F(CapturerPacingTest, ChangesTheBitRateOfTheRunningSessionOnly) {
  capturer->setBitrate(9000);
  queues.run();
  start();
  ASSERT_EQ(session()->properties.size(), 7U);
  capturer->setBitrate(2500);
  capturer->setBitrate(10);
  queues.run();
  using P = CompressionProperty;
  ASSERT_EQ(session()->properties.size(), 9U);
  EXPECT_EQ(session()->properties[7],
            (std::pair<P, PropertyValue>(P::averageBitRate, std::int64_t{2'500'000})));
  EXPECT_EQ(session()->properties[8],
            (std::pair<P, PropertyValue>(P::averageBitRate, std::int64_t{200'000})));
  capturer->stop();
  capturer->setBitrate(3000);
  queues.run();
  EXPECT_EQ(session()->properties.size(), 9U);
}

TEST_F(CapturerPacingTest, CountsDurationsUpToThreeFrames) {
  start();
  deliverImage();
  queues.advance(34ms);
  clock.advance(10s);
  queues.advance(34ms);
  ASSERT_GE(frames().size(), 2U);
  EncodedSample sample;
  sample.data = Bytes{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x41}};
  frames()[1].handler(0, sample);
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].duration, Ticks{9000});
}

TEST_F(CapturerPacingTest, StopsAndStartsAnewWithAKeyFrame) {
  start();
  deliverImage();
  queues.advance(1s);
  const auto first = session();
  const auto firstStream = stream();
  capturer->stop();
  EXPECT_EQ(first->calls, (std::vector<std::string>{"prepare", "complete", "invalidate"}));
  EXPECT_FALSE(first->alive);
  EXPECT_EQ(firstStream->stops, 1);
  EXPECT_FALSE(firstStream->alive);
  const auto count = first->frames.size();
  queues.advance(1s);
  EXPECT_EQ(first->frames.size(), count);

  start();
  queues.advance(1s);
  EXPECT_TRUE(frames().empty()) << "the image of the last session was kept";
  deliverImage();
  queues.advance(34ms);
  answer(0, false);
  ASSERT_EQ(frames().size(), 1U);
  EXPECT_TRUE(frames()[0].forceKeyFrame);
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].duration, Ticks{3000});
  EXPECT_EQ(capturer->width(), 1920);
}

TEST_F(CapturerPacingTest, DeliversWhatIsPendingWhenItStops) {
  start();
  deliverImage();
  queues.advance(34ms);
  compression.onCompleteFrames = [this] { answer(); };
  capturer->stop();
  EXPECT_EQ(units.size(), 1U);
}

TEST_F(CapturerPacingTest, StopsHarmlesslyWhenNothingRuns) {
  screen.stopError = PlatformError{"Already stopped."};
  capturer->stop();
  start();
  capturer->stop();
  capturer->stop();
  EXPECT_EQ(stream()->stops, 1);
  EXPECT_TRUE(faults.empty());
}

TEST_F(CapturerPacingTest, ReplacesWhatAFailedStartLeft) {
  screen.startError = PlatformError{"No start."};
  start();
  queues.advance(1s);
  EXPECT_TRUE(frames().empty());
  const auto left = session();
  EXPECT_TRUE(left->alive);
  screen.startError.reset();
  start();
  EXPECT_FALSE(left->alive);
  EXPECT_EQ(left->calls, std::vector<std::string>{"prepare"});
  deliverImage();
  queues.advance(1s);
  EXPECT_EQ(frames().size(), 30U);
}

TEST_F(CapturerPacingTest, ReportsTheEndOfTheStreamOnceAndGoesOnEncoding) {
  const LogLines log;
  start();
  deliverImage();
  stream()->onStopped(PlatformError{"The display is gone."});
  EXPECT_EQ(faults,
            std::vector<std::string>{"The Mac stopped sharing its screen: The display is gone."});
  EXPECT_EQ(log.messages().back(), "Capture stopped: The display is gone.");
  queues.advance(100ms);
  EXPECT_EQ(frames().size(), 3U);
}

TEST_F(CapturerPacingTest, ShowsNothingOfTheSessionBefore) {
  start();
  const auto before = stream();
  capturer->stop();
  start();
  before->deliver({true, image, 0});
  queues.advance(1s);
  EXPECT_TRUE(frames().empty());
  deliverImage();
  queues.advance(34ms);
  EXPECT_EQ(frames().size(), 1U);
}

/// A stream ends in the background, and may meet its own end on the way.
TEST_F(CapturerPacingTest, TellsOfNoFaultOfAStreamThatItHasStopped) {
  start();
  const auto before = stream();
  capturer->stop();
  start();
  before->onStopped({"The display was unplugged."});
  EXPECT_TRUE(faults.empty()) << "the session that runs has no fault";
}

TEST_F(CapturerPacingTest, DeliversNothingOnceItHasStopped) {
  start();
  deliverImage();
  queues.advance(34ms);
  ASSERT_EQ(frames().size(), 1U);
  capturer->stop();
  answer();
  EXPECT_TRUE(units.empty()) << "an encoder that was late";
}

TEST_F(CapturerPacingTest, DeliversNothingOfASessionThatAnotherStartHasReplaced) {
  start();
  deliverImage();
  queues.advance(34ms);
  ASSERT_EQ(frames().size(), 1U);
  const auto late = frames().front().handler;
  start();
  capturer->stop();
  late(0,
       EncodedSample{Bytes{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x41}},
                     true, std::nullopt});
  EXPECT_TRUE(units.empty());
}

TEST_F(CapturerPacingTest, EndsAStreamThatWasAskedForBeforeAStop) {
  screen.beforeContent = [&] { capturer->stop(); };
  start();
  EXPECT_EQ(stream()->stops, 1);
  stream()->deliver({true, image, 0});
  queues.advance(1s);
  EXPECT_TRUE(frames().empty());
}

TEST_F(CapturerPacingTest, EndsAStreamThatHasStartedTooLate) {
  screen.holdStart = true;
  start();
  const auto late = stream();
  capturer->stop();
  start();
  const auto current = stream();
  current->answerStart(std::nullopt);
  late->answerStart(std::nullopt);
  queues.run();
  EXPECT_EQ(completions, 2);
  EXPECT_EQ(late->stops, 1);
  EXPECT_FALSE(late->alive);
  EXPECT_TRUE(current->alive);
  deliverImage();
  queues.advance(34ms);
  EXPECT_EQ(frames().size(), 1U);
}

TEST_F(CapturerPacingTest, EndsAStreamThatStartsWhileItStops) {
  start();
  screen.holdStart = true;
  start();
  const auto late = stream();
  compression.onCompleteFrames = [&] { late->answerStart(std::nullopt); };
  capturer->stop();
  queues.run();
  EXPECT_EQ(completions, 2);
  EXPECT_EQ(late->stops, 1);
  EXPECT_FALSE(late->alive);
}

TEST_F(CapturerPacingTest, KeepsItsStreamWhereAnotherStartFails) {
  start();
  const auto running = stream();
  screen.holdStart = true;
  start();
  stream()->answerStart(PlatformError{"No."});
  EXPECT_TRUE(running->alive);
  running->deliver({true, image, 0});
  queues.advance(34ms);
  EXPECT_EQ(frames().size(), 1U);
}

TEST_F(CapturerPacingTest, DoesWithoutCallbacks) {
  capturer->onAccessUnit = nullptr;
  capturer->onFault = nullptr;
  start();
  deliverImage();
  queues.advance(34ms);
  answer();
  stream()->onStopped(PlatformError{"Gone."});
  EXPECT_TRUE(units.empty());
}

TEST_F(CapturerPacingTest, IsGoneForItsCallbacksOnceItsOwnerLetsItGo) {
  start();
  deliverImage();
  queues.advance(34ms);
  const auto frame = frames().back();
  const auto recorded = stream();
  capturer->requestKeyframe();
  capturer.reset();
  EXPECT_FALSE(recorded->alive);
  EXPECT_FALSE(session()->alive);
  frame.handler(0, EncodedSample{});
  recorded->onStopped(PlatformError{"Gone."});
  queues.advance(1s);
  EXPECT_TRUE(units.empty());
  EXPECT_TRUE(faults.empty());
}

}  // namespace
}  // namespace vesk::VESK_FILE
