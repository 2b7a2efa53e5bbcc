#include "input/MouseButtons.h"

#include <gtest/gtest.h>

namespace vesk::VESK_FILE {
namespace {

constexpr ButtonAction leftDrag{EventType::leftMouseDragged, MouseButton::left};
constexpr ButtonAction rightDrag{EventType::rightMouseDragged, MouseButton::right};
constexpr ButtonAction middleDrag{EventType::otherMouseDragged, MouseButton::center};
constexpr ButtonAction moved{EventType::mouseMoved, MouseButton::left};

TEST(MouseButtonsTest, PressAndReleaseByNumber) {
  EXPECT_EQ(pressOf(0), (ButtonAction{EventType::leftMouseDown, MouseButton::left}));
  EXPECT_EQ(pressOf(1), (ButtonAction{EventType::otherMouseDown, MouseButton::center}));
  EXPECT_EQ(pressOf(2), (ButtonAction{EventType::rightMouseDown, MouseButton::right}));
  EXPECT_EQ(releaseOf(0), (ButtonAction{EventType::leftMouseUp, MouseButton::left}));
  EXPECT_EQ(releaseOf(1), (ButtonAction{EventType::otherMouseUp, MouseButton::center}));
  EXPECT_EQ(releaseOf(2), (ButtonAction{EventType::rightMouseUp, MouseButton::right}));
}

TEST(MouseButtonsTest, ActAsTheLeftOneByDefault) {
  for (const std::int64_t button : {std::int64_t{-1}, std::int64_t{3}, std::int64_t{7}, INT64_MIN,
                                    INT64_MAX, std::int64_t{0x100000001}}) {
    EXPECT_EQ(pressOf(button), pressOf(0)) << button;
    EXPECT_EQ(releaseOf(button), releaseOf(0)) << button;
  }
}

TEST(MouseButtonsTest, DragWithLeftBeforeRightBeforeMiddle) {
  EXPECT_EQ(moveWith({}), moved);
  EXPECT_EQ(moveWith({0}), leftDrag);
  EXPECT_EQ(moveWith({1}), middleDrag);
  EXPECT_EQ(moveWith({2}), rightDrag);
  EXPECT_EQ(moveWith({0, 1}), leftDrag);
  EXPECT_EQ(moveWith({0, 2}), leftDrag);
  EXPECT_EQ(moveWith({1, 2}), rightDrag);
  EXPECT_EQ(moveWith({0, 1, 2}), leftDrag);
}

TEST(MouseButtonsTest, DoNotDragWithAStandInForTheLeftOne) {
  EXPECT_EQ(moveWith({7}), moved);
  EXPECT_EQ(moveWith({-1, 3}), moved);
  EXPECT_EQ(moveWith({1, 7}), middleDrag);
}

}  // namespace
}  // namespace vesk::VESK_FILE
