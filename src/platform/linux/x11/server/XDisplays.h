#pragma once

#include "platform/Displays.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/MonitorWatch.h"

namespace vesk::x11::server {

/// The monitors of the X server as RandR 1.5 tells of them. A display's identifier is that of its
/// monitor's first output. One point is one pixel here.
class XDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override;
  Rect bounds(DisplayId display) override;
  PixelSize pixels(DisplayId display) override;
  std::optional<PixelSize> modePixels(DisplayId display) override;

 private:
  Monitor monitorOf(DisplayId display);

  Connection connection_;
  MonitorWatch watch_{connection_};
};

}  // namespace vesk::x11::server
