#pragma once

#include <wayland-client.h>

#include <cstdint>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/picture/PixelRect.h"
#include "platform/linux/wayland/beneath/Pixels.h"
#include "platform/linux/wayland/screen/PanelPixels.h"

namespace vesk::wayland::screen {

using picture::PixelRect;

/// An output's pixels as the person sees them, of eight bits a colour and with blue in the lowest:
/// the compositor's own where it lays them out like that, and copies of those otherwise.
///
/// Thread: one at a time. Owns: the copies. Fails: never.
class UprightPixels {
 public:
  /// Whether a `wl_shm_format` is one that can be made into such pixels.
  static bool canRead(std::uint32_t format);

  explicit UprightPixels(wl_output_transform transform) : transform_(transform) {}

  /// What the panel shows, in which these areas, as the person sees them, may differ from before.
  /// They stay for as long as the panel's do, and are the caller's to change.
  beneath::Pixels update(const PanelPixels& panel, const std::vector<PixelRect>& areas);

 private:
  void bring(const PanelPixels& panel, const PixelRect& area);
  const std::uint8_t* converted(const PanelPixels& panel, const PixelRect& part);

  wl_output_transform transform_;
  PixelSize size_;
  std::vector<std::uint8_t> own_;
  std::vector<std::uint8_t> converted_;
};

}  // namespace vesk::wayland::screen
