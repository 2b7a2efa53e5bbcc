#pragma once

#include <map>

#include "platform/Displays.h"

namespace vesk::fakes {

/// Displays that are what the test says. Thread: the test's.
class FakeDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override { return main; }
  Rect bounds(DisplayId display) override { return found(boundsOf, display); }
  PixelSize pixels(DisplayId display) override { return found(pixelsOf, display); }
  std::optional<PixelSize> modePixels(DisplayId display) override {
    const auto mode = modes.find(display);
    if (mode == modes.end()) return std::nullopt;
    return mode->second;
  }

  DisplayId main = 0;
  std::map<DisplayId, Rect> boundsOf{{0, {{0, 0}, 1000, 500}}};
  std::map<DisplayId, PixelSize> pixelsOf;
  std::map<DisplayId, PixelSize> modes;

 private:
  template <typename Value>
  static Value found(const std::map<DisplayId, Value>& values, DisplayId display) {
    const auto value = values.find(display);
    return value == values.end() ? Value{} : value->second;
  }
};

}  // namespace vesk::fakes
