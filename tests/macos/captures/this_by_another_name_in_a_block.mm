// refused: a block that captures a reference or a pointer
#import <Foundation/Foundation.h>

#include <memory>

class Bell {
 public:
  NSTimer* timer() {
#ifdef MISTAKE
    auto* const self = this;
#else
    const auto self = self_;
#endif
    return [NSTimer timerWithTimeInterval:60
                                  repeats:NO
                                    block:^(NSTimer*) {
                                      ++self->rung_;
                                    }];
  }

 private:
  int rung_ = 0;
  std::shared_ptr<Bell> self_;
};

NSTimer* timer(Bell& bell) { return bell.timer(); }
