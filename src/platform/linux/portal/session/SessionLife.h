#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/portal/session/Bus.h"
#include "platform/linux/portal/session/Granted.h"
#include "platform/linux/portal/session/Offer.h"
#include "platform/linux/portal/session/PortalSession.h"
#include "platform/linux/portal/session/Request.h"
#include "platform/linux/portal/session/StrokeQueue.h"

namespace vesk::portal::session {

/// What a session says to the portal from its beginning to its end.
///
/// Thread: one, with an event loop of Qt's. Owns: the bus, and with it the session, which is closed
/// at the end. What is given to the constructor outlives it. Calls back: as `PortalSession` does;
/// once it has told of its end it does nothing more.
class SessionLife {
 public:
  SessionLife(StrokeQueue& strokes, const SessionWishes& wishes,
              const PortalSession::Listener& listener);
  ~SessionLife();
  SessionLife(const SessionLife&) = delete;
  SessionLife& operator=(const SessionLife&) = delete;

  /// Asks; each answer leads to the next question.
  void begin();

 private:
  void askForOffer();
  void createSession();
  void selectDevices();
  void selectSources();
  void start();
  void openPipeWire(const QVariantMap& results);
  void grant(const QDBusMessage& reply, const QVariantMap& results);

  using Next = std::function<void(const QVariantMap&)>;
  void request(const char* interface, const char* method, const QVariantMap& options,
               std::chrono::milliseconds patience, Next next);
  void send();
  void letGo(const std::vector<Stroke>& down);
  bool letGo(const Stroke& stroke, const QDBusMessage& call);
  void closeBehindPortal();
  void fail(const PlatformError& error);

  StrokeQueue& strokes_;
  const SessionWishes& wishes_;
  const PortalSession::Listener& listener_;
  QObject context_;  ///< what wakes this object ends with it
  Bus bus_;
  Bus::Subscription portalGone_;
  Bus::Subscription closed_;
  Offer offer_;
  std::unique_ptr<Request> request_;
  QString session_;  ///< its path; empty before there is one
  std::uint32_t node_ = 0;
  std::uint64_t strokesOf_ = 0;  ///< this session among those that have taken strokes
  bool isOver_ = false;
};

}  // namespace vesk::portal::session
