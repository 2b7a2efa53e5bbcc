#include "platform/macos/MacEventPoster.h"

#include "macos/unit/SystemFixture.h"
#include "platform/SystemClock.h"

namespace vesk::mac::VESK_FILE {
namespace {

using vesk::fakes::mac::EventFields;

class MacEventPosterTest : public vesk::testing::SystemFixture {
 protected:
  /// The one event that was posted.
  const EventFields& posted() const {
    EXPECT_EQ(system_.posted.size(), 1U);
    static const EventFields none;
    return system_.posted.empty() ? none : system_.posted.back();
  }
  static std::uint32_t number(CGEventType type) { return type; }

  SystemClock clock_;
  InputGate gate_{clock_};
  std::optional<MacEventPoster> poster_{std::in_place, gate_};

  void TearDown() override { poster_.reset(); }
};

TEST_F(MacEventPosterTest, PostsAPressWithEverythingThatIsSet) {
  poster_->post(MouseEvent{.type = EventType::otherMouseDown,
                           .point = {12.5, 7},
                           .button = MouseButton::center,
                           .flags = eventFlag::shift,
                           .clickState = 2,
                           .buttonNumber = 2});
  const auto& event = posted();
  EXPECT_EQ(number(event.type), 25U);
  EXPECT_EQ(event.location.x, 12.5);
  EXPECT_EQ(event.location.y, 7);
  EXPECT_EQ(static_cast<int>(*event.button), 2);
  EXPECT_EQ(event.flags, 0x20000U);
  EXPECT_EQ(event.fields, (std::map<CGEventField, std::int64_t>{{kCGMouseEventClickState, 2},
                                                                {kCGMouseEventButtonNumber, 2}}));
  EXPECT_TRUE(event.hasSource);
  EXPECT_EQ(system_.taps, std::vector{kCGHIDEventTap});
}

TEST_F(MacEventPosterTest, LeavesAloneWhatIsNotSet) {
  poster_->post(
      MouseEvent{.type = EventType::leftMouseUp, .point = {}, .button = MouseButton::left});
  EXPECT_FALSE(posted().flags);
  EXPECT_TRUE(posted().fields.empty());
}

TEST_F(MacEventPosterTest, SetsFlagsToNoneWhereNoneAreDown) {
  poster_->post(KeyboardEvent{.keyCode = 8, .down = true, .type = EventType::keyDown, .flags = 0});
  EXPECT_EQ(posted().flags, 0U);
  EXPECT_EQ(posted().key, 8);
  EXPECT_EQ(posted().down, true);
}

TEST_F(MacEventPosterTest, TurnsAModifiersKeyIntoAChangeOfFlags) {
  poster_->post(KeyboardEvent{
      .keyCode = 0x38, .down = true, .type = EventType::flagsChanged, .flags = eventFlag::shift});
  EXPECT_EQ(number(posted().type), 12U);
  EXPECT_EQ(posted().flags, 0x20000U);
}

TEST_F(MacEventPosterTest, TypesTextInCodeUnits) {
  poster_->post(KeyboardEvent{.keyCode = 0,
                              .down = true,
                              .type = EventType::keyDown,
                              .flags = 0,
                              .unicode = u"\u00e9\U0001F600"});
  EXPECT_EQ(posted().text, u"\u00e9\U0001F600");
}

TEST_F(MacEventPosterTest, ScrollsOneWheelByLinesAndSetsNothingElse) {
  poster_->post(ScrollEvent{.lines = -3});
  EXPECT_EQ(posted().lines, -3);
  EXPECT_FALSE(posted().flags);
}

TEST_F(MacEventPosterTest, PostsNothingThatTheSystemRefuses) {
  system_.refusesEvents = true;
  poster_->post(MouseEvent{});
  poster_->post(KeyboardEvent{});
  poster_->post(ScrollEvent{.lines = 3});
  EXPECT_TRUE(system_.posted.empty());
  EXPECT_EQ(poster_->pointerLocation(), std::nullopt);
}

TEST_F(MacEventPosterTest, TellsWhereThePointerIs) {
  system_.pointer = {3, 4};
  EXPECT_EQ(poster_->pointerLocation(), (Point{3, 4}));
}

TEST_F(MacEventPosterTest, KeepsOneSourceForGood) {
  for (int i = 0; i < 3; ++i) poster_->post(MouseEvent{});
  EXPECT_EQ(system_.sources, 1);
}

/// What is held when the gate closes, and what is posted from then on.
class MacEventPosterGateTest : public MacEventPosterTest {
 protected:
  void hold() {
    poster_->post(MouseEvent{.type = EventType::otherMouseDown,
                             .point = {},
                             .button = MouseButton::center,
                             .buttonNumber = 2});
    poster_->post(KeyboardEvent{.keyCode = 36, .down = true, .type = EventType::keyDown});
    poster_->post(KeyboardEvent{
        .keyCode = 0x38, .down = true, .type = EventType::flagsChanged, .flags = shiftAndCommand});
    system_.posted.clear();
  }

