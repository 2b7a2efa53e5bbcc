#include "support/Mutter.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vesk::testing {

Mutter::Mutter(MutterOptions options)
    : PortalServices("GNOME", "org.freedesktop.impl.portal.desktop.gnome"), scale_(options.scale) {
  // A switch is not another one before it has moved, and a program that got no processor while a
  // key was down would repeat it.
  write("home/.config/glib-2.0/settings/keyfile",
        "[org/gnome/desktop/interface]\nenable-animations=false\n"
        "[org/gnome/desktop/peripherals/keyboard]\nrepeat=false\n" +
            std::string(options.isScaledAsAWhole ? "[org/gnome/mutter]\nexperimental-features="
                                                   "['scale-monitor-framebuffer']\n"
                                                 : ""));
  keepScale(options.monitor);
  tellServices({"GTK_A11Y=none", "GDK_BACKEND=wayland"});
  const auto nameOf = [](PixelSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
  };
  std::vector<std::string> command{"mutter",
                                   "--headless",
                                   "--virtual-monitor",
                                   nameOf(options.monitor),
                                   "--wayland",
                                   "--wayland-display",
                                   display};
  if (options.beside) command.insert(command.end(), {"--virtual-monitor", nameOf(*options.beside)});
  if (!options.hasXServer) command.emplace_back("--no-x11");
  startCompositor(std::move(command));
  awaitName("org.gnome.Mutter.ScreenCast");
  awaitName("org.gnome.Mutter.RemoteDesktop");
  if (options.hasPortal) startPortal({"/usr/libexec/xdg-desktop-portal-gnome"});
}

/// As the person has chosen it.
void Mutter::keepScale(PixelSize monitor) const {
  const auto element = [](const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
  };
  const auto number = [&](const std::string& name, std::int64_t value) {
    return element(name, std::to_string(value));
  };
  const std::string which = element(
      "monitorspec", element("connector", "Meta-0") + element("vendor", "MetaVendor") +
                         element("product", "MetaVirtualMonitor") + element("serial", "0x00"));
  const std::string mode =
      element("mode", number("width", monitor.width) + number("height", monitor.height) +
                          element("rate", "60.000"));
  const std::string all = number("x", 0) + number("y", 0) + number("scale", scale_) +
                          element("primary", "yes") + element("monitor", which + mode);
  write("home/.config/monitors.xml", "<monitors version='2'>" +
                                         element("configuration", element("logicalmonitor", all)) +
                                         "</monitors>\n");
}

}  // namespace vesk::testing
