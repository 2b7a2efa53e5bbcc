#pragma once

#include "platform/Desktop.h"
#include "platform/linux/x11/XPermissions.h"

namespace vesk::x11 {

/// A graphical session on an X server.
class XDesktop final : public Desktop {
 public:
  Permissions& permissions() override { return permissions_; }

 private:
  XPermissions permissions_;
};

}  // namespace vesk::x11
