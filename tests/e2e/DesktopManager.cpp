#include "e2e/DesktopManager.h"

#include <filesystem>
#include <fstream>
#include <string>

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

std::string typeOf(const std::string& value) {
  if (value == "true" || value == "false") return "bool";
  return value.find_first_not_of("-0123456789") == std::string::npos ? "int" : "string";
}

/// Xfce's window manager with the settings that it brings along, as it finds them when it is
/// started for the second time: the first time it stores one after the other, and loads its theme
/// anew for each. Without its shortcuts, which it asks for in many ways, one by one; nobody strikes
/// them here.
void writeXfceSettings(const std::filesystem::path& home) {
  const auto folder = home / "xfce4/xfconf/xfce-perchannel-xml";
  std::filesystem::create_directories(folder);
  std::string general;
  std::ifstream defaults("/usr/share/xfwm4/defaults");
  for (std::string line; std::getline(defaults, line);) {
    const auto equals = line.find('=');
    if (equals == 0 || equals == std::string::npos) continue;
    const std::string value = line.substr(equals + 1);
    general += "<property name=\"" + line.substr(0, equals) + "\" type=\"" + typeOf(value) +
               "\" value=\"" + value + "\"/>";
  }
  write(folder / "xfwm4.xml",
        R"(<channel name="xfwm4" version="1.0"><property name="general" type="empty">)" + general +
            "</property></channel>");
  write(
      folder / "xfce4-keyboard-shortcuts.xml",
      R"(<channel name="xfce4-keyboard-shortcuts" version="1.0"><property name="xfwm4" type="empty">)"
      R"(<property name="custom" type="empty"><property name="override" type="bool" value="true"/>)"
      "</property></property></channel>");
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
    if (isXfwm4) writeXfceSettings(folder_.path());
    bus_.emplace(folder_.path(),
                 isXfwm4 ? MessageBus::Services::systems : MessageBus::Services::none);
    environment_.push_back(bus_->environment());
  }
  if (kind == DesktopKind::mutter) environment_.emplace_back("GSETTINGS_BACKEND=memory");
  if (kind == DesktopKind::kwin) {
    write(home + "/kwinrc",
          "[org.kde.kdecoration2]\nlibrary=org.kde.breeze\n[Desktops]\nNumber=4\n");
  }
  manager_ = std::make_unique<ChildProcess>(command, environment_);
}

}  // namespace vesk::testing
