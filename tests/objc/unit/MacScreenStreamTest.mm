#include "platform/macos/MacScreenStream.h"

#include <gtest/gtest.h>

#include <mutex>

#include "objc/frameworks/Foundation.h"
#include "objc/frameworks/ScreenCaptureKit.h"
#include "objc/runtime/Runtime.h"
#include "objc/support/ObjcFixture.h"
#include "platform/macos/DispatchQueue.h"
#include "platform/macos/MacScreenCapture.h"
#include "support/Patience.h"

namespace vesk::mac {
namespace {

/// A stream whose every completion comes after the call that it belongs to has returned.
class MacScreenStreamTest : public testing::ObjcFixture {
 protected:
  MacScreenStreamTest() {
    server_.displays = {{7, 1920, 1080}, {9, 800, 600}};
    server_.applications = {100, 200};
    MacScreenCapture().shareableContent([this](auto content, auto) { content_ = *content; });
    server_.settle();
  }

  ~MacScreenStreamTest() override {
    stream_.reset();
    server_.answer();
    server_.settle();
    queue_.sync([] {});
  }

  std::optional<PlatformError> make() {
    const ContentFilter filter{content_.displays.at(0), {content_.applications.at(1)}};
    StreamConfiguration configuration;
    configuration.width = 960;
    configuration.height = 540;
    configuration.framesPerSecond = 30;
    configuration.showsCursor = true;
    configuration.queueDepth = 5;
    stream_ = MacScreenCapture().makeStream(filter, configuration, [this](const auto& error) {
      const std::lock_guard lock(mutex_);
      ends_.push_back(error.localizedDescription);
    });
    return stream_->addOutput(
        [this](const StreamSample& sample, StreamOutputType) {
          const std::lock_guard lock(mutex_);
          samples_.push_back(sample);
        },
        queue_);
  }

  Completion note(std::vector<std::optional<PlatformError>>& answers) {
    return [this, &answers, held = std::make_shared<int>(0)](const auto& error) {
      const std::lock_guard lock(mutex_);
      answers.push_back(error);
    };
  }

  void start() {
    ASSERT_EQ(make(), std::nullopt);
    started_.clear();
    stream_->startCapture(note(started_));
    server_.settle();
    ASSERT_EQ(started_, none_);
  }

  void settle() {
    server_.settle();
    queue_.sync([] {});
  }

  std::size_t samples() {
    settle();
    const std::lock_guard lock(mutex_);
    return samples_.size();
  }

  SCStream* systems() { return server_.running().at(0); }

  using Answers = std::vector<std::optional<PlatformError>>;
  const Answers none_{std::nullopt};

