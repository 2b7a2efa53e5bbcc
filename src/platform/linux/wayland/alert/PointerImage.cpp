#include "platform/linux/wayland/alert/PointerImage.h"

#include <QPainter>
#include <QPolygonF>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace vesk::wayland::alert {
namespace {

int chosenSize() {
  constexpr int usual = 24;
  constexpr int largest = 256;
  const char* const text = std::getenv("XCURSOR_SIZE");
  if (text == nullptr) return usual;
  const std::string_view digits(text);
  int size = usual;
  std::from_chars(digits.begin(), digits.end(), size);
  return size > 0 && size <= largest ? size : usual;
}

QImage arrowPicture(std::int32_t scale) {
  constexpr int size = 24;
  QImage image(size * scale, size * scale, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(scale, scale);
  painter.setPen(Qt::white);
  painter.setBrush(Qt::black);
  painter.drawPolygon(
      QPolygonF({{1, 1}, {1, 17}, {5, 13.5}, {7.5, 19.5}, {10.5, 18}, {8, 12.5}, {13, 12.5}}));
  return image;
}

}  // namespace

PointerImage::PointerImage(overlay::LayerShell& shell, std::int32_t scale)
    : shell_(shell),
      scale_(scale),
      theme_(
          wl_cursor_theme_load(std::getenv("XCURSOR_THEME"), chosenSize() * scale, shell.memory())),
      surface_(wl_compositor_create_surface(shell.compositor())) {}

void PointerImage::show(wl_pointer* pointer, std::uint32_t serial) {
  const Look shown = look();
  if (shown.buffer == nullptr) return;
  constexpr std::int32_t all = std::numeric_limits<std::int32_t>::max();
  wl_pointer_set_cursor(pointer, serial, surface_.get(), shown.hotX / shown.scale,
                        shown.hotY / shown.scale);
  wl_surface_set_buffer_scale(surface_.get(), shown.scale);
  wl_surface_attach(surface_.get(), shown.buffer, 0, 0);
  wl_surface_damage_buffer(surface_.get(), 0, 0, all, all);
  wl_surface_commit(surface_.get());
}

PointerImage::Look PointerImage::look() {
  wl_cursor* const cursor =
      theme_ == nullptr ? nullptr : wl_cursor_theme_get_cursor(theme_.get(), "left_ptr");
  if (cursor == nullptr || cursor->image_count == 0) return ownArrow();
  auto& image = *cursor->images[0];
  const auto scale = static_cast<std::uint32_t>(scale_);
  // A theme has few sizes, and gives the nearest one that it has.
  const bool fits = image.width % scale == 0 && image.height % scale == 0;
  return {wl_cursor_image_get_buffer(&image), fits ? scale_ : 1,
          static_cast<std::int32_t>(image.hotspot_x), static_cast<std::int32_t>(image.hotspot_y)};
}

PointerImage::Look PointerImage::ownArrow() {
  if (!arrow_) arrow_.emplace(shell_.memory(), arrowPicture(scale_));
  return {arrow_->get(), scale_, scale_, scale_};
}

}  // namespace vesk::wayland::alert
