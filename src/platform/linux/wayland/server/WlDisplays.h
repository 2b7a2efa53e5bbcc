#pragma once

#include <mutex>
#include <optional>

#include "platform/Displays.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::server {

/// The compositor's outputs. On a scaled one a point is more than one pixel, and may be a fraction
/// more.
class WlDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override;
  Rect bounds(DisplayId display) override;
  PixelSize pixels(DisplayId display) override;
  std::optional<PixelSize> modePixels(DisplayId display) override;

 private:
  std::optional<Output> find(DisplayId display);

  std::mutex mutex_;
  Connection connection_;
  OutputList outputs_{connection_};
};

}  // namespace vesk::wayland::server