  fakes::WindowServer& server_ = fakes::WindowServer::only();
  std::mutex mutex_;
  ShareableContent content_;
  std::vector<StreamSample> samples_;
  std::vector<std::string> ends_;
  Answers started_;
  Answers stopped_;
  DispatchQueue queue_{"com.vesk.test"};
  std::unique_ptr<ScreenStream> stream_;
};

TEST_F(MacScreenStreamTest, AsksForWhatTheCoreWants) {
  start();
  SCStream* const stream = systems();
  EXPECT_EQ(stream.display.displayID, 7U);
  EXPECT_EQ(stream.excluded.firstObject.processID, 200);
  SCStreamConfiguration* const configuration = stream.configuration;
  EXPECT_EQ(configuration.width, 960U);
  EXPECT_EQ(configuration.height, 540U);
  EXPECT_EQ(configuration.minimumFrameInterval.value, 1);
  EXPECT_EQ(configuration.minimumFrameInterval.timescale, 30);
  EXPECT_EQ(configuration.pixelFormat, 0x34323076U);
  EXPECT_TRUE(configuration.showsCursor);
  EXPECT_EQ(configuration.queueDepth, 5);
}

TEST_F(MacScreenStreamTest, HandsImagesAndTheirStatusOn) {
  start();
  fakes::WindowServer::deliver(systems(), {.status = 0, .width = 960, .height = 540});
  fakes::WindowServer::deliver(systems(), {.hasImage = false, .status = 1});
  fakes::WindowServer::deliver(systems(), {.status = std::nullopt});
  fakes::WindowServer::deliver(systems(), {.valid = false});
  ASSERT_EQ(samples(), 4U);
  EXPECT_EQ(samples_[0].image->size(), (PixelSize{960, 540}));
  EXPECT_EQ(samples_[0].status, 0);
  EXPECT_EQ(samples_[1].image, nullptr);
  EXPECT_EQ(samples_[1].status, 1);
  EXPECT_EQ(samples_[2].status, std::nullopt);
  EXPECT_FALSE(samples_[3].valid);
  EXPECT_EQ(samples_[3].image, nullptr);
  EXPECT_EQ(samples_[3].status, std::nullopt);
}

TEST_F(MacScreenStreamTest, KeepsAnImageForAsLongAsSomebodyHoldsIt) {
  start();
  fakes::WindowServer::deliver(systems(), {});
  ASSERT_EQ(samples(), 1U);
  EXPECT_EQ(objc::aliveOf("VeskSampleBuffer"), 0);
  EXPECT_EQ(objc::aliveOf("VeskPixelBuffer"), 1);
  samples_.clear();
  EXPECT_EQ(objc::aliveOf("VeskPixelBuffer"), 0);
}

TEST_F(MacScreenStreamTest, IsSilentOnceItHasStopped) {
  start();
  SCStream* const stream = systems();
  fakes::WindowServer::deliver(stream, {});
  EXPECT_EQ(samples(), 1U);
  stream_->stopCapture(note(stopped_));
  server_.settle();
  EXPECT_EQ(stopped_, none_);
  fakes::WindowServer::deliver(stream, {});
  EXPECT_EQ(samples(), 1U);
  EXPECT_TRUE(ends_.empty());
}

TEST_F(MacScreenStreamTest, TellsOnceThatTheDisplayHasGone) {
  start();
  SCStream* const stream = systems();
  server_.end(stream, "unplugged");
  server_.end(stream, "unplugged again");
  settle();
  EXPECT_EQ(ends_, std::vector<std::string>{"unplugged"});
  stream_->stopCapture(note(stopped_));
  server_.settle();
  EXPECT_EQ(stopped_, Answers{PlatformError{"does not run"}});
}

TEST_F(MacScreenStreamTest, MayBeDestroyedWhileItRuns) {
  start();
  SCStream* const stream = systems();
  server_.holdsAnswersBack = true;
  stream_.reset();
  fakes::WindowServer::deliver(stream, {});
  EXPECT_EQ(samples(), 0U);
  server_.end(stream, "unplugged");
  server_.answer();
  settle();
  EXPECT_TRUE(ends_.empty());
  EXPECT_TRUE(server_.running().empty());
}

TEST_F(MacScreenStreamTest, MayBeDestroyedBeforeItsStartIsAnswered) {
  ASSERT_EQ(make(), std::nullopt);
  server_.holdsAnswersBack = true;
  stream_->startCapture(note(started_));
  stream_.reset();
  EXPECT_TRUE(started_.empty());
  server_.answer();
  settle();
  EXPECT_EQ(started_, none_);
  EXPECT_TRUE(server_.running().empty());
}

TEST_F(MacScreenStreamTest, MayBeDestroyedBeforeItsStopIsAnswered) {
  start();
  server_.holdsAnswersBack = true;
  stream_->stopCapture(note(stopped_));
  stream_.reset();
  EXPECT_TRUE(stopped_.empty());
  server_.answer();
  settle();
  EXPECT_EQ(stopped_, none_);
}

TEST_F(MacScreenStreamTest, LetsGoOfEverythingWhenItHasStopped) {
  start();
  const auto held = std::make_shared<int>(1);
  stream_->stopCapture([held](const auto&) {});
  stream_.reset();
  settle();
  EXPECT_EQ(server_.stops, 1);
  EXPECT_TRUE(testing::waitUntil([&] { return held.use_count() == 1; }));
  EXPECT_EQ(objc::aliveOf("VeskStreamReceiver"), 0);
}

TEST_F(MacScreenStreamTest, KeepsTheProgramAwakeFromStartToEnd) {
  ASSERT_EQ(make(), std::nullopt);
  EXPECT_EQ(fakes::activities, 0);
  start();
  EXPECT_EQ(fakes::activities, 1);
  stream_->stopCapture(note(stopped_));
  EXPECT_EQ(fakes::activities, 0);
  start();
  stream_.reset();
  EXPECT_EQ(fakes::activities, 0);
  server_.refusesStart = "no permission";
  ASSERT_EQ(make(), std::nullopt);
  stream_->startCapture(note(started_));
  server_.settle();
  stream_.reset();
  EXPECT_EQ(fakes::activities, 0);
}

TEST_F(MacScreenStreamTest, KeepsTheProgramAwakeOnceHoweverOftenItIsStarted) {
  start();
  stream_->startCapture(note(started_));
  EXPECT_EQ(fakes::activities, 1);
}

TEST_F(MacScreenStreamTest, HoldsWhatAStreamCallsThatWouldNotStop) {
  start();
  SCStream* const stream = systems();
  server_.throws = "no";
  stream_.reset();
  server_.throws.reset();
  fakes::WindowServer::deliver(stream, {});
  EXPECT_EQ(samples(), 0U);
  server_.end(stream, "unplugged");
  settle();
  EXPECT_TRUE(ends_.empty());
}

TEST_F(MacScreenStreamTest, TellsWhyItDoesNotStart) {
  server_.refusesStart = "no permission";
  ASSERT_EQ(make(), std::nullopt);
  stream_->startCapture(note(started_));
  server_.settle();
  EXPECT_EQ(started_, Answers{PlatformError{"no permission"}});
}

TEST_F(MacScreenStreamTest, TellsWhyThereIsNoOutput) {
  server_.refusesOutput = true;
  EXPECT_EQ(make(), PlatformError{"no output"});
}

TEST_F(MacScreenStreamTest, IsNoStreamForADisplayThatTheCoreMadeUp) {
  content_.displays.at(0).native = nullptr;
  EXPECT_EQ(make(), PlatformError{"The display cannot be captured."});
  stream_->startCapture(note(started_));
  stream_->stopCapture(note(stopped_));
  EXPECT_EQ(started_, Answers{PlatformError{"The display cannot be captured."}});
  EXPECT_EQ(stopped_, started_);
}

TEST_F(MacScreenStreamTest, AnswersOnceWhereAnExceptionFollows) {
  const Answers thrown{PlatformError{"thrown"}};
  for (const bool isAnsweredFirst : {false, true}) {
    server_.throwsAfterwards.reset();
    ASSERT_EQ(make(), std::nullopt);
    server_.throwsAfterwards = "thrown";
    for (auto* const answers : {&started_, &stopped_}) {
      answers->clear();
      server_.holdsAnswersBack = !isAnsweredFirst;
      answers == &started_ ? stream_->startCapture(note(*answers))
                           : stream_->stopCapture(note(*answers));
      server_.answer();
      server_.settle();
      EXPECT_EQ(*answers, isAnsweredFirst ? none_ : thrown);
    }
  }
  server_.throwsAfterwards.reset();
}

TEST_F(MacScreenStreamTest, TellsOfExceptionsAsOfErrors) {
  server_.throws = "thrown";
  EXPECT_EQ(make(), PlatformError{"thrown"});
  server_.throws.reset();
  ASSERT_EQ(make(), std::nullopt);
  server_.throws = "thrown";
  stream_->startCapture(note(started_));
  stream_->stopCapture(note(stopped_));
  EXPECT_EQ(started_, Answers{PlatformError{"thrown"}});
  EXPECT_EQ(stopped_, started_);
}

}  // namespace
}  // namespace vesk::mac
