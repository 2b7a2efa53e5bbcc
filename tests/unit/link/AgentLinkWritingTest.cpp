#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <thread>

#include "link/AgentLink.h"
#include "support/LinkFixture.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using vesk::testing::bytes;
using vesk::testing::textOf;

/// What is written, to agents that read and to agents that do not.
using AgentLinkWritingTest = vesk::testing::LinkFixture;

TEST_F(AgentLinkWritingTest, WritesWholeFrames) {
  connect();
  link_->sendControl(Message("state").with("state", "starting"));
  link_->sendVideo(bytes({0, 0, 0, 1, 0x65}), Ticks{3000});
  const auto control = peer_->readFrame();
  EXPECT_EQ(control->kind, 1);
  EXPECT_EQ(textOf(control->payload), R"({"op":"state","state":"starting"})");
  EXPECT_EQ(peer_->read(14), bytes({3, 9, 0, 0, 0, 0xb8, 0x0b, 0, 0, 0, 0, 0, 1, 0x65}));
}

TEST_F(AgentLinkWritingTest, DropsAMessageThatJsonCannotCarry) {
  connect();
  link_->sendControl(Message("hello").with("user", "\xff"));
  link_->sendControl(Message("next"));
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"next"})");
}

TEST_F(AgentLinkWritingTest, DropsWhatIsSentWhileThereIsNoConnection) {
  link_->sendControl(Message("early"));
  connect();
  peer_->close();
  clock_.waitForSleep();
  link_->sendControl(Message("between"));
  link_->sendVideo(bytes({1}), Ticks{1});
  clock_.wake();
  peer_.emplace(listener_->accept());
  told_.waitFor(3);
  link_->sendControl(Message("late"));
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"late"})");
}

TEST_F(AgentLinkWritingTest, NeverMixesTheFramesOfTwoWriters) {
  connect();
  constexpr int framesEach = 8;
  const auto write = [this](char fill) {
    const Bytes accessUnit(2'000'000, static_cast<std::byte>(fill));
    for (int i = 0; i < framesEach; ++i) link_->sendVideo(accessUnit, Ticks{1});
  };
  std::thread first(write, 'a');
  std::thread second(write, 'b');
  int counted[2] = {0, 0};
  for (int i = 0; i < 2 * framesEach; ++i) {
    // Longer than the program's own reader would take: the limit is for what the agent sends.
    EXPECT_EQ(peer_->read(9), bytes({3, 0x84, 0x84, 0x1e, 0, 1, 0, 0, 0}));
    const Bytes accessUnit = peer_->read(2'000'000);
    ASSERT_EQ(accessUnit, Bytes(2'000'000, accessUnit.front()));
    ++counted[accessUnit.front() == std::byte{'b'} ? 1 : 0];
  }
  first.join();
  second.join();
  EXPECT_EQ(counted[0], framesEach);
  EXPECT_EQ(counted[1], framesEach);
}

/// Bytes beyond what a socket's buffers hold, so that a write must wait for the reader.
constexpr std::size_t moreThanBuffered = 8'000'000;

TEST_F(AgentLinkWritingTest, WaitsForAnAgentThatStopsReadingAndReadsOnMeanwhile) {
  connect();
  std::thread writer([this] { link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}); });
  peer_->read(9);  // the frame is on its way
  send(FrameKind::control, R"({"op":"meanwhile"})");
  EXPECT_EQ(told_.waitFor(2).back(), "control meanwhile");
  EXPECT_EQ(peer_->read(moreThanBuffered).size(), moreThanBuffered);
  writer.join();
}

/// The share of a processor that the program takes for itself over a while.
double shareOfAProcessor() {
  constexpr auto period = 200ms;
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(period);
  const double seconds = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
  return seconds / std::chrono::duration<double>(period).count();
}

