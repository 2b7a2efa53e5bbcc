#pragma once

#include <QDBusMessage>
#include <QString>
#include <cstdint>

#include "platform/linux/portal/session/Stroke.h"

namespace vesk::portal::session {

/// How the portal is told of a stroke. A session may have several streams; places are in that of
/// the number `node`.
QDBusMessage strokeCall(const QString& session, std::uint32_t node, const Stroke& stroke);

}  // namespace vesk::portal::session
