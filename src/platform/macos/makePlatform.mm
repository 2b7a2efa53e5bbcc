#import <Foundation/Foundation.h>

#include <utility>

#include "platform/Platform.h"
#include "platform/macos/AppKitAlerts.h"
#include "platform/macos/AppKitApplication.h"
#include "platform/macos/DispatchQueues.h"
#include "platform/macos/MacClock.h"
#include "platform/macos/MacDesktop.h"
#include "platform/macos/MacOverlays.h"
#include "platform/macos/MacProcesses.h"
#include "platform/macos/VideoToolboxCompression.h"

namespace vesk {

Platform makePlatform() {
  @autoreleasepool {
    Platform platform;
    platform.clock = std::make_unique<mac::MacClock>();
    platform.processes = std::make_unique<mac::MacProcesses>();
    platform.application = std::make_unique<mac::AppKitApplication>();
    platform.queues = std::make_unique<mac::DispatchQueues>();
    auto desktop = std::make_unique<mac::MacDesktop>(*platform.clock);
    platform.compression = std::make_unique<mac::VideoToolboxCompression>();
    platform.alerts = std::make_unique<mac::AppKitAlerts>(desktop->inputGate());
    platform.overlays = std::make_unique<mac::MacOverlays>();
    platform.desktop = std::move(desktop);
    return platform;
  }
}

}  // namespace vesk
