#include "platform/linux/alert/AlertButton.h"

#include <QPainter>

namespace vesk::alert {

AlertButton::AlertButton(const QString& label) : QPushButton(label) {
  constexpr int leastHeight = 34;
  setMinimumHeight(leastHeight);
}

void AlertButton::paintEvent(QPaintEvent* event) {
  if (!isDefault()) return QPushButton::paintEvent(event);
  constexpr int slightlyDarker = 115;
  constexpr double radius = 4;
  const QColor colour = palette().color(QPalette::Button);
  const QColor text = palette().color(QPalette::ButtonText);
  const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(colour.darker(slightlyDarker));
  painter.setBrush(isDown() ? colour.darker(slightlyDarker) : colour);
  painter.drawRoundedRect(area, radius, radius);
  if (hasFocus()) {
    painter.setOpacity(0.5);
    painter.setPen(text);
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(area.adjusted(2, 2, -2, -2), radius - 1, radius - 1);
    painter.setOpacity(1);
  }
  painter.setPen(text);
  painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, this->text());
}

}  // namespace vesk::alert
