// refused: a block that captures a reference or a pointer
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <functional>

void start(SCStream* stream, std::function<void()> completion) {
  const auto begin = ^{
    std::function<void()> mine = completion;
#ifdef MISTAKE
    const auto& held = mine;
#else
    const auto held = mine;
#endif
    [stream startCaptureWithCompletionHandler:^(NSError*) {
      held();
    }];
  };
  begin();
}
