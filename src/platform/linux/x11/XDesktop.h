#pragma once

#include <memory>
#include <string>

#include "platform/Desktop.h"
#include "platform/linux/stream/WatchedDisplays.h"
#include "platform/linux/x11/beneath/OwnWindows.h"
#include "platform/linux/x11/input/XEventPoster.h"
#include "platform/linux/x11/screen/XScreenCapture.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/XDisplays.h"
#include "platform/linux/x11/server/XPermissions.h"
#include "platform/linux/x11/server/grants.h"

namespace vesk::x11 {

/// A graphical session on an X server. It stays connected for its whole life, so that whatever is
/// asked later needs nothing more of the system.
class XDesktop final : public Desktop {
 public:
  /// The clock outlives the desktop.
  explicit XDesktop(const Clock& clock) : inputGate_(clock) {}

  /// Whether the server answered and is still there.
  explicit operator bool() const { return static_cast<bool>(connection_); }

  std::string description() const override {
    return server::servesWayland(connection_)
               ? "an X server inside a Wayland session, which neither shows nor steers all of it"
               : "an X server";
  }
  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }
  ScreenCapture& screenCapture() override { return screenCapture_; }
  EventPoster& events() override { return events_; }
  InputGate& inputGate() override { return inputGate_; }

  /// What this program itself shows; the picture is taken without it.
  beneath::OwnWindows& ownWindows() { return ownWindows_; }

 private:
  server::Connection connection_;
  beneath::OwnWindows ownWindows_;
  server::XPermissions permissions_{connection_};
  stream::WatchedDisplay watched_;
  stream::WatchedDisplays displays_{std::make_unique<server::XDisplays>(), watched_};
  InputGate inputGate_;
  input::XEventPoster events_{inputGate_};
  screen::XScreenCapture screenCapture_{ownWindows_, watched_, connection_};
};

}  // namespace vesk::x11
