#include "support/WlLayer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "platform/Descriptor.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

using wayland::server::Connection;

Connection::Clock::time_point deadline() {
  return Connection::Clock::now() + std::chrono::milliseconds(patience());
}

wl_buffer* sharedPicture(wl_shm* shm, const wayland::beneath::OwnSurface& surface) {
  const auto bytes = surface.pixels->size() * 4;
  const Descriptor file(::memfd_create("layer", MFD_CLOEXEC));
  const auto written = ::write(file.get(), surface.pixels->data(), bytes);
  if (written != static_cast<ssize_t>(bytes)) throw std::runtime_error("no memory for a layer");
  const wayland::server::Proxy<wl_shm_pool> pool(
      wl_shm_create_pool(shm, file.get(), static_cast<std::int32_t>(bytes)));
  return wl_shm_pool_create_buffer(pool.get(), 0, surface.area.width, surface.area.height,
                                   surface.area.width * 4, WL_SHM_FORMAT_ARGB8888);
}

}  // namespace

WlLayer::WlLayer(wayland::beneath::OwnSurfaces& list, wayland::beneath::OwnSurface surface,
                 int scale)
    : list_(list),
      told_(std::move(surface)),
      scale_(scale),
      compositor_(connection_.bind<wl_compositor>(wl_compositor_interface, 4)),
      shm_(connection_.bind<wl_shm>(wl_shm_interface, 1)),
      shell_(connection_.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 3)),
      buffer_(sharedPicture(shm_.get(), told_)) {}

WlLayer::~WlLayer() { hide(); }

void WlLayer::show() {
  if (number_) return;
  const wayland::beneath::OwnSurfaces::Change change(list_);
  surface_.reset(wl_compositor_create_surface(compositor_.get()));
  layer_.reset(zwlr_layer_shell_v1_get_layer_surface(shell_.get(), surface_.get(),
                                                     outputs_.proxy(told_.output),
                                                     ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "layer"));
  const auto points = [&](std::int32_t pixels) { return pixels / scale_; };
  zwlr_layer_surface_v1_set_size(layer_.get(), static_cast<std::uint32_t>(points(told_.area.width)),
                                 static_cast<std::uint32_t>(points(told_.area.height)));
  zwlr_layer_surface_v1_set_anchor(
      layer_.get(), ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
  zwlr_layer_surface_v1_set_margin(layer_.get(), points(told_.area.y), 0, 0, points(told_.area.x));
  zwlr_layer_surface_v1_set_exclusive_zone(layer_.get(), -1);
  static constexpr zwlr_layer_surface_v1_listener listener{
      [](void* self, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t,
         std::uint32_t) {
        zwlr_layer_surface_v1_ack_configure(layer, serial);
        static_cast<WlLayer*>(self)->isConfigured_ = true;
      },
      [](void*, zwlr_layer_surface_v1*) {}};
  zwlr_layer_surface_v1_add_listener(layer_.get(), &listener, this);
  attach();
  number_ = list_.add(told_);
}

void WlLayer::attach() {
  isConfigured_ = false;
  wl_surface_commit(surface_.get());
  if (!connection_.wait([&] { return isConfigured_; }, deadline()))
    throw std::runtime_error("no layer");
  wl_surface_set_buffer_scale(surface_.get(), scale_);
  wl_surface_attach(surface_.get(), buffer_.get(), 0, 0);
  wl_surface_damage_buffer(surface_.get(), 0, 0, told_.area.width, told_.area.height);
  wl_surface_commit(surface_.get());
  if (!connection_.settle(deadline())) throw std::runtime_error("no layer");
}

void WlLayer::hide() {
  if (!number_) return;
  const wayland::beneath::OwnSurfaces::Change change(list_);
  layer_.reset();
  surface_.reset();
  connection_.settle(deadline());
  list_.remove(*std::exchange(number_, std::nullopt));
}

std::uint32_t translucent(int alpha, std::uint32_t rgb) {
  const auto part = [&](unsigned shift) {
    return ((rgb >> shift & 0xffU) * static_cast<unsigned>(alpha) + 127) / 255 << shift;
  };
  return static_cast<std::uint32_t>(alpha) << 24U | part(16) | part(8) | part(0);
}

}  // namespace vesk::testing
