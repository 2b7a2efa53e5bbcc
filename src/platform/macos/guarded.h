#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <utility>

#include "platform/ScreenCapture.h"
#include "platform/macos/Text.h"

namespace vesk::mac {

/// Runs `action`, which calls into a framework, with an autorelease pool of its own. An Objective-C
/// exception ends here, as an error: nobody in the core could catch it. C++ exceptions pass.
template <typename Action>
std::optional<PlatformError> guarded(Action action) {
  @try {
    @autoreleasepool {
      action();
    }
  } @catch (NSException* exception) {
    return PlatformError{toUtf8(exception.reason)};
  }
  return std::nullopt;
}

/// Only where the system says no and not why.
inline PlatformError orUnknown(std::optional<PlatformError> error) {
  return std::move(error).value_or(PlatformError{"The display cannot be captured."});
}

/// Nothing for nil, which is a success.
inline std::optional<PlatformError> platformError(NSError* _Nullable error) {
  if (error == nil) return std::nullopt;
  return PlatformError{toUtf8(error.localizedDescription)};
}

}  // namespace vesk::mac
