// refused: call to implicitly-deleted copy constructor of 'const std::unique_ptr<int>'
#import <Foundation/Foundation.h>

#include <memory>

NSTimer* timer() {
#ifdef MISTAKE
  const std::unique_ptr<int> count = std::make_unique<int>(0);
#else
  const std::shared_ptr<int> count = std::make_shared<int>(0);
#endif
  return [NSTimer timerWithTimeInterval:60
                                repeats:NO
                                  block:^(NSTimer*) {
                                    ++*count;
                                  }];
}
