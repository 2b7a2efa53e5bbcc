#pragma once

#include "platform/Permissions.h"

namespace vesk::x11 {

/// What the X server can do for the program is what the program is allowed to do: X has no grants
/// and so no request to put to the person. Each question connects anew, which takes about a
/// millisecond and holds nothing while nobody asks.
class XPermissions final : public Permissions {
 public:
  bool preflightScreenCaptureAccess() override;
  bool requestScreenCaptureAccess() override { return preflightScreenCaptureAccess(); }
  bool isProcessTrusted() override;
  bool isProcessTrustedWithPrompt() override { return isProcessTrusted(); }
};

}  // namespace vesk::x11
