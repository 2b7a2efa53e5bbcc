#include "platform/linux/QtApplication.h"

#include <QTimer>

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
    if (delegate_ != nullptr) delegate_->applicationDidFinishLaunching();
  });
  QApplication::exec();
}

}  // namespace vesk
