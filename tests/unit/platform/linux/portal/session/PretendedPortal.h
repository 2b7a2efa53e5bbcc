#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QThread>
#include <QVariantMap>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vesk::portal::session {

/// Somebody who has the portal's name on a bus, and answers as a test wants it.
///
/// Thread: the test's; each question is dealt with on a thread of its own. Fails: with
/// std::runtime_error where the name is taken.
class PretendedPortal : private QDBusVirtualObject {
 public:
  using Deal = std::function<void(const QDBusMessage& question)>;

  explicit PretendedPortal(const std::string& address);
  ~PretendedPortal() override;

  /// How a method is dealt with that is not answered as everybody's.
  void deal(const QString& method, Deal deal);

  /// Answers a question that comes to a result later, and tells of that.
  void answer(const QDBusMessage& question, unsigned response, const QVariantMap& results);
  void reply(const QDBusMessage& question, const QVariantList& arguments = {});
  void tell(const QString& path, const QString& interface, const QString& signal,
            const QVariantList& arguments = {});

  /// Where the request stands that a question makes, and the session of whoever asks.
  static QString requestOf(const QDBusMessage& question);
  static QString sessionOf(const QDBusMessage& question);

  /// What a question is asked with.
  static QVariantMap optionsOf(const QDBusMessage& question);

  /// Of which objects a method has been called so far.
  std::vector<QString> callsOf(const QString& method);

  std::size_t count(const QString& method) { return callsOf(method).size(); }

  QVariantMap remoteDesktop{{"version", 1U}, {"AvailableDeviceTypes", 7U}};
  QVariantMap screenCast{{"version", 4U}, {"AvailableCursorModes", 7U}};

 private:
  bool handleMessage(const QDBusMessage& question, const QDBusConnection& connection) override;
  QString introspect(const QString&) const override { return {}; }
  void answerAsUsual(const QDBusMessage& question);

  QDBusConnection connection_;
  QThread thread_;
  std::mutex mutex_;
  std::map<QString, Deal> deals_;
  std::map<QString, std::vector<QString>> calls_;  ///< by method
};

}  // namespace vesk::portal::session
