#include "platform/macos/MacPermissions.h"

#include <ApplicationServices/ApplicationServices.h>

#include "platform/macos/AutoreleasePool.h"
#include "platform/macos/dictionaryOf.h"

namespace vesk::mac {

bool MacPermissions::preflightScreenCaptureAccess() {
  const AutoreleasePool pool;
  return CGPreflightScreenCaptureAccess();
}

bool MacPermissions::requestScreenCaptureAccess() {
  const AutoreleasePool pool;
  return CGRequestScreenCaptureAccess();
}

bool MacPermissions::isProcessTrusted() {
  const AutoreleasePool pool;
  return AXIsProcessTrusted() != 0;
}

bool MacPermissions::isProcessTrustedWithPrompt() {
  const AutoreleasePool pool;
  const auto options = dictionaryOf(kAXTrustedCheckOptionPrompt, kCFBooleanTrue);
  return AXIsProcessTrustedWithOptions(options.get()) != 0;
}

}  // namespace vesk::mac
