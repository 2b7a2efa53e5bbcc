// refused: a block that captures a reference or a pointer
#import <Foundation/Foundation.h>

#include <functional>

#ifdef MISTAKE
NSTimer* timer(const std::function<void()>& handler) {
#else
NSTimer* timer(std::function<void()> handler) {
#endif
  return [NSTimer timerWithTimeInterval:60
                                repeats:NO
                                  block:^(NSTimer*) {
                                    const auto& held = handler;
                                    held();
                                  }];
}
