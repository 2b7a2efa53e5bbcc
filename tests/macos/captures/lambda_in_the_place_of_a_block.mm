// refused: a lambda that is kept and captures this, a reference or a pointer
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <functional>

void start(SCStream* stream, std::function<void()> completion) {
#ifdef MISTAKE
  [stream startCaptureWithCompletionHandler:[&](NSError*) { completion(); }];
#else
  [stream startCaptureWithCompletionHandler:[completion](NSError*) { completion(); }];
#endif
}
