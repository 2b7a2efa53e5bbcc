#include "link/AgentLink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>

#include "support/LinkFixture.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using vesk::testing::bytes;
using vesk::testing::textBytes;
using vesk::testing::textOf;
using vesk::testing::UnixListener;
using Lines = std::vector<std::string>;

/// Connections, and what is read from them.
using AgentLinkTest = vesk::testing::LinkFixture;

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

/// The one that the system would give next.
int firstFreeDescriptor() { return Descriptor(::dup(STDERR_FILENO)).get(); }

TEST_F(AgentLinkTest, WritesOfTheLossBeforeItTellsOfIt) {
  Lines written;
  bool connected = true;
  bool closed = false;
  listener_.emplace(path_);
  const int descriptor = firstFreeDescriptor();
  link_->onDisconnected = [&] {
    closed = ::fcntl(descriptor, F_GETFD) < 0;
    written = log_.messages();
    connected = link_->isConnected() || link_->connection() != AgentLink::Connection::none;
    told_.add("disconnected");
  };
  link_->start();
  peer_.emplace(listener_->accept());
  told_.waitFor(1);
  EXPECT_GE(::fcntl(descriptor, F_GETFD), 0);
  peer_->close();
  told_.waitFor(2);
  EXPECT_EQ(written, (Lines{"Connected to the Vesk agent.", "Lost the Vesk agent; reconnecting."}));
  EXPECT_FALSE(connected);
  EXPECT_TRUE(closed);
}

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
  link_->onInput = [this](ByteView data) { told_.add("late " + textOf(data)); };
  mayGoOn.set_value();
  EXPECT_EQ(told_.waitFor(1), Lines{"late two"});
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
}  // namespace vesk::VESK_FILE
