#pragma once

#include "platform/linux/keys/Xkb.h"
#include "platform/linux/portal/input/LayoutSymbols.h"
#include "platform/linux/portal/input/PortalPointer.h"
#include "platform/linux/wayland/input/KeyboardLayout.h"
#include "platform/linux/wayland/input/Seat.h"
#include "platform/linux/wayland/server/Connection.h"
#include "platform/linux/wayland/server/OutputList.h"

namespace vesk::portal::input {

/// What the compositor tells every program of the seat, whether it has a keyboard, and how that is
/// mapped, and of the outputs before it.
///
/// Thread: one at a time. Owns: a connection. Fails: as a seat without a keyboard, mapped as one of
/// this machine would be, and without outputs.
class PersonsSeat {
 public:
  /// Takes in what has come meanwhile.
  void follow() { connection_.dispatch(); }

  /// Whether it can be known.
  explicit operator bool() const { return static_cast<bool>(connection_); }
  bool hasKeyboard() const { return seat_.hasKeyboard(); }

  /// How many of a portal's steps turn the wheel by a notch: KDE's portal hands each on to KWin as
  /// one of those parts of which programs count ten for a notch.
  int stepsPerNotch() const { return connection_.offers("org_kde_plasma_shell", 1) ? 10 : 1; }

  /// GNOME's portal hands places on to Mutter, which takes them for those in the picture; the
  /// protocol counts them in points. These are not the same where GNOME scales what it shows.
  PortalPointer::Unit unit() const {
    return connection_.offers("gtk_shell1", 1) ? PortalPointer::Unit::pixels
                                               : PortalPointer::Unit::points;
  }

  const wayland::server::OutputList& outputs() const { return outputs_; }

  /// Valid until the next call of either.
  wayland::input::KeyboardLayout layout() { return wayland::input::KeyboardLayout(seat_.keymap()); }
  const LayoutSymbols& symbols();

 private:
  wayland::server::Connection connection_;
  wayland::input::Seat seat_{connection_};
  wayland::server::OutputList outputs_{connection_};
  keys::Xkb<xkb_keymap> mapped_;  ///< that the symbols are of
  LayoutSymbols symbols_;
};

}  // namespace vesk::portal::input
