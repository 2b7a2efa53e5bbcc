#pragma once

#include <optional>
#include <set>
#include <string>

#include "platform/Events.h"
#include "platform/InputGate.h"
#include "platform/linux/stream/WatchedDisplay.h"
#include "platform/linux/wayland/input/ModifierKeys.h"
#include "platform/linux/wayland/input/PlacedKeys.h"
#include "platform/linux/wayland/input/Seat.h"
#include "platform/linux/wayland/input/TextTyper.h"
#include "platform/linux/wayland/input/VirtualKeyboard.h"
#include "platform/linux/wayland/input/VirtualPointer.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::wayland::input {

/// The viewer's mouse and keyboard, from their beginning to their end.
///
/// Thread: one at a time. Owns: a connection of its own, and with it the devices: what they hold is
/// let go of at the end, by the compositor itself where this program is killed. The gate outlives
/// it. Fails: silently. A compositor that has stopped reading is waited for once, for a second at
/// most and not beyond the gate's closing: what is posted after that is dropped, and everything is
/// let go of once it reads again.
class InputDevices {
 public:
  /// Waits until the compositor has made them, and lets go of what the record says that a
  /// predecessor has left down. What is given outlives them.
  InputDevices(const InputGate& gate, const stream::WatchedDisplay& watched,
               keys::HeldRecord& record);
  ~InputDevices();
  InputDevices(const InputDevices&) = delete;
  InputDevices& operator=(const InputDevices&) = delete;

  /// False once the connection is lost.
  explicit operator bool() const { return static_cast<bool>(connection_); }

  /// Where the pointer is then, when it was moved.
  std::optional<Point> post(const MouseEvent& event);
  void post(const KeyboardEvent& event);
  void post(const ScrollEvent& event);

  /// Everything is up when this returns, and nothing is believed to be held.
  void letGo();

 private:
  bool isReading();
  bool hasSent();
  bool areProgramsListening();
  void send();
  void confirm();
  void makeTrue(EventFlags flags);
  void postKey(const KeyboardEvent& event);
  void type(const std::u16string& run);
  KeyboardLayout usePersonsKeymap();

  const InputGate& gate_;
  keys::HeldRecord& record_;
  server::Connection connection_;
  server::OutputList outputs_{connection_};
  Seat seat_{connection_};
  VirtualPointer pointer_;
  VirtualKeyboard keyboard_{connection_, seat_.get(), gate_, record_};
  ModifierKeys modifiers_{keyboard_};
  PlacedKeys keys_{keyboard_};
  TextTyper typer_{keyboard_, gate_, [this] { return hasSent(); }};
  std::optional<HostTime> listeningFrom_;    ///< programs can be expected to listen to the devices
  server::Proxy<wl_callback> confirmation_;  ///< that what was let go of has been carried out
  std::set<Key> asked_;                      ///< what was held when it was asked for
  bool isBehind_ = false;  ///< something was dropped that may have let go of something
};

}  // namespace vesk::wayland::input
