#pragma once

#include <map>

#include "platform/Displays.h"

namespace vesk::fakes {

/// Displays as a test sets them. Thread: the test's.
class FakeDisplays final : public Displays {
 public:
  struct Display {
    Rect bounds;
    PixelSize pixels;
    std::optional<PixelSize> modePixels;
  };

  DisplayId main = 0;
  std::map<DisplayId, Display> displays;

  DisplayId mainDisplay() override { return main; }
  Rect bounds(DisplayId display) override { return at(display).bounds; }
  PixelSize pixels(DisplayId display) override { return at(display).pixels; }
  std::optional<PixelSize> modePixels(DisplayId display) override { return at(display).modePixels; }

 private:
  Display at(DisplayId display) const {
    const auto found = displays.find(display);
    return found == displays.end() ? Display{} : found->second;
  }
};

}  // namespace vesk::fakes
