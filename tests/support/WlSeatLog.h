#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::testing {

/// What a seat has told a window so far.
struct WlSeen {
  /// One line for each event, in their order: "motion 400.5 300", "button 272 down", "key 30 up",
  /// "modifiers 1 0 0 0" (depressed, latched, locked, group), "axis vertical 15", "discrete
  /// vertical 1", "source 0", "frame", "keymap", "enter", "leave", "focus", "blur". Keys and
  /// buttons are evdev's.
  std::vector<std::string> events;
  std::string text;                 ///< what the keys have typed, by keymap and modifiers, in UTF-8
  std::set<std::uint32_t> keys;     ///< down now
  std::set<std::uint32_t> buttons;  ///< down now
  std::string modifiers = "0 0 0 0";
  Point pointer;  ///< in the window, in points
  bool hasPointer = false;
  bool hasFocus = false;  ///< the keyboard's
  std::string keymap;     ///< the last one, as text

  /// How many events are this line, or begin with it and a space.
  std::size_t count(const std::string& line) const;
};

/// Listens to the first seat of a connection.
///
/// Thread: the connection's. Owns: its proxies; the connection outlives it.
class WlSeatLog {
 public:
  explicit WlSeatLog(wayland::server::Connection& connection);

  WlSeen& seen() { return seen_; }
  const WlSeen& seen() const { return seen_; }

 private:
  void take(std::uint32_t capabilities);
  void takePointer();
  void takeKeyboard();
  void note(std::string line) { seen_.events.push_back(std::move(line)); }
  void onKeymap(int file, std::uint32_t size);
  void onKey(std::uint32_t key, bool isDown);
  void onButton(std::uint32_t button, bool isDown);
  void onEnter(wl_fixed_t x, wl_fixed_t y);
  void onLeave();
  void onMotion(wl_fixed_t x, wl_fixed_t y);
  void onModifiers(std::uint32_t depressed, std::uint32_t latched, std::uint32_t locked,
                   std::uint32_t group);

  WlSeen seen_;
  keys::Xkb<xkb_context> context_{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
  keys::Xkb<xkb_keymap> keymap_;
  keys::Xkb<xkb_state> state_;
  wayland::server::Proxy<wl_seat> seat_;
  wayland::server::Proxy<wl_pointer> pointer_;
  wayland::server::Proxy<wl_keyboard> keyboard_;
};

}  // namespace vesk::testing
