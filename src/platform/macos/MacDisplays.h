#pragma once

#include "platform/Displays.h"

namespace vesk::mac {

/// The displays of the window server. Thread, failure: as `Displays` says.
class MacDisplays final : public Displays {
 public:
  DisplayId mainDisplay() override;
  Rect bounds(DisplayId display) override;
  PixelSize pixels(DisplayId display) override;
  std::optional<PixelSize> modePixels(DisplayId display) override;
};

}  // namespace vesk::mac
