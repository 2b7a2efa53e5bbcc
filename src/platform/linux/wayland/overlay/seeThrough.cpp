#include "platform/linux/wayland/overlay/seeThrough.h"

namespace vesk::wayland::overlay {
namespace {

constexpr int highest = 255;
constexpr int highestSeeThrough = static_cast<int>(mostOpaque * highest);

int fainter(int part) { return (part * highestSeeThrough + highest / 2) / highest; }

}  // namespace

QImage seeThrough(const QImage& picture) {
  QImage image = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < image.height(); ++y) {
    auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      const QRgb pixel = row[x];
      row[x] = qRgba(fainter(qRed(pixel)), fainter(qGreen(pixel)), fainter(qBlue(pixel)),
                     fainter(qAlpha(pixel)));
    }
  }
  return image;
}

}  // namespace vesk::wayland::overlay
