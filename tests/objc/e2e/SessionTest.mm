#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <iterator>
#include <utility>

#include "objc/dispatch/MainLoop.h"
#include "objc/e2e/SessionWorld.h"
#include "objc/frameworks/Foundation.h"
#include "objc/runtime/Runtime.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

using namespace std::chrono_literals;

constexpr int plainSlice = 1;
const std::vector<int> keyFrame{7, 8, 5};

class MacSessionTest : public SessionTestBase {
 protected:
  std::size_t posted() {
    const std::lock_guard lock(fakes::mac::postedMutex);
    return system_.posted.size();
  }
  /// The session ends, and the system has yet to say that its stream has.
  void stopUnanswered() {
    server_.holdsAnswersBack = true;
    world_.tell(stop);
    ASSERT_TRUE(runUntil([this] { return desk_.shown.empty(); }));
  }
};

TEST_F(MacSessionTest, GreetsWithWhatWasGranted) {
  EXPECT_NE(world_.greeting.find(R"("screenRecording":true)"), std::string::npos);
  EXPECT_NE(world_.greeting.find(R"("accessibility":true)"), std::string::npos);
}

TEST_F(MacSessionTest, RunsFromStartToStop) {
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  EXPECT_EQ(world_.units(), std::vector{plainSlice});
  EXPECT_EQ(stream().configuration.width, 1920U);
  EXPECT_EQ(stream().excluded.firstObject.processID, 100);
  ASSERT_EQ(desk_.shown.size(), 2U);
  NSTextField* const label =
      static_cast<NSTextField*>(desk_.shown[1].contentView.subviews.firstObject);
  EXPECT_STREQ(label.stringValue.UTF8String, "Anna is viewing this screen");
  end();
  // The thread that has completed its frames lets go of it last.
  EXPECT_TRUE(runUntil([] { return objc::aliveOf("VeskCompressionSession") == 0; }));
}

TEST_F(MacSessionTest, RunsTenMoreAndLeavesNothing) {
  for (int i = 0; i < 10; ++i) {
    @autoreleasepool {
      begin();
      EXPECT_EQ(world_.units(), keyFrame);
      end();
    }
    EXPECT_EQ(leftBehind(), std::vector<std::string>{});
  }
  EXPECT_EQ(encoder_.sessions, 10);
}

TEST_F(MacSessionTest, NoticesAnObjectThatLeaks) {
  SCStream* held = nil;
  @autoreleasepool {
    begin();
    held = stream();
    end();
  }
  const auto found = leftBehind(20ms);
  EXPECT_NE(std::ranges::find(found, "SCStream"), found.end());
  EXPECT_TRUE(held != nil);
}

TEST_F(MacSessionTest, GivesAKeyFrameWhenItIsAsked) {
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  world_.tell(R"({"op":"keyframe"})");
  while (world_.units() != keyFrame) {
  }
  end();
}

TEST_F(MacSessionTest, TellsOfADisplayThatGoesAwayAndStartsAgain) {
  begin();
  server_.end(stream(), "The display was unplugged.");
  EXPECT_EQ(world_.heard(),
            R"({"message":"The Mac stopped sharing its screen: The display was unplugged.",)"
            R"("op":"fault"})");
  EXPECT_TRUE(runUntil([this] { return desk_.shown.empty(); }));
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  end();
}

TEST_F(MacSessionTest, ShowsNothingThatTheStreamBeforeItBringsLate) {
  begin();
  SCStream* const before = stream();
  stopUnanswered();
  fakes::WindowServer::deliver(before, {});
  server_.answer();
  world_.tell(start);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(), started);
  const auto frames = [this] {
    const std::lock_guard lock(encoder_.mutex);
    return encoder_.frames;
  };
  const int early = frames();
  EXPECT_FALSE(runUntil([&] { return frames() > early; }, 150ms));
  fakes::WindowServer::deliver(stream(), {});
  EXPECT_TRUE(runUntil([&] { return frames() > early; }));
  end();
}

TEST_F(MacSessionTest, GoesOnWhenTheStreamBeforeItEndsLate) {
  begin();
  SCStream* const before = stream();
  stopUnanswered();
  // The stop alone waits for its answer.
  server_.holdsAnswersBack = false;
  world_.tell(start);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(), started);
  server_.end(before, "The display was unplugged.");
  server_.settle();
  world_.tell(start);
  EXPECT_EQ(world_.heard(), R"({"height":1080,"op":"started","width":1920})");
  EXPECT_EQ(desk_.shown.size(), 2U);
  server_.answer();
  end();
}

/// How long an encoder takes is its own affair, and whom its pictures were for the person's.
TEST_F(MacSessionTest, ShowsNothingThatTheEncoderBeforeItBringsLate) {
  encoder_.answers = fakes::Answers::late;
  begin();
  std::deque<std::function<void()>> late;
  ASSERT_TRUE(runUntil([&] {
    const std::lock_guard lock(encoder_.mutex);
    std::ranges::move(std::exchange(encoder_.waiting, {}), std::back_inserter(late));
    return late.size() == 5;
  }));
  end();
  encoder_.answers = fakes::Answers::atOnce;
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  late.front()();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(world_.units(), std::vector{plainSlice});
  late.clear();
  end();
}

TEST_F(MacSessionTest, ChangesTheNameInTheStrip) {
  begin();
  world_.tell(R"({"op":"viewer","name":"Zoë"})");
  EXPECT_TRUE(runUntil([this] {
    NSTextField* const label =
        static_cast<NSTextField*>(desk_.shown.at(1).contentView.subviews.firstObject);
    return [label.stringValue units] == u"Zoë is viewing this screen";
  }));
  end();
}

