// refused: a block within a lambda
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <functional>

#include "platform/macos/guarded.h"

void start(SCStream* stream, std::function<void()> completion) {
#ifdef MISTAKE
  vesk::mac::guarded([&] {
    [stream startCaptureWithCompletionHandler:^(NSError*) {
      completion();
    }];
  });
#else
  const auto answer = ^(NSError*) {
    completion();
  };
  vesk::mac::guarded([&] { [stream startCaptureWithCompletionHandler:answer]; });
#endif
}
