#include <gtest/gtest.h>

#include "capture/CaptureError.h"
#include "support/SessionFixture.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

/// A viewing session from its request to its end.
class ControllerSessionTest : public vesk::testing::SessionFixture {};

TEST_F(ControllerSessionTest, StartsWithDefaultsAndWithoutAQuestion) {
  connect();
  tell(R"({"op":"start"})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), started);
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(fakes_.alerts.calls, Lines{});
  EXPECT_EQ(stream()->configuration.framesPerSecond, 30);
  EXPECT_EQ(log_.waitFor(3).back(), "Capturing display 7 at 1920x1080, 30 fps, 4000 kbps.");
  ASSERT_EQ(fakes_.overlays.shown().size(), 2U);
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Vesk support is viewing this screen");
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 0U);
}

TEST_F(ControllerSessionTest, PassesOnWhatTheRequestSays) {
  run(R"({"op":"start","viewer":"Anna","input":true,"fps":25.0,"bitrateKbps":2500,)"
      R"("banner":{"border":0}})");
  EXPECT_EQ(log_.waitFor(3).back(), "Capturing display 7 at 1920x1080, 25 fps, 2500 kbps.");
  ASSERT_EQ(fakes_.overlays.shown().size(), 1U);
  EXPECT_EQ(fakes_.overlays.shown()[0].label, "Anna is viewing this screen");
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 1U);
}

TEST_F(ControllerSessionTest, TakesDefaultsForMembersOfOtherTypes) {
  run(R"({"op":"start","viewer":1,"input":"yes","consent":"true","fps":12.5,)"
      R"("bitrateKbps":"4","banner":"red"})");
  EXPECT_EQ(log_.waitFor(3).back(), "Capturing display 7 at 1920x1080, 30 fps, 4000 kbps.");
  EXPECT_EQ(fakes_.overlays.shown().size(), 2U);
  EXPECT_EQ(fakes_.alerts.calls, Lines{});
}

TEST_F(ControllerSessionTest, AsksThePersonFirst) {
  connect();
  fakes_.alerts.person = [] { return ModalResponse::alertFirstButtonReturn; };
  tell(R"({"op":"start","viewer":"Anna","consent":true})");
  EXPECT_EQ(heardText(), R"({"op":"state","state":"awaiting-consent"})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heard().string("op"), "started");
  EXPECT_TRUE(isCapturing());
}

TEST_F(ControllerSessionTest, IsDeniedByANo) {
  connect();
  fakes_.alerts.person = [] { return ModalResponse::alertSecondButtonReturn; };
  tell(R"({"op":"start","viewer":"Anna","consent":true,"input":true})");
  EXPECT_EQ(heardText(), R"({"op":"state","state":"awaiting-consent"})");
  EXPECT_EQ(heardText(), R"({"message":"The person at the Mac did not allow it.","op":"denied"})");
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(screen_.contentRequests, 0);
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 0U);
}

TEST_F(ControllerSessionTest, IsDeniedBySilence) {
  connect();
  fakes_.alerts.person = [this]() -> std::optional<ModalResponse> {
    fakes_.alerts.fireTimer();
    return std::nullopt;
  };
  tell(R"({"op":"start","consent":1})");
  EXPECT_EQ(heard().string("state"), "awaiting-consent");
  EXPECT_EQ(heard().string("op"), "denied");
  EXPECT_EQ(screen_.contentRequests, 0);
}

TEST_F(ControllerSessionTest, AnswersASecondStartWithAKeyFrame) {
  run();
  tell(R"({"op":"start","viewer":"Other","consent":true,"input":true,"fps":5})");
  EXPECT_EQ(heardText(), R"({"height":1080,"op":"started","width":1920})");
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(fakes_.compression.sessions.size(), 1U);
  EXPECT_EQ(fakes_.alerts.calls, Lines{});
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Vesk support is viewing this screen");
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 0U);
}

TEST_F(ControllerSessionTest, MakesAKeyFrameForWhoeverAsksAndForASecondStart) {
  run();
  makePicture();
  for (const auto* request : {R"({"op":"start"})", R"({"op":"keyframe"})"}) {
    manual_.advance(34ms);
    EXPECT_FALSE(session()->frames.back().forceKeyFrame) << request;
    tell(request);
    manual_.advance(34ms);
    EXPECT_TRUE(session()->frames.back().forceKeyFrame) << request;
  }
}

TEST_F(ControllerSessionTest, StaysResponsiveWhileCaptureStarts) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start","viewer":"Anna"})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_TRUE(isSilent());
  tell(R"({"op":"viewer","name":"Bo"})");
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  stream()->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heard().string("op"), "started");
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Anna is viewing this screen");
}

TEST_F(ControllerSessionTest, AsksForTrustWhenInputIsWantedWithoutIt) {
  permissions_.trusted = false;
  connect();
  tell(R"({"op":"start"})");
  EXPECT_EQ(permissions_.trustRequests, 0);
  tell(R"({"op":"stop"})");
  tell(R"({"op":"start","input":true})");
  EXPECT_EQ(permissions_.trustRequests, 1);
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heard().boolean("accessibility"), false);
}

