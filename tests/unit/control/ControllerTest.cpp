#include "control/Controller.h"

#include <gtest/gtest.h>

#include "control/ControlBacklog.h"
#include "platform/User.h"
#include "support/ControllerFixture.h"

namespace vesk::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

/// Start-up, wiring and the control vocabulary.
class ControllerTest : public vesk::testing::ControllerFixture {};

constexpr auto press = R"({"t":"m","e":"down","x":0.5,"y":0.5,"b":0})";

TEST_F(ControllerTest, MakesItsQueuesInOrder) {
  EXPECT_EQ(manual_.labels(), (Lines{"com.vesk.screen.capture", "com.vesk.screen.input"}));
}

TEST_F(ControllerTest, DoesNothingBeforeLaunchingHasFinished) {
  EXPECT_EQ(processes_.calls, Lines{});
  EXPECT_EQ(log_.messages(), Lines{});
}

TEST_F(ControllerTest, HandsOverBeforeAnythingElse) {
  processes_.variables.clear();
  processes_.running = {1, 2, 3};
  EXPECT_THROW(launch(), fakes::ProcessExited);
  EXPECT_EQ(processes_.calls.size(), 2U);
  EXPECT_EQ(processes_.calls.back(), "exit 0");
  EXPECT_EQ(log_.messages().size(), 1U);
}

TEST_F(ControllerTest, ClosesOtherCopiesBeforeItStarts) {
  processes_.running = {processes_.own, 7};
  launch();
  EXPECT_EQ(processes_.calls, (Lines{"look for com.vesk.tovarin.screen", "force 7"}));
  EXPECT_EQ(log_.messages(),
            (Lines{"Closing another copy of Vesk Remote (pid 7).",
                   "Vesk Remote started for " + loginName() + ".", "The desktop is a fake."}));
}

TEST_F(ControllerTest, StartsWithoutAnAgent) {
  launch();
  EXPECT_EQ(clock_->waitForSleep(), 2s);
  EXPECT_EQ(log_.messages(),
            (Lines{"Vesk Remote started for " + loginName() + ".", "The desktop is a fake."}));
}

TEST_F(ControllerTest, TellsHowManyCharactersTheLayoutHasLackedAndNotWhich) {
  launch();
  events_.onLacking(1);
  events_.onLacking(3);
  const auto lines = log_.messages();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
            (Lines{"The keyboard's layout lacks 1 character that the viewer typed.",
                   "The keyboard's layout lacks 3 characters that the viewer typed."}));
}

TEST_F(ControllerTest, GreetsAnewAtEveryConnection) {
  permissions_.screenRecording = false;
  Message hello = connect();
  EXPECT_EQ(hello.string("op"), "hello");
  EXPECT_EQ(hello.string("user"), loginName());
  EXPECT_EQ(hello.integer("uid"), userId());
  EXPECT_EQ(hello.boolean("screenRecording"), false);
  EXPECT_EQ(hello.boolean("accessibility"), true);

  permissions_.screenRecording = true;
  permissions_.trusted = false;
  peer_->close();
  EXPECT_EQ(clock_->waitForSleep(), 1s);
  clock_->wake();
  peer_.emplace(listener_->accept());
  hello = heard();
  EXPECT_EQ(hello.boolean("screenRecording"), true);
  EXPECT_EQ(hello.boolean("accessibility"), false);
  EXPECT_EQ(permissions_.screenRequests + permissions_.trustRequests, 0);
}

TEST_F(ControllerTest, GreetsBeforeItReadsTheFirstFrame) {
  listener_.emplace(folder_.path() / "agent.sock");
  launch();
  peer_.emplace(listener_->accept());
  tell(R"({"op":"start"})");
  EXPECT_EQ(heard().string("op"), "hello");
  EXPECT_EQ(heard().string("state"), "starting");
}

