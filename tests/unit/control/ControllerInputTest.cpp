#include <gtest/gtest.h>

#include <algorithm>

#include "control/Controller.h"
#include "support/ControllerFixture.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;

constexpr auto keyDown = R"({"t":"k","c":65,"e":"down"})";
constexpr auto otherDown = R"({"t":"k","c":66,"e":"down"})";
constexpr auto allowInput = R"({"op":"input","allowed":true})";
constexpr auto withdrawInput = R"({"op":"input","allowed":false})";
constexpr auto startWithInput = R"({"op":"start","input":true})";
constexpr auto startWithoutInput = R"({"op":"start"})";
constexpr auto stopMessage = R"({"op":"stop"})";

/// What the viewer's hands may do, and from where in the queue to where.
class ControllerInputTest : public vesk::testing::ControllerFixture {
 protected:
  /// A running session, its messages heard.
  void run() {
    connect();
    tell(startWithInput);
    EXPECT_EQ(heard().string("state"), "starting");
    EXPECT_EQ(heard().string("op"), "started");
  }

  /// While the next event is posted, and so keeps the queue busy, another message comes, and then a
  /// request, which the main thread carries out at once.
  void sendBehindTheNextPost(std::string_view message, std::string_view control) {
    events_.onNextPost = [=, this] {
      const auto before = manual_.mainTasks();
      sendInput(message);
      peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(control)));
      EXPECT_TRUE(manual_.waitForMainTasks(before + 1));
      manual_.run();
    };
  }

  /// So many messages come before the program deals with any of them.
  void sendTooMuch(std::size_t messages) {
    for (std::size_t i = 0; i < messages; ++i) sendInput(otherDown);
    peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(R"({"op":"keyframe"})")));
    ASSERT_TRUE(manual_.waitForTasks(2)) << "the input's, and that of the last message";
  }

  void flood() {
    sendTooMuch(2 * InputBacklog::mostMessages);
    manual_.run();
  }

  std::ptrdiff_t floodsTold() const {
    return std::ranges::count(log_.messages(),
                              "More input came than could be injected; what waited was dropped.");
  }
};

TEST_F(ControllerInputTest, AStartWithoutInputWithdrawsWhatWasAllowedBefore) {
  connect();
  tell(allowInput);
  tell(startWithoutInput);
  input(keyDown);
  EXPECT_TRUE(events_.posted.empty());
}

TEST_F(ControllerInputTest, ARefusalAndAFailedStartChangeNothingElse) {
  connect();
  tell(allowInput);
  input(keyDown);
  events_.take();
  fakes_.alerts.person = [] { return ModalResponse::alertSecondButtonReturn; };
  tell(R"({"op":"start","consent":true})");
  screen_.startError = PlatformError{"No."};
  tell(startWithoutInput);
  EXPECT_TRUE(events_.take().empty()) << "what is held stays held";
  input(otherDown);
  EXPECT_EQ(events_.posted.size(), 1U);
}

TEST_F(ControllerInputTest, TheTrustIsLookedAtOnceForManyRequestsAndAgainForLaterOnes) {
  permissions_.trusted = false;
  connect();
  for (int looks = 1; looks <= 2; ++looks) {
    tellTogether({allowInput, allowInput, allowInput});
    EXPECT_EQ(permissions_.trustRequests, looks);
  }
}

TEST_F(ControllerInputTest, InputIsJudgedByThePermissionOfItsPlaceInTheQueue) {
  connect();
  tell(allowInput);
  sendBehindTheNextPost(otherDown, withdrawInput);
  input(keyDown);
  EXPECT_EQ(events_.take().size(), 4U) << "two keys down, and both let go of";
}

/// The release of what is held keeps the queue busy until input is allowed again.
TEST_F(ControllerInputTest, InputThatCameBeforeItWasAllowedIsDroppedWhereverItWaits) {
  connect();
  for (const auto* allowing : {allowInput, startWithInput}) {
    tell(allowInput);
    input(keyDown);
    events_.take();
    sendBehindTheNextPost(otherDown, allowing);
    tell(withdrawInput);
    EXPECT_EQ(events_.take().size(), 1U) << allowing << ": the release alone";
    input(keyDown);
    EXPECT_EQ(events_.take().size(), 1U) << allowing << ": what comes behind it counts";
    tell(withdrawInput);
    events_.take();
  }
}

TEST_F(ControllerInputTest, InputThatCameBeforeAStartWithoutItIsStillInjected) {
  connect();
  tell(allowInput);
  sendBehindTheNextPost(otherDown, startWithoutInput);
  input(keyDown);
  EXPECT_EQ(events_.take().size(), 2U);
  input(keyDown);
  EXPECT_TRUE(events_.posted.empty());
}

