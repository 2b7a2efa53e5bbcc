#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <chrono>
#include <functional>
#include <memory>

#include "platform/linux/portal/session/SignalReceiver.h"

namespace vesk::portal::session {

/// The portal's names on the bus.
namespace name {
inline constexpr const char* portal = "org.freedesktop.portal.Desktop";
inline constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
inline constexpr const char* remoteDesktop = "org.freedesktop.portal.RemoteDesktop";
inline constexpr const char* screenCast = "org.freedesktop.portal.ScreenCast";
inline constexpr const char* request = "org.freedesktop.portal.Request";
inline constexpr const char* session = "org.freedesktop.portal.Session";
inline constexpr const char* properties = "org.freedesktop.DBus.Properties";
}  // namespace name

/// A connection of its own to the session's message bus: what is asked for by way of it ends with
/// it, whatever else happens.
///
/// Thread: the one that it was made on, which runs an event loop of Qt's. Owns: the connection.
/// Calls back: from that loop. Fails: as a bus that is false, when there is none to reach; an
/// answer that does not come in time is an error message.
class Bus {
 public:
  using Handler = std::function<void(const QDBusMessage&)>;
  using Subscription = std::unique_ptr<SignalReceiver, SignalReceiver::Silence>;

  Bus();
  ~Bus();
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  explicit operator bool() const { return connection_.isConnected(); }

  /// Who is the portal. Anybody on the bus may send a signal that looks like one of its own: those
  /// of nobody else are handed on.
  void believe(const QString& portal) { portal_ = portal; }

  /// Told when the bus has ended or has thrown this program out.
  void watchEnd(std::function<void()> handler);

  /// Of a signal of the portal's, until what is returned ends.
  Subscription subscribe(const QString& path, const QString& interface, const QString& signal,
                         Handler handler);

  /// Of another owner of a name, or of none.
  Subscription watchOwner(const QString& service, std::function<void(const QString&)> handler);

  /// A method of the portal's.
  static QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                           const QVariantList& arguments);

  /// `handler` gets the answer or the error; not after the end of this object.
  void ask(const QDBusMessage& message, std::chrono::milliseconds patience, Handler handler);

  /// Waits for the answer, or the error. For where no loop runs.
  QDBusMessage tell(const QDBusMessage& message, std::chrono::milliseconds patience) const;

  /// This connection's name as it stands in the paths of what is asked for.
  QString pathElement() const;

 private:
  Subscription connect(const QString& path, const QString& interface, const QString& signal,
                       Handler handler);

  QDBusConnection connection_;
  QObject context_;  ///< what waits for answers ends with it
  QString portal_;
  Subscription end_;
};

}  // namespace vesk::portal::session
