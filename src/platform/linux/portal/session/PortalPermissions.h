#pragma once

#include "platform/Permissions.h"

namespace vesk::portal::session {

/// A portal puts its question to the person when a session begins, and remembers a "no" for that
/// session alone: until then nothing stands in the way.
class PortalPermissions final : public Permissions {
 public:
  bool preflightScreenCaptureAccess() override { return true; }
  bool requestScreenCaptureAccess() override { return true; }
  bool isProcessTrusted() override { return true; }
  bool isProcessTrustedWithPrompt() override { return true; }
};

}  // namespace vesk::portal::session
