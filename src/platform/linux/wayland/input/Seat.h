#pragma once

#include <cstdint>
#include <string>

#include "platform/linux/keys/Xkb.h"
#include "platform/linux/wayland/server/Connection.h"

namespace vesk::wayland::input {

/// The person's seat: whether it has a keyboard, and how that one is mapped, followed as it
/// changes. The compositor tells of every keymap that comes into use, whoever has the focus; those
/// of this program, and those that are of no real keyboard, are none of the person's.
///
/// Thread: the connection's. Owns: its proxies and the keymap; the connection outlives it. Fails:
/// as a seat that is null; without a keymap where XKB's files are not installed.
class Seat {
 public:
  /// Waits for the compositor to tell of the keyboard.
  explicit Seat(server::Connection& connection);

  wl_seat* get() const { return seat_.get(); }

  /// Whether programs know of a keyboard and of a pointer, be they the person's or the viewer's.
  bool isEquipped() const { return isEquipped_; }

  /// The same of a keyboard alone.
  bool hasKeyboard() const { return keyboard_ != nullptr; }

  /// A keyboard of this program's is being made. Compositors give it a keymap of their own choice
  /// first, which is nobody's, and tell of it.
  void expectOwnKeymap() { expectsOwn_ = true; }

  /// The person's, as of what has been dispatched; where none was told of yet, what a keyboard of
  /// this machine would have. Valid until the next call.
  xkb_keymap* keymap();

 private:
  void take(std::uint32_t capabilities);
  void take(int file, std::uint32_t size);

  keys::Xkb<xkb_context> context_;
  keys::Xkb<xkb_keymap> keymap_;
  std::string text_;  ///< of the keymap that was told of last
  bool isStale_ = true;
  bool isEquipped_ = false;
  bool expectsOwn_ = false;
  server::Proxy<wl_seat> seat_;
  server::Proxy<wl_keyboard> keyboard_;
};

}  // namespace vesk::wayland::input
