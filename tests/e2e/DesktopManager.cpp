#include "e2e/DesktopManager.h"

#include <filesystem>
#include <fstream>

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
    const bool isXfwm4 = kind == DesktopKind::xfwm4 || kind == DesktopKind::xfwm4Compositing;
    bus_.emplace(folder_.path(),
                 isXfwm4 ? MessageBus::Services::systems : MessageBus::Services::none);
    environment_.push_back(bus_->environment());
    // Xfce's default shortcuts are a fifth of its window manager's start: each is asked of the
    // server in many ways, one by one. Nobody strikes them here.
    if (isXfwm4) environment_.push_back("XDG_CONFIG_DIRS=" + home);
  }
  if (kind == DesktopKind::mutter) environment_.emplace_back("GSETTINGS_BACKEND=memory");
  if (kind == DesktopKind::kwin) {
    write(home + "/kwinrc",
          "[org.kde.kdecoration2]\nlibrary=org.kde.breeze\n[Desktops]\nNumber=4\n");
  }
  manager_ = std::make_unique<ChildProcess>(command, environment_);
}

}  // namespace vesk::testing