TEST_F(AgentLinkWritingTest, WaitsAsleepForAnAgentThatDoesNotRead) {
  connect();
  std::thread writer([this] { link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}); });
  peer_->read(9);
  EXPECT_LT(shareOfAProcessor(), 0.2);
  link_->setPatience(AgentLink::Patience::drops);
  writer.join();
  std::thread finisher([this] { manual_.run(); });
  EXPECT_LT(shareOfAProcessor(), 0.2);
  EXPECT_EQ(peer_->read(moreThanBuffered).size(), moreThanBuffered);
  finisher.join();
}

/// Whoever wakes up at times only gets a buffer's worth through each time.
TEST_F(AgentLinkWritingTest, WakesAsSoonAsTheAgentHasRead) {
  connect();
  constexpr std::size_t much = 64'000'000;
  const auto begin = std::chrono::steady_clock::now();
  std::thread writer([this] { link_->sendVideo(Bytes(much), Ticks{7}); });
  for (std::size_t left = 9 + much; left > 0;) {
    const std::size_t part = std::min<std::size_t>(left, 50'000);
    peer_->read(part);
    left -= part;
  }
  writer.join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
}

TEST_F(AgentLinkWritingTest, NeverMakesTheSenderOfAMessageWaitForTheAgent) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
  for (int i = 0; i < 3; ++i) link_->sendControl(Message("after").with("number", i));
  std::thread writer([this] { manual_.run(); });
  EXPECT_EQ(peer_->read(9 + moreThanBuffered).size(), 9 + moreThanBuffered);
  writer.join();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(textOf(peer_->readFrame()->payload),
              R"({"number":)" + std::to_string(i) + R"(,"op":"after"})");
  }
}

TEST_F(AgentLinkWritingTest, DropsTheMessagesBeyondItsBoundForAnAgentThatDoesNotRead) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
  const std::string filling(AgentLink::mostWaiting / 8, 'x');
  for (int i = 0; i < 20; ++i) link_->sendControl(Message("filling").with("text", filling));
  std::thread writer([this] { manual_.run(); });
  peer_->read(9 + moreThanBuffered);
  int came = 0;
  for (; came < 7; ++came) EXPECT_GT(peer_->readFrame()->payload.size(), filling.size());
  writer.join();
  EXPECT_TRUE(peer_->isSilent());
  link_->sendControl(Message("next"));
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"next"})");
}

TEST_F(AgentLinkWritingTest, HasRoomForMessagesAgainOnceTheyAreOutOrTheirConnectionIs) {
  const std::string filling(AgentLink::mostWaiting * 3 / 8, 'x');
  connect();
  for (const bool isRead : {true, true, false, true}) {
    link_->setPatience(AgentLink::Patience::drops);
    EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
    for (int i = 0; i < 2; ++i) link_->sendControl(Message("filling").with("text", filling));
    link_->setPatience(AgentLink::Patience::waits);
    if (!isRead) replaceAgent();
    std::thread writer([this] { manual_.run(); });
    if (isRead) {
      peer_->read(9 + moreThanBuffered);
      for (int i = 0; i < 2; ++i) EXPECT_GT(peer_->readFrame()->payload.size(), filling.size());
    }
    writer.join();
  }
}

TEST_F(AgentLinkWritingTest, HasRoomForMessagesAgainWhateverTheirOrderWas) {
  connect();
  const std::string longText(AgentLink::mostWaiting * 3 / 8, 'x');
  for (const bool isLongFirst : {true, true, true, false, false}) {
    link_->setPatience(AgentLink::Patience::drops);
    EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
    for (const bool isLong : {isLongFirst, !isLongFirst})
      link_->sendControl(Message("waiting").with("text", isLong ? longText : "x"));
    std::thread writer([this] { manual_.run(); });
    peer_->read(9 + moreThanBuffered);
    for (const bool isLong : {isLongFirst, !isLongFirst})
      EXPECT_EQ(peer_->readFrame()->payload.size() > longText.size(), isLong);
    writer.join();
  }
}

