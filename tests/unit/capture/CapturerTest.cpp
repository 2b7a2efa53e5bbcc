#include "capture/Capturer.h"

#include <gtest/gtest.h>

#include <limits>

#include "capture/CaptureError.h"
#include "support/CapturerFixture.h"
#include "support/LogLines.h"

namespace vesk::VESK_FILE {
namespace {

using testing::LogLines;
using testing::ownProcess;

std::string textOf(const std::exception_ptr& error) {
  try {
    if (error) std::rethrow_exception(error);
  } catch (const std::exception& exception) {
    return exception.what();
  }
  return "";
}

bool isCaptureError(const std::exception_ptr& error) {
  try {
    if (error) std::rethrow_exception(error);
  } catch (const CaptureError&) {
    return true;
  } catch (...) {
  }
  return false;
}

using CapturerTest = testing::CapturerFixture;

TEST_F(CapturerTest, DoesNothingUntilItIsStarted) {
  EXPECT_EQ(queues.labels(), std::vector<std::string>{"com.vesk.screen.capture"});
  EXPECT_EQ(screen.contentRequests, 0);
  EXPECT_EQ(capturer->width(), 0);
  EXPECT_EQ(capturer->height(), 0);
}

TEST_F(CapturerTest, LogsWhatItCaptures) {
  const LogLines log;
  start();
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(startError, nullptr);
  EXPECT_EQ(capturer->width(), 1920);
  EXPECT_EQ(capturer->height(), 1200);
  EXPECT_EQ(log.messages(),
            std::vector<std::string>{"Capturing display 7 at 1920x1200, 30 fps, 4000 kbps."});
}

TEST_F(CapturerTest, ClampsTheFrameRateAndLogsTheRequestedBitRate) {
  const LogLines log;
  start(200, 150);
  EXPECT_EQ(stream()->configuration.framesPerSecond, 60);
  start(1, -3);
  EXPECT_EQ(stream()->configuration.framesPerSecond, 5);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"Capturing display 7 at 1920x1200, 60 fps, 150 kbps.",
                                      "Capturing display 7 at 1920x1200, 5 fps, -3 kbps."}));
}

TEST_F(CapturerTest, ConfiguresTheStream) {
  start(25);
  const StreamConfiguration& configuration = stream()->configuration;
  EXPECT_EQ(configuration.width, 1920);
  EXPECT_EQ(configuration.height, 1200);
  EXPECT_EQ(configuration.pixelFormat, PixelFormat::yCbCr420BiPlanarVideoRange);
  EXPECT_EQ(static_cast<std::uint32_t>(configuration.pixelFormat), 0x34323076U);
  EXPECT_EQ(configuration.framesPerSecond, 25);
  EXPECT_TRUE(configuration.showsCursor);
  EXPECT_EQ(configuration.queueDepth, 5);
}

TEST_F(CapturerTest, LeavesItselfOutOfTheVideoWhateverItIsTold) {
  screen.content.applications = {{1}, {ownProcess}, {2}};
  for (const bool excluding : {true, false}) {
    start(30, 4000, excluding);
    ASSERT_EQ(stream()->filter.excludingApplications.size(), 1U);
    EXPECT_EQ(stream()->filter.excludingApplications[0].processID, ownProcess);
  }
}

TEST_F(CapturerTest, CapturesTheMainDisplayWhereverItIsListed) {
  screen.content.displays = {{3, 800, 600}, {7, 1920, 1200}, {9, 640, 480}};
  start();
  EXPECT_EQ(stream()->filter.display.displayID, 7U);
  displays.main = 8;
  start();
  EXPECT_EQ(stream()->filter.display.displayID, 3U);
  EXPECT_EQ(capturer->width(), 800);
}

TEST_F(CapturerTest, FailsWithoutADisplay) {
  screen.content.displays.clear();
  start(1);
  EXPECT_EQ(completions, 1);
  EXPECT_TRUE(isCaptureError(startError));
  EXPECT_EQ(textOf(startError), "This Mac reports no display to capture.");
  EXPECT_TRUE(compression.sessions.empty());
  EXPECT_EQ(capturer->width(), 0);
}

