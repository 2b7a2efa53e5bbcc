#include "platform/linux/portal/session/Offer.h"

#include <QDBusConnection>
#include <QDBusReply>
#include <QThread>
#include <algorithm>
#include <future>
#include <memory>
#include <thread>

#include "platform/linux/portal/session/Bus.h"
#include "platform/linux/stream/startThread.h"

namespace vesk::portal::session {
namespace {

using Clock = std::chrono::steady_clock;

/// Of one of the portal's interfaces; none where there is no answer.
QVariantMap propertiesOf(const Bus& bus, const char* interface, Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  if (left <= left.zero()) return {};
  const auto question =
      Bus::call(name::portalPath, name::properties, "GetAll", {QString(interface)});
  const QDBusReply<QVariantMap> reply = bus.tell(question, left);
  return reply.isValid() ? reply.value() : QVariantMap();
}

std::optional<Offer> offerOn(const Bus& bus, Clock::time_point deadline) {
  const auto remoteDesktop = propertiesOf(bus, name::remoteDesktop, deadline);
  if (remoteDesktop.isEmpty()) return std::nullopt;
  return offerOf(remoteDesktop, propertiesOf(bus, name::screenCast, deadline));
}

/// A portal that has only begun may not know of the desktop's devices yet.
std::optional<Offer> ask(Clock::time_point deadline) {
  constexpr std::chrono::seconds devicesPatience(3);
  constexpr std::chrono::milliseconds pause(200);
  const Bus bus;
  if (!bus) return std::nullopt;
  const auto last = std::min(deadline, Clock::now() + devicesPatience);
  auto offer = offerOn(bus, deadline);
  while (offer && offer->devices == 0 && Clock::now() + pause < last) {
    std::this_thread::sleep_for(pause);
    offer = offerOn(bus, deadline);
  }
  return offer;
}

}  // namespace

Offer offerOf(const QVariantMap& remoteDesktop, const QVariantMap& screenCast) {
  return {.remoteDesktop = remoteDesktop["version"].toUInt(),
          .screenCast = screenCast["version"].toUInt(),
          .devices = remoteDesktop["AvailableDeviceTypes"].toUInt(),
          .cursorModes = screenCast["AvailableCursorModes"].toUInt()};
}

std::optional<Offer> askForOffer(std::chrono::milliseconds patience) {
  // Qt takes the first thread that it meets for the program's first, and an application on any
  // other hears nothing of its windows.
  QThread::currentThread();
  // Finding the bus has no bound of its own, so somebody waits for it who need not come back.
  const auto deadline = Clock::now() + patience;
  auto promise = std::make_shared<std::promise<std::optional<Offer>>>();
  auto offer = promise->get_future();
  auto asking =
      stream::startThread("portal", [promise, deadline] { promise->set_value(ask(deadline)); });
  if (!asking) return std::nullopt;
  asking->detach();
  return offer.wait_until(deadline) == std::future_status::ready ? offer.get() : std::nullopt;
}

}  // namespace vesk::portal::session
