#include <string>

#include "support/InjectorFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

using InputInjectorReconcileTest = InjectorTest;
using InputInjectorReleaseTest = InjectorTest;
using Lines = std::vector<std::string>;

constexpr auto hover = R"({"t":"m","e":"hover","m":)";

std::string mask(int value) { return hover + std::to_string(value) + "}"; }

TEST_F(InputInjectorReconcileTest, ReleasesWhatTheViewerNoLongerHolds) {
  send(R"({"t":"k","c":160,"e":"down"})");
  send(R"({"t":"k","c":161,"e":"down"})");
  send(R"({"t":"k","c":162,"e":"down"})");
  send(R"({"t":"k","c":163,"e":"down"})");
  send(R"({"t":"k","c":65,"e":"down"})");
  EXPECT_EQ(send(mask(0)), Posted{flagsChange(0)});
  EXPECT_EQ(log_.messages(),
            Lines{"Releasing modifiers the viewer is no longer holding (393216)."});
  EXPECT_EQ(releaseAll(), Posted{keyUp(0x00, std::nullopt)});
}

TEST_F(InputInjectorReconcileTest, IgnoresBitsBeyondTheFour) {
  EXPECT_EQ(send(mask(16)), Posted{});
  EXPECT_EQ(send(mask(17)), Posted{flagsChange(eventFlag::shift)});
  EXPECT_EQ(send(mask(1)), Posted{});
  EXPECT_EQ(send(mask(16)), Posted{flagsChange(0)});
}

TEST_F(InputInjectorReconcileTest, NeedsAMask) {
  send(R"({"t":"k","c":160,"e":"down"})");
  for (const auto* rest : {"", R"(,"m":"0")", R"(,"m":0.5)", R"(,"m":null)", R"(,"m":1e300)"}) {
    EXPECT_EQ(send(R"({"t":"m","e":"hover")" + std::string(rest) + "}"), Posted{}) << rest;
  }
  EXPECT_EQ(send(R"({"t":"m","e":"hover","m":false})"), Posted{flagsChange(0)});
  EXPECT_EQ(send(R"({"t":"m","e":"hover","m":1.0})"), Posted{flagsChange(eventFlag::shift)});
}

TEST_F(InputInjectorReconcileTest, AdoptsWhatItDidNotKnowOf) {
  EXPECT_EQ(send(R"({"t":"k","c":65,"e":"down","m":8})"),
            (Posted{flagsChange(eventFlag::command), keyDown(0x00, eventFlag::command)}));
  EXPECT_EQ(log_.messages(), Lines{});
  send(R"({"t":"k","c":65,"e":"up","m":8})");
  // Nothing is held by a key of its own: only the flag goes.
  EXPECT_EQ(releaseAll(), Posted{flagsChange(0)});
}

TEST_F(InputInjectorReconcileTest, TellsOfReleasesAndAdoptionsAtOnce) {
  EXPECT_EQ(send(mask(1)), Posted{flagsChange(eventFlag::shift)});
  EXPECT_EQ(send(mask(2)), Posted{flagsChange(eventFlag::control)});
  EXPECT_EQ(log_.messages(),
            Lines{"Releasing modifiers the viewer is no longer holding (131072)."});
}

TEST_F(InputInjectorReconcileTest, LogsEveryReleasedFlagInOneNumber) {
  send(mask(15));
  EXPECT_EQ(log_.messages(), Lines{});
  send(mask(0));
  EXPECT_EQ(log_.messages(),
            Lines{"Releasing modifiers the viewer is no longer holding (1966080)."});
}

TEST_F(InputInjectorReconcileTest, FindsNothingToDoTheSecondTime) {
  EXPECT_EQ(send(mask(3)).size(), 1U);
  EXPECT_EQ(send(mask(3)), Posted{});
}