TEST_F(ControllerTest, IgnoresWhatIsNoRequest) {
  connect();
  for (const auto* text : {R"({"op":"Start"})", R"({"type":"start"})", R"({"op":7})", "{}",
                           R"({"op":"hello"})", R"({"op":"bitrate","bitrateKbps":2500.5})"}) {
    tell(text);
  }
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(screen_.contentRequests, 0);
  EXPECT_EQ(fakes_.overlays.calls, Lines{});
  EXPECT_EQ(events_.posted.size(), 0U);
}

TEST_F(ControllerTest, DropsInputUntilItIsAllowedAndKeepsNoneForLater) {
  connect();
  input(press);
  EXPECT_EQ(events_.posted.size(), 0U);
  tell(R"({"op":"input","allowed":true})");
  EXPECT_EQ(events_.posted.size(), 0U);
  input(press);
  EXPECT_EQ(events_.posted.size(), 1U);
}

TEST_F(ControllerTest, LetsGoOfEverythingWhenInputIsWithdrawn) {
  connect();
  tell(R"({"op":"input","allowed":true})");
  input(press);
  events_.take();
  tell(R"({"op":"input"})");
  const auto released = events_.take();
  ASSERT_EQ(released.size(), 1U);
  EXPECT_EQ(std::get<MouseEvent>(released[0]).type, EventType::leftMouseUp);
  input(press);
  EXPECT_EQ(events_.posted.size(), 0U);
  EXPECT_TRUE(isSilent());
}

TEST_F(ControllerTest, JudgesInputOnItsWayByThePermissionOfItsTime) {
  connect();
  tell(R"({"op":"input","allowed":true})");
  input(press);
  input(R"({"t":"m","e":"up","x":0.5,"y":0.5,"b":0})");
  tell(R"({"op":"input","allowed":false})");
  input(press);
  EXPECT_EQ(events_.posted.size(), 2U);
}

TEST_F(ControllerTest, AsksForTrustOnlyWhenInputIsAllowedWithoutIt) {
  connect();
  tell(R"({"op":"input","allowed":true})");
  EXPECT_EQ(permissions_.trustRequests, 0);
  permissions_.trusted = false;
  tell(R"({"op":"input","allowed":false})");
  EXPECT_EQ(permissions_.trustRequests, 0);
  tell(R"({"op":"input","allowed":true})");
  EXPECT_EQ(permissions_.trustRequests, 1);
  EXPECT_TRUE(isSilent());
}

TEST_F(ControllerTest, CarriesOutRequestsWithoutASession) {
  connect();
  for (const auto* text :
       {R"({"op":"stop"})", R"({"op":"keyframe"})", R"({"op":"bitrate","bitrateKbps":1000})",
        R"({"op":"viewer","name":"Bo"})"}) {
    tell(text);
  }
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(fakes_.compression.sessions.size(), 0U);
  EXPECT_EQ(fakes_.overlays.made.size(), 0U);
}

TEST_F(ControllerTest, LetsTheAgentWaitWhileItsRequestsWaitForTheMainThread) {
  connect();
  settle();
  const Bytes request = frameBytes(FrameKind::control, vesk::testing::textBytes(R"({"op":"x"})"));
  Bytes requests;
  for (int i = 0; i < 2 * ControlBacklog::most; ++i) {
    requests.insert(requests.end(), request.begin(), request.end());
  }
  peer_->write(requests);
  ASSERT_TRUE(manual_.waitForTasks(ControlBacklog::most));
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(manual_.waiting(), static_cast<std::size_t>(ControlBacklog::most));
  manual_.run();
  tell(R"({"op":"start"})");
}

TEST_F(ControllerTest, IsNotKeptAliveByItsOwnWiring) {
  connect();
  settle();
  const std::weak_ptr<Controller> gone = controller_;
  controller_.reset();
  EXPECT_TRUE(gone.expired());
  // The link goes on by itself, and what it reads goes nowhere.
  peer_->write(frameBytes(FrameKind::input, vesk::testing::textBytes(press)));
  peer_->write(frameBytes(FrameKind::control, vesk::testing::textBytes(R"({"op":"start"})")));
  EXPECT_TRUE(isSilent());
  manual_.run();
  EXPECT_TRUE(isSilent());
}

}  // namespace
}  // namespace vesk::VESK_FILE
