#include <cstdint>
#include <string>

#include "support/InjectorFixture.h"

namespace vesk::testing::VESK_FILE {
namespace {

using namespace std::chrono_literals;

MouseEvent moved(Point point) {
  return {.type = EventType::mouseMoved, .point = point, .button = MouseButton::left, .flags = 0};
}

MouseEvent leftDown(Point point, std::int64_t clicks) {
  return {.type = EventType::leftMouseDown,
          .point = point,
          .button = MouseButton::left,
          .flags = 0,
          .clickState = clicks};
}

MouseEvent leftUp(Point point, std::int64_t clicks) {
  return {.type = EventType::leftMouseUp,
          .point = point,
          .button = MouseButton::left,
          .flags = 0,
          .clickState = clicks};
}

class InputInjectorMouseTest : public InjectorTest {
 protected:
  /// The click state of a press and of a release, and the release's own event is dropped.
  std::int64_t click(std::string_view at, int button = 0) {
    const std::string rest = R"(","b":)" + std::to_string(button) + "," + std::string(at) + "}";
    const auto down = send(R"({"t":"m","e":"down)" + rest);
    const auto up = send(R"({"t":"m","e":"up)" + rest);
    const auto state = std::get<MouseEvent>(down.at(0)).clickState;
    EXPECT_EQ(std::get<MouseEvent>(up.at(0)).clickState, state);
    return state.value_or(-1);
  }
};

TEST_F(InputInjectorMouseTest, MovesByFractionsOfTheMainDisplay) {
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":0.5,"y":0.25})"), Posted{moved({600, 175})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":0,"y":0})"), Posted{moved({100, 50})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":1,"y":1})"), Posted{moved({1100, 550})});
  EXPECT_EQ(log_.messages(), std::vector<std::string>{});
}

TEST_F(InputInjectorMouseTest, StaysOnTheMainDisplay) {
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":-0.2,"y":1.7})"), Posted{moved({100, 550})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":1e300,"y":-1e300})"), Posted{moved({1100, 50})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":18446744073709551615,"y":-9223372036854775808})"),
            Posted{moved({1100, 50})});
}

TEST_F(InputInjectorMouseTest, MovesToTheCornerWithoutAPosition) {
  EXPECT_EQ(send(R"({"t":"m","e":"move"})"), Posted{moved({100, 50})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":"0.5","y":null})"), Posted{moved({100, 50})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":[1],"y":0.5})"), Posted{moved({100, 300})});
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":true,"y":false})"), Posted{moved({1100, 50})});
}

TEST_F(InputInjectorMouseTest, AsksForTheBoundsWithEveryMessage) {
  displays_.boundsOf[displays_.main] = {{-1920, 0}, 1920, 1080};
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":0.5,"y":0.5})"), Posted{moved({-960, 540})});
  displays_.main = 9;
  displays_.boundsOf[displays_.main] = {{0, -1080}, 640, 480};
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":0.5,"y":0.5})"), Posted{moved({320, -840})});
}

TEST_F(InputInjectorMouseTest, PressesAndReleasesTheLeftButton) {
  EXPECT_EQ(send(R"({"t":"m","e":"down","x":0.5,"y":0.5,"b":0})"), Posted{leftDown({600, 300}, 1)});
  EXPECT_EQ(send(R"({"t":"m","e":"up","x":0.6,"y":0.5,"b":0})"), Posted{leftUp({700, 300}, 1)});
}

TEST_F(InputInjectorMouseTest, TakesTheLeftButtonWithoutANumber) {
  for (const auto* number : {"", R"(,"b":"2")", R"(,"b":1.5)", R"(,"b":null)",
                             R"(,"b":9223372036854775808)", R"(,"b":false)"}) {
    const std::string rest = R"(","x":0,"y":0)" + std::string(number) + "}";
    clock_.advance(1s);
    EXPECT_EQ(send(R"({"t":"m","e":"down)" + rest), Posted{leftDown({100, 50}, 1)}) << number;
    EXPECT_EQ(send(R"({"t":"m","e":"up)" + rest), Posted{leftUp({100, 50}, 1)}) << number;
    EXPECT_EQ(releaseAll(), Posted{}) << number;
  }
}

TEST_F(InputInjectorMouseTest, PressesTheMiddleButtonWithItsNumber) {
  const MouseEvent down{.type = EventType::otherMouseDown,
                        .point = {600, 300},
                        .button = MouseButton::center,
                        .flags = 0,
                        .clickState = 1,
                        .buttonNumber = 2};
  MouseEvent up = down;
  up.type = EventType::otherMouseUp;
  EXPECT_EQ(send(R"({"t":"m","e":"down","x":0.5,"y":0.5,"b":1})"), Posted{down});
  EXPECT_EQ(send(R"({"t":"m","e":"up","x":0.5,"y":0.5,"b":1.0})"), Posted{up});
}

