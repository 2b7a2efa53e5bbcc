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
#include "platform/linux/portal/PortalDesktop.h"
#include "platform/linux/portal/overlay/ListedOverlays.h"
#include "platform/linux/portal/overlay/NoOverlays.h"
#include "platform/linux/portal/session/Offer.h"
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

/// The question, strip and border by a compositor's topmost layer.
void addLayers(Platform& platform, wayland::beneath::OwnSurfaces& ownSurfaces, InputGate& gate) {
  platform.alerts = std::make_unique<alert::QtAlerts>(
      std::make_unique<wayland::alert::WlAlertStage>(ownSurfaces), gate);
  platform.overlays = std::make_unique<wayland::overlay::LayerOverlays>(ownSurfaces);
}

/// Qt's part of a program that lives as long as its compositor, of which Qt may not know.
std::unique_ptr<Application> applicationOf(
    const std::shared_ptr<wayland::server::Connection>& compositor, const char* plugin) {
  auto application = std::make_unique<loop::QtApplication>(plugin);
  application->endWhen(compositor->descriptor(), [compositor] { return !compositor->dispatch(); });
  return application;
}

/// Its own windows on Wayland are never above all others; what Qt paints is shown by our surfaces.
constexpr const char* paintOnly = "offscreen";

void addWaylandDesktop(Platform& platform,
                       const std::shared_ptr<wayland::server::Connection>& compositor) {
  auto desktop = std::make_unique<wayland::WlDesktop>(*platform.clock);
  platform.application = applicationOf(compositor, paintOnly);
  addLayers(platform, desktop->ownSurfaces(), desktop->inputGate());
  platform.desktop = std::move(desktop);
}

/// The same as windows of an X server.
void addWindows(Platform& platform, x11::beneath::OwnWindows& ownWindows, InputGate& gate) {
  platform.alerts = std::make_unique<alert::QtAlerts>(
      std::make_unique<x11::alert::XAlertStage>(ownWindows), gate);
  platform.overlays = std::make_unique<x11::overlay::XOverlays>(ownWindows);
}

/// A compositor whose own shell this is lets clicks through windows of its X server that take none,
/// and keeps those above all others that manage themselves.
bool letsClicksThrough(const wayland::server::Connection& compositor) {
  return compositor.offers("gtk_shell1", 1);
}

/// The question, strip and border are shown by the compositor's topmost layer where it has one, and
/// by its X server otherwise. Whether there is one of the two, and a portal.
bool addPortalDesktop(Platform& platform,
                      const std::shared_ptr<wayland::server::Connection>& compositor) {
  if (!*compositor) return false;
  const bool hasLayers = compositor->offers("zwlr_layer_shell_v1", 1);
  if (!hasLayers && !x11::server::Connection()) return false;
  const auto offer = portal::session::askForOffer();
  if (!offer || !offer->servesDesktop()) return false;
  const bool hasOverlays = hasLayers || letsClicksThrough(*compositor);
  auto desktop = std::make_unique<portal::PortalDesktop>(*platform.clock, hasOverlays);
  platform.application = applicationOf(compositor, hasLayers ? paintOnly : "xcb");
  if (hasLayers) {
    addLayers(platform, desktop->ownSurfaces(), desktop->inputGate());
  } else {
    addWindows(platform, desktop->ownWindows(), desktop->inputGate());
    if (hasOverlays) {
      platform.overlays = std::make_unique<portal::overlay::ListedOverlays>(
          std::move(platform.overlays), desktop->displays(), desktop->ownSurfaces());
    } else {
      platform.overlays = std::make_unique<portal::overlay::NoOverlays>();
    }
  }
  platform.desktop = std::move(desktop);
  return true;
}

/// One line for a person who has no display that can be reached.
std::string advice(const wayland::server::Connection& compositor) {
  if (compositor) {
    return "no display: this Wayland compositor offers programs neither its screen nor its input, "
           "and no portal shares them; install the desktop's portal, or use a session on X.";
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
  addWindows(platform, desktop->ownWindows(), desktop->inputGate());
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
  } else if (!addPortalDesktop(platform, compositor)) {
    addXDesktop(platform, *compositor);
  }
  platform.queues = std::make_unique<loop::ThreadQueues>();
  platform.compression = std::make_unique<picture::X264Compression>();
  return platform;
}

}  // namespace vesk
