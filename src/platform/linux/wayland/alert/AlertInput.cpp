#include "platform/linux/wayland/alert/AlertInput.h"

#include <linux/input-event-codes.h>

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEnterEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

namespace vesk::wayland::alert {
namespace {

QPointF qtPoint(const Point& point) { return {point.x, point.y}; }

}  // namespace

AlertInput::AlertInput(QWidget& alert, overlay::LayerShell& shell, overlay::LayerSurface& surface)
    : alert_(alert),
      time_(surface),
      image_(shell, surface.scale()),
      seat_(shell.connection(), *this) {
  time_.onAnswer = [this](FrameTime::Time now) { act_.confirm(now); };
}

void AlertInput::comesIntoSight() {
  act_.comesIntoSight();
  time_.ask();
}

void AlertInput::goesOutOfSight() {
  act_.goesOutOfSight();
  act_.losesFocus();
}

void AlertInput::getsFocus(const DeliberateAct::Keys& held) {
  act_.getsFocus(held);
  // What had it meanwhile may have lain above.
  act_.moves();
  time_.ask();
}

void AlertInput::losesFocus() { act_.losesFocus(); }

void AlertInput::key(std::uint32_t number, Stroke stroke, std::uint32_t time) {
  const bool isDown = stroke == Stroke::down;
  const auto at = time_.timeOf(time);
  const bool counts = isDown ? act_.keyGoesDown(number, at) : act_.keyGoesUp(number, at);
  const auto meaning = seat_.keys().meaningOf(number);
  if (!counts || !meaning) return;
  const QString text = meaning->key == Qt::Key_Space ? QStringLiteral(" ") : QString();
  QKeyEvent event(isDown ? QEvent::KeyPress : QEvent::KeyRelease, meaning->key, meaning->modifiers,
                  text);
  event.setTimestamp(time);
  send(event);
}

void AlertInput::pointerEnters(std::uint32_t serial, Point place) {
  image_.show(seat_.pointer(), serial);
  pointer_ = place;
  const QPointF local = qtPoint(place);
  QEnterEvent event(local, local, alert_.mapToGlobal(local));
  send(event);
}

void AlertInput::pointerMoves(Point place) {
  pointer_ = place;
  sendMouse(QEvent::MouseMove, 0);
}

void AlertInput::pointerLeaves() {
  QEvent event(QEvent::Leave);
  send(event);
}

void AlertInput::button(std::uint32_t number, Stroke stroke, std::uint32_t time) {
  if (number != BTN_LEFT) return;
  if (stroke == Stroke::down) {
    if (!act_.buttonGoesDown(time_.timeOf(time))) return;
    isButtonDown_ = true;
    return sendMouse(QEvent::MouseButtonPress, time);
  }
  if (!act_.buttonGoesUp()) letGo();
  if (!isButtonDown_) return;
  isButtonDown_ = false;
  sendMouse(QEvent::MouseButtonRelease, time);
}

/// The release of a press that counts no more is no click: it finds nothing pressed.
void AlertInput::letGo() {
  for (auto* const button : alert_.findChildren<QAbstractButton*>()) button->setDown(false);
}

void AlertInput::sendMouse(QEvent::Type type, std::uint32_t time) {
  const QPointF local = qtPoint(pointer_);
  const bool isMove = type == QEvent::MouseMove;
  QMouseEvent event(type, local, alert_.mapToGlobal(local), isMove ? Qt::NoButton : Qt::LeftButton,
                    isButtonDown_ ? Qt::LeftButton : Qt::NoButton, seat_.keys().modifiers());
  event.setTimestamp(time);
  send(event);
}

void AlertInput::send(QEvent& event) {
  if (auto* const window = alert_.windowHandle()) QCoreApplication::sendEvent(window, &event);
}

}  // namespace vesk::wayland::alert
