#include <gtest/gtest.h>

#include <algorithm>

#include "support/SessionFixture.h"

namespace vesk::VESK_FILE {
namespace {

using Lines = std::vector<std::string>;

/// Pictures leave while the banner is up, and never otherwise.
class ControllerBannerTest : public vesk::testing::SessionFixture {};

TEST_F(ControllerBannerTest, NoPictureLeavesBeforeTheBannerIsUp) {
  screen_.holdStart = true;
  connect();
  for (int session = 0; session < 2; ++session) {
    tell(R"({"op":"start"})");
    EXPECT_EQ(heardText(), starting);
    makeKeyFrame();
    int looks = 0;
    fakes_.overlays.onCall = [&](const std::string&) {
      ++looks;
      EXPECT_TRUE(isSilent()) << "neither a picture nor \"started\"";
    };
    stream()->answerStart(std::nullopt);
    manual_.run();
    EXPECT_EQ(looks, 2);
    EXPECT_EQ(peer_->readFrame()->kind, 3);
    EXPECT_EQ(heardText(), started);
    fakes_.overlays.onCall = [](const std::string&) {};
    tell(stopMessage);
  }
}

TEST_F(ControllerBannerTest, ThePictureOfAnOvertakenStartIsNeverShown) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start"})");
  makeKeyFrame();
  tell(stopMessage);
  stream()->answerStart(std::nullopt);
  manual_.run();
  screen_.holdStart = false;
  tell(R"({"op":"start"})");
  for (const auto* text : {starting, started, starting, started}) EXPECT_EQ(heardText(), text);
  EXPECT_TRUE(isSilent());
}

TEST_F(ControllerBannerTest, AKeyFrameIsMadeWhereThePictureBeforeTheBannerWasTooMuchToHold) {
  screen_.holdStart = true;
  connect();
  tell(startMessage);
  makeKeyFrame();
  for (std::size_t i = 0; i < VideoOutlet::mostHeld; ++i) makeDeltaFrame();
  EXPECT_FALSE(session()->frames.back().forceKeyFrame);
  stream()->answerStart(std::nullopt);
  manual_.run();
  makePicture();
  EXPECT_TRUE(session()->frames.back().forceKeyFrame);
}

TEST_F(ControllerBannerTest, NoPictureLeavesWhileThePersonIsAskedAboutASecondStart) {
  screen_.holdStart = true;
  connect();
  fakes_.alerts.person = [this] {
    EXPECT_EQ(heardText(), awaiting);
    stream()->answerStart(std::nullopt);
    EXPECT_TRUE(isSilent());
    EXPECT_FALSE(isBannerShown());
    return ModalResponse::alertSecondButtonReturn;
  };
  tell(R"({"op":"start","viewer":"A"})");
  EXPECT_EQ(heardText(), starting);
  makeKeyFrame();
  peer_->write(
      frameBytes(FrameKind::control,
                 vesk::testing::textBytes(R"({"op":"start","viewer":"B","consent":true})")));
  ASSERT_TRUE(manual_.waitAndRun());
  EXPECT_EQ(heardText(), denied);
  EXPECT_EQ(peer_->readFrame()->kind, 3);
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "A is viewing this screen");
}

TEST_F(ControllerBannerTest, TheBannerIsUpAsLongAsPicturesLeave) {
  run(startWithInput);
  Lines when;
  fakes_.overlays.onCall = [&](const std::string& call) {
    when.push_back(call + (session()->alive ? ", capturing" : ", stopped"));
  };
  tell(stopMessage);
  EXPECT_EQ(when, (Lines{"out strip, stopped", "out border, stopped"}));
}

TEST_F(ControllerBannerTest, ASecondStartDuringTheFirstRunsTheWholeWayToo) {
  screen_.holdStart = true;
  connect();
  tellTogether({R"({"op":"start","viewer":"A"})", R"({"op":"start","viewer":"B","input":true})"});
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heardText(), starting);
  ASSERT_EQ(screen_.streams.size(), 2U);
  for (const auto& stream : screen_.streams) stream->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(heardText(), started);
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "B is viewing this screen");
  input(keyDown);
  EXPECT_EQ(events_.posted.size(), 1U);
}

TEST_F(ControllerBannerTest, ANameThatCameBeforeTheBannerIsNotItsOwn) {
  screen_.holdStart = true;
  connect();
  tell(R"({"op":"start","viewer":"Anna"})");
  peer_->write(
      frameBytes(FrameKind::control, vesk::testing::textBytes(R"({"op":"viewer","name":"Bo"})")));
  ASSERT_TRUE(manual_.waitForMainTasks(1));
  stream()->answerStart(std::nullopt);
  manual_.run();
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Anna is viewing this screen");
}

TEST_F(ControllerBannerTest, OfManyNamesOnlyTheLastIsLaidOut) {
  run(startWithInput);
  tellTogether({R"({"op":"viewer","name":"A"})", R"({"op":"viewer","name":"B"})",
                R"({"op":"viewer","name":"C"})"});
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "C is viewing this screen");
  EXPECT_EQ(std::ranges::count(fakes_.overlays.labels, "A is viewing this screen"), 0);
  tellTogether({R"({"op":"stop"})", R"({"op":"viewer","name":"D"})", R"({"op":"start"})"});
  EXPECT_EQ(fakes_.overlays.shown()[1].label, "Vesk support is viewing this screen");
}

}  // namespace
}  // namespace vesk::VESK_FILE
