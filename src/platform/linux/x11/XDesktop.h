#pragma once

#include "platform/Desktop.h"
#include "platform/linux/x11/OwnWindows.h"
#include "platform/linux/x11/XDisplays.h"
#include "platform/linux/x11/XPermissions.h"

namespace vesk::x11 {

/// A graphical session on an X server.
class XDesktop final : public Desktop {
 public:
  Permissions& permissions() override { return permissions_; }
  Displays& displays() override { return displays_; }

  /// What this program itself shows; the picture is taken without it.
  OwnWindows& ownWindows() { return ownWindows_; }

 private:
  OwnWindows ownWindows_;
  XPermissions permissions_;
  XDisplays displays_;
};

}  // namespace vesk::x11
