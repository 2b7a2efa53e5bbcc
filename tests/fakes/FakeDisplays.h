#pragma once

#include "platform/Displays.h"

namespace vesk::fakes {

/// Displays that a test sets up by hand. Thread: the test's.
class FakeDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override { return main; }
  Rect bounds(DisplayId display) override { return display == main ? mainBounds : Rect{}; }
  PixelSize pixels(DisplayId display) override {
    return display == main ? mainPixels : PixelSize{};
  }
  std::optional<PixelSize> modePixels(DisplayId display) override {
    return display == main ? mainModePixels : std::nullopt;
  }

  DisplayId main = 1;
  Rect mainBounds{{0, 0}, 1000, 500};
  PixelSize mainPixels{1000, 500};
  std::optional<PixelSize> mainModePixels = PixelSize{1000, 500};
};

}  // namespace vesk::fakes
