#include "support/WlImages.h"

#include "platform/linux/wayland/server/WlDisplays.h"

namespace vesk::testing {

WlImages::WlImages(const wayland::beneath::OwnSurfaces* leftOut, bool showsCursor,
                   DisplayId display) {
  wayland::server::WlDisplays displays;
  if (display == 0) display = displays.mainDisplay();
  const auto points = displays.pixels(display);
  size_ = displays.modePixels(display).value_or(PixelSize{2, 2});
  StreamConfiguration configuration;
  configuration.width = size_.width;
  configuration.height = size_.height;
  configuration.showsCursor = showsCursor;
  images_ = std::make_unique<wayland::screen::OutputImages>(
      ShareableDisplay{display, points.width, points.height}, configuration, leftOut);
}

}  // namespace vesk::testing
