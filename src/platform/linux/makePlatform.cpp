#include <thread>
#include <utility>

#include "platform/Platform.h"
#include "platform/SystemClock.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/alert/QtAlerts.h"
#include "platform/linux/boundHeap.h"
#include "platform/linux/loop/QtApplication.h"
#include "platform/linux/loop/SilentBus.h"
#include "platform/linux/loop/ThreadQueues.h"
#include "platform/linux/picture/X264Compression.h"
#include "platform/linux/x11/XDesktop.h"
#include "platform/linux/x11/alert/XAlertStage.h"
#include "platform/linux/x11/overlay/XOverlays.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk {

Platform makePlatform() {
  boundHeap();
  loop::leaveSilentBus();
  // Qt, getting no thread, would only complain and be deaf ever after. This throws.
  std::thread([] {}).join();
  Platform platform;
  platform.clock = std::make_unique<SystemClock>();
  // Connected before Qt, which finding no display would end the process with a text of its own; and
  // connected to the end, since a server starts anew when its last client leaves, under the feet of
  // whoever comes next.
  auto desktop = std::make_unique<x11::XDesktop>(*platform.clock);
  if (!*desktop) throw NoDesktop(x11::server::Connection::advice());
  platform.processes = std::make_unique<LinuxProcesses>();
  platform.application = std::make_unique<loop::QtApplication>();
  platform.queues = std::make_unique<loop::ThreadQueues>();
  platform.compression = std::make_unique<picture::X264Compression>();
  platform.alerts = std::make_unique<alert::QtAlerts>(
      std::make_unique<x11::alert::XAlertStage>(desktop->ownWindows()), desktop->inputGate());
  platform.overlays = std::make_unique<x11::overlay::XOverlays>(desktop->ownWindows());
  platform.desktop = std::move(desktop);
  return platform;
}

}  // namespace vesk
