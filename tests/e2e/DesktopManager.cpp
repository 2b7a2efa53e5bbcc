#include "e2e/DesktopManager.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/Patience.h"

namespace vesk::testing {
namespace {

std::vector<std::string> commandOf(DesktopKind kind) {
  switch (kind) {
    case DesktopKind::bare:
      return {};
    case DesktopKind::openbox:
    case DesktopKind::openboxPicom:
      return {"openbox"};
    case DesktopKind::xfwm4:
      return {"xfwm4", "--compositor=off"};
    case DesktopKind::xfwm4Compositing:
      return {"xfwm4", "--compositor=on"};
    case DesktopKind::mutter:
      return {"mutter", "--x11", "--sm-disable"};
    case DesktopKind::kwin:
      return {"kwin_x11"};
  }
  return {};
}

/// A bus that starts nothing for whoever asks, so that nothing outlives the test.
std::string lonelyBus(const std::string& address) {
  return "<busconfig><type>session</type><listen>" + address + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

void write(const std::filesystem::path& file, const std::string& text) {
  std::ofstream(file) << text;
}

}  // namespace

std::string nameOf(DesktopKind kind) {
  switch (kind) {
    case DesktopKind::bare:
      return "Bare";
    case DesktopKind::openbox:
      return "Openbox";
    case DesktopKind::openboxPicom:
      return "OpenboxPicom";
    case DesktopKind::xfwm4:
      return "Xfwm4";
    case DesktopKind::xfwm4Compositing:
      return "Xfwm4Compositing";
    case DesktopKind::mutter:
      return "Mutter";
    case DesktopKind::kwin:
      return "KWin";
  }
  return "";
}

bool DesktopManager::composes(DesktopKind kind) {
  return kind == DesktopKind::xfwm4Compositing || kind == DesktopKind::mutter ||
         kind == DesktopKind::kwin;
}

DesktopManager::DesktopManager(DesktopKind kind, const std::string& server) {
  const auto command = commandOf(kind);
  if (command.empty()) return;
  const std::string home = folder_.path();
  environment_ = {server, "HOME=" + home, "XDG_CONFIG_HOME=" + home, "XDG_RUNTIME_DIR=" + home,
                  "NO_AT_BRIDGE=1"};
  if (kind != DesktopKind::openbox && kind != DesktopKind::openboxPicom) {
    startBus(kind == DesktopKind::xfwm4 || kind == DesktopKind::xfwm4Compositing);
  }
  if (kind == DesktopKind::mutter) environment_.emplace_back("GSETTINGS_BACKEND=memory");
  if (kind == DesktopKind::kwin) {
    write(home + "/kwinrc",
          "[org.kde.kdecoration2]\nlibrary=org.kde.breeze\n[Desktops]\nNumber=4\n");
  }
  manager_ = std::make_unique<ChildProcess>(command, environment_);
}

void DesktopManager::startBus(bool withServices) {
  const std::string socket = folder_.path() / "bus";
  const std::string configuration = folder_.path() / "bus.conf";
  const std::string address = "unix:path=" + socket;
  write(configuration, lonelyBus(address));
  bus_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      "dbus-daemon", withServices ? "--session" : "--config-file=" + configuration, "--nofork",
      "--nosyslog", "--address=" + address});
  if (!waitUntil([&] { return std::filesystem::exists(socket); })) {
    throw std::runtime_error("the message bus did not start");
  }
  environment_.push_back("DBUS_SESSION_BUS_ADDRESS=" + address);
}

}  // namespace vesk::testing
