#pragma once

#import <AppKit/AppKit.h>
#import <dispatch/dispatch.h>

#include <optional>

#include "platform/Application.h"
#include "platform/posix/SignalPipe.h"

@class VeskApplicationDelegate;

namespace vesk::mac {

/// The shared application object and its main loop. Thread: main.
class AppKitApplication final : public Application {
 public:
  AppKitApplication();

  void setActivationPolicy(ActivationPolicy policy) override;
  void setDelegate(ApplicationDelegate& delegate) override;
  void run() override;

  /// From now on signals that ask for an end are the delegate's to carry out. Until there is
  /// something to let go of they may end the process as they do any other. At a logout no signal
  /// comes before the system has told the application itself.
  void takeEndSignals();

 private:
  NSApplication* application_;
  VeskApplicationDelegate* delegate_ = nil;  ///< the application itself holds it weakly
  std::optional<SignalPipe> endSignals_;
  dispatch_source_t endSource_ = nil;
};

}  // namespace vesk::mac
