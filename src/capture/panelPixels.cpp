#include "capture/panelPixels.h"

namespace vesk {

PixelSize panelPixels(const ShareableDisplay& display, Displays& displays) {
  if (const auto mode = displays.modePixels(display.displayID)) return *mode;
  PixelSize pixels = displays.pixels(display.displayID);
  if (pixels.width < 1) pixels.width = display.width;
  if (pixels.height < 1) pixels.height = display.height;
  return pixels;
}

}  // namespace vesk
