#include "macos/frameworks/Frameworks.h"

namespace {

namespace mac = vesk::fakes::mac;

/// The real ones autorelease.
void noteQuestion() {
  if (mac::system().pools.empty()) ++mac::system().questionsWithoutPool;
}

}  // namespace

bool CGPreflightScreenCaptureAccess() {
  noteQuestion();
  return mac::system().mayRecord;
}
bool CGRequestScreenCaptureAccess() {
  noteQuestion();
  ++mac::system().recordRequests;
  return mac::system().mayRecord;
}

const CFStringRef kAXTrustedCheckOptionPrompt = reinterpret_cast<CFStringRef>("prompt");
Boolean AXIsProcessTrusted() {
  noteQuestion();
  return mac::system().trusted ? 1 : 0;
}
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options) {
  const auto* value = CFDictionaryGetValue(static_cast<CFDictionaryRef _Nonnull>(options),
                                           kAXTrustedCheckOptionPrompt);
  mac::system().trustPrompts.push_back(value == kCFBooleanTrue);
  return AXIsProcessTrusted();
}