TEST_F(ControllerSessionTest, TellsOfTheTrustThatThePersonGaveWhenAsked) {
  permissions_.trusted = false;
  permissions_.grantsTrust = true;
  connect();
  tell(R"({"op":"start","input":true})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), started);
}

TEST_F(ControllerSessionTest, ForwardsAccessUnitsToTheAgent) {
  run();
  makeKeyFrame();
  ASSERT_EQ(session()->frames.size(), 1U);
  const auto frame = peer_->readFrame();
  EXPECT_EQ(frame->kind, 3);
  EXPECT_EQ(frame->payload, vesk::testing::bytes({0xb8, 0x0b, 0,    0, 0, 0, 0, 1, 0x67, 1,   0, 0,
                                                  0,    1,    0x68, 2, 0, 0, 0, 1, 0x65, 0x88}));
}

TEST_F(ControllerSessionTest, CarriesOutRequestsInASession) {
  run();
  tell(R"({"op":"bitrate","bitrateKbps":1500})");
  EXPECT_EQ(session()->properties.back(),
            (std::pair{CompressionProperty::averageBitRate, PropertyValue(std::int64_t{1500000})}));
  tell(R"({"op":"viewer","name":"Bo"})");
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Bo is viewing this screen");
  tell(R"({"op":"viewer"})");
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Vesk support is viewing this screen");
  EXPECT_TRUE(isSilent());
}

TEST_F(ControllerSessionTest, StopsInSilence) {
  run(R"({"op":"start","input":true})");
  input(keyDown);
  events_.take();
  for (int i = 0; i < 2; ++i) {
    tell(R"({"op":"stop"})");
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(fakes_.overlays.shown().size(), 0U);
  }
  EXPECT_EQ(stream()->stops, 1);
  EXPECT_EQ(events_.take().size(), 1U) << "the release of the key, once";
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 0U);
  EXPECT_TRUE(isSilent());
}

TEST_F(ControllerSessionTest, MayBeStartedAgain) {
  run();
  tell(R"({"op":"stop"})");
  tell(R"({"op":"start"})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heard().boolean("accessibility"), true);
  EXPECT_EQ(fakes_.overlays.shown().size(), 2U);
}

TEST_F(ControllerSessionTest, StopsWhenTheAgentIsLost) {
  run(R"({"op":"start","input":true})");
  input(keyDown);
  events_.take();
  peer_->close();
  ASSERT_TRUE(manual_.waitForTasks(2)) << "the end of input, and that of the session";
  manual_.run();
  EXPECT_FALSE(isCapturing());
  EXPECT_EQ(fakes_.overlays.shown().size(), 0U);
  EXPECT_EQ(events_.take().size(), 1U);
}

TEST_F(ControllerSessionTest, TellsOfAFaultBeforeItStops) {
  run();
  stream()->onStopped({"The display went away."});
  EXPECT_EQ(heardText(), R"({"message":"The Mac stopped sharing its screen: )"
                         R"(The display went away.","op":"fault"})");
  EXPECT_TRUE(isCapturing());
  manual_.run();
  EXPECT_FALSE(isCapturing());
  EXPECT_EQ(fakes_.overlays.shown().size(), 0U);
  EXPECT_EQ(log_.messages().back(), "Capture stopped: The display went away.");
}

TEST_F(ControllerSessionTest, ReportsACaptureThatFailsAndGoesOn) {
  screen_.content.displays.clear();
  connect();
  tell(R"({"op":"start","input":true})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), R"({"message":"The Mac could not share its screen: )"
                         R"(This Mac reports no display to capture.","op":"fault"})");
  EXPECT_EQ(log_.messages().back(), "Capture failed: This Mac reports no display to capture.");
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 0U);
  manual_.advance(10s);

  screen_.content.displays = {{7, 1920, 1080}};
  tell(R"({"op":"start"})");
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heard().string("op"), "started");
}

TEST_F(ControllerSessionTest, ReportsThePlatformsOwnErrorUnchanged) {
  screen_.startError = PlatformError{"It is not the time."};
  connect();
  tell(R"({"op":"start"})");
  heard();
  EXPECT_EQ(heard().string("message"), "The Mac could not share its screen: It is not the time.");
  EXPECT_EQ(session()->calls, Lines{"prepare"})
      << "what is left of it is the next start's or stop's";
}

TEST_F(ControllerSessionTest, EndsThreeSecondsAfterItFoundThatItMayNotRecord) {
  permissions_.screenRecording = false;
  screen_.contentError = PlatformError{"Whatever it says."};
  connect();
  const auto linesBefore = log_.messages().size();
  tell(R"({"op":"start"})");
  EXPECT_EQ(heardText(), starting);
  const Message fault = heard();
  EXPECT_EQ(fault.string("op"), "fault");
  EXPECT_EQ(fault.string("code"), "screen-recording");
  EXPECT_EQ(fault.string("message"),
            "Screen Recording has not been allowed for Vesk Remote on this Mac. Someone at the Mac "
            "must turn it on once: System Settings › Privacy & Security › Screen & System Audio "
            "Recording.");
  EXPECT_EQ(permissions_.screenRequests, 1);
  EXPECT_EQ(log_.messages().size(), linesBefore);
  permissions_.screenRecording = true;
  manual_.advance(2999ms);
  EXPECT_THROW(manual_.advance(1ms), fakes::ProcessExited);
  EXPECT_EQ(processes_.calls.back(), "exit 1");
}

TEST_F(ControllerSessionTest, StartsNothingForAControllerThatWentAwayDuringTheQuestion) {
  connect();
  fakes_.alerts.person = [this] {
    controller_.reset();
    return ModalResponse::alertFirstButtonReturn;
  };
  tell(R"({"op":"start","consent":true})");
  EXPECT_EQ(heard().string("state"), "awaiting-consent");
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(screen_.contentRequests, 0);
}

TEST_F(ControllerSessionTest, StartsNothingForAControllerThatWentAwayWhileItsCaptureStarted) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start"})");
  EXPECT_EQ(heardText(), starting);
  const std::weak_ptr<Controller> gone = controller_;
  controller_.reset();
  EXPECT_TRUE(gone.expired());
  stream()->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
  EXPECT_TRUE(isSilent());
}

}  // namespace
}  // namespace vesk::VESK_FILE
