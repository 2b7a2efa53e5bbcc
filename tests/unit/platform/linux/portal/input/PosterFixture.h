#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/linux/portal/input/PortalEventPoster.h"

namespace vesk::portal::input {

/// A session that may control, on a desktop without any keyboard of a person's, and a poster on it.
template <typename Desktop>
class PosterFixtureOn : public ::testing::Test, protected Desktop {
 protected:
  using Desktop::clock;
  using Desktop::gate;
  using Desktop::strokes;
  using Desktop::window;

  PosterFixtureOn() {
    poster.onLacking = [this](std::size_t count) { lacking.push_back(count); };
  }

  void SetUp() override {
    ASSERT_TRUE(this->begin());
    window->forget();
  }

  void mouse(EventType type, Point point, MouseButton button = MouseButton::left,
             std::optional<EventFlags> flags = std::nullopt) {
    poster.post(MouseEvent{.type = type, .point = point, .button = button, .flags = flags});
  }

  void move(Point point) { mouse(EventType::mouseMoved, point); }

  void press(KeyCode code, std::optional<EventFlags> flags = 0) {
    poster.post(
        KeyboardEvent{.keyCode = code, .down = true, .type = EventType::keyDown, .flags = flags});
  }

  void release(KeyCode code, std::optional<EventFlags> flags = 0) {
    poster.post(
        KeyboardEvent{.keyCode = code, .down = false, .type = EventType::keyUp, .flags = flags});
  }

  void strike(KeyCode code, EventFlags flags = 0) {
    press(code, flags);
    release(code, flags);
  }

  void modifiers(KeyCode code, bool down, EventFlags flags) {
    poster.post(KeyboardEvent{
        .keyCode = code, .down = down, .type = EventType::flagsChanged, .flags = flags});
  }

  void type(const std::u16string& text) {
    KeyboardEvent event{.keyCode = 0, .down = true, .type = EventType::keyDown, .flags = 0};
    event.unicode = text;
    poster.post(event);
    event.down = false;
    event.type = EventType::keyUp;
    poster.post(event);
  }

  void endInput() {
    gate.endBy(clock.hostTime());
    gate.ended();
  }

  bool hasTyped(const std::string& text) const {
    return window->waitFor([&](const auto& seen) { return seen.text == text; });
  }

  /// With the left button, Shift and the key of A.
  void hold() {
    press(0x00, eventFlag::shift);
    mouse(EventType::leftMouseDown, {100, 100});
  }

  bool isHeld() const {
    return window->waitFor([](const auto& seen) {
      return seen.keys == std::set<std::uint32_t>{30, 42} && seen.buttons.size() == 1;
    });
  }

  bool isFree() const {
    return window->waitFor([](const auto& seen) {
      return seen.keys.empty() && seen.buttons.empty() && seen.modifiers == "0 0 0 0";
    });
  }

  std::vector<std::size_t> lacking;
  stream::WatchedDisplay watched;
  PortalEventPoster poster{gate, strokes, watched};
};

}  // namespace vesk::portal::input
