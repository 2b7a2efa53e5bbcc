#include <cstdlib>
#include <memory>
#include <string>
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
#include "platform/linux/wayland/WlDesktop.h"
#include "platform/linux/wayland/alert/WlAlertStage.h"
#include "platform/linux/wayland/overlay/LayerOverlays.h"
#include "platform/linux/wayland/server/offersDesktop.h"
#include "platform/linux/x11/XDesktop.h"
#include "platform/linux/x11/alert/XAlertStage.h"
#include "platform/linux/x11/overlay/XOverlays.h"
#include "platform/linux/x11/server/Connection.h"

namespace vesk {
namespace {

void addWaylandDesktop(Platform& platform,
                       const std::shared_ptr<wayland::server::Connection>& compositor) {
  auto desktop = std::make_unique<wayland::WlDesktop>(*platform.clock);
  // Its own windows on Wayland are never above all others; what Qt paints is shown by our surfaces.
  auto application = std::make_unique<loop::QtApplication>("offscreen");
  // Qt, which does not know of it, would go on without.
  application->endWhen(compositor->descriptor(), [compositor] { return !compositor->dispatch(); });
  platform.application = std::move(application);
  platform.alerts = std::make_unique<alert::QtAlerts>(
      std::make_unique<wayland::alert::WlAlertStage>(desktop->ownSurfaces()), desktop->inputGate());
  platform.overlays = std::make_unique<wayland::overlay::LayerOverlays>(desktop->ownSurfaces());
  platform.desktop = std::move(desktop);
}

/// One line for a person who has no display that can be reached.
std::string advice(const wayland::server::Connection& compositor) {
  if (compositor) {
    return "no display: this Wayland compositor offers programs neither its screen nor its input; "
           "use a session on sway or another of the wlroots kind, or on X.";
  }
  const char* const name = std::getenv("WAYLAND_DISPLAY");
  const char* const display = std::getenv("DISPLAY");
  const bool hasX = display != nullptr && *display != '\0';
  if (hasX || name == nullptr || *name == '\0') return x11::server::Connection::advice();
  return "no display: the Wayland compositor at WAYLAND_DISPLAY=" + std::string(name) +
         " does not answer; check that it runs and lets this user in.";
}

/// Throws `NoDesktop`.
void addXDesktop(Platform& platform, const wayland::server::Connection& compositor) {
  // Connected before Qt, which finding no display would end the process with a text of its own; and
  // connected to the end, since a server starts anew when its last client leaves, under the feet of
  // whoever comes next.
  auto desktop = std::make_unique<x11::XDesktop>(*platform.clock);
  if (!*desktop) throw NoDesktop(advice(compositor));
  platform.application = std::make_unique<loop::QtApplication>("xcb");
  platform.alerts = std::make_unique<alert::QtAlerts>(
      std::make_unique<x11::alert::XAlertStage>(desktop->ownWindows()), desktop->inputGate());
  platform.overlays = std::make_unique<x11::overlay::XOverlays>(desktop->ownWindows());
  platform.desktop = std::move(desktop);
}

}  // namespace

Platform makePlatform() {
  boundHeap();
  loop::leaveSilentBus();
  // Qt, getting no thread, would only complain and be deaf ever after. This throws.
  std::thread([] {}).join();
  Platform platform;
  platform.clock = std::make_unique<SystemClock>();
  platform.processes = std::make_unique<LinuxProcesses>();
  // By what the session offers, not by its name. A Wayland session comes first: its X server, if it
  // has one, shows and takes a part of it alone.
  const auto compositor = std::make_shared<wayland::server::Connection>();
  if (wayland::server::offersDesktop(*compositor)) {
    addWaylandDesktop(platform, compositor);
  } else {
    addXDesktop(platform, *compositor);
  }
  platform.queues = std::make_unique<loop::ThreadQueues>();
  platform.compression = std::make_unique<picture::X264Compression>();
  return platform;
}

}  // namespace vesk
