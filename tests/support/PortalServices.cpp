#include "support/PortalServices.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "platform/UnixSocket.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

/// Whether somebody listens there.
bool answers(const std::string& socket) { return unixSocket::connect(unixSocket::open(), socket); }

QString ownName() {
  static std::atomic<int> count = 0;
  return QString("desktop-%1").arg(++count);
}

}  // namespace

PortalServices::PortalServices(std::string desktop, std::string dialogs)
    : desktop_(std::move(desktop)), dialogsName_(std::move(dialogs)) {
  std::filesystem::create_directories(runtimeFolder());
  std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
  // One file, so that nobody else's dialogs are waited for.
  write("portals/own.portal", "[portal]\nDBusName=" + dialogsName_ +
                                  "\nInterfaces=org.freedesktop.impl.portal.ScreenCast;"
                                  "org.freedesktop.impl.portal.RemoteDesktop;\nUseIn=" +
                                  desktop_ + "\n");
  // There is no session of systemd's, without which the Bluetooth module ends the program.
  write("home/.config/wireplumber/bluetooth.lua.d/80-off.lua", "bluez_monitor.enabled = false\n");
  tellServices({"LIBGL_ALWAYS_SOFTWARE=1",
                "XDG_DESKTOP_PORTAL_DIR=" + (folder_.path() / "portals").string()});
  startBus();
  startPipeWire();
}

PortalServices::~PortalServices() { QDBusConnection::disconnectFromBus(connection_.name()); }

std::vector<std::string> PortalServices::environment() const {
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
          "XDG_CURRENT_DESKTOP=" + desktop_,
          "GSETTINGS_BACKEND=keyfile",
          "NO_AT_BRIDGE=1"};
}

void PortalServices::enter() const {
  for (const auto& entry : environment()) {
    const auto equals = entry.find('=');
    ::setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
  }
}

void PortalServices::tellServices(const std::vector<std::string>& entries) {
  ofServices_.insert(ofServices_.end(), entries.begin(), entries.end());
}

void PortalServices::write(const std::string& path, const std::string& text) const {
  const auto file = folder_.path() / path;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file) << text;
}

std::unique_ptr<ChildProcess> PortalServices::start(std::vector<std::string> command,
                                                    std::vector<std::string> extra) const {
  auto entries = environment();
  entries.insert(entries.end(), ofServices_.begin(), ofServices_.end());
  entries.insert(entries.end(), extra.begin(), extra.end());
  return std::make_unique<ChildProcess>(std::move(command), std::move(entries));
}

void PortalServices::startBus() {
  const std::string socket = folder_.path() / "bus";
  write("bus.conf", "<busconfig><type>session</type><listen>unix:path=" + socket +
                        "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                        "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                        "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
  bus_ = start({"dbus-daemon", "--nofork", "--nopidfile",
                "--config-file=" + (folder_.path() / "bus.conf").string()});
  if (!waitUntil([&] { return answers(socket); }))
    throw std::runtime_error("dbus-daemon did not start; is it installed?");
  connection_ =
      QDBusConnection::connectToBus(QString::fromStdString("unix:path=" + socket), ownName());
  if (!connection_.isConnected()) throw std::runtime_error("the bus does not answer");
}

void PortalServices::startPipeWire() {
  pipeWire_ = start({"pipewire"});
  // Whoever comes before it gives up.
  if (!waitUntil([&] { return answers(pipeWireSocket()); }))
    throw std::runtime_error("pipewire did not start; is it installed?");
  sessionManager_ = start({"wireplumber"});
}

void PortalServices::startCompositor(std::vector<std::string> command,
                                     std::vector<std::string> entries) {
  const std::string program = command.front();
  compositor_ = start(std::move(command), std::move(entries));
  if (!waitUntil([&] { return answers(runtimeFolder() / display); }))
    throw std::runtime_error(program + " did not start; is it installed?");
}

void PortalServices::startPortal(std::vector<std::string> command) {
  permissions_ = start({"/usr/libexec/xdg-permission-store"});
  dialogs_ = start(std::move(command));
  awaitName("org.freedesktop.impl.portal.PermissionStore");
  awaitName(dialogsName_);
  // A portal that comes before takes it to have none, for good.
  if (!waitUntil([&] { return knowsDevices(); }))
    throw std::runtime_error("the portal's dialogs know of no devices");
  startPortal();
}

/// Whether what shows the portal's dialogs has found out what devices there are.
bool PortalServices::knowsDevices() const {
  auto question = QDBusMessage::createMethodCall(QString::fromStdString(dialogsName_),
                                                 "/org/freedesktop/portal/desktop",
                                                 "org.freedesktop.DBus.Properties", "Get");
  question.setArguments(
      {QString("org.freedesktop.impl.portal.RemoteDesktop"), QString("AvailableDeviceTypes")});
  const QDBusReply<QDBusVariant> answer = connection_.call(question, QDBus::Block, patience());
  return answer.isValid() && answer.value().variant().toUInt() != 0;
}

void PortalServices::startPortal() {
  portal_ = start({"/usr/libexec/xdg-desktop-portal"});
  awaitName("org.freedesktop.portal.Desktop");
}

void PortalServices::awaitName(const std::string& name) const {
  const auto wanted = QString::fromStdString(name);
  if (!waitUntil([&] { return connection_.interface()->isServiceRegistered(wanted).value(); }))
    throw std::runtime_error("nobody came as " + name);
}

}  // namespace vesk::testing
