#include "link/AgentLink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>

#include "fakes/ManualQueues.h"
#include "support/LinkLoop.h"
#include "support/LogLines.h"
#include "support/TemporaryFolder.h"
#include "support/UnixListener.h"

namespace vesk {
namespace {

using namespace std::chrono_literals;
using vesk::testing::bytes;
using vesk::testing::textBytes;
using vesk::testing::UnixListener;
using vesk::testing::UnixPeer;
using Lines = std::vector<std::string>;

/// What the callbacks were told, in order, to be waited for.
class Told {
 public:
  void add(std::string event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
    changed_.notify_all();
  }
  Lines waitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, vesk::testing::patience, [&] { return events_.size() >= count; });
    return events_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  Lines events_;
};

std::string text(ByteView data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

class AgentLinkTest : public ::testing::Test {
 protected:
  AgentLinkTest() {
    link_->onConnected = [this] { told_.add("connected"); };
    link_->onDisconnected = [this] { told_.add("disconnected"); };
    link_->onControl = [this](const Message& message) {
      told_.add("control " + message.string("op").value_or("?"));
    };
    link_->onInput = [this](ByteView data) { told_.add("input " + text(data)); };
  }

  ~AgentLinkTest() override {
    clock_.end();
    peer_.reset();
    listener_.reset();
    link_.reset();
    queues_.join();
  }

  /// Starts the link with an agent that listens, up to the connection.
  void connect() {
    listener_.emplace(path_);
    link_->start();
    peer_.emplace(listener_->accept());
    told_.waitFor(1);
  }

  /// The agent goes, and the next one comes.
  void replaceAgent() {
    const auto before = told_.waitFor(0).size();
    peer_->close();
    clock_.waitForSleep();
    clock_.wake();
    peer_.emplace(listener_->accept());
    told_.waitFor(before + 2);
  }

  void send(FrameKind kind, std::string_view payload) const {
    peer_->write(frameBytes(kind, textBytes(payload)));
  }

  vesk::testing::TemporaryFolder folder_;
  std::filesystem::path path_ = folder_.path() / "agent.sock";
  vesk::testing::LogLines log_;
  fakes::ManualClock time_;
  vesk::testing::SteppedClock clock_{time_};
  fakes::ManualQueues manual_{time_};
  vesk::testing::LinkQueues queues_{manual_};
  Told told_;
  std::optional<UnixListener> listener_;
  std::optional<UnixPeer> peer_;
  std::shared_ptr<AgentLink> link_ = std::make_shared<AgentLink>(queues_, clock_, path_.string());
};

TEST_F(AgentLinkTest, HasTheAgentsSocketForItsConstant) {
  EXPECT_EQ(AgentLink::socketPath, "/var/run/com.vesk.tovarin.screen.sock");
}

TEST_F(AgentLinkTest, TriesEveryTwoSecondsWithoutAWordWhileNobodyListens) {
  link_->start();
  for (int attempt = 0; attempt < 50; ++attempt) {
    EXPECT_EQ(clock_.waitForSleep(), 2s);
    clock_.wake();
  }
  EXPECT_EQ(clock_.waitForSleep(), 2s);
  EXPECT_FALSE(link_->isConnected());
  EXPECT_EQ(log_.messages(), Lines{});

  listener_.emplace(path_);
  clock_.wake();
  peer_.emplace(listener_->accept());
  EXPECT_EQ(told_.waitFor(1), Lines{"connected"});
  EXPECT_EQ(log_.messages(), Lines{"Connected to the Vesk agent."});
}

TEST_F(AgentLinkTest, TriesAgainWhereASocketFileWasLeftBehind) {
  { const UnixListener gone(path_); }
  std::filesystem::create_directory(path_);
  link_->start();
  EXPECT_EQ(clock_.waitForSleep(), 2s);
}

TEST_F(AgentLinkTest, ReportsALossOnceAndConnectsAgainAfterOneSecond) {
  connect();
  EXPECT_TRUE(link_->isConnected());
  peer_->close();
  EXPECT_EQ(clock_.waitForSleep(), 1s);
  EXPECT_FALSE(link_->isConnected());
  EXPECT_EQ(told_.waitFor(2), (Lines{"connected", "disconnected"}));
  clock_.wake();
  peer_.emplace(listener_->accept());
  EXPECT_EQ(told_.waitFor(3), (Lines{"connected", "disconnected", "connected"}));
  EXPECT_EQ(log_.messages(),
            (Lines{"Connected to the Vesk agent.", "Lost the Vesk agent; reconnecting.",
                   "Connected to the Vesk agent."}));
}

TEST_F(AgentLinkTest, WritesOfTheLossBeforeItTellsOfIt) {
  Lines written;
  bool connected = true;
  link_->onDisconnected = [&] {
    written = log_.messages();
    connected = link_->isConnected() || link_->connection() != AgentLink::Connection::none;
    told_.add("disconnected");
  };
  connect();
  peer_->close();
  told_.waitFor(2);
  EXPECT_EQ(written, (Lines{"Connected to the Vesk agent.", "Lost the Vesk agent; reconnecting."}));
  EXPECT_FALSE(connected);
}

/// The one that the system would give next.
int firstFreeDescriptor() { return Descriptor(::dup(STDERR_FILENO)).get(); }

TEST_F(AgentLinkTest, HoldsNoDescriptorBetweenItsAttempts) {
  const int before = firstFreeDescriptor();
  link_->start();
  for (int attempt = 0; attempt < 5; ++attempt) {
    clock_.waitForSleep();
    EXPECT_EQ(firstFreeDescriptor(), before) << attempt;
    clock_.wake();
  }
  clock_.waitForSleep();
}

TEST_F(AgentLinkTest, WaitsTwoSecondsWhenTheAgentIsStillAwayAfterALoss) {
  connect();
  listener_.reset();
  peer_->close();
  EXPECT_EQ(clock_.waitForSleep(), 1s);
  clock_.wake();
  EXPECT_EQ(clock_.waitForSleep(), 2s);
}

TEST_F(AgentLinkTest, HandsOnControlAndInputInOrder) {
  connect();
  send(FrameKind::control, R"({"op":"one"})");
  send(FrameKind::input, "anything\xff");
  send(FrameKind::input, "");
  send(FrameKind::control, R"({"op":"two"})");
  EXPECT_EQ(told_.waitFor(5),
            (Lines{"connected", "control one", "input anything\xff", "input ", "control two"}));
}

TEST_F(AgentLinkTest, AssemblesAFrameThatComesInPieces) {
  connect();
  const Bytes frame = frameBytes(FrameKind::input, textBytes("abc"));
  for (const std::byte byte : frame) {
    peer_->write(ByteView(&byte, 1));
    std::this_thread::yield();
  }
  EXPECT_EQ(told_.waitFor(2).back(), "input abc");
}

TEST_F(AgentLinkTest, DropsWhatIsNoControlMessageAndGoesOn) {
  connect();
  for (const auto* payload : {"", "[1,2]", "\"text\"", "{", "nonsense", "12", "{\"a\":\"\xff\"}"}) {
    send(FrameKind::control, payload);
  }
  send(FrameKind::control, R"({"op":"next"})");
  EXPECT_EQ(told_.waitFor(2), (Lines{"connected", "control next"}));
  EXPECT_EQ(log_.messages(), Lines{"Connected to the Vesk agent."});
}

TEST_F(AgentLinkTest, SkipsFramesOfOtherKindsWhole) {
  connect();
  for (const int kind : {0, 3, 4, 255}) {
    send(static_cast<FrameKind>(kind), R"({"op":"x"})");
  }
  send(FrameKind::control, R"({"op":"next"})");
  EXPECT_EQ(told_.waitFor(2), (Lines{"connected", "control next"}));
}

TEST_F(AgentLinkTest, ReadsTheLongestFrame) {
  connect();
  send(FrameKind::input, std::string(1'048'576, 'x'));
  EXPECT_EQ(told_.waitFor(2).back().size(), 1'048'576U + 6);
}

TEST_F(AgentLinkTest, TakesALongerFrameForALoss) {
  connect();
  peer_->write(bytes({2, 0x01, 0x00, 0x10, 0x00}));
  EXPECT_EQ(clock_.waitForSleep(), 1s);
  EXPECT_EQ(told_.waitFor(2), (Lines{"connected", "disconnected"}));
  EXPECT_TRUE(peer_->isSilent());
}

TEST_F(AgentLinkTest, ThrowsAwayAFrameThatTheAgentDidNotFinish) {
  connect();
  peer_->write(bytes({2, 100, 0, 0, 0, 'a', 'b'}));
  peer_->close();
  EXPECT_EQ(told_.waitFor(2), (Lines{"connected", "disconnected"}));
}

TEST_F(AgentLinkTest, AsksForItsCallbacksAtEachFrame) {
  link_->onControl = nullptr;
  link_->onInput = nullptr;
  listener_.emplace(path_);
  std::promise<void> mayGoOn;
  link_->onConnected = [&] { mayGoOn.get_future().wait(); };
  link_->start();
  peer_.emplace(listener_->accept());
  send(FrameKind::control, R"({"op":"one"})");
  send(FrameKind::input, "two");
  link_->onInput = [this](ByteView data) { told_.add("late " + text(data)); };
  mayGoOn.set_value();
  EXPECT_EQ(told_.waitFor(1), Lines{"late two"});
}

TEST_F(AgentLinkTest, WritesWholeFrames) {
  connect();
  link_->sendControl(Message("state").with("state", "starting"));
  link_->sendVideo(bytes({0, 0, 0, 1, 0x65}), Ticks{3000});
  const auto control = peer_->readFrame();
  EXPECT_EQ(control->kind, 1);
  EXPECT_EQ(text(control->payload), R"({"op":"state","state":"starting"})");
  EXPECT_EQ(peer_->read(14), bytes({3, 9, 0, 0, 0, 0xb8, 0x0b, 0, 0, 0, 0, 0, 1, 0x65}));
}

TEST_F(AgentLinkTest, DropsAMessageThatJsonCannotCarry) {
  connect();
  link_->sendControl(Message("hello").with("user", "\xff"));
  link_->sendControl(Message("next"));
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"next"})");
}

