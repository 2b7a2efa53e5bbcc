#pragma once

#include "platform/Displays.h"
#include "platform/linux/x11/Connection.h"

namespace vesk::x11 {

/// The monitors of the X server as RandR 1.5 tells of them. A display's identifier is that of its
/// monitor's first output. Each question is put to the server anew; one point is one pixel here.
class XDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override;
  Rect bounds(DisplayId display) override;
  PixelSize pixels(DisplayId display) override;
  std::optional<PixelSize> modePixels(DisplayId display) override;

 private:
  Connection connection_;
};

}  // namespace vesk::x11
