#include "support/KWin.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>
#include <array>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/Descriptor.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

constexpr const char* nameOfDialogs = "org.freedesktop.impl.portal.desktop.kde";

/// It lies in a folder that is named after the machine's architecture.
std::string programOfDialogs() {
  std::ifstream service("/usr/share/dbus-1/services/" + std::string(nameOfDialogs) + ".service");
  const std::string key = "Exec=";
  for (std::string line; std::getline(service, line);) {
    if (line.starts_with(key)) return line.substr(key.size());
  }
  throw std::runtime_error("no portal of KDE's; is it installed?");
}

QByteArray readAll(const Descriptor& pipe) {
  QByteArray bytes;
  std::array<char, 65536> part{};
  for (ssize_t count = 0; (count = ::read(pipe.get(), part.data(), part.size())) > 0;)
    bytes.append(part.data(), count);
  return bytes;
}

void keep(const QImage& picture) {
  const char* const folder = std::getenv("VESK_WAYLAND_PICTURES");
  if (folder == nullptr) return;
  static int number = 0;
  const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
  picture.save(QString("%1/%2-%3.png").arg(folder, test->name()).arg(++number));
}

}  // namespace

KWin::KWin(KWinOptions options) : PortalServices("KDE", nameOfDialogs) {
  tellServices({"KDE_FULL_SESSION=true", "KDE_SESSION_VERSION=5", "QT_QPA_PLATFORM=wayland"});
  // Its file asks for a capability that a container may lack; a copy asks for none.
  const auto program = folder() / "kwin_wayland";
  if (!std::filesystem::exists("/usr/bin/kwin_wayland"))
    throw std::runtime_error("no kwin_wayland; is it installed?");
  std::filesystem::copy_file("/usr/bin/kwin_wayland", program);
  startCompositor({program.string(), "--virtual", "--width", std::to_string(options.screen.width),
                   "--height", std::to_string(options.screen.height), "--output-count",
                   std::to_string(options.outputs), "--scale", std::to_string(options.scale),
                   "--no-lockscreen", "--no-global-shortcuts", "--socket", display},
                  {"WAYLAND_DISPLAY=", "QT_QPA_PLATFORM=", "KWIN_SCREENSHOT_NO_PERMISSION_CHECKS=1",
                   // For its portal, whose rights are looked up by where it was installed.
                   "KWIN_WAYLAND_NO_PERMISSION_CHECKS=1"});
  awaitName("org.kde.KWin");
  if (options.hasPortal) startPortal({programOfDialogs()});
}

QImage KWin::picture() const {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  const Descriptor out(ends[0]);
  auto question = QDBusMessage::createMethodCall("org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                                 "org.kde.KWin.ScreenShot2", "CaptureWorkspace");
  {
    const Descriptor in(ends[1]);
    question.setArguments({QVariantMap{{"native-resolution", true}},
                           QVariant::fromValue(QDBusUnixFileDescriptor(in.get()))});
  }
  const QDBusReply<QVariantMap> answer = bus().call(question, QDBus::Block, patience());
  if (!answer.isValid())
    throw std::runtime_error("no picture: " + answer.error().message().toStdString());
  // Its copy of the pipe's end is not to keep this one open.
  question = QDBusMessage();
  const auto bytes = readAll(out);
  const auto told = answer.value();
  const QImage picture(reinterpret_cast<const uchar*>(bytes.constData()), told["width"].toInt(),
                       told["height"].toInt(), told["stride"].toInt(),
                       static_cast<QImage::Format>(told["format"].toInt()));
  keep(picture);
  return picture.convertToFormat(QImage::Format_RGB32);
}

}  // namespace vesk::testing
