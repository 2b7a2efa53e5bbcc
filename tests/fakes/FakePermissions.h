#pragma once

#include <atomic>

#include "platform/Permissions.h"

namespace vesk::fakes {

/// Permissions as a test sets them, with a count of the requests that a person would have seen.
/// Thread: any.
class FakePermissions final : public Permissions {
 public:
  bool preflightScreenCaptureAccess() override { return screenRecording; }
  bool requestScreenCaptureAccess() override {
    ++screenRequests;
    return screenRecording;
  }
  bool isProcessTrusted() override { return trusted; }
  bool isProcessTrustedWithPrompt() override {
    ++trustRequests;
    if (grantsTrust) trusted = true;
    return trusted;
  }

  std::atomic<bool> screenRecording = true;
  std::atomic<bool> trusted = true;
  std::atomic<bool> grantsTrust = false;  ///< the person does as the request says
  std::atomic<int> screenRequests = 0;
  std::atomic<int> trustRequests = 0;
};

}  // namespace vesk::fakes
