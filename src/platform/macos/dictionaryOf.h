#pragma once

#include "platform/macos/Retained.h"

namespace vesk::mac {

/// The dictionary with that one entry; it holds both.
Retained<CFDictionaryRef> dictionaryOf(CFStringRef _Nonnull key, CFTypeRef _Nonnull value);

}  // namespace vesk::mac
