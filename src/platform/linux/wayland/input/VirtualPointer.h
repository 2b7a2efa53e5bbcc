#pragma once

#include <cstdint>
#include <optional>
#include <set>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::input {

/// A mouse of the viewer's own beside those of the person. It points into the main output, which it
/// follows when that is moved, scaled or another one; nothing outside is ever pointed at.
///
/// Thread: one at a time. Owns: the device, and with it what is held down. What is given to the
/// constructor outlives it. Fails: silently, once the compositor is gone or has no output.
class VirtualPointer {
 public:
  VirtualPointer(server::Connection& connection, const server::OutputList& outputs, wl_seat* seat,
                 const InputGate& gate);
  ~VirtualPointer();
  VirtualPointer(const VirtualPointer&) = delete;
  VirtualPointer& operator=(const VirtualPointer&) = delete;

  /// Where the pointer is then; nothing where there is no output.
  std::optional<Point> move(Point point);

  void press(MouseButton button);
  void release(MouseButton button);

  /// Up for more than 0. The gate is asked before each notch.
  void scroll(int lines);

  void releaseAll();

 private:
  void follow(DisplayId output);
  void tell(MouseButton button, wl_pointer_button_state state);

  const server::OutputList& outputs_;
  wl_seat* const seat_;
  const InputGate& gate_;
  server::Proxy<zwlr_virtual_pointer_manager_v1> manager_;
  server::Proxy<zwlr_virtual_pointer_v1> pointer_;
  DisplayId output_ = 0;  ///< the one that the device points into
  std::set<MouseButton> held_;
};

}  // namespace vesk::wayland::input
