#pragma once

#include "platform/Desktop.h"
#include "platform/linux/x11/OwnWindows.h"
#include "platform/linux/x11/XDisplays.h"
#include "platform/linux/x11/XEventPoster.h"
#include "platform/linux/x11/XPermissions.h"
#include "platform/linux/x11/XScreenCapture.h"

namespace vesk::x11 {

/// A graphical session on an X server.
class XDesktop final : public Desktop {
 public:
  /// The clock outlives the desktop.
  explicit XDesktop(const Clock& clock) : inputGate_(clock) {}

  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }
  ScreenCapture& screenCapture() override { return screenCapture_; }
  EventPoster& events() override { return events_; }
  InputGate& inputGate() override { return inputGate_; }

  /// What this program itself shows; the picture is taken without it.
  OwnWindows& ownWindows() { return ownWindows_; }

 private:
  OwnWindows ownWindows_;
  XPermissions permissions_;
  XDisplays displays_;
  InputGate inputGate_;
  XEventPoster events_{inputGate_};
  XScreenCapture screenCapture_{ownWindows_};
};

}  // namespace vesk::x11