TEST_F(AgentLinkTest, DropsWhatIsSentWhileThereIsNoConnection) {
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
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"late"})");
}

TEST_F(AgentLinkTest, NeverMixesTheFramesOfTwoWriters) {
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

TEST_F(AgentLinkTest, WaitsForAnAgentThatStopsReadingAndReadsOnMeanwhile) {
  connect();
  std::thread writer([this] { link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}); });
  peer_->read(9);  // the frame is on its way
  send(FrameKind::control, R"({"op":"meanwhile"})");
  EXPECT_EQ(told_.waitFor(2).back(), "control meanwhile");
  EXPECT_EQ(peer_->read(moreThanBuffered).size(), moreThanBuffered);
  writer.join();
}

TEST_F(AgentLinkTest, NeverMakesTheSenderOfAMessageWaitForTheAgent) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
  for (int i = 0; i < 3; ++i) link_->sendControl(Message("after").with("number", i));
  std::thread writer([this] { manual_.run(); });
  EXPECT_EQ(peer_->read(9 + moreThanBuffered).size(), 9 + moreThanBuffered);
  writer.join();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(text(peer_->readFrame()->payload),
              R"({"number":)" + std::to_string(i) + R"(,"op":"after"})");
  }
}

TEST_F(AgentLinkTest, DropsTheMessagesBeyondItsBoundForAnAgentThatDoesNotRead) {
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
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"next"})");
}

