#include "platform/macos/MacEventPoster.h"

#include "macos/unit/SystemFixture.h"
#include "platform/SystemClock.h"

namespace vesk::mac {
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

TEST_F(MacEventPosterTest, OnlyLetsGoWhileTheGateIsClosed) {
  poster_->post(KeyboardEvent{
      .keyCode = 0x38, .down = true, .type = EventType::flagsChanged, .flags = eventFlag::shift});
  system_.posted.clear();
  gate_.close();
  poster_->post(MouseEvent{.type = EventType::mouseMoved, .point = {}});
  poster_->post(MouseEvent{.type = EventType::leftMouseDown, .point = {}});
  poster_->post(KeyboardEvent{.keyCode = 36, .down = true, .type = EventType::keyDown});
  poster_->post(ScrollEvent{.lines = 3});
  EXPECT_TRUE(system_.posted.empty());

  poster_->post(MouseEvent{.type = EventType::leftMouseUp, .point = {}});
  poster_->post(KeyboardEvent{.keyCode = 36, .down = false, .type = EventType::keyUp});
  poster_->post(KeyboardEvent{.keyCode = 0x37,
                              .down = true,
                              .type = EventType::flagsChanged,
                              .flags = eventFlag::shift | eventFlag::command});
  ASSERT_EQ(system_.posted.size(), 3U);
  EXPECT_EQ(system_.posted.back().flags, eventFlag::shift);
}

}  // namespace
}  // namespace vesk::mac
