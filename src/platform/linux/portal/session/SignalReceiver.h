#pragma once

#include <QDBusMessage>
#include <QObject>
#include <functional>
#include <memory>
#include <utility>

namespace vesk::portal::session {

/// What Qt wants there to be for a signal of the bus to reach a function.
///
/// Thread: the one that it was made on, where it calls back, not once it was silenced.
class SignalReceiver final : public QObject {
  Q_OBJECT

 public:
  /// Ends it, also from within what it calls.
  struct Silence {
    void operator()(SignalReceiver* receiver) const {
      receiver->handler_ = nullptr;
      receiver->deleteLater();
    }
  };

  explicit SignalReceiver(std::function<void(const QDBusMessage&)> handler)
      : handler_(std::move(handler)) {}

  // Qt finds a slot by how the type is written.
  Q_SLOT void take(const QDBusMessage& signal);

 private:
  std::function<void(const QDBusMessage&)> handler_;
};

}  // namespace vesk::portal::session
