#include "platform/linux/wayland/overlay/LayerSurface.h"

#include <cstddef>
#include <memory>

#include "platform/linux/banner/OverlayShapes.h"
#include "platform/linux/wayland/overlay/wholeScale.h"

namespace vesk::wayland::overlay {
namespace {

constexpr const char* name = "vesk-remote";

/// Panels have no say in where it lies.
constexpr std::int32_t regardlessOfPanels = -1;

}  // namespace

PixelRect LayerArea::pixels(std::int32_t scale) const {
  return {x * scale, y * scale, width * scale, height * scale};
}

LayerSurface::LayerSurface(LayerShell& shell, beneath::OwnSurfaces& ownSurfaces,
                           const server::Output& output, const LayerArea& area, Kind kind)
    : shell_(shell), ownSurfaces_(ownSurfaces), output_(output), area_(area), kind_(kind) {
  auto* const proxy = shell_ ? shell_.outputs().proxy(output_.id) : nullptr;
  if (proxy == nullptr || area_.width <= 0 || area_.height <= 0) return;
  surface_.reset(wl_compositor_create_surface(shell_.compositor()));
  layer_.reset(zwlr_layer_shell_v1_get_layer_surface(shell_.layers(), surface_.get(), proxy,
                                                     ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, name));
  listen();
  configure(kind);
}

LayerSurface::~LayerSurface() { leave(); }

void LayerSurface::leave() {
  isClosed_ = true;
  layer_.reset();
  surface_.reset();
  unlist();
}

void LayerSurface::listen() {
  static constexpr zwlr_layer_surface_v1_listener listener{
      [](void* self, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t,
         std::uint32_t) {
        zwlr_layer_surface_v1_ack_configure(layer, serial);
        static_cast<LayerSurface*>(self)->isConfigured_ = true;
      },
      [](void* self, zwlr_layer_surface_v1*) { static_cast<LayerSurface*>(self)->close(); }};
  zwlr_layer_surface_v1_add_listener(layer_.get(), &listener, this);
}

/// Until it has answered to this, the compositor takes no picture.
void LayerSurface::configure(Kind kind) {
  zwlr_layer_surface_v1_set_size(layer_.get(), static_cast<std::uint32_t>(area_.width),
                                 static_cast<std::uint32_t>(area_.height));
  zwlr_layer_surface_v1_set_anchor(
      layer_.get(), ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
  zwlr_layer_surface_v1_set_margin(layer_.get(), area_.y, 0, 0, area_.x);
  zwlr_layer_surface_v1_set_exclusive_zone(layer_.get(), regardlessOfPanels);
  if (kind == Kind::question) {
    zwlr_layer_surface_v1_set_keyboard_interactivity(
        layer_.get(), ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE);
  } else {
    const server::Proxy<wl_region> nowhere(wl_compositor_create_region(shell_.compositor()));
    wl_surface_set_input_region(surface_.get(), nowhere.get());
  }
  wl_surface_commit(surface_.get());
}

void LayerSurface::show(const QImage& picture) {
  if (!isReady()) return;
  // The last one may be looked at until the compositor has the next.
  while (buffers_.size() > 1 && buffers_.front().isReleased()) buffers_.pop_front();
  shell_.withDescriptors([&] { buffers_.emplace_back(shell_.memory(), picture); });
  const auto& buffer = buffers_.back();
  if (buffer.get() == nullptr) return buffers_.pop_back();
  wl_surface_set_buffer_scale(surface_.get(), scale());
  wl_surface_attach(surface_.get(), buffer.get(), 0, 0);
  wl_surface_damage_buffer(surface_.get(), 0, 0, picture.width(), picture.height());
  wl_surface_commit(surface_.get());
  list(picture);
}

void LayerSurface::list(const QImage& picture) {
  if (listed_) {
    ownSurfaces_.replace(*listed_, described(picture));
  } else {
    listed_ = ownSurfaces_.add(described(picture));
  }
}

beneath::OwnSurface LayerSurface::described(const QImage& picture) const {
  const auto whole = wholeScale(output_);
  if (!whole) {
    const Rect points{{static_cast<double>(area_.x), static_cast<double>(area_.y)},
                      static_cast<double>(area_.width),
                      static_cast<double>(area_.height)};
    // Where exactly it ends, and how it fades there, is the compositor's to round.
    constexpr std::int32_t margin = 1;
    const auto size = output_.pixels();
    const PixelRect screen{0, 0, static_cast<std::int32_t>(size.width),
                           static_cast<std::int32_t>(size.height)};
    const auto area = picture::padded(banner::pixelRect(points, output_.scale()), margin);
    return {output_.id, picture::intersection(area, screen), nullptr};
  }
  // What a question looks like from one moment to the next, nobody has to know.
  if (kind_ == Kind::question) return {output_.id, area_.pixels(*whole), nullptr};
  const auto* const first = reinterpret_cast<const std::uint32_t*>(picture.constBits());
  const auto count = static_cast<std::ptrdiff_t>(picture.width()) * picture.height();
  return {output_.id, area_.pixels(*whole),
          std::make_shared<const beneath::OwnSurface::Pixels>(first, first + count)};
}

void LayerSurface::unlist() {
  if (listed_) ownSurfaces_.remove(*listed_);
  listed_.reset();
}

void LayerSurface::close() {
  isClosed_ = true;
  if (listed_) {
    const beneath::OwnSurfaces::Change change(ownSurfaces_);
    unlist();
  }
  if (onClosed) onClosed();
}

}  // namespace vesk::wayland::overlay
