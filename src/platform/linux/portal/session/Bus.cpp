#include "platform/linux/portal/session/Bus.h"

#include <QDBusPendingCallWatcher>
#include <atomic>
#include <utility>

#include "platform/linux/loop/SilentBus.h"

namespace vesk::portal::session {
namespace {

/// Qt waits for half a minute for a bus that takes a connection and says nothing.
constexpr std::chrono::milliseconds greetingPatience(500);

/// Where a session has its bus that names none: Qt would have one started where there is none yet.
QString usualAddress() { return "unix:path=" + qEnvironmentVariable("XDG_RUNTIME_DIR") + "/bus"; }

QDBusConnection connection() {
  static std::atomic<int> count = 0;
  const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
  const QString address = named.isEmpty() ? usualAddress() : named;
  if (loop::isSilentBus(address.toStdString(), greetingPatience)) return QDBusConnection(QString());
  return QDBusConnection::connectToBus(address, QString("vesk-portal-%1").arg(++count));
}

int inMilliseconds(std::chrono::milliseconds time) { return static_cast<int>(time.count()); }

}  // namespace

Bus::Bus() : connection_(connection()) {}

Bus::~Bus() {
  if (!connection_.name().isEmpty()) QDBusConnection::disconnectFromBus(connection_.name());
}

void Bus::watchEnd(std::function<void()> handler) {
  end_ = connect("/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected",
                 [handler = std::move(handler)](const QDBusMessage&) { handler(); });
}

Bus::Subscription Bus::subscribe(const QString& path, const QString& interface,
                                 const QString& signal, Handler handler) {
  return connect(path, interface, signal,
                 [this, handler = std::move(handler)](const QDBusMessage& sent) {
                   if (sent.service() == portal_) handler(sent);
                 });
}

Bus::Subscription Bus::connect(const QString& path, const QString& interface, const QString& signal,
                               Handler handler) {
  Subscription receiver(new SignalReceiver(std::move(handler)));
  // With a sender's name given, Qt would wait for the bus to tell who that is.
  connection_.connect(QString(), path, interface, signal, receiver.get(), SLOT(take(QDBusMessage)));
  return receiver;
}

Bus::Subscription Bus::watchOwner(const QString& service,
                                  std::function<void(const QString&)> handler) {
  const QString bus = "org.freedesktop.DBus";
  Subscription receiver(
      new SignalReceiver([handler = std::move(handler)](const QDBusMessage& signal) {
        handler(signal.arguments().value(2).toString());
      }));
  connection_.connect(bus, "/org/freedesktop/DBus", bus, "NameOwnerChanged", {service}, "sss",
                      receiver.get(), SLOT(take(QDBusMessage)));
  return receiver;
}

QDBusMessage Bus::call(const QString& path, const QString& interface, const QString& method,
                       const QVariantList& arguments) {
  auto message = QDBusMessage::createMethodCall(name::portal, path, interface, method);
  message.setArguments(arguments);
  return message;
}

void Bus::ask(const QDBusMessage& message, std::chrono::milliseconds patience, Handler handler) {
  auto* const watcher = new QDBusPendingCallWatcher(
      connection_.asyncCall(message, inMilliseconds(patience)), &context_);
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context_,
                   [watcher, handler = std::move(handler)] {
                     watcher->deleteLater();
                     // What it calls may be the end of the watcher, and of this function with it.
                     const auto called = handler;
                     called(watcher->reply());
                   });
}

QDBusMessage Bus::tell(const QDBusMessage& message, std::chrono::milliseconds patience) const {
  return connection_.call(message, QDBus::Block, inMilliseconds(patience));
}

QString Bus::pathElement() const { return connection_.baseService().mid(1).replace('.', '_'); }

}  // namespace vesk::portal::session
