#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/InputGate.h"
#include "platform/SystemClock.h"
#include "platform/linux/wayland/input/WlEventPoster.h"
#include "support/Patience.h"
#include "support/Sway.h"
#include "support/WlWindow.h"

namespace vesk::wayland::input {

/// A compositor without any keyboard or mouse of a person's, and a poster on it.
class PosterFixture : public ::testing::Test {
 protected:
  explicit PosterFixture(const std::vector<std::string>& lines = {}) : sway(lines) {
    sway.enter();
    poster.emplace(gate, watched);
  }

  void mouse(EventType type, Point point, MouseButton button = MouseButton::left,
             std::optional<EventFlags> flags = std::nullopt) {
    poster->post(MouseEvent{.type = type, .point = point, .button = button, .flags = flags});
  }

  void move(Point point) { mouse(EventType::mouseMoved, point); }

  /// Makes the devices, and waits until the window listens to them: on a busy machine it does so
  /// later than they wait for by themselves.
  void beHeardBy(const testing::WlWindow& window) {
    move({10, 10});
    ASSERT_TRUE(window.waitFor([](const testing::WlSeen& seen) {
      return seen.hasFocus && seen.hasPointer && seen.pointer == Point{10, 10};
    }));
  }

  void press(KeyCode code, std::optional<EventFlags> flags = 0) {
    poster->post(
        KeyboardEvent{.keyCode = code, .down = true, .type = EventType::keyDown, .flags = flags});
  }

  void release(KeyCode code, std::optional<EventFlags> flags = 0) {
    poster->post(
        KeyboardEvent{.keyCode = code, .down = false, .type = EventType::keyUp, .flags = flags});
  }

  void strike(KeyCode code, EventFlags flags = 0) {
    press(code, flags);
    release(code, flags);
  }

  void modifiers(KeyCode code, bool down, EventFlags flags) {
    poster->post(KeyboardEvent{
        .keyCode = code, .down = down, .type = EventType::flagsChanged, .flags = flags});
  }

  void type(const std::u16string& text) {
    KeyboardEvent event{.keyCode = 0, .down = true, .type = EventType::keyDown, .flags = 0};
    event.unicode = text;
    poster->post(event);
    event.down = false;
    event.type = EventType::keyUp;
    poster->post(event);
  }

  /// What the viewer's devices are called in the compositor's list.
  std::size_t devices() const {
    const std::string inputs = sway.ask("get_inputs");
    std::size_t count = 0;
    for (auto at = inputs.find("\"identifier\""); at != std::string::npos;
         at = inputs.find("\"identifier\"", at + 1))
      ++count;
    return count;
  }

  SystemClock clock;
  InputGate gate{clock};
  testing::Sway sway;
  stream::WatchedDisplay watched;
  std::optional<WlEventPoster> poster;
};

}  // namespace vesk::wayland::input
