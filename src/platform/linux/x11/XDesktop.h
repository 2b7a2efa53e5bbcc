#pragma once

#include "platform/Desktop.h"
#include "platform/linux/x11/XDisplays.h"
#include "platform/linux/x11/XPermissions.h"
#include "platform/linux/x11/XScreenCapture.h"

namespace vesk::x11 {

/// A graphical session on an X server.
class XDesktop final : public Desktop {
 public:
  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }
  ScreenCapture& screenCapture() override { return screenCapture_; }

 private:
  XPermissions permissions_;
  XDisplays displays_;
  XScreenCapture screenCapture_;
};

}  // namespace vesk::x11
