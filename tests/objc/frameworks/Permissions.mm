#import <ApplicationServices/ApplicationServices.h>
#import <Foundation/Foundation.h>

#include "macos/frameworks/Frameworks.h"

namespace mac = vesk::fakes::mac;

const CFStringRef kAXTrustedCheckOptionPrompt =
    (__bridge CFStringRef) @"AXTrustedCheckOptionPrompt";

/// What each question leaves in the pool of whoever asks.
@interface VeskAnswer : NSObject
@end
@implementation VeskAnswer
@end

namespace {

bool answer(bool isGranted) {
  __autoreleasing id const answer = [VeskAnswer new];
  return isGranted && answer != nil;
}

}  // namespace

bool CGPreflightScreenCaptureAccess() { return answer(mac::system().mayRecord); }

bool CGRequestScreenCaptureAccess() {
  ++mac::system().recordRequests;
  return answer(mac::system().mayRecord);
}

Boolean AXIsProcessTrusted() { return answer(mac::system().trusted) ? 1 : 0; }

Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options) {
  const auto* value = CFDictionaryGetValue(static_cast<CFDictionaryRef _Nonnull>(options),
                                           kAXTrustedCheckOptionPrompt);
  mac::system().trustPrompts.push_back(value == kCFBooleanTrue);
  return AXIsProcessTrusted();
}

bool CGEventSourceKeyState(CGEventSourceStateID state, CGKeyCode key) {
  return mac::system().heldKeys[state].contains(key);
}
