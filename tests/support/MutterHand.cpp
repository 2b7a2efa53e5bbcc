#include "support/MutterHand.h"

#include <linux/input-event-codes.h>

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QVariantMap>
#include <stdexcept>

#include "support/Patience.h"

namespace vesk::testing {
namespace {

constexpr const char* remoteDesktop = "org.gnome.Mutter.RemoteDesktop";

constexpr const char* screenCast = "org.gnome.Mutter.ScreenCast";

QDBusMessage answerTo(const Mutter& desktop, const QDBusMessage& question) {
  const auto answer = desktop.bus().call(question, QDBus::Block, patience());
  if (answer.type() != QDBusMessage::ReplyMessage)
    throw std::runtime_error(answer.errorMessage().toStdString());
  return answer;
}

QString made(const QDBusMessage& answer) {
  return answer.arguments().at(0).value<QDBusObjectPath>().path();
}

}  // namespace

MutterHand::MutterHand(const Mutter& desktop) : desktop_(desktop) {
  session_ = made(answerTo(
      desktop_, QDBusMessage::createMethodCall(remoteDesktop, "/org/gnome/Mutter/RemoteDesktop",
                                               remoteDesktop, "CreateSession")));
  // Places are told as those in the picture of a screen, which nobody looks at.
  auto identity = QDBusMessage::createMethodCall(remoteDesktop, session_,
                                                 "org.freedesktop.DBus.Properties", "Get");
  identity.setArguments({QString(remoteDesktop) + ".Session", "SessionId"});
  const auto number = answerTo(desktop_, identity).arguments().at(0).value<QDBusVariant>();
  auto cast = QDBusMessage::createMethodCall(screenCast, "/org/gnome/Mutter/ScreenCast", screenCast,
                                             "CreateSession");
  cast.setArguments({QVariantMap{{"remote-desktop-session-id", number.variant()}}});
  auto record = QDBusMessage::createMethodCall(screenCast, made(answerTo(desktop_, cast)),
                                               QString(screenCast) + ".Session", "RecordMonitor");
  record.setArguments({QString(), QVariantMap()});
  screen_ = made(answerTo(desktop_, record));
  call("Start");
}

MutterHand::~MutterHand() {
  desktop_.bus().call(QDBusMessage::createMethodCall(remoteDesktop, session_,
                                                     QString(remoteDesktop) + ".Session", "Stop"),
                      QDBus::NoBlock);
}

void MutterHand::moveTo(Point point) {
  const double scale = desktop_.scale();
  call("NotifyPointerMotionAbsolute", {screen_, point.x * scale, point.y * scale});
}

bool MutterHand::awaitFullSize(const WlWindow& window) {
  constexpr Point inTheCorner{1, 1};
  return waitUntil([&] {
    moveTo(inTheCorner);
    const auto seen = window.seen();
    return seen.hasPointer && seen.pointer == inTheCorner;
  });
}

void MutterHand::click(Point point) {
  moveTo(point);
  button(BTN_LEFT, true);
  button(BTN_LEFT, false);
}

void MutterHand::button(int code, bool isDown) { call("NotifyPointerButton", {code, isDown}); }

void MutterHand::key(std::uint32_t code, bool isDown) {
  call("NotifyKeyboardKeycode", {code, isDown});
}

void MutterHand::strike(std::uint32_t code) {
  key(code, true);
  key(code, false);
}

void MutterHand::call(const QString& method, const QVariantList& arguments) const {
  auto message = QDBusMessage::createMethodCall(remoteDesktop, session_,
                                                QString(remoteDesktop) + ".Session", method);
  message.setArguments(arguments);
  answerTo(desktop_, message);
}

}  // namespace vesk::testing
