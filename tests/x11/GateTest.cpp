#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <thread>

#include "x11/EventRecorder.h"
#include "x11/ForeignText.h"
#include "x11/QuestionedWindow.h"
#include "x11/Receivers.h"
#include "x11/Session.h"

namespace vesk::testing::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class GateTest : public ::testing::Test {
 protected:
  void expectNothingHeld() {
    EXPECT_EQ(session_.keysDown(), std::vector<int>{});
    EXPECT_EQ(session_.pointerState(), 0);
    EXPECT_EQ(session_.lockedModifiers(), 0);
    EXPECT_FALSE(session_.has(session_.connection().root(), "_VESK_REMOTE_HELD"));
  }

  Session session_;
  EventRecorder recorder_;
  Hands hands_;
};

TEST_F(GateTest, NothingOfTheViewersIsPostedWhileItIsClosed) {
  hands_.move(0.25, 0.25);
  recorder_.take();
  hands_.gate.close();
  hands_.move(0.5, 0.5);
  hands_.click(0, 0.5, 0.5);
  hands_.strike(13, 15);
  hands_.strike(32);
  hands_.key(160, true, 1);
  hands_.send(R"({"t":"k","c":20,"e":"down"})");
  hands_.send(R"({"t":"m","e":"wheel","d":1})");
  hands_.text("y日\n");
  hands_.releaseAll();
  EXPECT_TRUE(recorder_.take().empty());
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  EXPECT_EQ(session_.pointerState(), 0);
  EXPECT_EQ(session_.lockedModifiers(), 0);
  EXPECT_EQ(hands_.poster.pointerLocation(), (Point{480, 270}));
}

TEST_F(GateTest, WhatIsHeldCanBeLetGoWhileItIsClosed) {
  hands_.key('A', true, 3);
  hands_.button(0, true, 0.5, 0.5);
  hands_.gate.close();
  hands_.releaseAll();
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  EXPECT_EQ(session_.pointerState(), 0);
}

TEST_F(GateTest, InputGoesOnOnceItWasOpenedAsOftenAsClosed) {
  hands_.gate.close();
  hands_.gate.close();
  hands_.gate.open();
  hands_.strike('A');
  EXPECT_EQ(recorder_.takeText(), "");
  hands_.gate.open();
  hands_.strike('A');
  EXPECT_EQ(recorder_.takeText(), "a");
}

TEST_F(GateTest, ClosingItLetsGoOfEverything) {
  const std::string before = session_.keyMap();
  hands_.text("日本語");
  for (const int code : {65, 13, 160, 161, 162, 163, 164, 91, 20}) hands_.key(code, true, 15);
  for (const int button : {0, 1, 2}) hands_.button(button, true, 0.5, 0.5);
  ASSERT_FALSE(session_.keysDown().empty());
  ASSERT_EQ(session_.lockedModifiers(), XCB_MOD_MASK_LOCK);
  ASSERT_NE(session_.keyMap(), before);
  hands_.gate.close();
  expectNothingHeld();
  EXPECT_EQ(session_.keyMap(), before);
}

TEST_F(GateTest, WhatWasLetGoByClosingItIsNotLetGoAgain) {
  for (const int code : {65, 160}) hands_.key(code, true, 1);
  hands_.button(0, true, 0.5, 0.5);
  hands_.gate.close();
  recorder_.take();
  hands_.key('A', false, 1);
  hands_.gate.open();
  hands_.key(160, false, 0);
  hands_.button(0, false, 0.25, 0.25);
  hands_.releaseAll();
  for (const auto& event : recorder_.take()) EXPECT_EQ(event.kind, Received::Kind::motion);
  expectNothingHeld();
}

TEST_F(GateTest, AKeyThatIsPressedOnceItIsOpenAgainGoesDown) {
  hands_.key('A', true);
  hands_.gate.close();
  hands_.gate.open();
  recorder_.take();
  hands_.strike('A');
  EXPECT_EQ(recorder_.takeText(), "a");
}

TEST_F(GateTest, ClosingItLeavesThePersonsKeysAlone) {
  ASSERT_EQ(run({"xdotool", "key", "Caps_Lock", "keydown", "Shift_L", "mousedown", "1"}), 0);
  const auto keys = session_.keysDown();
  hands_.key('A', true, 3);
  hands_.gate.close();
  EXPECT_EQ(session_.keysDown(), keys);
  EXPECT_EQ(session_.lockedModifiers(), XCB_MOD_MASK_LOCK);
  EXPECT_NE(session_.pointerState() & XCB_BUTTON_MASK_1, 0);
}

TEST_F(GateTest, HalfAPairDoesNotOutliveAClosing) {
  const auto type = [this](std::u16string units) {
    hands_.poster.post(KeyboardEvent{.down = true, .unicode = std::move(units)});
  };
  type({u'a', char16_t{0xD83D}});
  hands_.gate.close();
  type(u"b");
  hands_.gate.open();
  type({char16_t{0xDE00}, u'c'});
  EXPECT_EQ(recorder_.takeText(), "ac");
  hands_.gate.endBy(hands_.clock.hostTime() + 1h);
  type({u'a', char16_t{0xD83D}});
  hands_.gate.ended();
  hands_.gate.endBy(hands_.clock.hostTime());
  type(u"b");
  hands_.gate.ended();
  type({char16_t{0xDE00}, u'c'});
  EXPECT_EQ(recorder_.takeText(), "ac");
}

