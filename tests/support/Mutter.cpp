#include "support/Mutter.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <array>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "platform/Descriptor.h"
#include "platform/UnixSocket.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

constexpr const char* display = "wayland-9";

void write(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

constexpr const char* dialogs = "org.freedesktop.impl.portal.desktop.gnome";

/// Whether what shows the portal's dialogs has found out what devices there are.
bool knowsDevices(const QDBusConnection& bus) {
  auto question = QDBusMessage::createMethodCall(dialogs, "/org/freedesktop/portal/desktop",
                                                 "org.freedesktop.DBus.Properties", "Get");
  question.setArguments(
      {QString("org.freedesktop.impl.portal.RemoteDesktop"), QString("AvailableDeviceTypes")});
  const QDBusReply<QDBusVariant> answer = bus.call(question, QDBus::Block, patience());
  return answer.isValid() && answer.value().variant().toUInt() != 0;
}

/// Whether somebody listens there.
bool answers(const std::string& socket) { return unixSocket::connect(unixSocket::open(), socket); }

QString ownName() {
  static std::atomic<int> count = 0;
  return QString("mutter-%1").arg(++count);
}

}  // namespace

Mutter::Mutter(MutterOptions options) {
  std::filesystem::create_directories(runtimeFolder());
  std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
  const auto portals = folder_.path() / "portals";
  // One file, so that nobody else's dialogs are waited for.
  write(portals / "gnome.portal",
        "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.gnome\n"
        "Interfaces=org.freedesktop.impl.portal.ScreenCast;"
        "org.freedesktop.impl.portal.RemoteDesktop;\nUseIn=gnome\n");
  // There is no session of systemd's, without which the Bluetooth module ends the program.
  write(folder_.path() / "home/.config/wireplumber/bluetooth.lua.d/80-off.lua",
        "bluez_monitor.enabled = false\n");
  // A switch is not another one before it has moved.
  write(folder_.path() / "home/.config/glib-2.0/settings/keyfile",
        "[org/gnome/desktop/interface]\nenable-animations=false\n");
  ofServices_ = {"LIBGL_ALWAYS_SOFTWARE=1", "GTK_A11Y=none", "GDK_BACKEND=wayland",
                 "XDG_DESKTOP_PORTAL_DIR=" + portals.string()};
  startBus();
  startPipeWire();
  startCompositor(options);
  if (!options.hasPortal) return;
  permissions_ = start({"/usr/libexec/xdg-permission-store"});
  dialogs_ = start({"/usr/libexec/xdg-desktop-portal-gnome"});
  awaitName("org.freedesktop.impl.portal.PermissionStore");
  awaitName(dialogs);
  // A portal that comes before takes it to have none, for good.
  if (!waitUntil([&] { return knowsDevices(connection_); }))
    throw std::runtime_error("the portal's dialogs know of no devices");
  startPortal();
}

Mutter::~Mutter() { QDBusConnection::disconnectFromBus(connection_.name()); }

std::vector<std::string> Mutter::environment() const {
  const std::string home = folder_.path() / "home";
  return {"XDG_RUNTIME_DIR=" + runtimeFolder().string(),
          "WAYLAND_DISPLAY=" + std::string(display),
          "DBUS_SESSION_BUS_ADDRESS=unix:path=" + (folder_.path() / "bus").string(),
          "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/dev/null",
          "HOME=" + home,
          "XDG_CONFIG_HOME=" + home + "/.config",
          "XDG_CACHE_HOME=" + home + "/.cache",
          "XDG_DATA_HOME=" + home + "/.local/share",
          "XDG_STATE_HOME=" + home + "/.local/state",
          "XDG_CURRENT_DESKTOP=GNOME",
          "GSETTINGS_BACKEND=keyfile",
          "NO_AT_BRIDGE=1"};
}

void Mutter::enter() const {
  for (const auto& entry : environment()) {
    const auto equals = entry.find('=');
    ::setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
  }
}

std::unique_ptr<ChildProcess> Mutter::start(std::vector<std::string> command) const {
  auto entries = environment();
  entries.insert(entries.end(), ofServices_.begin(), ofServices_.end());
  return std::make_unique<ChildProcess>(std::move(command), std::move(entries));
}

void Mutter::startBus() {
  const std::string socket = folder_.path() / "bus";
  const auto configuration = folder_.path() / "bus.conf";
  write(configuration,
        "<busconfig><type>session</type><listen>unix:path=" + socket +
            "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
            "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
            "<allow own=\"*\"/></policy></busconfig>\n");
  bus_ =
      start({"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration.string()});
  if (!waitUntil([&] { return answers(socket); }))
    throw std::runtime_error("dbus-daemon did not start; is it installed?");
  connection_ =
      QDBusConnection::connectToBus(QString::fromStdString("unix:path=" + socket), ownName());
  if (!connection_.isConnected()) throw std::runtime_error("the bus does not answer");
}

void Mutter::startPipeWire() {
  pipeWire_ = start({"pipewire"});
  // Whoever comes before it gives up.
  if (!waitUntil([&] { return answers(pipeWireSocket()); }))
    throw std::runtime_error("pipewire did not start; is it installed?");
  sessionManager_ = start({"wireplumber"});
}

void Mutter::startCompositor(const MutterOptions& options) {
  const std::string monitor =
      std::to_string(options.monitor.width) + "x" + std::to_string(options.monitor.height);
  std::vector<std::string> command{"mutter", "--headless", "--virtual-monitor",
                                   monitor,  "--wayland",  "--wayland-display",
                                   display};
  if (!options.hasXServer) command.emplace_back("--no-x11");
  compositor_ = start(std::move(command));
  if (!waitUntil([&] { return answers(runtimeFolder() / display); }))
    throw std::runtime_error("mutter did not start; is it installed?");
  awaitName("org.gnome.Mutter.ScreenCast");
  awaitName("org.gnome.Mutter.RemoteDesktop");
}

void Mutter::startPortal() {
  portal_ = start({"/usr/libexec/xdg-desktop-portal"});
  awaitName("org.freedesktop.portal.Desktop");
}

void Mutter::awaitName(const std::string& name) const {
  const auto service = QString::fromStdString(name);
  if (!waitUntil([&] { return connection_.interface()->isServiceRegistered(service).value(); }))
    throw std::runtime_error("nobody came as " + name);
}

}  // namespace vesk::testing
