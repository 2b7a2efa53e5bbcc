#include "platform/linux/banner/StripPicture.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QTextOption>

#include "platform/linux/banner/boundedText.h"

namespace vesk::banner {
namespace {

QColor colourOf(const Colour& colour) {
  return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                          static_cast<float>(colour.blue), static_cast<float>(colour.alpha));
}

QPainterPath tabPath(const QRectF& area, double radius) {
  QPainterPath path;
  // Its upper part is outside the picture, so only the lower corners are round.
  path.addRoundedRect(area.adjusted(0, -2 * radius, 0, 0), radius, radius);
  return path;
}

void drawLabel(QPainter& painter, const OverlayLabel& label, const std::string& text) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(static_cast<int>(label.fontSize));
  font.setWeight(label.semibold ? QFont::DemiBold : QFont::Normal);
  painter.setFont(font);
  painter.setPen(Qt::white);

  const QRectF frame(label.frame.origin.x, label.frame.origin.y, label.frame.width,
                     label.frame.height);
  QTextOption option(Qt::AlignCenter);
  option.setWrapMode(QTextOption::NoWrap);
  option.setTextDirection(Qt::LeftToRight);
  const QFontMetricsF metrics(font, painter.device());
  const QString whole = boundedText(QString::fromStdString(text));
  painter.drawText(frame, metrics.elidedText(whole, Qt::ElideMiddle, frame.width()), option);
}

}  // namespace

QImage edgePicture(const PixelRect& edge, const Colour& colour, const std::vector<Tab>& tabs) {
  QImage image(edge.width, edge.height, QImage::Format_ARGB32_Premultiplied);
  image.fill(colourOf(colour));
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
  for (const auto& tab : tabs) {
    const QRectF area(tab.frame.x - edge.x, tab.frame.y - edge.y, tab.frame.width,
                      tab.frame.height);
    painter.fillPath(tabPath(area, tab.radius), Qt::black);
  }
  return image;
}

QImage StripPicture::paint() const {
  QImage image(frame.width, frame.height, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  image.setDevicePixelRatio(scale);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF area(0, 0, frame.width / scale, frame.height / scale);
  painter.fillPath(tabPath(area, bottomCornerRadius), colourOf(background));
  if (label) drawLabel(painter, *label, text);
  return image;
}

}  // namespace vesk::banner
