#include <linux/input-event-codes.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "platform/linux/wayland/server/WlDisplays.h"
#include "unit/platform/linux/wayland/input/PosterFixture.h"

namespace vesk::wayland::input::VESK_FILE {
namespace {

class WlEventPosterPointerTest : public PosterFixture {
 protected:
  static bool isAt(const testing::WlWindow& window, Point point) {
    return window.waitFor(
        [&](const testing::WlSeen& seen) { return seen.hasPointer && seen.pointer == point; });
  }

  static std::string line(const char* event, int code, const char* stroke) {
    return event + (" " + std::to_string(code)) + " " + stroke;
  }
};

TEST_F(WlEventPosterPointerTest, PointsToPartsOfAPoint) {
  const testing::WlWindow window;
  EXPECT_EQ(poster->pointerLocation(), std::nullopt);
  move({400.5, 300.25});
  EXPECT_TRUE(isAt(window, {400.5, 300.25})) << window.seen().pointer.x;
  EXPECT_EQ(poster->pointerLocation(), (Point{400.5, 300.25}));
  move({0, 0});
  EXPECT_TRUE(isAt(window, {0, 0}));
  move({1919, 1079});
  EXPECT_TRUE(isAt(window, {1919, 1079}));
}

TEST_F(WlEventPosterPointerTest, StaysInsideTheOutput) {
  const testing::WlWindow window;
  move({-5, 4000});
  EXPECT_TRUE(window.waitFor([](const auto& seen) {
    return seen.pointer.x == 0 && seen.pointer.y > 1079 && seen.pointer.y < 1080;
  })) << window.seen().pointer.x
      << " " << window.seen().pointer.y;
}

TEST_F(WlEventPosterPointerTest, CountsPointsOnAScaledOutput) {
  sway.command("output HEADLESS-1 scale 2");
  const testing::WlWindow window;
  move({700.5, 301});
  EXPECT_TRUE(isAt(window, {700.5, 301}));
  sway.command("output HEADLESS-1 scale 1.5");
  ASSERT_TRUE(testing::waitUntil([&] { return window.size() == PixelSize{1280, 720}; }));
  EXPECT_TRUE(testing::waitUntil([&] {
    move({1279, 719.5});
    return window.seen().pointer == Point{1279, 719.5};
  })) << window.seen().pointer.x;
}

TEST_F(WlEventPosterPointerTest, TurnsWithTheOutput) {
  sway.command("output HEADLESS-1 transform 90");
  const testing::WlWindow window;
  ASSERT_EQ(window.size(), (PixelSize{1080, 1920}));
  move({1000, 1900});
  EXPECT_TRUE(isAt(window, {1000, 1900}));
}

TEST_F(WlEventPosterPointerTest, PointsIntoTheMainOutputBesideOthers) {
  const testing::WlWindow window;
  move({10, 10});
  sway.command("create_output");
  sway.command("output HEADLESS-2 mode 800x600@60Hz position -800 0");
  EXPECT_TRUE(testing::waitUntil([&] {
    move({20, 30});
    return window.seen().pointer == Point{20, 30};
  }));
  move({-400, 30});
  EXPECT_TRUE(isAt(window, {0, 30}));
}

TEST_F(WlEventPosterPointerTest, FollowsTheMainOutput) {
  const testing::WlWindow window;
  sway.command("create_output");
  sway.command("output HEADLESS-2 mode 800x600@60Hz position -800 0");
  move({10, 10});
  ASSERT_TRUE(isAt(window, {10, 10}));
  sway.command("output HEADLESS-1 position 800 0");
  sway.command("output HEADLESS-2 position 0 0");
  EXPECT_TRUE(testing::waitUntil([&] {
    move({790, 30});
    return poster->pointerLocation() == Point{790, 30} && !window.seen().hasPointer;
  }));
  sway.command("output HEADLESS-2 position -800 0");
  sway.command("output HEADLESS-1 position 0 0");
  EXPECT_TRUE(testing::waitUntil([&] {
    move({1900, 60});
    return window.seen().pointer == Point{1900, 60};
  }));
}

TEST_F(WlEventPosterPointerTest, StaysOnTheOutputThatIsWatchedWhicheverIsTheMainOne) {
  const testing::WlWindow window;
  move({10, 10});
  ASSERT_TRUE(isAt(window, {10, 10}));
  const auto hold = watched.hold(server::WlDisplays().mainDisplay());
  sway.command("create_output");
  sway.command("output HEADLESS-1 position 800 0");
  sway.command("output HEADLESS-2 mode 800x600@60Hz position 0 0");
  EXPECT_TRUE(testing::waitUntil([&] {
    move({900, 30});
    return window.seen().pointer == Point{100, 30};
  }));
  move({790, 40});
  EXPECT_TRUE(isAt(window, {0, 40}));
}

TEST_F(WlEventPosterPointerTest, PressesAndLetsGoOfEachButton) {
  const testing::WlWindow window;
  const std::array buttons{
      std::tuple{EventType::leftMouseDown, EventType::leftMouseUp, MouseButton::left, BTN_LEFT},
      std::tuple{EventType::rightMouseDown, EventType::rightMouseUp, MouseButton::right, BTN_RIGHT},
      std::tuple{EventType::otherMouseDown, EventType::otherMouseUp, MouseButton::center,
                 BTN_MIDDLE}};
  for (const auto& [down, up, button, code] : buttons) {
    const auto pressed = line("button", code, "down");
    const auto released = line("button", code, "up");
    mouse(down, {100, 100}, button);
    EXPECT_TRUE(window.waitFor([&](const auto& seen) { return seen.count(pressed) == 1; }));
    mouse(up, {100, 100}, button);
    EXPECT_TRUE(window.waitFor([&](const auto& seen) { return seen.count(released) == 1; }));
  }
  EXPECT_EQ(window.seen().events.back(), "frame");
}

TEST_F(WlEventPosterPointerTest, Drags) {
  const testing::WlWindow window;
  mouse(EventType::leftMouseDown, {100, 100});
  mouse(EventType::leftMouseDragged, {200, 150});
  mouse(EventType::leftMouseUp, {300, 200});
  ASSERT_TRUE(window.waitFor([](const auto& seen) { return seen.count("button 272 up") == 1; }));
  const auto events = window.seen().events;
  const auto at = [&](const std::string& line) { return std::ranges::find(events, line); };
  EXPECT_LT(at("button 272 down"), at("motion 200 150"));
  EXPECT_LT(at("motion 200 150"), at("motion 300 200"));
  EXPECT_LT(at("motion 300 200"), at("button 272 up"));
  EXPECT_NE(at("button 272 up"), events.end());
}

TEST_F(WlEventPosterPointerTest, PressesTwiceForADoubleClickAndForASecondPress) {
  testing::WlWindow window;
  for (int i = 0; i < 2; ++i) {
    mouse(EventType::leftMouseDown, {100, 100});
    mouse(EventType::leftMouseUp, {100, 100});
  }
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.count("button 272 up") == 2; }));
  mouse(EventType::leftMouseDown, {100, 100});
  mouse(EventType::leftMouseDown, {100, 100});
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.count("button 272 down") == 4; }));
  EXPECT_EQ(window.seen().count("button 272 up"), 3U);
  mouse(EventType::leftMouseUp, {100, 100});
  mouse(EventType::leftMouseUp, {100, 100});
  EXPECT_TRUE(window.waitFor([](const auto& seen) { return seen.count("button 272 up") == 4; }));
  window.settle();
  EXPECT_EQ(window.seen().count("button 272 up"), 4U);
}

TEST_F(WlEventPosterPointerTest, ScrollsByNotches) {
  testing::WlWindow window;
  move({100, 100});
  poster->post(ScrollEvent{.lines = 3});
  ASSERT_TRUE(window.waitFor([](const auto& seen) { return seen.count("axis") == 1; }));
  EXPECT_EQ(window.seen().count("axis vertical -15"), 1U);
  EXPECT_EQ(window.seen().count("discrete vertical -1"), 1U);
  EXPECT_EQ(window.seen().count("source 0"), 1U);
  window.forget();
  poster->post(ScrollEvent{.lines = -7});
  ASSERT_TRUE(window.waitFor([](const auto& seen) { return seen.count("axis vertical 15") == 2; }));
  EXPECT_EQ(window.seen().count("discrete vertical 1"), 2U);
  window.settle();
  EXPECT_EQ(window.seen().count("frame"), 2U);
  window.forget();
  poster->post(ScrollEvent{.lines = 0});
  poster->post(ScrollEvent{.lines = 1});
  ASSERT_TRUE(window.waitFor([](const auto& seen) { return seen.count("axis") == 1; }));
}

}  // namespace
}  // namespace vesk::wayland::input::VESK_FILE
