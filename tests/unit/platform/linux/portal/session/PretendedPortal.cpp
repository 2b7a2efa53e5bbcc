#include "unit/platform/linux/portal/session/PretendedPortal.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusObjectPath>
#include <stdexcept>

#include "platform/linux/portal/session/Bus.h"

namespace vesk::portal::session {
namespace {

QString pathOf(const QDBusMessage& question, const char* kind, const QString& token) {
  return QString("%1/%2/%3/%4")
      .arg(name::portalPath, kind, question.service().mid(1).replace('.', '_'), token);
}

/// Each has its own, so that no connection of a test before is handed out again.
QString newName() {
  static int count = 0;
  return QString("pretended%1").arg(++count);
}

}  // namespace

PretendedPortal::PretendedPortal(const std::string& address)
    : connection_(QDBusConnection::connectToBus(QString::fromStdString(address), newName())) {
  if (!connection_.registerService(name::portal))
    throw std::runtime_error(connection_.lastError().message().toStdString());
  connection_.registerVirtualObject("/", this, QDBusConnection::SubPath);
  moveToThread(&thread_);
  thread_.start();
}

PretendedPortal::~PretendedPortal() {
  connection_.unregisterObject("/", QDBusConnection::UnregisterTree);
  thread_.quit();
  thread_.wait();
  QDBusConnection::disconnectFromBus(connection_.name());
}

void PretendedPortal::deal(const QString& method, Deal deal) {
  const std::lock_guard lock(mutex_);
  deals_[method] = std::move(deal);
}

void PretendedPortal::answer(const QDBusMessage& question, unsigned response,
                             const QVariantMap& results) {
  const auto request = requestOf(question);
  reply(question, {QVariant::fromValue(QDBusObjectPath(request))});
  tell(request, name::request, "Response", {response, results});
}

void PretendedPortal::reply(const QDBusMessage& question, const QVariantList& arguments) {
  connection_.send(question.createReply(arguments));
}

void PretendedPortal::tell(const QString& path, const QString& interface, const QString& signal,
                           const QVariantList& arguments) {
  auto message = QDBusMessage::createSignal(path, interface, signal);
  message.setArguments(arguments);
  connection_.send(message);
}

QVariantMap PretendedPortal::optionsOf(const QDBusMessage& question) {
  return qdbus_cast<QVariantMap>(question.arguments().constLast());
}

QString PretendedPortal::requestOf(const QDBusMessage& question) {
  return pathOf(question, "request", optionsOf(question)["handle_token"].toString());
}

QString PretendedPortal::sessionOf(const QDBusMessage& question) {
  return pathOf(question, "session", "vesk");
}

std::vector<QString> PretendedPortal::callsOf(const QString& method) {
  const std::lock_guard lock(mutex_);
  return calls_[method];
}

bool PretendedPortal::handleMessage(const QDBusMessage& question, const QDBusConnection&) {
  Deal deal;
  {
    const std::lock_guard lock(mutex_);
    calls_[question.member()].push_back(question.path());
    if (const auto found = deals_.find(question.member()); found != deals_.end())
      deal = found->second;
  }
  if (deal) {
    deal(question);
  } else {
    answerAsUsual(question);
  }
  return true;
}

void PretendedPortal::answerAsUsual(const QDBusMessage& question) {
  const auto method = question.member();
  if (method == "GetAll") {
    const bool isOfScreens = question.arguments().value(0).toString() == name::screenCast;
    return reply(question, {isOfScreens ? screenCast : remoteDesktop});
  }
  if (method == "CreateSession")
    return answer(question, 0, {{"session_handle", sessionOf(question)}});
  const bool isRequest = method.startsWith("Select") || method == "Start";
  if (isRequest) return answer(question, 0, {});
  reply(question);
}

}  // namespace vesk::portal::session