/// A clock that goes on by a millisecond each time that it is read.
class HastyClock : public SystemClock {
 public:
  HostTime hostTime() const override { return now_ += 1ms; }

 private:
  mutable HostTime now_ = std::chrono::steady_clock::now();
};

TEST_F(GateTest, EachStrokeAsksIt) {
  const HastyClock clock;
  InputGate gate(clock);
  x11::input::XEventPoster poster(gate);
  const auto type = [&](std::u16string units) {
    poster.post(KeyboardEvent{.down = true, .unicode = std::move(units)});
    poster.pointerLocation();
    return recorder_.takeText();
  };
  const std::string all = "abcdefghijklmno";
  gate.endBy(clock.hostTime() + 10ms);
  const auto typed = type(u"abcdefghijklmno\xD83D");
  EXPECT_GT(typed.size(), 0U);
  EXPECT_LT(typed.size(), 10U);
  EXPECT_EQ(typed, all.substr(0, typed.size()));
  gate.ended();
  EXPECT_EQ(type(u"\xDE00z"), "z");
}

/// Ten times: text with a line end into a program that does not go on, and then the focus goes
/// where the person is asked.
class UnfinishedTextTest : public GateTest {
 protected:
  void expectNothingAfterClosing(const std::function<void()>& focusProgram) {
    const std::string before = session_.keyMap();
    std::vector<double> taken;
    for (int round = 0; round < 10; ++round) {
      focusProgram();
      std::thread typing([&] { hands_.text(foreignText(300, round * 300) + "\n" + "end\n"); });
      EXPECT_TRUE(eventually([&] { return session_.keyMap() != before; }));
      std::this_thread::sleep_for(round * 20ms);  // wherever it is by then
      const auto start = Clock::now();
      hands_.gate.close();
      taken.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
      expectNothingHeld();
      EventRecorder asked;
      typing.join();
      EXPECT_EQ(asked.take().size(), 0U) << round;
      expectNothingHeld();
      EXPECT_EQ(session_.keyMap(), before) << round;
      hands_.gate.open();
    }
    std::ranges::sort(taken);
    std::printf("closing the gate took %.1f ms at most\n", taken.back());
    EXPECT_LT(taken[taken.size() / 2], 100);
    EXPECT_LT(taken.back(), 1000);
  }
};

TEST_F(UnfinishedTextTest, EndsWhereTheProgramDoesNotAnswer) {
  std::unique_ptr<QuestionedWindow> silent;
  expectNothingAfterClosing([&] { silent = std::make_unique<QuestionedWindow>(); });
}

TEST_F(UnfinishedTextTest, EndsWhereTheProgramTakesNoQuestions) {
  std::unique_ptr<EventRecorder> program;
  expectNothingAfterClosing([&] { program = std::make_unique<EventRecorder>(); });
}

/// A real program that was stopped, which the server goes on filling with events.
TEST(StoppedProgramTest, GetsNothingMoreOnceTheGateIsClosed) {
  Session session(Session::Windows::managed);
  const auto program = startQtEntry(session);
  Hands hands;
  hands.text("a");
  ASSERT_EQ(program->waitFor("a"), "a");
  ::kill(program->pid(), SIGSTOP);
  const std::string before = session.keyMap();
  std::thread typing([&] { hands.text(foreignText(300) + "\n"); });
  EXPECT_TRUE(eventually([&] { return session.keyMap() != before; }));
  const auto start = Clock::now();
  hands.gate.close();
  EXPECT_LT(Clock::now() - start, 500ms);
  EventRecorder asked;
  typing.join();
  EXPECT_EQ(asked.take().size(), 0U);
  EXPECT_EQ(session.keyMap(), before);
  ::kill(program->pid(), SIGCONT);
}

TEST_F(GateTest, AnEndStopsWhatIsQueued) {
  constexpr auto left = 200ms;
  std::thread inputQueue([&] {
    for (int i = 0; i < 20; ++i) hands_.text(foreignText(512, 512 * i));
    hands_.releaseAll();
    hands_.gate.ended();
  });
  EXPECT_TRUE(recorder_.waitForOne());
  const std::uint32_t now = recorder_.serverTime();
  hands_.gate.endBy(hands_.clock.hostTime() + left);
  const auto start = Clock::now();
  inputQueue.join();
  const auto drained = Clock::now() - start;
  const auto received = recorder_.take();
  ASSERT_GT(received.size(), 100U);
  EXPECT_LE(received.back().time - now, (left + 50ms).count());
  EXPECT_LT(drained, 2s);
  EXPECT_EQ(session_.keysDown(), std::vector<int>{});
  std::printf("%zu events, the last one %u ms after the end began\n", received.size(),
              received.back().time - now);
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
