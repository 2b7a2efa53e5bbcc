#include "platform/macos/MacPermissions.h"

#include <ApplicationServices/ApplicationServices.h>

#include "platform/macos/dictionaryOf.h"

namespace vesk::mac {

bool MacPermissions::preflightScreenCaptureAccess() { return CGPreflightScreenCaptureAccess(); }

bool MacPermissions::requestScreenCaptureAccess() { return CGRequestScreenCaptureAccess(); }

bool MacPermissions::isProcessTrusted() { return AXIsProcessTrusted() != 0; }

bool MacPermissions::isProcessTrustedWithPrompt() {
  const auto options = dictionaryOf(kAXTrustedCheckOptionPrompt, kCFBooleanTrue);
  return AXIsProcessTrustedWithOptions(options.get()) != 0;
}

}  // namespace vesk::mac
