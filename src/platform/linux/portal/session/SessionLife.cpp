#include "platform/linux/portal/session/SessionLife.h"

#include <fcntl.h>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <utility>

#include "platform/linux/portal/session/answers.h"
#include "platform/linux/portal/session/patience.h"
#include "platform/linux/portal/session/sessionErrors.h"
#include "platform/linux/portal/session/strokeCall.h"

namespace vesk::portal::session {
namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t monitors = 1;
constexpr std::uint32_t untilRevoked = 2;

/// From these versions on a portal remembers what it was told to.
constexpr std::uint32_t remembersDevices = 2;

/// The pointer beside the picture, if it can be had so; else as it is wanted in it.
std::uint32_t cursorModeOf(std::uint32_t available, bool showsCursor) {
  constexpr std::uint32_t hidden = 1;
  constexpr std::uint32_t embedded = 2;
  constexpr std::uint32_t apart = 4;
  if ((available & apart) != 0) return apart;
  const std::uint32_t wanted = showsCursor ? embedded : hidden;
  return (available & wanted) != 0 ? wanted : 0;
}

PlatformError errorOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::refused:
      return sessionError::refused;
    case Outcome::unanswered:
    case Outcome::silent:
      return sessionError::silentPortal;
    case Outcome::granted:
    case Outcome::failed:
      break;
  }
  return sessionError::failed;
}

QString textOf(const QVariant& value) {
  return value.canConvert<QDBusObjectPath>() ? value.value<QDBusObjectPath>().path()
                                             : value.toString();
}

}  // namespace

SessionLife::SessionLife(StrokeQueue& strokes, const SessionWishes& wishes,
                         const PortalSession::Listener& listener)
    : strokes_(strokes), wishes_(wishes), listener_(listener) {}

SessionLife::~SessionLife() {
  isOver_ = true;
  const auto down = strokes_.close(strokesOf_);
  request_.reset();
  if (!bus_ || session_.isEmpty()) return;
  letGo(down);
  bus_.tell(Bus::call(session_, name::session, "Close", {}), patience::close);
}

/// By itself: where KWin is the compositor, what is down at the end of a session stays down.
void SessionLife::letGo(const std::vector<Stroke>& down) {
  for (const auto& stroke : down) {
    // A portal that has stopped takes the others no sooner.
    if (!letGo(stroke, strokeCall(session_, node_, stroke))) return;
  }
}

bool SessionLife::letGo(const Stroke& stroke, const QDBusMessage& call) {
  const bool isUp = bus_.tell(call, patience::close).type() == QDBusMessage::ReplyMessage;
  if (isUp) strokes_.wasLetGo(stroke);
  return isUp;
}

void SessionLife::begin() {
  if (!bus_) return fail(sessionError::busGone);
  bus_.watchEnd([this] { fail(sessionError::busGone); });
  askForOffer();
}

void SessionLife::askForOffer() {
  const auto properties = [](const char* interface) {
    return Bus::call(name::portalPath, name::properties, "GetAll", {QString(interface)});
  };
  const auto valuesOf = [](const QDBusMessage& reply) {
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
  };
  bus_.ask(properties(name::remoteDesktop), patience::start, [=, this](const QDBusMessage& first) {
    const bool isSilent = first.errorName() == "org.freedesktop.DBus.Error.NoReply";
    if (isSilent) return fail(sessionError::silentPortal);
    bus_.believe(first.service());
    bus_.ask(properties(name::screenCast), patience::step, [=, this](const QDBusMessage& second) {
      offer_ = offerOf(valuesOf(first), valuesOf(second));
      if (!offer_.servesDesktop()) return fail(sessionError::noPortal);
      createSession();
    });
  });
}

void SessionLife::createSession() {
  portalGone_ = bus_.watchOwner(name::portal, [this](const QString& owner) {
    if (!owner.isEmpty()) return;
    closeBehindPortal();
    fail(sessionError::portalGone);
  });
  const QString token = "vesk";
  const QString path = QString("%1/session/%2/%3").arg(name::portalPath, bus_.pathElement(), token);
  // Before there is one: it may be closed at once.
  closed_ = bus_.subscribe(path, name::session, "Closed", [this](const QDBusMessage&) {
    session_.clear();
    fail(sessionError::ended);
  });
  request(name::remoteDesktop, "CreateSession", {{"session_handle_token", token}}, patience::step,
          [this](const QVariantMap& results) {
            session_ = textOf(results["session_handle"]);
            selectDevices();
          });
}

void SessionLife::selectDevices() {
  QVariantMap options{{"types", offer_.devices & Offer::keyboardAndPointer}};
  if (offer_.remoteDesktop >= remembersDevices) {
    options["persist_mode"] = untilRevoked;
    const auto token = wishes_.token.read();
    if (!token.empty()) options["restore_token"] = QString::fromStdString(token);
  }
  request(name::remoteDesktop, "SelectDevices", options, patience::step,
          [this](const QVariantMap&) { selectSources(); });
}

