#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "support/SessionFixture.h"

namespace vesk::VESK_FILE {
namespace {

using Lines = std::vector<std::string>;

/// What ends, ends: stops and losses that come at any moment, and what the viewer has on its way
/// then.
class ControllerEndsTest : public vesk::testing::SessionFixture {
 protected:
  void expectNothingRuns() {
    EXPECT_FALSE(isCapturing());
    EXPECT_FALSE(isBannerShown());
    events_.take();
    input(keyDown);
    EXPECT_TRUE(events_.posted.empty());
    EXPECT_TRUE(isSilent());
  }

  /// As a desktop answers whose question was taken back.
  void failHeldStarts() {
    for (const auto& each : screen_.streams) each->answerStart(PlatformError{"taken back"});
    manual_.run();
  }
};

// Stops

TEST_F(ControllerEndsTest, AStopThatFindsAStartUnderWayEndsItOnceItHasStarted) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start","input":true})");
  EXPECT_EQ(heardText(), starting);
  tell(stopMessage);
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(session()->calls, Lines{"prepare"}) << "nothing runs yet that could be stopped";
  stream()->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(stream()->stops, 1);
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, AStopRightBehindItsStartEndsIt) {
  connect();
  tellTogether({R"({"op":"start","input":true})", stopMessage});
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), started);
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, AnEndTakesBackWhatTheDesktopAsks) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start"})");
  heard();
  tell(R"({"op":"input","allowed":false})");
  EXPECT_EQ(screen_.withdrawals, stream()->withdrawalsBefore) << "the question stands";
  tell(stopMessage);
  EXPECT_GT(screen_.withdrawals, stream()->withdrawalsBefore);
  tell(R"({"op":"start"})");
  EXPECT_EQ(screen_.withdrawals, stream()->withdrawalsBefore);
  replaceAgent();
  EXPECT_GT(screen_.withdrawals, stream()->withdrawalsBefore);
  failHeldStarts();
}

TEST_F(ControllerEndsTest, AStopThatCameBeforeTheDesktopAskedTakesThatBackToo) {
  screen_.holdStart = true;
  connect();
  tellTogether({R"({"op":"start"})", stopMessage});
  heard();
  EXPECT_GT(screen_.withdrawals, stream()->withdrawalsBefore);
  failHeldStarts();
}

TEST_F(ControllerEndsTest, AStopBetweenTwoStartsEndsTheFirstAlone) {
  screen_.holdStart = true;
  connect();
  tellTogether({R"({"op":"start","viewer":"A"})", stopMessage,
                R"({"op":"start","viewer":"B","input":true})"});
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), starting);
  ASSERT_EQ(screen_.streams.size(), 2U);
  screen_.streams[0]->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  EXPECT_FALSE(isBannerShown());
  screen_.streams[1]->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "B is viewing this screen");
  EXPECT_TRUE(isCapturing());
  EXPECT_TRUE(stream()->alive);
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 1U);
  tell(stopMessage);
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, AnOvertakenStartThatComesLastLeavesTheLaterSessionAlone) {
  screen_.holdStart = true;
  connect();
  tellTogether({R"({"op":"start","viewer":"A"})", stopMessage, R"({"op":"start","viewer":"B"})"});
  heard();
  heard();
  screen_.streams[1]->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "B is viewing this screen");
  screen_.streams[0]->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  EXPECT_TRUE(isCapturing());
  EXPECT_TRUE(isBannerShown());
}

TEST_F(ControllerEndsTest, AStartThatFailsBehindAnOvertakenOneLeavesNothingRunning) {
  screen_.holdStart = true;
  connect();
  tellTogether({R"({"op":"start"})", stopMessage, R"({"op":"start"})"});
  heard();
  heard();
  screen_.streams[0]->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  screen_.streams[1]->answerStart(PlatformError{"No."});
  manual_.run();
  EXPECT_EQ(heard().string("op"), "fault");
  EXPECT_FALSE(screen_.streams[0]->alive);
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, AStartThatFailsBesideARunningSessionLeavesItAlone) {
  connect();
  fakes_.alerts.person = [this] {
    EXPECT_TRUE(isBannerShown());
    screen_.startError = PlatformError{"No."};
    return ModalResponse::alertFirstButtonReturn;
  };
  tellTogether({startMessage, R"({"op":"start","consent":true})"});
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), awaiting);
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heard().string("op"), "fault");
  EXPECT_EQ(screen_.streams[0]->stops, 0);
  EXPECT_TRUE(screen_.streams[0]->alive);
  EXPECT_TRUE(isCapturing());
}

TEST_F(ControllerEndsTest, EveryOvertakenStartHearsOfTheFailure) {
  screen_.holdStart = true;
  connect();
  tellTogether({R"({"op":"start"})", stopMessage, R"({"op":"start"})", stopMessage});
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), starting);
  ASSERT_EQ(screen_.streams.size(), 1U);
  stream()->answerStart(PlatformError{"No."});
  manual_.run();
  EXPECT_EQ(heard().string("op"), "fault");
  EXPECT_EQ(heard().string("op"), "fault");
}

