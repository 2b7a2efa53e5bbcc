#include "capture/Capturer.h"

#include <gtest/gtest.h>

#include <limits>

#include "capture/CaptureError.h"
#include "fakes/FakeDisplays.h"
#include "fakes/ManualQueues.h"
#include "fakes/RecordingCompression.h"
#include "fakes/RecordingScreenCapture.h"
#include "support/LogLines.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;
using testing::LogLines;

constexpr ProcessId ownProcess = 4711;

class OwnProcess final : public Processes {
 public:
  ProcessId currentProcessId() const override { return ownProcess; }
  std::optional<std::string> environment(const std::string&) const override { return {}; }
  std::optional<std::string> mainBundleIdentifier() const override { return {}; }
  void runAndWait(const std::string&, const std::vector<std::string>&) override {}
  std::vector<ProcessId> runningApplications(std::string_view) const override { return {}; }
  bool forceTerminate(ProcessId) override { return false; }
  void terminate(ProcessId) override {}
  [[noreturn]] void exit(int status) override { std::exit(status); }
};

class TestImage final : public ImageBuffer {
 public:
  PixelSize size() const override { return {2, 2}; }
};

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

struct AccessUnit {
  Bytes bytes;
  Ticks duration;
};

class CapturerTest : public ::testing::Test {
 protected:
  CapturerTest() {
    screen.content.displays = {{7, 1920, 1200}};
    displays.main = 7;
    displays.modes[7] = {2880, 1800};
    capturer->onAccessUnit = [this](ByteView bytes, Ticks duration) {
      units.push_back({Bytes(bytes.begin(), bytes.end()), duration});
    };
    capturer->onFault = [this](const std::string& message) { faults.push_back(message); };
  }

  void start(std::int64_t fps = 30, std::int64_t kbps = 4000, bool excluding = true) {
    capturer->start(
        fps, kbps,
        [this](std::exception_ptr error) {
          ++completions;
          startError = std::move(error);
        },
        excluding);
  }

  std::shared_ptr<fakes::RecordedSession> session() { return compression.sessions.back(); }
  std::shared_ptr<fakes::RecordedStream> stream() { return screen.streams.back(); }

  void deliverImage(std::optional<int> status = 0) {
    stream()->deliver({true, image, status});
    queues.run();
  }

  /// The encoder's answer to the frame that it got last.
  void answer(Status status = 0, std::optional<bool> notSync = true) {
    EncodedSample sample;
    sample.data = Bytes{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x41}};
    sample.notSync = notSync;
    session()->frames.back().handler(status, sample);
  }

  fakes::ManualClock clock;
  fakes::ManualQueues queues{clock};
  OwnProcess processes;
  fakes::FakeDisplays displays;
  fakes::RecordingScreenCapture screen;
  fakes::RecordingCompression compression;
  std::shared_ptr<Capturer> capturer = std::make_shared<Capturer>(
      Capturer::Parts{queues, clock, processes, displays, screen, compression});
  ImageBufferRef image = std::make_shared<TestImage>();
  std::vector<AccessUnit> units;
  std::vector<std::string> faults;
  int completions = 0;
  std::exception_ptr startError;

  using Frames = std::vector<fakes::RecordedFrame>;
  const Frames& frames() { return session()->frames; }
};

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
  EXPECT_EQ(capturer->width(), 1920);
  compression.status = 0;
  start();
  EXPECT_EQ(startError, nullptr);
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

TEST_F(CapturerTest, SendsNothingBeforeTheFirstImage) {
  start();
  queues.advance(1s);
  EXPECT_TRUE(frames().empty());
}

TEST_F(CapturerTest, EncodesTheLatestImageAtTheFrameRate) {
  start();
  deliverImage();
  queues.advance(1s);
  ASSERT_EQ(frames().size(), 30U);
  for (const auto& frame : frames()) EXPECT_EQ(frame.image, image);
  EXPECT_TRUE(frames().front().forceKeyFrame);
  EXPECT_FALSE(frames()[1].forceKeyFrame);
  EXPECT_EQ(frames()[1].presentationTime - frames()[0].presentationTime, 33'333'333ns);
}

TEST_F(CapturerTest, DeliversAccessUnitsWithTheirDurations) {
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

TEST_F(CapturerTest, DropsFramesThatTheEncoderLost) {
  start();
  deliverImage();
  queues.advance(34ms);
  answer(-12345);
  frames().back().handler(0, std::nullopt);
  frames().back().handler(0, EncodedSample{});
  EXPECT_TRUE(units.empty());
  EXPECT_TRUE(faults.empty());
}

TEST_F(CapturerTest, KeepsTheImageThroughIncompleteFrames) {
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

TEST_F(CapturerTest, TakesAnImageOfUnknownStatus) {
  start();
  deliverImage(std::nullopt);
  queues.advance(34ms);
  ASSERT_EQ(frames().size(), 1U);
  EXPECT_EQ(frames()[0].image, image);
}

TEST_F(CapturerTest, MakesOneKeyFrameOfSeveralRequests) {
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

TEST_F(CapturerTest, ChangesTheBitRateOfTheRunningSessionOnly) {
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

TEST_F(CapturerTest, StopsAndStartsAnewWithAKeyFrame) {
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

TEST_F(CapturerTest, DeliversWhatIsPendingWhenItStops) {
  start();
  deliverImage();
  queues.advance(34ms);
  compression.onCompleteFrames = [this] { answer(); };
  capturer->stop();
  EXPECT_EQ(units.size(), 1U);
}

TEST_F(CapturerTest, StopsHarmlesslyWhenNothingRuns) {
  screen.stopError = PlatformError{"Already stopped."};
  capturer->stop();
  start();
  capturer->stop();
  capturer->stop();
  EXPECT_EQ(stream()->stops, 1);
  EXPECT_TRUE(faults.empty());
}

TEST_F(CapturerTest, ReplacesWhatAFailedStartLeft) {
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

TEST_F(CapturerTest, ReportsTheEndOfTheStreamOnceAndGoesOnEncoding) {
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

TEST_F(CapturerTest, DoesWithoutCallbacks) {
  capturer->onAccessUnit = nullptr;
  capturer->onFault = nullptr;
  start();
  deliverImage();
  queues.advance(34ms);
  answer();
  stream()->onStopped(PlatformError{"Gone."});
  EXPECT_TRUE(units.empty());
}

TEST_F(CapturerTest, IsGoneForItsCallbacksOnceItsOwnerLetsItGo) {
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

TEST_F(CapturerTest, CountsDurationsUpToThreeFrames) {
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

using CapturerDeathTest = CapturerTest;

TEST_F(CapturerDeathTest, EndsTheProcessOverABitRateBeyondItsRange) {
  EXPECT_DEATH(start(30, std::numeric_limits<std::int64_t>::max()), "bit rate");
}

TEST_F(CapturerDeathTest, EndsTheProcessOverASizeBeyondTheEncoders) {
  displays.modes[7] = {-(std::int64_t{1} << 40), 100};
  EXPECT_DEATH(start(), "video size");
}

}  // namespace
}  // namespace vesk