TEST_F(InputInjectorMouseTest, PressesTheRightButtonWithoutANumber) {
  const MouseEvent down{.type = EventType::rightMouseDown,
                        .point = {600, 300},
                        .button = MouseButton::right,
                        .flags = 0,
                        .clickState = 1};
  MouseEvent up = down;
  up.type = EventType::rightMouseUp;
  EXPECT_EQ(send(R"({"t":"m","e":"down","x":0.5,"y":0.5,"b":2})"), Posted{down});
  EXPECT_EQ(send(R"({"t":"m","e":"up","x":0.5,"y":0.5,"b":2})"), Posted{up});
}

TEST_F(InputInjectorMouseTest, StampsTheModifiersOnEveryMouseEventButTheWheel) {
  send(R"({"t":"k","c":160,"e":"down"})");
  for (const auto* event : {"move", "down", "up"}) {
    const auto posted = send(R"({"t":"m","e":")" + std::string(event) + "\"}");
    EXPECT_EQ(std::get<MouseEvent>(posted.at(0)).flags, eventFlag::shift) << event;
  }
  EXPECT_EQ(send(R"({"t":"m","e":"wheel","d":1})"), Posted{ScrollEvent{.lines = 3}});
}

TEST_F(InputInjectorMouseTest, ReconcilesBeforeItPosts) {
  auto expected = moved({100, 50});
  expected.flags = eventFlag::control;
  EXPECT_EQ(send(R"({"t":"m","e":"move","m":2})"),
            (Posted{flagsChange(eventFlag::control), expected}));
  EXPECT_EQ(send(R"({"t":"m","e":"wheel","d":-1,"m":0})"),
            (Posted{flagsChange(0), ScrollEvent{.lines = -3}}));
  EXPECT_EQ(send(R"({"t":"m","e":"hover","m":1})"), Posted{flagsChange(eventFlag::shift)});
  EXPECT_EQ(send(R"({"t":"m","m":3})"), Posted{flagsChange(eventFlag::shift | eventFlag::control)});
}

TEST_F(InputInjectorMouseTest, DragsWithWhatIsHeld) {
  const auto type = [this] {
    return std::get<MouseEvent>(send(R"({"t":"m","e":"move"})").at(0)).type;
  };
  send(R"({"t":"m","e":"down","b":1})");
  EXPECT_EQ(type(), EventType::otherMouseDragged);
  send(R"({"t":"m","e":"down","b":2})");
  EXPECT_EQ(type(), EventType::rightMouseDragged);
  send(R"({"t":"m","e":"down","b":0})");
  EXPECT_EQ(type(), EventType::leftMouseDragged);
  send(R"({"t":"m","e":"up","b":0})");
  EXPECT_EQ(type(), EventType::rightMouseDragged);
  send(R"({"t":"m","e":"up","b":2})");
  send(R"({"t":"m","e":"up","b":1})");
  EXPECT_EQ(type(), EventType::mouseMoved);
}

TEST_F(InputInjectorMouseTest, SetsNoClickStateAndNoNumberOnADrag) {
  send(R"({"t":"m","e":"down","b":1})");
  const MouseEvent drag{.type = EventType::otherMouseDragged,
                        .point = {600, 300},
                        .button = MouseButton::center,
                        .flags = 0};
  EXPECT_EQ(send(R"({"t":"m","e":"move","x":0.5,"y":0.5})"), Posted{drag});
}

TEST_F(InputInjectorMouseTest, KeepsAnUnknownButtonUnderItsOwnNumber) {
  EXPECT_EQ(send(R"({"t":"m","e":"down","b":7})"), Posted{leftDown({100, 50}, 1)});
  EXPECT_EQ(send(R"({"t":"m","e":"move"})"), Posted{moved({100, 50})});
  EXPECT_EQ(send(R"({"t":"m","e":"up","b":0})"), Posted{leftUp({100, 50}, 1)});
  // Only the release of 7 itself ends it.
  EXPECT_EQ(releaseAll().size(), 1U);
  send(R"({"t":"m","e":"down","b":7})");
  EXPECT_EQ(send(R"({"t":"m","e":"up","b":7})").size(), 1U);
  EXPECT_EQ(releaseAll(), Posted{});
}

