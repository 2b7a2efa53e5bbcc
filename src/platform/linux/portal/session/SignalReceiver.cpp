#include "platform/linux/portal/session/SignalReceiver.h"

namespace vesk::portal::session {

void SignalReceiver::take(const QDBusMessage& signal) {
  // What it calls may be the end of this object.
  const auto handler = handler_;
  if (handler) handler(signal);
}

}  // namespace vesk::portal::session