TEST_F(CapturerTest, PassesThePlatformsErrorsOn) {
  const LogLines log;
  screen.contentError = PlatformError{"The user declined."};
  start();
  EXPECT_EQ(textOf(startError), "The user declined.");
  EXPECT_FALSE(isCaptureError(startError));
  EXPECT_TRUE(compression.sessions.empty());

  screen.contentError.reset();
  screen.outputError = PlatformError{"No output."};
  start();
  EXPECT_EQ(textOf(startError), "No output.");
  EXPECT_EQ(compression.sessions.size(), 1U);

  screen.outputError.reset();
  screen.startError = PlatformError{"No start."};
  start();
  EXPECT_EQ(textOf(startError), "No start.");
  EXPECT_EQ(completions, 3);
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(CapturerTest, FailsWithTheEncodersStatus) {
  compression.status = -12915;
  start();
  EXPECT_TRUE(isCaptureError(startError));
  EXPECT_EQ(textOf(startError), "The Mac's video encoder would not start (-12915).");
  EXPECT_TRUE(screen.streams.empty());
  EXPECT_TRUE(queues.schedules().empty()) << "a timer runs that has nothing to encode with";
  EXPECT_EQ(capturer->width(), 1920);
  compression.status = 0;
  start();
  EXPECT_EQ(startError, nullptr);
}

TEST_F(CapturerTest, FailsWithoutASessionWhateverTheStatusSays) {
  compression.givesSession = false;
  start();
  EXPECT_EQ(textOf(startError), "The Mac's video encoder would not start (0).");
}

TEST_F(CapturerTest, MakesNothingOfASessionWhoseStatusIsAnError) {
  compression.status = 1;
  compression.givesSession = true;
  start();
  EXPECT_EQ(textOf(startError), "The Mac's video encoder would not start (1).");
}

TEST_F(CapturerTest, EndsTheStreamBeforeTheQueueThatItHandsItsImagesTo) {
  start();
  const auto recorded = stream();
  bool looked = false;
  recorded->queue->async([&] {
    looked = true;
    EXPECT_FALSE(recorded->alive);
  });
  capturer.reset();
  EXPECT_TRUE(looked);
}

TEST_F(CapturerTest, SetsTheEncodersPropertiesInTheirOrder) {
  compression.propertyStatus = -1;
  start();
  EXPECT_EQ(startError, nullptr);
  using P = CompressionProperty;
  const std::vector<std::pair<P, PropertyValue>> expected{
      {P::realTime, true},
      {P::profileLevel, ProfileLevel::h264ConstrainedBaselineAutoLevel},
      {P::allowFrameReordering, false},
      {P::averageBitRate, std::int64_t{4'000'000}},
      {P::expectedFrameRate, std::int64_t{30}},
      {P::maxKeyFrameInterval, std::int64_t{120}},
      {P::maxKeyFrameIntervalDuration, std::int64_t{4}}};
  EXPECT_EQ(session()->properties, expected);
  EXPECT_EQ(session()->calls, std::vector<std::string>{"prepare"});
  EXPECT_EQ(session()->specification.width, 1920);
  EXPECT_EQ(session()->specification.height, 1200);
  EXPECT_TRUE(session()->specification.enableHardwareAcceleratedVideoEncoder);
}

TEST_F(CapturerTest, AsksForAtLeastTwoHundredKilobits) {
  for (const std::int64_t kbps : {0, -5, 150}) {
    start(30, kbps);
    EXPECT_EQ(session()->properties[3].second, PropertyValue(std::int64_t{200'000})) << kbps;
  }
}

TEST_F(CapturerTest, CompletesTheStartWhenTheStreamRuns) {
  screen.holdStart = true;
  const LogLines log;
  start();
  EXPECT_EQ(completions, 0);
  EXPECT_TRUE(log.messages().empty());
  stream()->answerStart(std::nullopt);
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(log.messages().size(), 1U);
}

using CapturerDeathTest = CapturerTest;

TEST_F(CapturerDeathTest, EndsTheProcessOverABitRateBeyondItsRange) {
  EXPECT_DEATH(start(30, std::numeric_limits<std::int64_t>::max()), "bit rate");
}

TEST_F(CapturerDeathTest, EndsTheProcessOverASizeBeyondTheEncoders) {
  displays.modes[7] = {-(std::int64_t{1} << 40), 100};
  EXPECT_DEATH(start(), "a video size does not fit 32 bits");
}

}  // namespace
}  // namespace vesk::VESK_FILE
