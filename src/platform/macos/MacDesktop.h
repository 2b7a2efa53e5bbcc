#pragma once

#include <string>

#include "platform/Desktop.h"
#include "platform/macos/MacDisplays.h"
#include "platform/macos/MacEventPoster.h"
#include "platform/macos/MacPermissions.h"
#include "platform/macos/MacScreenCapture.h"

namespace vesk::mac {

/// The graphical session of the person at the Mac.
class MacDesktop final : public Desktop {
 public:
  /// The clock outlives the desktop.
  explicit MacDesktop(const Clock& clock) : inputGate_(clock) {}

  std::string description() const override { return "a Mac's"; }
  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }
  ScreenCapture& screenCapture() override { return screenCapture_; }
  EventPoster& events() override { return events_; }
  InputGate& inputGate() override { return inputGate_; }

 private:
  MacPermissions permissions_;
  MacDisplays displays_;
  InputGate inputGate_;
  MacEventPoster events_{inputGate_};
  MacScreenCapture screenCapture_;
};

}  // namespace vesk::mac
