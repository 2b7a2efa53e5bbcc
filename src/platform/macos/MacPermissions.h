#pragma once

#include "platform/Permissions.h"

namespace vesk::mac {

/// The grants of the privacy settings: screen recording, and accessibility, which posting events
/// needs. Thread, failure: as `Permissions` says. Each question has an autorelease pool of its own:
/// the link asks for every greeting, within a task that ends with the process.
class MacPermissions final : public Permissions {
 public:
  bool preflightScreenCaptureAccess() override;
  bool requestScreenCaptureAccess() override;
  bool isProcessTrusted() override;
  bool isProcessTrustedWithPrompt() override;
};

}  // namespace vesk::mac
