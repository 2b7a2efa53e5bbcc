#include "platform/linux/loop/QtApplication.h"

#include <QTimer>
#include <system_error>
#include <utility>

namespace vesk::loop {

QtApplication::QtApplication(std::string plugin)
    : platform_(std::move(plugin)), application_(argumentCount_, arguments_) {
  QGuiApplication::setApplicationDisplayName("Vesk Remote");
}

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
  // Task bars list windows, not applications, so having no window of the usual kind is all that
  // makes an application an accessory here.
  if (policy == ActivationPolicy::accessory) QGuiApplication::setQuitOnLastWindowClosed(false);
}

void QtApplication::run() {
  takeEndSignals();
  QTimer::singleShot(0, &application_, [this] {
    if (delegate_ != nullptr) delegate_->applicationDidFinishLaunching();
  });
  QApplication::exec();
}

/// Without a pipe a signal ends the process as it does any other.
void QtApplication::takeEndSignals() try {
  endSignals_.emplace();
  endNotifier_ =
      std::make_unique<QSocketNotifier>(endSignals_->descriptor(), QSocketNotifier::Read);
  QObject::connect(endNotifier_.get(), &QSocketNotifier::activated, &application_,
                   [this] { askForTheEnd(*endNotifier_); });
} catch (const std::system_error&) {
}

void QtApplication::endWhen(int descriptor, std::function<bool()> isOver) {
  overNotifier_ = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
  QObject::connect(overNotifier_.get(), &QSocketNotifier::activated, &application_,
                   [this, isOver = std::move(isOver)] {
                     if (isOver()) askForTheEnd(*overNotifier_);
                   });
}

void QtApplication::askForTheEnd(QSocketNotifier& notifier) {
  notifier.setEnabled(false);
  if (delegate_ != nullptr) delegate_->applicationWillTerminate();
}

}  // namespace vesk::loop
