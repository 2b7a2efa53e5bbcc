#include "support/Mutter.h"

#include <string>
#include <utility>
#include <vector>

namespace vesk::testing {

Mutter::Mutter(MutterOptions options)
    : PortalServices("GNOME", "org.freedesktop.impl.portal.desktop.gnome") {
  // A switch is not another one before it has moved.
  write("home/.config/glib-2.0/settings/keyfile",
        "[org/gnome/desktop/interface]\nenable-animations=false\n");
  tellServices({"GTK_A11Y=none", "GDK_BACKEND=wayland"});
  const std::string monitor =
      std::to_string(options.monitor.width) + "x" + std::to_string(options.monitor.height);
  std::vector<std::string> command{"mutter", "--headless", "--virtual-monitor",
                                   monitor,  "--wayland",  "--wayland-display",
                                   display};
  if (!options.hasXServer) command.emplace_back("--no-x11");
  startCompositor(std::move(command));
  awaitName("org.gnome.Mutter.ScreenCast");
  awaitName("org.gnome.Mutter.RemoteDesktop");
  if (options.hasPortal) startPortal({"/usr/libexec/xdg-desktop-portal-gnome"});
}

}  // namespace vesk::testing