TEST_F(InputInjectorReconcileTest, LeavesCapsLockAlone) {
  send(R"({"t":"k","c":20,"e":"down"})");
  EXPECT_EQ(send(mask(0)), Posted{});
  EXPECT_EQ(send(mask(1)), Posted{flagsChange(eventFlag::alphaShift | eventFlag::shift)});
  EXPECT_EQ(send(mask(0)), Posted{flagsChange(eventFlag::alphaShift)});
  EXPECT_EQ(log_.messages(),
            Lines{"Releasing modifiers the viewer is no longer holding (131072)."});
  EXPECT_EQ(releaseAll(), Posted{flagsChange(0)});
}

TEST_F(InputInjectorReleaseTest, LetsGoOfEverything) {
  send(R"({"t":"m","e":"down","b":0})");
  send(R"({"t":"m","e":"down","b":2})");
  send(R"({"t":"k","c":65,"e":"down"})");
  send(R"({"t":"k","c":160,"e":"down"})");
  const MouseEvent left{
      .type = EventType::leftMouseUp, .point = {320, 240}, .button = MouseButton::left};
  const MouseEvent right{
      .type = EventType::rightMouseUp, .point = {320, 240}, .button = MouseButton::right};
  EXPECT_EQ(releaseAll(), (Posted{left, right, keyUp(0x00, std::nullopt), flagsChange(0)}));
  EXPECT_EQ(releaseAll(), Posted{});
  EXPECT_EQ(log_.messages(), Lines{});
}

TEST_F(InputInjectorReleaseTest, ReleasesMiddleAndUnknownButtons) {
  send(R"({"t":"m","e":"down","b":1})");
  send(R"({"t":"m","e":"down","b":7})");
  const MouseEvent middle{
      .type = EventType::otherMouseUp, .point = {320, 240}, .button = MouseButton::center};
  const MouseEvent left{
      .type = EventType::leftMouseUp, .point = {320, 240}, .button = MouseButton::left};
  EXPECT_EQ(releaseAll(), (Posted{middle, left}));
}

TEST_F(InputInjectorReleaseTest, ReleasesAtTheOriginWhenThePointerIsNotKnown) {
  poster_.pointer = std::nullopt;
  send(R"({"t":"m","e":"down","b":0})");
  const MouseEvent left{
      .type = EventType::leftMouseUp, .point = {0, 0}, .button = MouseButton::left};
  EXPECT_EQ(releaseAll(), Posted{left});
}

TEST_F(InputInjectorReleaseTest, PostsNothingWhenNothingIsHeld) {
  EXPECT_EQ(releaseAll(), Posted{});
  send(R"({"t":"k","c":160,"e":"down"})");
  send(R"({"t":"k","c":160,"e":"up"})");
  EXPECT_EQ(releaseAll(), Posted{});
}

TEST_F(InputInjectorReleaseTest, SkipsModifierKeysWhoseFlagIsGone) {
  // The left key stays among the held ones while the flag is already clear.
  send(R"({"t":"k","c":160,"e":"down"})");
  send(R"({"t":"k","c":161,"e":"down"})");
  send(R"({"t":"k","c":161,"e":"up"})");
  EXPECT_EQ(releaseAll(), Posted{});
}

TEST_F(InputInjectorReleaseTest, KeepsTheLatestPressForCounting) {
  send(R"({"t":"m","e":"down","b":0})");
  releaseAll();
  const auto again = send(R"({"t":"m","e":"down","b":0})");
  EXPECT_EQ(std::get<MouseEvent>(again.at(0)).clickState, 2);
}

TEST_F(InputInjectorReleaseTest, StartsCleanAfterwards) {
  send(R"({"t":"m","e":"down","b":0,"m":15})");
  releaseAll();
  const MouseEvent moved{
      .type = EventType::mouseMoved, .point = {100, 50}, .button = MouseButton::left, .flags = 0};
  EXPECT_EQ(send(R"({"t":"m","e":"move"})"), Posted{moved});
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
