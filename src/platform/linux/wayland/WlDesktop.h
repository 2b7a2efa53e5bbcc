#pragma once

#include <memory>
#include <string>

#include "platform/Desktop.h"
#include "platform/linux/stream/WatchedDisplays.h"
#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/input/WlEventPoster.h"
#include "platform/linux/wayland/screen/WlScreenCapture.h"
#include "platform/linux/wayland/server/WlDisplays.h"
#include "platform/linux/wayland/server/WlPermissions.h"

namespace vesk::wayland {

/// A graphical session on a Wayland compositor that lets programs show its screen and use its input
/// devices by protocols of its own: those of wlroots.
class WlDesktop final : public Desktop {
 public:
  /// The clock outlives the desktop.
  explicit WlDesktop(const Clock& clock) : inputGate_(clock) {}

  std::string description() const override { return "a Wayland compositor of the wlroots kind"; }
  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }
  ScreenCapture& screenCapture() override { return screenCapture_; }
  EventPoster& events() override { return events_; }
  InputGate& inputGate() override { return inputGate_; }

  /// What this program itself shows; the picture is taken without it.
  beneath::OwnSurfaces& ownSurfaces() { return ownSurfaces_; }

 private:
  beneath::OwnSurfaces ownSurfaces_;
  server::WlPermissions permissions_;
  stream::WatchedDisplay watched_;
  stream::WatchedDisplays displays_{std::make_unique<server::WlDisplays>(), watched_};
  InputGate inputGate_;
  input::WlEventPoster events_{inputGate_, watched_};
  screen::WlScreenCapture screenCapture_{ownSurfaces_, watched_};
};

}  // namespace vesk::wayland
