#pragma once

#include <memory>
#include <string>

#include "platform/Desktop.h"
#include "platform/linux/portal/input/PortalEventPoster.h"
#include "platform/linux/portal/screen/PortalScreenCapture.h"
#include "platform/linux/portal/session/StrokeQueue.h"
#include "platform/linux/stream/WatchedDisplays.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "platform/linux/wayland/server/WlPermissions.h"
#include "platform/linux/x11/beneath/OwnWindows.h"

namespace vesk::portal {

/// A graphical session on a Wayland compositor whose screen and input are shared by a portal, which
/// asks the person each time.
class PortalDesktop final : public Desktop {
 public:
  /// The clock outlives the desktop. `hasOverlays` tells whether this program can show its own sign
  /// that somebody watches.
  PortalDesktop(const Clock& clock, bool hasOverlays)
      : hasOverlays_(hasOverlays), inputGate_(clock) {}

  std::string description() const override {
    const std::string desktop = "a Wayland desktop that shares its screen by a portal";
    return hasOverlays_ ? desktop
                        : desktop + ", whose own sign is all that the person sees of that";
  }
  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }
  ScreenCapture& screenCapture() override { return screenCapture_; }
  EventPoster& events() override { return events_; }
  InputGate& inputGate() override { return inputGate_; }

  /// What this program itself shows; the picture is taken without it.
  wayland::beneath::OwnSurfaces& ownSurfaces() { return ownSurfaces_; }

  /// What it shows by way of an X server inside the session.
  x11::beneath::OwnWindows& ownWindows() { return ownWindows_; }

 private:
  const bool hasOverlays_;
  wayland::beneath::OwnSurfaces ownSurfaces_;
  x11::beneath::OwnWindows ownWindows_;
  wayland::server::WlPermissions permissions_;
  stream::WatchedDisplay watched_;
  stream::WatchedDisplays displays_{std::make_unique<wayland::server::WlDisplays>(), watched_};
  InputGate inputGate_;
  std::shared_ptr<session::StrokeQueue> strokes_ =
      std::make_shared<session::StrokeQueue>(inputGate_);
  input::PortalEventPoster events_{inputGate_, strokes_, watched_};
  screen::PortalScreenCapture screenCapture_{strokes_, inputGate_, ownSurfaces_, watched_};
};

}  // namespace vesk::portal