TEST_F(AgentLinkTest, HasRoomForMessagesAgainOnceTheyAreOutOrTheirConnectionIs) {
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

TEST_F(AgentLinkTest, SendsWhatWaitsBeforeAnotherPicture) {
  connect();
  link_->setPatience(AgentLink::Patience::drops);
  EXPECT_TRUE(link_->sendVideo(Bytes(moreThanBuffered), Ticks{7}));
  link_->sendControl(Message("waiting"));
  link_->setPatience(AgentLink::Patience::waits);
  std::thread writer([this] { link_->sendVideo(bytes({1}), Ticks{1}); });
  peer_->read(9 + moreThanBuffered);
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"waiting"})");
  EXPECT_EQ(peer_->readFrame()->kind, 3);
  writer.join();
}

TEST_F(AgentLinkTest, DropsAFrameThatFindsNoRoomOncePatienceIsOver) {
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

TEST_F(AgentLinkTest, SendsNothingOnAnotherConnectionThanItIsMeantFor) {
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
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"fresh"})");
}

TEST_F(AgentLinkTest, TellsNothingOfTheFrameBeforeALossToTheNextAgent) {
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
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"next"})");
}

TEST_F(AgentLinkTest, GivesUpAFrameWhenTheAgentGoesAwayWithoutReadingIt) {
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
  EXPECT_EQ(text(peer_->readFrame()->payload), R"({"op":"next"})");
}

/// A descriptor that is closed may be somebody else's at once, and whoever writes must not find it.
TEST_F(AgentLinkTest, IsNeverConnectedByADescriptorThatIsClosed) {
  listener_.emplace(path_);
  const int descriptor = firstFreeDescriptor();
  link_->start();
  const Message longMessage = Message("long").with("text", std::string(100'000, 'x'));
  for (std::size_t connection = 0; connection < 40; ++connection) {
    peer_.emplace(listener_->accept());
    told_.waitFor(2 * connection + 1);
    std::atomic<bool> over = false;
    std::atomic<int> closedUnderWriters = 0;
    std::thread watcher([&] {
      while (!over) {
        const bool isClosed = ::fcntl(descriptor, F_GETFD) < 0;
        if (isClosed && link_->isConnected()) ++closedUnderWriters;
      }
    });
    std::thread writer([&] {
      while (!over) link_->sendControl(longMessage);
    });
    peer_->close();
    clock_.waitForSleep();
    over = true;
    watcher.join();
    writer.join();
    ASSERT_EQ(closedUnderWriters, 0) << "connection " << connection;
    clock_.wake();
  }
  peer_.emplace(listener_->accept());
}

TEST_F(AgentLinkTest, DoesNothingWhenItIsGoneBeforeItsLoopStarts) {
  auto link = std::make_shared<AgentLink>(manual_, clock_, path_.string());
  link->start();
  const std::weak_ptr<AgentLink> gone = link;
  link.reset();
  EXPECT_TRUE(gone.expired());
  manual_.run();
  EXPECT_EQ(log_.messages(), Lines{});
}

TEST_F(AgentLinkTest, IsKeptByItsOwnLoop) {
  connect();
  const std::weak_ptr<AgentLink> kept = link_;
  link_.reset();
  send(FrameKind::control, R"({"op":"still"})");
  EXPECT_EQ(told_.waitFor(2).back(), "control still");
  EXPECT_FALSE(kept.expired());
}

}  // namespace
}  // namespace vesk