  void letGo() {
    poster_->post(MouseEvent{.type = EventType::otherMouseUp,
                             .point = {},
                             .button = MouseButton::center,
                             .buttonNumber = 2});
    poster_->post(KeyboardEvent{.keyCode = 36, .down = false, .type = EventType::keyUp});
    poster_->post(
        KeyboardEvent{.keyCode = 0x38, .down = false, .type = EventType::flagsChanged, .flags = 0});
  }

  static constexpr EventFlags shiftAndCommand = eventFlag::shift | eventFlag::command;
};

TEST_F(MacEventPosterGateTest, PressesMovesAndTypesNothingWhileItIsClosed) {
  gate_.close();
  poster_->post(MouseEvent{.type = EventType::mouseMoved, .point = {}});
  poster_->post(MouseEvent{.type = EventType::leftMouseDown, .point = {}});
  poster_->post(KeyboardEvent{.keyCode = 36, .down = true, .type = EventType::keyDown});
  poster_->post(KeyboardEvent{
      .keyCode = 0x38, .down = true, .type = EventType::flagsChanged, .flags = shiftAndCommand});
  poster_->post(ScrollEvent{.lines = 3});
  EXPECT_TRUE(system_.posted.empty());
}

TEST_F(MacEventPosterGateTest, LetsGoOfEverythingWhenItCloses) {
  hold();
  system_.pointer = {3, 4};
  gate_.close();
  ASSERT_EQ(system_.posted.size(), 3U);
  EXPECT_EQ(number(system_.posted[0].type), 26U);
  EXPECT_EQ(system_.posted[0].location.x, 3);
  EXPECT_EQ(system_.posted[0].fields,
            (std::map<CGEventField, std::int64_t>{{kCGMouseEventButtonNumber, 2}}));
  EXPECT_EQ(system_.posted[1].key, 36);
  EXPECT_EQ(system_.posted[1].down, false);
  EXPECT_EQ(number(system_.posted[2].type), 12U);
  EXPECT_EQ(system_.posted[2].flags, 0U);
}

TEST_F(MacEventPosterGateTest, LetsGoOfNothingTwice) {
  hold();
  gate_.close();
  gate_.close();
  EXPECT_EQ(system_.posted.size(), 3U);
  letGo();
  EXPECT_EQ(system_.posted.size(), 3U);
  gate_.open();
  gate_.open();
  hold();
  letGo();
  EXPECT_EQ(system_.posted.size(), 3U);
}

TEST_F(MacEventPosterGateTest, LetsGoOfNothingAgainOnceItIsOpen) {
  hold();
  gate_.close();
  gate_.open();
  system_.posted.clear();
  letGo();
  ASSERT_EQ(system_.posted.size(), 1U);
  EXPECT_EQ(number(system_.posted[0].type), 12U);
}

TEST_F(MacEventPosterGateTest, TakesAwayModifiersButAddsNoneWhileItIsShut) {
  poster_->post(KeyboardEvent{
      .keyCode = 0x38, .down = true, .type = EventType::flagsChanged, .flags = shiftAndCommand});
  gate_.endBy(clock_.hostTime());
  poster_->post(KeyboardEvent{.keyCode = 0x3B,
                              .down = true,
                              .type = EventType::flagsChanged,
                              .flags = eventFlag::shift | eventFlag::control});
  ASSERT_EQ(system_.posted.size(), 2U);
  EXPECT_EQ(system_.posted[1].flags, eventFlag::shift);
}

TEST_F(MacEventPosterGateTest, LetsGoOfWhatIsHeldAfterAnEnd) {
  hold();
  gate_.endBy(clock_.hostTime());
  letGo();
  ASSERT_EQ(system_.posted.size(), 3U);
  EXPECT_EQ(system_.posted.back().flags, 0U);
}

TEST_F(MacEventPosterGateTest, ClosesNoTextInTheMiddleOfAStroke) {
  const KeyboardEvent down{
      .keyCode = 0, .down = true, .type = EventType::keyDown, .flags = 0, .unicode = u"a"};
  KeyboardEvent up = down;
  up.down = false;
  up.type = EventType::keyUp;
  poster_->post(down);
  gate_.close();
  ASSERT_EQ(system_.posted.size(), 2U);
  EXPECT_EQ(system_.posted[1].down, false);
  poster_->post(up);
  poster_->post(down);
  poster_->post(up);
  EXPECT_EQ(system_.posted.size(), 2U);
}

TEST_F(MacEventPosterGateTest, PassesReleasesThatNothingBelongsTo) {
  letGo();
  EXPECT_EQ(system_.posted.size(), 3U);
}

TEST_F(MacEventPosterGateTest, IsLeftAloneByAPosterThatHasEnded) {
  hold();
  poster_.reset();
  gate_.close();
  EXPECT_TRUE(system_.posted.empty());
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
