// refused: cannot initialize a parameter of type 'void (^ _Nonnull)(NSTimer * _Nonnull __strong)' with an rvalue of type 'void (^)(int)'
#import <Foundation/Foundation.h>

NSTimer* timer() {
#ifdef MISTAKE
  return [NSTimer timerWithTimeInterval:60
                                repeats:NO
                                  block:^(int){
                                  }];
#else
  return [NSTimer timerWithTimeInterval:60
                                repeats:NO
                                  block:^(NSTimer*){
                                  }];
#endif
}
