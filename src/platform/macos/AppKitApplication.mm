#include "platform/macos/AppKitApplication.h"

#include <system_error>

/// Hands the application's news on to the core.
@interface VeskApplicationDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithDelegate:(vesk::ApplicationDelegate&)delegate
                     application:(vesk::mac::AppKitApplication&)application;
- (void)end;
@end

@implementation VeskApplicationDelegate {
  vesk::ApplicationDelegate* delegate_;
  vesk::mac::AppKitApplication* application_;
}

- (instancetype)initWithDelegate:(vesk::ApplicationDelegate&)delegate
                     application:(vesk::mac::AppKitApplication&)application {
  self = [super init];
  delegate_ = &delegate;
  application_ = &application;
  return self;
}

- (void)end {
  delegate_->applicationWillTerminate();
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  delegate_->applicationDidFinishLaunching();
  application_->takeEndSignals();
}

/// AppKit ends the process when this returns, and runs no loop any more.
- (void)applicationWillTerminate:(NSNotification*)notification {
  [self end];
}

@end

namespace vesk::mac {

AppKitApplication::AppKitApplication() : application_(NSApplication.sharedApplication) {}

void AppKitApplication::setActivationPolicy(ActivationPolicy policy) {
  [application_ setActivationPolicy:static_cast<NSApplicationActivationPolicy>(policy)];
}

void AppKitApplication::setDelegate(ApplicationDelegate& delegate) {
  delegate_ = [[VeskApplicationDelegate alloc] initWithDelegate:delegate application:*this];
  application_.delegate = delegate_;
}

void AppKitApplication::run() { [application_ run]; }

/// The main queue stands still while an alert is asked; the run loop's common modes do not.
void AppKitApplication::takeEndSignals() {
  try {
    endSignals_.emplace();
  } catch (const std::system_error&) {
    return;  // without a pipe a signal ends the process as it does any other
  }
  const dispatch_queue_t queue =
      dispatch_queue_create("com.vesk.screen.signals", DISPATCH_QUEUE_SERIAL);
  const dispatch_source_t source = dispatch_source_create(
      DISPATCH_SOURCE_TYPE_READ, static_cast<uintptr_t>(endSignals_->descriptor()), 0, queue);
  VeskApplicationDelegate* const delegate = delegate_;
  const dispatch_block_t end = ^{
    [delegate end];
  };
  dispatch_source_set_event_handler(source, ^{
    dispatch_source_cancel(source);
    CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, end);
    CFRunLoopWakeUp(CFRunLoopGetMain());
  });
  dispatch_activate(source);
  endSource_ = source;
}

}  // namespace vesk::mac
