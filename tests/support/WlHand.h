#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::testing {

/// A person's hand on the compositor that WAYLAND_DISPLAY names: a mouse and a keyboard with an
/// American layout, both there from the start. Each call returns once the compositor has taken what
/// was done. Keys and buttons are evdev's.
///
/// Thread: one at a time. Owns: its connection.
class WlHand {
 public:
  WlHand();

  /// `place` is in points, from the top-left corner of a screen of that size on.
  void moveTo(Point place, PixelSize screen = {1920, 1080});

  void press(std::uint32_t button);
  void release(std::uint32_t button);
  void click(std::uint32_t button);

  void keyDown(std::uint32_t key);
  void keyUp(std::uint32_t key);
  void tap(std::uint32_t key);

 private:
  std::uint32_t now();
  void setKeymap();
  void updateModifiers();
  void settle();

  wayland::server::Connection connection_;
  wayland::server::Proxy<wl_seat> seat_;
  wayland::server::Proxy<zwlr_virtual_pointer_manager_v1> pointers_;
  wayland::server::Proxy<zwlr_virtual_pointer_v1> pointer_;
  wayland::server::Proxy<zwp_virtual_keyboard_manager_v1> keyboards_;
  wayland::server::Proxy<zwp_virtual_keyboard_v1> keyboard_;
  bool shift_ = false;
  std::chrono::milliseconds last_{0};
};

}  // namespace vesk::testing
