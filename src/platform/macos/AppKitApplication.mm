#include "platform/macos/AppKitApplication.h"

/// Hands the application's news on to the core.
@interface VeskApplicationDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithDelegate:(vesk::ApplicationDelegate&)delegate;
@end

@implementation VeskApplicationDelegate {
  vesk::ApplicationDelegate* delegate_;
}

- (instancetype)initWithDelegate:(vesk::ApplicationDelegate&)delegate {
  self = [super init];
  delegate_ = &delegate;
  return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  delegate_->applicationDidFinishLaunching();
}

@end

namespace vesk::mac {

AppKitApplication::AppKitApplication() : application_(NSApplication.sharedApplication) {}

void AppKitApplication::setActivationPolicy(ActivationPolicy policy) {
  [application_ setActivationPolicy:static_cast<NSApplicationActivationPolicy>(policy)];
}

void AppKitApplication::setDelegate(ApplicationDelegate& delegate) {
  delegate_ = [[VeskApplicationDelegate alloc] initWithDelegate:delegate];
  application_.delegate = delegate_;
}

void AppKitApplication::run() { [application_ run]; }

}  // namespace vesk::mac
