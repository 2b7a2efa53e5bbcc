#pragma once

#include "platform/Permissions.h"
#include "platform/linux/x11/server/Connection.h"
#include "platform/linux/x11/server/grants.h"

namespace vesk::x11::server {

/// What the X server grants; see `grants.h`. There is no request to put to the person. The
/// questions go over a connection that is there already: one that had to be made first could fail
/// for reasons of this process's own, and would be taken for a "no".
class XPermissions final : public Permissions {
 public:
  /// The connection outlives this object, and nobody reads its events.
  explicit XPermissions(const Connection& connection) : connection_(connection) {}

  bool preflightScreenCaptureAccess() override {
    connection_.dropEvents();
    return grantsScreenCapture(connection_);
  }
  bool requestScreenCaptureAccess() override { return preflightScreenCaptureAccess(); }
  bool isProcessTrusted() override {
    connection_.dropEvents();
    return grantsInput(connection_);
  }
  bool isProcessTrustedWithPrompt() override { return isProcessTrusted(); }

 private:
  const Connection& connection_;
};

}  // namespace vesk::x11::server