TEST_F(AgentLinkWritingTest, SendsWhatWaitsBeforeAnotherPicture) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
  link_->sendControl(Message("waiting"));
  link_->setPatience(AgentLink::Patience::waits);
  std::thread writer([this] { link_->sendVideo(bytes({1}), Ticks{1}); });
  peer_->read(9 + moreThanBuffered);
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"waiting"})");
  EXPECT_EQ(peer_->readFrame()->kind, 3);
  writer.join();
}

TEST_F(AgentLinkWritingTest, DropsAFrameThatFindsNoRoomOncePatienceIsOver) {
  connect();
  std::thread writer([this] { link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}); });
  peer_->read(9);
  link_->setPatience(AgentLink::Patience::drops);
  writer.join();
  EXPECT_FALSE(link_->sendVideo(bytes({1}), Ticks{1}));
  // What was begun comes whole, and nothing of what was dropped.
  std::thread finisher([this] { manual_.run(); });
  EXPECT_EQ(peer_->read(moreThanBuffered).size(), moreThanBuffered);
  finisher.join();
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(AgentLinkWritingTest, TakesNoPictureThatItHasNotGotASingleByteOutOf) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  const Bytes small(100);  // goes out whole or not at all
  int taken = 0;
  while (link_->sendVideo(small, Ticks{1})) ++taken;
  for (int i = 0; i < taken; ++i) EXPECT_EQ(peer_->readFrame()->payload.size(), 4 + small.size());
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(AgentLinkWritingTest, SendsAMessageThatFoundNoRoomWithoutAnythingBehindIt) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  int taken = 0;
  while (link_->sendVideo(Bytes(100), Ticks{1})) ++taken;
  link_->sendControl(Message("waiting"));
  ASSERT_TRUE(manual_.waitForTasks(1)) << "somebody who sends it once there is room";
  std::thread writer([this] { manual_.run(); });
  for (int i = 0; i < taken; ++i) EXPECT_EQ(peer_->readFrame()->kind, 3);
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"waiting"})");
  writer.join();
}

TEST_F(AgentLinkWritingTest, SendsNothingOnAnotherConnectionThanItIsMeantFor) {
  connect();
  const auto first = link_->connection();
  EXPECT_NE(first, AgentLink::Connection::none);
  peer_->close();
  clock_.waitForSleep();
  EXPECT_EQ(link_->connection(), AgentLink::Connection::none);
  link_->sendControl(Message("nobody"), AgentLink::Connection::none);
  clock_.wake();
  peer_.emplace(listener_->accept());
  told_.waitFor(3);
  EXPECT_NE(link_->connection(), first);
  link_->sendControl(Message("stale"), first);
  EXPECT_FALSE(link_->sendVideo(bytes({1}), Ticks{1}, first));
  link_->sendControl(Message("fresh"), link_->connection());
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"fresh"})");
}

TEST_F(AgentLinkWritingTest, TellsNothingOfTheFrameBeforeALossToTheNextAgent) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  link_->sendVideo(Bytes(moreThanBuffered), Ticks{7});
  link_->sendControl(Message("waiting"));
  peer_->close();
  clock_.waitForSleep();
  clock_.wake();
  peer_.emplace(listener_->accept());
  told_.waitFor(3);
  manual_.run();
  link_->sendControl(Message("next"));
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"next"})");
}

TEST_F(AgentLinkWritingTest, GivesUpAFrameWhenTheAgentGoesAwayWithoutReadingIt) {
  connect();
  std::thread writer([this] { link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}); });
  peer_->read(9);
  peer_->close();
  writer.join();
  EXPECT_EQ(clock_.waitForSleep(), 1s);
  clock_.wake();
  peer_.emplace(listener_->accept());
  told_.waitFor(3);
  link_->sendControl(Message("next"));
  EXPECT_EQ(textOf(peer_->readFrame()->payload), R"({"op":"next"})");
}

}  // namespace
}  // namespace vesk::VESK_FILE
