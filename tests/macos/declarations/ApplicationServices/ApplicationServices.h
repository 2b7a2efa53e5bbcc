#pragma once
#include "../CoreGraphics/CoreGraphics.h"

OWNERSHIP_BY_NAME_BEGIN
DECLARED const CFStringRef _Nonnull kAXTrustedCheckOptionPrompt SINCE(10.9);
DECLARED Boolean AXIsProcessTrusted(void) SINCE(10.4);
DECLARED Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef _Nullable options) SINCE(10.9);
OWNERSHIP_BY_NAME_END