/// What is remembered of the screen belongs to what is remembered of the devices: portals refuse a
/// session with both that asks for it here.
void SessionLife::selectSources() {
  QVariantMap options{{"types", monitors}, {"multiple", false}};
  if (const auto mode = cursorModeOf(offer_.cursorModes, wishes_.showsCursor); mode != 0)
    options["cursor_mode"] = mode;
  request(name::screenCast, "SelectSources", options, patience::step,
          [this](const QVariantMap&) { start(); });
}

void SessionLife::start() {
  const auto message = [this](const QVariantMap& results) {
    wishes_.token.write(results["restore_token"].toString().toStdString());
    openPipeWire(results);
  };
  request(name::remoteDesktop, "Start", {}, wishes_.answerWithin, message);
}

void SessionLife::openPipeWire(const QVariantMap& results) {
  const QVariantList arguments{QVariant::fromValue(QDBusObjectPath(session_)), QVariantMap()};
  bus_.ask(Bus::call(name::portalPath, name::screenCast, "OpenPipeWireRemote", arguments),
           patience::step, [this, results](const QDBusMessage& reply) { grant(reply, results); });
}

void SessionLife::grant(const QDBusMessage& reply, const QVariantMap& results) {
  const auto file = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
  const auto stream = streamOf(results);
  if (!file.isValid() || !stream) return fail(sessionError::failed);
  node_ = stream->node;
  Granted granted{
      .remote = Descriptor(::fcntl(file.fileDescriptor(), F_DUPFD_CLOEXEC, 0)),
      .node = node_,
      .area = stream->area,
      .mayControl = (results["devices"].toUInt() & Offer::keyboardAndPointer) != 0,
  };
  if (!granted.remote) return fail(sessionError::failed);
  if (granted.mayControl) {
    strokesOf_ = strokes_.open(granted.area, [this] {
      QMetaObject::invokeMethod(
          &context_, [this] { send(); }, Qt::QueuedConnection);
    });
  }
  listener_.onGranted(std::move(granted));
}

void SessionLife::request(const char* interface, const char* method, const QVariantMap& options,
                          milliseconds patience, Next next) {
  QVariantList arguments;
  if (!session_.isEmpty()) arguments << QVariant::fromValue(QDBusObjectPath(session_));
  // No window of this program's stands behind the question.
  const bool asksThePerson = QString(method) == "Start";
  if (asksThePerson) arguments << QString();
  const auto answer = [=, this, next = std::move(next)](Outcome outcome,
                                                        const QVariantMap& results) {
    if (outcome == Outcome::granted) return next(results);
    fail(asksThePerson && outcome == Outcome::unanswered ? sessionError::unanswered
                                                         : errorOf(outcome));
  };
  request_ = std::make_unique<Request>(
      bus_, Request::Question{interface, method, arguments, options, patience}, answer);
}

/// One stroke at a time: the portal carries out in any order what it is told of at once.
void SessionLife::send() {
  if (isOver_) return;
  const auto stroke = strokes_.take(strokesOf_);
  if (!stroke) return;
  bus_.ask(strokeCall(session_, node_, *stroke), patience::stroke, [this](const QDBusMessage&) {
    strokes_.answered(strokesOf_);
    send();
  });
}

/// Whoever does the portal's work for this desktop goes on without it: the question would stay, the
/// screen be shared and what is down stay down for as long as they run.
void SessionLife::closeBehindPortal() {
  const QString bus = "org.freedesktop.DBus";
  const auto names =
      bus_.tell(QDBusMessage::createMethodCall(bus, "/org/freedesktop/DBus", bus, "ListNames"),
                patience::close);
  const QString implementation = "org.freedesktop.impl.portal.";
  const auto down = strokes_.close(strokesOf_);
  for (const auto& owner : names.arguments().value(0).toStringList()) {
    if (!owner.startsWith(implementation + "desktop.")) continue;
    const auto close = [&](const QString& path, const char* what) {
      bus_.tell(QDBusMessage::createMethodCall(owner, path, implementation + what, "Close"),
                patience::close);
    };
    for (const auto& stroke : down) {
      const auto told = strokeCall(session_, node_, stroke);
      auto call = QDBusMessage::createMethodCall(owner, told.path(),
                                                 implementation + "RemoteDesktop", told.member());
      call.setArguments(told.arguments());
      letGo(stroke, call);
    }
    if (request_ != nullptr) close(request_->path(), "Request");
    if (!session_.isEmpty()) close(session_, "Session");
  }
  session_.clear();
}

void SessionLife::fail(const PlatformError& error) {
  if (std::exchange(isOver_, true)) return;
  strokes_.close(strokesOf_);
  listener_.onEnded(error);
}

}  // namespace vesk::portal::session
