#include "platform/linux/portal/screen/PortalStream.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>
#include <future>
#include <optional>
#include <utility>

#include "platform/linux/loop/ThreadQueue.h"
#include "platform/linux/portal/screen/PortalScreenCapture.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "platform/linux/stream/streamErrors.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "support/ReceivedSamples.h"
#include "support/Scarcity.h"
#include "unit/platform/linux/portal/session/AskedDesktop.h"

namespace vesk::portal::screen::VESK_FILE {
namespace {

class PortalStreamTest : public ::testing::Test, protected session::AskedDesktop {
 protected:
  PortalStreamTest() {
    configuration.width = 1920;
    configuration.height = 1080;
    configuration.framesPerSecond = 60;
    configuration.showsCursor = true;
  }

  /// Asks what can be shared, up to the desktop's question.
  void begin() {
    hand.moveTo(atItsEdge);
    window->waitFor([](const auto& seen) { return seen.hasPointer; });
    ask();
    ASSERT_TRUE(isAsked());
  }

  void ask() {
    capture->shareableContent([this](const auto& offered, const auto& error) {
      if (error) return outcomes.add(error->localizedDescription);
      onAnswer(*offered);
    });
  }

  /// Instead of showing it at once.
  void keepWhatIsOffered() {
    onAnswer = [this](const auto& offered) {
      content = offered;
      outcomes.add("offered");
    };
  }

  /// On any thread: makes a stream of that.
  void show(const ShareableContent& offered) {
    stream = capture->makeStream({offered.displays.front(), {}}, configuration,
                                 [this](const PlatformError& error) { received.fail(error); });
    stream->addOutput([this](const auto& sample, auto) { received.add(sample); }, queue);
    stream->startCapture([this](const auto& error) {
      outcomes.add(error ? error->localizedDescription : std::string("started"));
    });
  }

  /// What the start has come to.
  std::string outcome() {
    outcomes.await();
    return outcomes.all().front();
  }

  bool stopsInTime() {
    auto stopped = std::make_shared<std::promise<void>>();
    stream->stopCapture([stopped](const auto&) { stopped->set_value(); });
    return stopped->get_future().wait_for(std::chrono::milliseconds(testing::patience())) ==
           std::future_status::ready;
  }

  class Outcomes {
   public:
    void add(std::string outcome) {
      const std::lock_guard lock(mutex_);
      all_.push_back(std::move(outcome));
      changed_.notify_all();
    }
    void await() {
      std::unique_lock lock(mutex_);
      changed_.wait_for(lock, std::chrono::milliseconds(testing::patience()),
                        [&] { return !all_.empty(); });
      if (all_.empty()) all_.emplace_back("nothing");
    }
    std::vector<std::string> all() {
      const std::lock_guard lock(mutex_);
      return all_;
    }

    void clear() {
      const std::lock_guard lock(mutex_);
      all_.clear();
    }

   private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> all_;
  };

