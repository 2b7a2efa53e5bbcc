#include "platform/linux/alert/DesktopAppearance.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QStringList>
#include <QVariantMap>

namespace vesk::alert {
namespace {

/// Where there is none, asking for it would start one.
bool hasMessageBus() {
  return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
         QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus");
}

/// The settings in that group, by their names.
QVariantMap readSettings(const QString& group) {
  // What has to end meanwhile, a session for one, is to end within a quarter of a second.
  constexpr int longestWait = 200;
  auto request = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop",
                                                "/org/freedesktop/portal/desktop",
                                                "org.freedesktop.portal.Settings", "ReadAll");
  request << QStringList{group};
  const auto reply = QDBusConnection::sessionBus().call(request, QDBus::Block, longestWait);
  if (reply.signature() != "a{sa{sv}}") return {};
  QMap<QString, QVariantMap> groups;
  reply.arguments().constFirst().value<QDBusArgument>() >> groups;
  return groups.value(group);
}

/// Red, green and blue from 0 to 1; anything else says that none is chosen.
std::optional<QColor> colourOf(const QVariant& setting) {
  const auto argument = setting.value<QDBusArgument>();
  if (argument.currentSignature() != "(ddd)") return std::nullopt;
  double red = 0;
  double green = 0;
  double blue = 0;
  argument.beginStructure();
  argument >> red >> green >> blue;
  argument.endStructure();
  const auto isPart = [](double part) { return part >= 0 && part <= 1; };
  if (!isPart(red) || !isPart(green) || !isPart(blue)) return std::nullopt;
  return QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green),
                          static_cast<float>(blue));
}

}  // namespace

DesktopAppearance desktopAppearance() {
  if (!hasMessageBus()) return {};
  constexpr unsigned dark = 1;
  const auto settings = readSettings("org.freedesktop.appearance");
  const QVariant scheme = settings.value("color-scheme");
  return {scheme.typeId() == QMetaType::UInt && scheme.toUInt() == dark,
          colourOf(settings.value("accent-color"))};
}

}  // namespace vesk::alert
