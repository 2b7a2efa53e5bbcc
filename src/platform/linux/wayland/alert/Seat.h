#pragma once

#include <cstdint>

#include "platform/DeliberateAct.h"
#include "platform/Geometry.h"
#include "platform/linux/wayland/alert/AlertKeys.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::alert {

enum class Stroke { down, up };

/// What the person does with the one surface of a connection that takes input. Places are in its
/// points, keys and buttons evdev's, times the compositor's.
class SeatWatcher {
 public:
  virtual void pointerEnters(std::uint32_t serial, Point place) = 0;
  virtual void pointerMoves(Point place) = 0;
  virtual void pointerLeaves() = 0;
  virtual void button(std::uint32_t number, Stroke stroke, std::uint32_t time) = 0;

  /// `held` are the keys that are down at that moment.
  virtual void getsFocus(const DeliberateAct::Keys& held) = 0;
  virtual void losesFocus() = 0;
  virtual void key(std::uint32_t number, Stroke stroke, std::uint32_t time) = 0;

 protected:
  ~SeatWatcher() = default;
};

/// The pointer and the keyboard of the first seat, as they come and go.
///
/// Thread: the connection's. Owns: its proxies; the connection and the watcher outlive it. Fails:
/// as a seat without either. Calls back: from within the connection's dispatch; what goes away
/// loses its place and its focus first.
class Seat {
 public:
  Seat(server::Connection& connection, SeatWatcher& watcher);
  Seat(const Seat&) = delete;
  Seat& operator=(const Seat&) = delete;

  /// Null where there is none.
  wl_pointer* pointer() const { return pointer_.get(); }

  const AlertKeys& keys() const { return keys_; }

 private:
  void take(std::uint32_t capabilities);
  void takePointer();
  void takeKeyboard();
  void takeKeymap(int file, std::uint32_t size);

  SeatWatcher& watcher_;
  AlertKeys keys_;
  server::Proxy<wl_seat> seat_;
  server::Proxy<wl_pointer> pointer_;
  server::Proxy<wl_keyboard> keyboard_;
};

}  // namespace vesk::wayland::alert
