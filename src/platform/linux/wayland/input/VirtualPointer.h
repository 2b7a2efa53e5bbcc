#pragma once

#include <cstdint>
#include <optional>
#include <set>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/keys/HeldRecord.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/input/Key.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::input {

/// A mouse of the viewer's own beside those of the person. It points into the output that is
/// watched, or the main one, which it follows when that is moved, scaled or another one; nothing
/// outside is ever pointed at.
///
/// Thread: one at a time. Owns: the device, and with it what is held down. What is given to the
/// constructor outlives it. Fails: silently, once the compositor is gone or has no output.
class VirtualPointer {
 public:
  VirtualPointer(server::Connection& connection, const server::OutputList& outputs,
                 const stream::WatchedDisplay& watched, wl_seat* seat, const InputGate& gate,
                 keys::HeldRecord& record);
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

  /// Lets go of those buttons among these that a predecessor's mouse has left down.
  void releaseLeftBehind(const std::set<Key>& codes);

 private:
  void tell(Key code, wl_pointer_button_state state);

  const server::OutputList& outputs_;
  const stream::WatchedDisplay& watched_;
  const InputGate& gate_;
  keys::HeldRecord& record_;
  server::Proxy<zwlr_virtual_pointer_manager_v1> manager_;
  server::Proxy<zwlr_virtual_pointer_v1> pointer_;
  std::set<MouseButton> held_;
};

}  // namespace vesk::wayland::input
