#include "objc/frameworks/Foundation.h"

#include <atomic>
#include <chrono>
#include <utility>

#include "objc/dispatch/MainLoop.h"

using vesk::fakes::MainLoop;

namespace vesk::fakes {
NSString* bundleIdentifier = nil;
std::atomic<int> activities = 0;
}

@implementation NSValue
@end

/// A number of its own; true and false are part of the program, see `CoreFoundation.mm`.
@implementation NSNumber {
  std::int64_t value_;
}
+ (NSNumber*)numberOf:(std::int64_t)value {
  NSNumber* const made = [NSNumber new];
  made->value_ = value;
  return made;
}
- (unsigned int)unsignedIntValue {
  return static_cast<unsigned int>([self integerValue]);
}
- (NSInteger)integerValue {
  return value_;
}
@end

@implementation NSError {
  NSString* description_;
}
+ (NSError*)errorOf:(NSString*)description {
  NSError* const made = [NSError new];
  made->description_ = description;
  return made;
}
- (NSString*)localizedDescription {
  return description_;
}
@end

@implementation NSException {
  NSString* reason_;
}
+ (NSException*)exceptionOf:(NSString*)reason {
  NSException* const made = [NSException new];
  made->reason_ = reason;
  return made;
}
- (NSString*)reason {
  return reason_;
}
@end

@implementation NSNotification
@end

@interface VeskObserver : NSObject
@end
@implementation VeskObserver {
 @public
  NSNotificationName name_;
  __unsafe_unretained id object_;
  void (^block_)(NSNotification*);
}
@end

/// Tells on the thread that posts. It holds no object, as the system does not.
@implementation NSNotificationCenter {
  std::vector<VeskObserver*> observers_;
}
+ (NSNotificationCenter*)defaultCenter {
  static NSNotificationCenter* const only = [NSNotificationCenter new];
  return only;
}
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)object
                             queue:(NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification*))block {
  VeskObserver* const observer = [VeskObserver new];
  observer->name_ = name;
  observer->object_ = object;
  observer->block_ = block;
  observers_.push_back(observer);
  return observer;
}
- (void)removeObserver:(id)observer {
  std::erase(observers_, observer);
}
- (void)post:(NSNotificationName)name object:(id)object {
  const auto observers = observers_;
  for (VeskObserver* each : observers) {
    if (each->object_ == object && vesk::fakes::isEqual(each->name_, name)) {
      each->block_([NSNotification new]);
    }
  }
}
@end

@interface VeskActivity : NSObject
@end
@implementation VeskActivity
@end

@implementation NSProcessInfo
+ (NSProcessInfo*)processInfo {
  static NSProcessInfo* const only = [NSProcessInfo new];
  return only;
}
- (NSTimeInterval)systemUptime {
  const auto now = MainLoop::only().now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}
- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason {
  ++vesk::fakes::activities;
  return [VeskActivity new];
}
- (void)endActivity:(id<NSObject>)activity {
  --vesk::fakes::activities;
}
@end

@implementation NSBundle
+ (NSBundle*)mainBundle {
  static NSBundle* const only = [NSBundle new];
  return only;
}
- (NSString*)bundleIdentifier {
  return vesk::fakes::bundleIdentifier;
}
@end

NSRunLoopMode const NSRunLoopCommonModes = @"kCFRunLoopCommonModes";

@implementation NSTimer {
  NSTimeInterval interval_;
  void (^block_)(NSTimer*);
  int number_;
}
+ (NSTimer*)timerWithTimeInterval:(NSTimeInterval)interval
                          repeats:(BOOL)repeats
                            block:(void (^)(NSTimer*))block {
  NSTimer* const timer = [NSTimer new];
  timer->interval_ = interval;
  timer->block_ = block;
  return timer;
}
/// The loop holds it until it has fired.
- (void)begin:(MainLoop::Mode)mode {
  const std::chrono::duration<double> seconds(interval_);
  NSTimer* const held = self;
  number_ = MainLoop::only().addTimer(
      std::chrono::duration_cast<std::chrono::nanoseconds>(seconds),
      [held] {
        void (^const block)(NSTimer*) = held->block_;
        held->block_ = nil;
        if (block != nil) block(held);
      },
      mode);
}
- (void)invalidate {
  block_ = nil;
  MainLoop::only().removeTimer(number_);
}
@end

@implementation NSRunLoop
+ (NSRunLoop*)mainRunLoop {
  static NSRunLoop* const only = [NSRunLoop new];
  return only;
}
- (void)addTimer:(NSTimer*)timer forMode:(NSRunLoopMode)mode {
  const bool isCommon = vesk::fakes::isEqual(mode, NSRunLoopCommonModes);
  [timer begin:isCommon ? MainLoop::Mode::common : MainLoop::Mode::usual];
}
@end
