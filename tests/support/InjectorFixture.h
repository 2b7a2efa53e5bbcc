#pragma once

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "fakes/FakeDisplays.h"
#include "fakes/ManualClock.h"
#include "fakes/RecordingEventPoster.h"
#include "input/InputInjector.h"
#include "support/LogLines.h"

namespace vesk::testing {

using Posted = std::vector<fakes::PostedEvent>;

/// An injector among fakes. The main display lies at (100, 50) and is 1000 by 500 points.
class InjectorTest : public ::testing::Test {
 protected:
  InjectorTest() { displays_.boundsOf[displays_.main] = {{100, 50}, 1000, 500}; }

  /// Handles one message and returns what it posted.
  Posted send(std::string_view json) {
    injector_.handle(std::as_bytes(std::span(json)));
    return poster_.take();
  }

  Posted releaseAll() {
    injector_.releaseAll();
    return poster_.take();
  }

  fakes::RecordingEventPoster poster_;
  fakes::FakeDisplays displays_;
  fakes::ManualClock clock_;
  InputInjector injector_{poster_, displays_, clock_};
  LogLines log_;
};

/// What is posted when the modifiers are told of as a whole.
inline KeyboardEvent flagsChange(EventFlags flags) {
  return {.keyCode = 0x38, .down = false, .type = EventType::flagsChanged, .flags = flags};
}

inline KeyboardEvent keyDown(KeyCode key, std::optional<EventFlags> flags = 0) {
  return {.keyCode = key, .down = true, .type = EventType::keyDown, .flags = flags};
}

inline KeyboardEvent keyUp(KeyCode key, std::optional<EventFlags> flags = 0) {
  return {.keyCode = key, .down = false, .type = EventType::keyUp, .flags = flags};
}

inline KeyboardEvent modifierDown(KeyCode key, EventFlags flags) {
  return {.keyCode = key, .down = true, .type = EventType::flagsChanged, .flags = flags};
}

inline KeyboardEvent modifierUp(KeyCode key, EventFlags flags) {
  return {.keyCode = key, .down = false, .type = EventType::flagsChanged, .flags = flags};
}

}  // namespace vesk::testing
