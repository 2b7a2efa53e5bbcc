#include "platform/linux/alert/AlertIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace vesk::alert {
namespace {

/// On a square of that size.
void draw(QPainter& painter, int size) {
  constexpr double drawnOn = 64;
  painter.scale(size / drawnOn, size / drawnOn);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  QLinearGradient light(0, 4, 0, 60);
  light.setColorAt(0, QColor(0x3d, 0x8b, 0xe6));
  light.setColorAt(1, QColor(0x1f, 0x5f, 0xb8));
  painter.setBrush(light);
  painter.drawRoundedRect(QRectF(2, 6, 60, 42), 6, 6);
  painter.setBrush(QColor(0x6b, 0x74, 0x80));
  painter.drawRect(QRectF(27, 48, 10, 6));
  painter.drawRoundedRect(QRectF(18, 53, 28, 5), 2.5, 2.5);

  QPainterPath eye(QPointF(13, 27));
  eye.quadTo(32, 7, 51, 27);
  eye.quadTo(32, 47, 13, 27);
  painter.setBrush(Qt::white);
  painter.drawPath(eye);
  painter.setBrush(QColor(0x1b, 0x3c, 0x66));
  painter.drawEllipse(QPointF(32, 27), 8, 8);
  painter.setBrush(Qt::white);
  painter.drawEllipse(QPointF(35, 24), 2.4, 2.4);
}

}  // namespace

QIcon alertIcon() {
  QIcon icon;
  for (const int size : {16, 32, 48, 64, 96, 128}) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    draw(painter, size);
    painter.end();
    icon.addPixmap(pixmap);
  }
  return icon;
}

AlertIcon::AlertIcon(QWidget* parent, int size) : QWidget(parent) { setFixedSize(size, size); }

void AlertIcon::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  draw(painter, width());
}

}  // namespace vesk::alert