TEST_F(InputInjectorMouseTest, PressesAHeldButtonAgain) {
  send(R"({"t":"m","e":"down","b":0})");
  EXPECT_EQ(send(R"({"t":"m","e":"down","b":0})"), Posted{leftDown({100, 50}, 2)});
  send(R"({"t":"m","e":"up","b":0})");
  EXPECT_EQ(releaseAll(), Posted{});
}

TEST_F(InputInjectorMouseTest, ReleasesAButtonThatWasNeverPressed) {
  EXPECT_EQ(send(R"({"t":"m","e":"up","b":0})"), Posted{leftUp({100, 50}, 1)});
}

TEST_F(InputInjectorMouseTest, CountsClicksCloseInTimeAndPlace) {
  EXPECT_EQ(click(R"("x":0.5,"y":0.5)"), 1);
  clock_.advance(300ms);
  EXPECT_EQ(click(R"("x":0.503,"y":0.5)"), 2);
  clock_.advance(300ms);
  EXPECT_EQ(click(R"("x":0.503,"y":0.506)"), 3);
  clock_.advance(300ms);
  EXPECT_EQ(click(R"("x":0.503,"y":0.506)"), 4);
  clock_.advance(600ms);
  EXPECT_EQ(click(R"("x":0.503,"y":0.506)"), 1);
  // Five of a thousand points.
  EXPECT_EQ(click(R"("x":0.508,"y":0.506)"), 1);
}

TEST_F(InputInjectorMouseTest, CountsAFirstClickAtTheOriginAsOne) {
  displays_.boundsOf[displays_.main].origin = {0, 0};
  EXPECT_EQ(click(R"("x":0,"y":0)", -1), 1);
}

TEST_F(InputInjectorMouseTest, CountsEachButtonAnew) {
  EXPECT_EQ(click(R"("x":0,"y":0)", 0), 1);
  EXPECT_EQ(click(R"("x":0,"y":0)", 0), 2);
  EXPECT_EQ(click(R"("x":0,"y":0)", 1), 1);
  EXPECT_EQ(click(R"("x":0,"y":0)", 7), 1);
  EXPECT_EQ(click(R"("x":0,"y":0)", 0), 1);
}

TEST_F(InputInjectorMouseTest, GivesAReleaseTheCountOfTheLatestPress) {
  send(R"({"t":"m","e":"down","b":0})");
  send(R"({"t":"m","e":"up","b":0})");
  send(R"({"t":"m","e":"down","b":0})");
  send(R"({"t":"m","e":"down","b":2})");
  EXPECT_EQ(send(R"({"t":"m","e":"up","b":0})"), Posted{leftUp({100, 50}, 1)});
  const auto right = send(R"({"t":"m","e":"up","b":2})");
  EXPECT_EQ(std::get<MouseEvent>(right.at(0)).clickState, 1);
}

TEST_F(InputInjectorMouseTest, ScrollsThreeLinesByTheSign) {
  EXPECT_EQ(send(R"({"t":"m","e":"wheel","d":120,"x":0.5,"y":0.5})"),
            Posted{ScrollEvent{.lines = 3}});
  EXPECT_EQ(send(R"({"t":"m","e":"wheel","d":-1})"), Posted{ScrollEvent{.lines = -3}});
  EXPECT_EQ(send(R"({"t":"m","e":"wheel","d":120.0})"), Posted{ScrollEvent{.lines = 3}});
}

TEST_F(InputInjectorMouseTest, ScrollsNothingWithoutADirection) {
  for (const auto* rest : {"", R"(,"d":0)", R"(,"d":0.5)", R"(,"d":"1")", R"(,"d":false)",
                           R"(,"d":1e300)", R"(,"d":null)"}) {
    EXPECT_EQ(send(R"({"t":"m","e":"wheel")" + std::string(rest) + "}"), Posted{}) << rest;
  }
}

TEST_F(InputInjectorMouseTest, IgnoresWhatItCannotRead) {
  for (const auto* message :
       {"", "{", "nonsense", "[]", R"([{"t":"m","e":"move"}])", R"("m")", "1", "null", "{}",
        R"({"e":"move","m":1})", R"({"t":1,"e":"move","m":1})", R"({"t":"mm","e":"move","m":1})",
        R"({"t":"M","e":"move","m":1})", R"({"t":null,"m":1})", R"({"t":"","m":1})",
        R"({"t":"m","e":"move"} trailing)", "{\"t\":\"m\",\"e\":\"move\",\"s\":\"\xff\"}"}) {
    EXPECT_EQ(send(message), Posted{}) << message;
  }
  EXPECT_EQ(releaseAll(), Posted{});
  EXPECT_EQ(log_.messages(), std::vector<std::string>{});
}

}  // namespace
}  // namespace vesk::testing::VESK_FILE
