#include "platform/linux/alert/LookWatch.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <utility>

namespace vesk::alert {

LookWatch::LookWatch(QWidget& window, std::function<void()> onChange)
    : onChange_(std::move(onChange)) {
  window.installEventFilter(this);
  for (const auto* const screen : QGuiApplication::screens()) watch(*screen);
  connect(qApp, &QGuiApplication::screenAdded, this, [this](const QScreen* screen) {
    watch(*screen);
    onChange_();
  });
  connect(qApp, &QGuiApplication::screenRemoved, this, [this] { onChange_(); });
  // Whoever only drags it to another monitor has it in sight as it is.
  connect(window.windowHandle(), &QWindow::screenChanged, this,
          [this, &window, scale = window.devicePixelRatioF()] {
            if (window.devicePixelRatioF() != scale) onChange_();
          });
}

void LookWatch::watch(const QScreen& screen) {
  connect(&screen, &QScreen::geometryChanged, this, [this] { onChange_(); });
  connect(&screen, &QScreen::logicalDotsPerInchChanged, this, [this] { onChange_(); });
}

bool LookWatch::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::ApplicationFontChange:
    case QEvent::StyleChange:
    case QEvent::PaletteChange:
    case QEvent::ApplicationPaletteChange:
    case QEvent::ThemeChange:
    case QEvent::LayoutDirectionChange:
    case QEvent::ApplicationLayoutDirectionChange:
      onChange_();
      break;
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace vesk::alert