TEST_F(ControllerInputTest, WhatIsOnItsWayAtTheEndHasAShortWhile) {
  for (const auto* end : {stopMessage, withdrawInput}) {
    if (peer_) {
      tell(allowInput);
    } else {
      run();
    }
    events_.onNextPost = [&] {
      sendInput(otherDown);
      peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(end)));
      EXPECT_TRUE(manual_.waitForMainTasks(1));
      manual_.run();
      time_.advance(250ms);
    };
    input(keyDown);
    EXPECT_EQ(events_.take().size(), 2U) << "the first key down and let go of";
    EXPECT_TRUE(fakes_.desktop.gate.isOpen());
  }
}

TEST_F(ControllerInputTest, AnEndOfInputDoesNotWaitForTheMainThread) {
  connect();
  for (const auto* end : {stopMessage, withdrawInput}) {
    tell(allowInput);
    events_.onNextPost = [&] {
      sendInput(otherDown);
      peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(end)));
      EXPECT_TRUE(manual_.waitForMainTasks(1));
      time_.advance(250ms);
      EXPECT_TRUE(fakes_.desktop.gate.isOver()) << end;
    };
    input(keyDown);
    EXPECT_EQ(events_.take().size(), 2U) << "the first key down and let go of";
  }
}

TEST_F(ControllerInputTest, InputIsAllowedAgainAfterAnAllowanceThatItsEndOvertook) {
  connect();
  tellTogether({allowInput, withdrawInput});
  input(keyDown);
  EXPECT_TRUE(events_.posted.empty());
  tell(allowInput);
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 1U);
}

TEST_F(ControllerInputTest, TheLossOfTheAgentEndsInputWithoutTheMainThread) {
  run();
  events_.onNextPost = [this] {
    sendInput(otherDown);
    peer_->close();
    clock_->waitForSleep();
    time_.advance(250ms);
    EXPECT_TRUE(fakes_.desktop.gate.isOver());
  };
  input(keyDown);
  EXPECT_EQ(events_.take().size(), 2U);
}

TEST_F(ControllerInputTest, InputAndItsEndAreCarriedOutForAControllerThatHasGone) {
  run();
  input(keyDown);
  events_.take();
  fakes_.overlays.onCall = [this](const std::string&) { controller_.reset(); };
  tell(stopMessage);
  EXPECT_EQ(events_.take().size(), 1U) << "the key is let go of";
}

TEST_F(ControllerInputTest, AFrameOnItsWayIsInjectedForAControllerThatHasGone) {
  run();
  settle();
  sendInput(keyDown);
  ASSERT_TRUE(manual_.waitForTasks(1));
  controller_.reset();
  manual_.run();
  EXPECT_EQ(events_.posted.size(), 1U);
}

TEST_F(ControllerInputTest, TheTimeOfAnEndCountsFromTheStopOn) {
  run();
  fakes_.overlays.onCall = [this](const std::string&) { time_.advance(250ms); };
  sendBehindTheNextPost(otherDown, stopMessage);
  input(keyDown);
  EXPECT_EQ(events_.take().size(), 2U) << "the first key down and let go of";
}

TEST_F(ControllerInputTest, AFloodLetsGoOfWhatIsHeldForAControllerThatHasGone) {
  run();
  input(keyDown);
  events_.take();
  sendTooMuch(InputBacklog::mostMessages + 1);
  controller_.reset();
  manual_.run();
  EXPECT_EQ(events_.take().size(), 1U) << "the release alone: nothing that waited was left";
}

TEST_F(ControllerInputTest, AFloodOfInputIsDropped) {
  run();
  input(keyDown);
  events_.take();
  flood();
  const auto posted = events_.take();
  ASSERT_FALSE(posted.empty());
  EXPECT_EQ(std::get<KeyboardEvent>(posted.front()).type, EventType::keyUp) << "what was held";
  EXPECT_LT(posted.size(), InputBacklog::mostMessages + 2) << "half of it was dropped";
}

TEST_F(ControllerInputTest, FloodsAreToldOfOnceForEachTimeThatInputIsAllowed) {
  connect();
  flood();
  EXPECT_EQ(floodsTold(), 0) << "nobody's input";
  std::ptrdiff_t times = 0;
  for (const auto* allowing : {allowInput, allowInput, startWithInput}) {
    tell(withdrawInput);
    tell(allowing);
    flood();
    tell(allowInput);  // as it is already
    flood();
    EXPECT_EQ(floodsTold(), ++times) << allowing;
  }
}

}  // namespace
}  // namespace vesk::VESK_FILE
