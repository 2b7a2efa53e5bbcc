#pragma once

#import <AppKit/AppKit.h>

#include "platform/Application.h"

@class VeskApplicationDelegate;

namespace vesk::mac {

/// The shared application object and its main loop. Thread: main.
class AppKitApplication final : public Application {
 public:
  AppKitApplication();

  void setActivationPolicy(ActivationPolicy policy) override;
  void setDelegate(ApplicationDelegate& delegate) override;
  void run() override;

 private:
  NSApplication* application_;
  VeskApplicationDelegate* delegate_ = nil;  ///< the application itself holds it weakly
};

}  // namespace vesk::mac
