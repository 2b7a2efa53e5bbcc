#include "platform/linux/loop/QtApplication.h"

#include <QTimer>
#include <system_error>

namespace vesk::loop {

QtApplication::QtApplication() : application_(argumentCount_, arguments_) {
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
  QObject::connect(endNotifier_.get(), &QSocketNotifier::activated, &application_, [this] {
    endNotifier_->setEnabled(false);
    if (delegate_ != nullptr) delegate_->applicationWillTerminate();
  });
} catch (const std::system_error&) {
}

}  // namespace vesk::loop