TEST_F(ControllerEndsTest, AStopBeforeTheQuestionIsPutUpSparesThePerson) {
  connect();
  tellTogether({R"({"op":"start","viewer":"Anna","consent":true})", stopMessage});
  EXPECT_EQ(heardText(), awaiting);
  EXPECT_EQ(heardText(), denied);
  EXPECT_EQ(fakes_.alerts.calls, Lines{});
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, AStopDuringTheQuestionEndsWhatThePersonAllowed) {
  connect();
  fakes_.alerts.person = [this] {
    peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(stopMessage)));
    EXPECT_TRUE(manual_.waitForMainTasks(1));
    return ModalResponse::alertFirstButtonReturn;
  };
  tell(R"({"op":"start","consent":true,"input":true})");
  EXPECT_EQ(heardText(), awaiting);
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, ManyStartsAndStopsOpenTheScreenFewTimes) {
  connect();
  constexpr int pairs = 3000;
  std::thread agent([this] {
    for (int i = 0; i < pairs; ++i) {
      peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(R"({"op":"start"})")));
      peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(stopMessage)));
    }
  });
  std::atomic<int> heardSoFar = 0;
  std::thread listener([&] {
    while (heardSoFar < 2 * pairs) {
      heard();
      ++heardSoFar;
    }
    manual_.main().async([] {});
  });
  while (heardSoFar < 2 * pairs) manual_.waitAndRun();
  listener.join();
  agent.join();
  manual_.run();
  expectNothingRuns();
  EXPECT_LT(screen_.contentRequests, pairs / 2);
}

TEST_F(ControllerEndsTest, AStopWaitsForNoPictureThatTheAgentDoesNotRead) {
  using vesk::testing::longestWait;
  run();
  makePicture();
  EncodedSample large;
  large.data = Bytes(4 + 8'000'000);
  std::ranges::copy(vesk::testing::bytes({0, 0x7a, 0x12, 0, 0x65}), large.data->begin());
  auto encoder = std::async(std::launch::async, [&] {
    const auto handler = session()->frames.back().handler;
    handler(0, large);
  });
  peer_->read(9);
  std::future<void> agent;
  fakes_.compression.onCompleteFrames = [&] {
    EXPECT_EQ(encoder.wait_for(longestWait), std::future_status::ready);
    agent = std::async(std::launch::async, [&] { peer_->read(large.data->size()); });
  };
  tell(stopMessage);
  agent.get();
  expectNothingRuns();
}

// Agents that go

TEST_F(ControllerEndsTest, TheLossOfTheAgentWhileItsSessionStartsEndsIt) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start","input":true})");
  EXPECT_EQ(heardText(), starting);
  replaceAgent();
  manual_.run();
  stream()->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, WhatThePersonAllowedToAnAgentThatHasGoneStartsNothing) {
  connect();
  for (const auto answer :
       {ModalResponse::alertFirstButtonReturn, ModalResponse::alertSecondButtonReturn}) {
    fakes_.alerts.person = [&] {
      replaceAgent();
      return answer;
    };
    tell(R"({"op":"start","consent":true,"input":true})");
    EXPECT_TRUE(isSilent()) << "the next agent hears nothing of it";
    EXPECT_EQ(screen_.contentRequests, 0);
    expectNothingRuns();
  }
}

TEST_F(ControllerEndsTest, ACaptureThatStartsForAnAgentThatHasGoneRunsNoSession) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start","viewer":"A","input":true})");
  EXPECT_EQ(heardText(), starting);
  // The answer comes before the main thread has heard of the loss.
  stream()->answerStart(std::nullopt);
  replaceAgent();
  sendInput(keyDown);
  fakes_.overlays.onCall = [](const std::string& call) { ADD_FAILURE() << call; };
  manual_.run();
  EXPECT_TRUE(events_.take().empty());
  expectNothingRuns();
}

TEST_F(ControllerEndsTest, ARequestOfAnAgentThatHasGoneIsNobodysWish) {
  permissions_.trusted = false;
  connect();
  settle();
  for (const auto* request : {R"({"op":"start"})", R"({"op":"input","allowed":true})"}) {
    peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(request)));
  }
  ASSERT_TRUE(manual_.waitForTasks(2));
  replaceAgent();
  manual_.run();
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(screen_.contentRequests, 0);
  EXPECT_EQ(permissions_.trustRequests, 0);
}

TEST_F(ControllerEndsTest, ThePictureOfOneAgentsSessionNeverReachesTheNext) {
  run(startWithInput);
  makeKeyFrame();
  ASSERT_EQ(peer_->readFrame()->kind, 3);
  replaceAgent();
  // The main thread has not heard of the loss yet.
  makeKeyFrame();
  EXPECT_TRUE(isSilent());
}

TEST_F(ControllerEndsTest, AStartThatFailsIsToldToNobodyButTheAgentThatAskedForIt) {
  screen_.holdStart = true;
  connect();
  for (const bool mayRecord : {true, false}) {
    permissions_.screenRecording = mayRecord;
    tell(R"({"op":"start"})");
    EXPECT_EQ(heardText(), starting);
    replaceAgent();
    manual_.run();
    stream()->answerStart(PlatformError{"No."});
    manual_.run();
    EXPECT_TRUE(isSilent());
  }
}

TEST_F(ControllerEndsTest, AFaultIsToldToTheAgentWhoseSessionItEnds) {
  run(startWithInput);
  replaceAgent();
  stream()->onStopped({"The display went away."});
  EXPECT_TRUE(isSilent());
}

// The process

TEST_F(ControllerEndsTest, ASignalLetsGoOfEverythingBeforeTheProcessEnds) {
  run(startWithInput);
  input(keyDown);
  events_.take();
  bool shut = false;
  fakes_.desktop.gate.onClose = [&] {
    shut = true;
    EXPECT_TRUE(isCapturing()) << "hands first: the end of the capture may take a while";
  };
  EXPECT_THROW(controller_->applicationWillTerminate(), fakes::ProcessExited);
  EXPECT_TRUE(shut);
  EXPECT_EQ(processes_.calls.back(), "exit 0");
  EXPECT_FALSE(isCapturing());
  EXPECT_FALSE(isBannerShown());
  manual_.run();
  EXPECT_EQ(events_.take().size(), 1U);
}

}  // namespace
}  // namespace vesk::VESK_FILE
