#include "platform/linux/QtApplication.h"

#include <QTimer>
#include <system_error>

namespace vesk {

QtApplication::QtApplication() : application_(argumentCount_, arguments_) {
  QGuiApplication::setApplicationDisplayName("Vesk Remote");
}

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
  // Task bars list windows, not applications, so having no window of the usual kind is all that
  // makes an application an accessory here.
  if (policy == ActivationPolicy::accessory) QGuiApplication::setQuitOnLastWindowClosed(false);
}

void QtApplication::run() {
  QTimer::singleShot(0, &application_, [this] {
    if (delegate_ != nullptr) finishLaunching();
  });
  QApplication::exec();
}

/// Until there is something to let go of, a signal may end the process as it does any other.
void QtApplication::finishLaunching() {
  delegate_->applicationDidFinishLaunching();
  try {
    endSignals_.emplace();
  } catch (const std::system_error&) {
    return;  // without a pipe a signal ends the process as it does any other
  }
  endNotifier_ =
      std::make_unique<QSocketNotifier>(endSignals_->descriptor(), QSocketNotifier::Read);
  QObject::connect(endNotifier_.get(), &QSocketNotifier::activated, &application_, [this] {
    endNotifier_->setEnabled(false);
    delegate_->applicationWillTerminate();
  });
}

}  // namespace vesk