TEST_F(MacSessionTest, TellsWhyItDoesNotStart) {
  server_.refusesStart = "no";
  world_.tell(start);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(), R"({"message":"The Mac could not share its screen: no","op":"fault"})");
  server_.refusesStart.reset();
  begin();
  end();
}

TEST_F(MacSessionTest, IsToldOnceOfAStartThatTheSystemTookAndThrewAt) {
  server_.holdsAnswersBack = true;
  server_.throwsAfterwards = "thrown";
  world_.tell(start);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(),
            R"({"message":"The Mac could not share its screen: thrown","op":"fault"})");
  server_.throwsAfterwards.reset();
  server_.answer();
  // The answer, and a stream that it might start.
  for (int i = 0; i < 2; ++i) server_.settle();
  EXPECT_TRUE(server_.running().empty());
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  end();
}

TEST_F(MacSessionTest, WaitsForAStreamThatStartsAfterTheStop) {
  server_.holdsAnswersBack = true;
  world_.tell(start);
  EXPECT_EQ(world_.heard(), starting);
  world_.tell(stop);
  runUntil([] { return false; }, 20ms);
  server_.answer();
  EXPECT_EQ(world_.heard(), started);
  EXPECT_TRUE(runUntil([this] { return server_.running().empty(); }));
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  end();
}

TEST_F(MacSessionTest, DeliversWhatALateEncoderHasBeforeItStops) {
  encoder_.answers = fakes::Answers::late;
  begin();
  ASSERT_TRUE(runUntil([this] {
    const std::lock_guard lock(encoder_.mutex);
    return encoder_.frames > 0;
  }));
  end();
  encoder_.answers = fakes::Answers::atOnce;
  EXPECT_TRUE(encoder_.waiting.empty());
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  end();
}

TEST_F(MacSessionTest, StopsWithAnEncoderThatNeverAnswers) {
  encoder_.answers = fakes::Answers::never;
  begin();
  ASSERT_TRUE(runUntil([this] {
    const std::lock_guard lock(encoder_.mutex);
    return encoder_.frames == 5;
  }));
  end();
  encoder_.answers = fakes::Answers::atOnce;
  begin();
  EXPECT_EQ(world_.units(), keyFrame);
  end();
}

TEST_F(MacSessionTest, StartsWhenThePersonAllowsIt) {
  desk_.onAlert = [](NSAlert* alert) {
    EXPECT_STREQ(alert.messageText.UTF8String, "Anna would like to view your screen");
    fakes::click(0, 1);
  };
  world_.tell(startWithConsent);
  EXPECT_EQ(world_.heard(), awaiting);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(), started);
  end();
  EXPECT_EQ(desk_.activations, 1);
}

TEST_F(MacSessionTest, DoesNotStartWhenThePersonRefuses) {
  desk_.onAlert = [](NSAlert*) { fakes::click(1, 1); };
  world_.tell(startWithConsent);
  EXPECT_EQ(world_.heard(), awaiting);
  EXPECT_EQ(world_.heard(), denied);
  EXPECT_TRUE(server_.running().empty());
}

TEST_F(MacSessionTest, DoesNotStartWhenNobodyAnswers) {
  desk_.onAlert = [](NSAlert*) { fakes::MainLoop::only().advance(60s); };
  for (const bool throws : {true, false}) {
    desk_.abortThrows = throws;
    world_.tell(startWithConsent);
    EXPECT_EQ(world_.heard(), awaiting);
    EXPECT_EQ(world_.heard(), denied);
  }
  EXPECT_EQ(desk_.alerts, 2);
  EXPECT_TRUE(desk_.shown.empty());
}

TEST_F(MacSessionTest, HoldsTheStopBackWhileTheAlertIsUp) {
  desk_.onAlert = [this](NSAlert*) {
    world_.tell(stop);
    world_.tell(R"({"op":"start"})");
    EXPECT_TRUE(waitUntil([] { return fakes::MainLoop::only().waiting() == 2; }));
    fakes::soon([] { fakes::click(0, 1); });
  };
  world_.tell(startWithConsent);
  EXPECT_EQ(world_.heard(), awaiting);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(), starting);
  EXPECT_EQ(world_.heard(), started);
  EXPECT_EQ(world_.heard(), started);
  end();
}

TEST_F(MacSessionTest, PostsWhatTheViewerDoesAndLetsGoAtTheEnd) {
  begin(startWithInput);
  world_.input(R"({"t":"k","c":65,"e":"down"})");
  ASSERT_TRUE(runUntil([this] { return posted() > 0; }));
  end();
  ASSERT_TRUE(runUntil([this] { return posted() > 1; }));
  const std::lock_guard lock(fakes::mac::postedMutex);
  EXPECT_EQ(system_.posted[0].down, true);
  EXPECT_EQ(system_.posted[1].down, false);
  EXPECT_EQ(system_.posted[0].key, system_.posted[1].key);
}

/// The link's task ends with the process, and so would the pool around it.
TEST_F(MacSessionTest, LeavesNothingOfAGreetingInThePoolOfTheLink) {
  const long before = objc::aliveOf("VeskAnswer");
  world_.reconnect();
  EXPECT_EQ(objc::aliveOf("VeskAnswer"), before);
}

TEST_F(MacSessionTest, EndsWithItsAgent) {
  begin();
  EXPECT_EQ(world_.reconnect(), world_.greeting);
  EXPECT_TRUE(runUntil([this] { return server_.running().empty() && desk_.shown.empty(); }));
}

}  // namespace
}  // namespace vesk::testing
