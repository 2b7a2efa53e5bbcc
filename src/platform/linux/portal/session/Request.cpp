#include "platform/linux/portal/session/Request.h"

#include <QDBusArgument>
#include <QPointer>
#include <QTimer>
#include <atomic>
#include <utility>

#include "platform/linux/portal/session/patience.h"

namespace vesk::portal::session {
namespace {

QString freshToken() {
  static std::atomic<int> count = 0;
  return QString("vesk_%1").arg(++count);
}

Outcome outcomeOf(unsigned response) {
  return response <= static_cast<unsigned>(Outcome::failed) ? static_cast<Outcome>(response)
                                                            : Outcome::failed;
}

}  // namespace

Request::Request(Bus& bus, const Question& question, Answer answer)
    : bus_(bus), answer_(std::move(answer)) {
  const QString token = freshToken();
  path_ = QString("%1/request/%2/%3").arg(name::portalPath, bus_.pathElement(), token);
  // Before the call: the answer may be there before it returns.
  response_ = bus_.subscribe(path_, name::request, "Response", [this](const QDBusMessage& signal) {
    const auto arguments = signal.arguments();
    finish(outcomeOf(arguments.value(0).toUInt()), qdbus_cast<QVariantMap>(arguments.value(1)));
  });
  QVariantMap options = question.options;
  options["handle_token"] = token;
  const auto message = Bus::call(name::portalPath, question.interface, question.method,
                                 question.arguments + QVariantList{options});
  bus_.ask(message, patience::start,
           [alive = QPointer(&context_), this](const QDBusMessage& reply) {
             if (alive == nullptr || reply.type() == QDBusMessage::ReplyMessage) return;
             const bool isSilent = reply.errorName() == "org.freedesktop.DBus.Error.NoReply";
             finish(isSilent ? Outcome::silent : Outcome::failed, {});
           });
  QTimer::singleShot(question.patience, &context_, [this] {
    withdraw();
    finish(Outcome::unanswered, {});
  });
}

Request::~Request() {
  if (answer_) withdraw();
}

void Request::withdraw() {
  if (bus_) bus_.tell(Bus::call(path_, name::request, "Close", {}), patience::close);
}

void Request::finish(Outcome outcome, const QVariantMap& results) {
  // What it calls may be the end of this object.
  if (const auto answer = std::exchange(answer_, nullptr)) answer(outcome, results);
}

}  // namespace vesk::portal::session