  const std::string withdrawn = session::sessionError::withdrawn.localizedDescription;
  StreamConfiguration configuration;
  wayland::beneath::OwnSurfaces own;
  stream::WatchedDisplay watched;
  testing::ReceivedSamples received;
  Outcomes outcomes;
  loop::ThreadQueue queue{"test.samples"};
  std::unique_ptr<ScreenStream> stream;
  std::function<void(const ShareableContent&)> onAnswer = [this](const auto& offered) {
    show(offered);
  };
  std::optional<ShareableContent> content;  ///< that was kept
  std::optional<PortalScreenCapture> capture{std::in_place, strokes, gate, own, watched};
};

TEST_F(PortalStreamTest, OffersWhatThePersonHasChosenAndThisProgram) {
  keepWhatIsOffered();
  begin();
  EXPECT_EQ(watched.current(), 0U);
  approve();
  ASSERT_EQ(outcome(), "offered");
  ASSERT_EQ(content->displays.size(), 1U);
  EXPECT_EQ(content->displays[0].displayID, wayland::server::WlDisplays().mainDisplay());
  EXPECT_EQ(content->displays[0].displayID, watched.current());
  EXPECT_EQ(content->displays[0].width, 1920);
  EXPECT_EQ(content->displays[0].height, 1080);
  ASSERT_EQ(content->applications.size(), 1U);
  EXPECT_EQ(content->applications[0].processID, ::getpid());
  EXPECT_TRUE(strokes->isOpen());
  content.reset();
  EXPECT_TRUE(testing::waitUntil([&] { return !strokes->isOpen(); }));
  EXPECT_EQ(watched.current(), 0U);
}

/// As when the desktop is that fast, or the caller that slow.
TEST_F(PortalStreamTest, FailsAtOnceWhereTheSessionHasEndedBeforeIt) {
  keepWhatIsOffered();
  begin();
  approve();
  ASSERT_EQ(outcome(), "offered");
  outcomes.clear();
  capture->withdrawQuestions();
  show(*content);
  EXPECT_EQ(outcome(), withdrawn);
  EXPECT_EQ(watched.current(), 0U);
  EXPECT_TRUE(stopsInTime());
  EXPECT_EQ(received.images(), 0);
  EXPECT_EQ(received.errors(), std::vector<std::string>{});
}

TEST_F(PortalStreamTest, BringsImagesOnceThePersonAgrees) {
  begin();
  EXPECT_TRUE(outcomes.all().empty());
  approve();
  EXPECT_EQ(outcome(), "started");
  EXPECT_TRUE(received.waitUntil([](const auto& all) { return all.images() > 0; }));
  EXPECT_TRUE(strokes->isOpen());
  EXPECT_TRUE(stopsInTime());
  const int images = received.images();
  EXPECT_TRUE(testing::waitUntil([&] { return !strokes->isOpen(); }));
  EXPECT_EQ(received.images(), images);
  EXPECT_EQ(received.errors(), std::vector<std::string>{});
}

TEST_F(PortalStreamTest, SaysThatThePersonHasRefused) {
  begin();
  hand.click({748, 413});
  EXPECT_EQ(outcome(), session::sessionError::refused.localizedDescription);
  capture->withdrawQuestions();
  EXPECT_EQ(outcomes.all().size(), 1U);
  EXPECT_EQ(received.errors(), std::vector<std::string>{});
}

TEST_F(PortalStreamTest, TakesTheQuestionBackWhenItIsWithdrawn) {
  begin();
  capture->withdrawQuestions();
  EXPECT_EQ(outcome(), withdrawn);
  EXPECT_TRUE(isAskedNoMore());
  EXPECT_EQ(received.images(), 0);
  EXPECT_EQ(received.errors(), std::vector<std::string>{});
  EXPECT_TRUE(gate.isOpen());
}

/// As by the stop that comes with the start, on another thread.
TEST_F(PortalStreamTest, AsksNothingThatIsWithdrawnAsItIsAsked) {
  gate.onClose = [this] { capture->withdrawQuestions(); };
  ask();
  gate.onClose = nullptr;
  EXPECT_EQ(outcomes.all(), std::vector{withdrawn});
  EXPECT_TRUE(gate.isOpen());
}

TEST_F(PortalStreamTest, TakesEachQuestionBackWhenAllAreWithdrawn) {
  begin();
  ask();
  capture->withdrawQuestions();
  EXPECT_TRUE(testing::waitUntil([this] { return outcomes.all().size() == 2; }));
  EXPECT_EQ(outcomes.all(), (std::vector{withdrawn, withdrawn}));
  EXPECT_TRUE(isAskedNoMore());
}

TEST_F(PortalStreamTest, KeepsTheViewersHandsStillWhileThePersonIsAsked) {
  EXPECT_TRUE(gate.isOpen());
  begin();
  EXPECT_FALSE(gate.isOpen());
  approve();
  ASSERT_EQ(outcome(), "started");
  EXPECT_TRUE(gate.isOpen());
  EXPECT_TRUE(stopsInTime());
  EXPECT_TRUE(gate.isOpen());
}

TEST_F(PortalStreamTest, LeavesTheViewersHandsFreeWhateverTheAnswer) {
  begin();
  hand.click({748, 413});
  EXPECT_EQ(outcome(), session::sessionError::refused.localizedDescription);
  EXPECT_TRUE(gate.isOpen());
}

TEST_F(PortalStreamTest, IsNotEndedByAWithdrawalOnceThePersonHasAgreed) {
  begin();
  approve();
  ASSERT_EQ(outcome(), "started");
  capture->withdrawQuestions();
  const int images = received.images();
  window->fill(0, 0, 200, 200, 0xffffff);
  EXPECT_TRUE(received.waitUntil([&](const auto& all) { return all.images() > images; }));
  EXPECT_EQ(received.errors(), std::vector<std::string>{});
  stream.reset();
  capture->withdrawQuestions();
}

/// Between the person's answer and the first picture. Where that was here first, once more.
TEST_F(PortalStreamTest, IsGivenUpBeforeItsFirstPictureWhenItIsWithdrawn) {
  for (int i = 0; i < 10 && outcomes.all() != std::vector{withdrawn}; ++i) {
    outcomes.clear();
    begin();
    approve();
    ASSERT_TRUE(testing::waitUntil([this] { return gate.isOpen(); }));
    capture->withdrawQuestions();
    outcome();
    ASSERT_TRUE(isAskedNoMore());
  }
  EXPECT_EQ(outcome(), withdrawn);
  const int images = received.images();
  EXPECT_TRUE(stopsInTime());
  EXPECT_EQ(received.images(), images);
  EXPECT_EQ(received.errors(), std::vector<std::string>{});
}

TEST_F(PortalStreamTest, FailsWhereTheSystemHasNoThread) {
  {
    const testing::NoThreads scarcity;
    ask();
  }
  EXPECT_EQ(outcome(), stream::streamError::noThread.localizedDescription);
  EXPECT_TRUE(gate.isOpen());
  capture->withdrawQuestions();
  EXPECT_EQ(outcomes.all().size(), 1U);
}

TEST_F(PortalStreamTest, TakesTheQuestionBackWhenItIsDestroyed) {
  begin();
  capture.reset();
  EXPECT_TRUE(isAskedNoMore());
  EXPECT_EQ(outcomes.all(), std::vector{withdrawn});
}

TEST_F(PortalStreamTest, EndsOnceWhenTheDesktopEndsIt) {
  begin();
  approve();
  ASSERT_EQ(outcome(), "started");
  desktop.killPipeWire();
  EXPECT_TRUE(received.waitUntil([](const auto& all) { return !all.errors().empty(); }));
  EXPECT_TRUE(stopsInTime());
  EXPECT_EQ(received.errors().size(), 1U);
  EXPECT_EQ(outcomes.all().size(), 1U);
}

TEST_F(PortalStreamTest, EndsOnceWhenTheCompositorIsGone) {
  begin();
  approve();
  ASSERT_EQ(outcome(), "started");
  desktop.killCompositor();
  EXPECT_TRUE(received.waitUntil([](const auto& all) { return !all.errors().empty(); }));
  stream.reset();
  EXPECT_EQ(received.errors().size(), 1U);
}

TEST_F(PortalStreamTest, MayBeDestroyedAsItEnds) {
  std::promise<void> destroyed;
  onAnswer = [&](const auto& offered) {
    stream = capture->makeStream({offered.displays.front(), {}}, configuration, [&](const auto&) {
      stream.reset();
      destroyed.set_value();
    });
    stream->startCapture([this](const auto&) { outcomes.add("started"); });
  };
  begin();
  approve();
  ASSERT_EQ(outcome(), "started");
  desktop.killPipeWire();
  EXPECT_EQ(destroyed.get_future().wait_for(std::chrono::milliseconds(testing::patience())),
            std::future_status::ready);
}

}  // namespace
}  // namespace vesk::portal::screen::VESK_FILE
