#pragma once

#include <QString>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <optional>

#include "platform/linux/portal/session/Bus.h"

namespace vesk::portal::session {

/// How a request has come out; the values are the portal's own, but for the last two.
enum class Outcome : unsigned { granted = 0, refused = 1, failed = 2, unanswered, silent };

/// One request to the portal, which may ask the person before it answers.
///
/// Thread: the bus's. Owns: the request, which is withdrawn, its dialog with it, when this object
/// ends unanswered. The bus outlives it. Calls back: once, unless it has ended before.
class Request {
 public:
  using Answer = std::function<void(Outcome, const QVariantMap&)>;

  struct Question {
    QString interface;
    QString method;
    QVariantList arguments;  ///< those before the options
    QVariantMap options;
    /// How long it may take until the answer is there: the person's, where one is asked.
    std::chrono::milliseconds patience;
  };

  Request(Bus& bus, const Question& question, Answer answer);
  ~Request();
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  /// Where it stands on the bus.
  const QString& path() const { return path_; }

 private:
  void withdraw();
  void finish(Outcome outcome, const QVariantMap& results);

  Bus& bus_;
  Answer answer_;
  QString path_;
  Bus::Subscription response_;
  QObject context_;  ///< timers end with it
};

}  // namespace vesk::portal::session
