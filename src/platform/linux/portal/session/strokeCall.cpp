#include "platform/linux/portal/session/strokeCall.h"

#include <QDBusObjectPath>
#include <QVariantMap>

#include "platform/linux/portal/session/Bus.h"

namespace vesk::portal::session {

QDBusMessage strokeCall(const QString& session, std::uint32_t node, const Stroke& stroke) {
  constexpr std::uint32_t vertically = 0;
  const auto state = static_cast<std::uint32_t>(stroke.isDown);
  const auto call = [&](const char* method, const QVariantList& arguments) {
    const QVariantList common{QVariant::fromValue(QDBusObjectPath(session)), QVariantMap()};
    return Bus::call(name::portalPath, name::remoteDesktop, method, common + arguments);
  };
  switch (stroke.kind) {
    case Stroke::Kind::button:
      return call("NotifyPointerButton", {stroke.code, state});
    case Stroke::Kind::wheel:
      return call("NotifyPointerAxisDiscrete", {vertically, stroke.code});
    case Stroke::Kind::key:
      return call("NotifyKeyboardKeycode", {stroke.code, state});
    case Stroke::Kind::symbol:
      return call("NotifyKeyboardKeysym", {stroke.code, state});
    case Stroke::Kind::step:
      return call("NotifyPointerMotion", {stroke.place.x, stroke.place.y});
    case Stroke::Kind::motion:
      break;
  }
  return call("NotifyPointerMotionAbsolute", {node, stroke.place.x, stroke.place.y});
}

}  // namespace vesk::portal::session
