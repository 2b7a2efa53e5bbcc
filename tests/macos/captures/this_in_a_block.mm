// refused: a block that captures this
#import <Foundation/Foundation.h>

#include <memory>

class Bell {
 public:
  NSTimer* timer() {
#ifdef MISTAKE
    return [NSTimer timerWithTimeInterval:60
                                  repeats:NO
                                    block:^(NSTimer*) {
                                      ring();
                                    }];
#else
    const std::weak_ptr<Bell*> weak = self_;
    return [NSTimer timerWithTimeInterval:60
                                  repeats:NO
                                    block:^(NSTimer*) {
                                      if (const auto self = weak.lock()) (*self)->ring();
                                    }];
#endif
  }

 private:
  void ring() { ++rung_; }

  int rung_ = 0;
  std::shared_ptr<Bell*> self_ = std::make_shared<Bell*>(this);
};

NSTimer* timer(Bell& bell) { return bell.timer(); }
