#pragma once

#include <QImage>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>

#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/overlay/LayerShell.h"
#include "platform/linux/wayland/overlay/PictureBuffer.h"

namespace vesk::wayland::overlay {

using picture::PixelRect;

/// A rectangle of an output in points, which surfaces have whole ones of; from its top-left corner
/// on.
struct LayerArea {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool operator==(const LayerArea&) const = default;

  /// The same in pixels, where a point has so many on each side.
  PixelRect pixels(std::int32_t scale) const;
};

/// A surface above every window of an output, full-screen ones too.
///
/// It is made and shown within a change of the own surfaces that lasts until the compositor has
/// carried it out, and so it ends; it is listed among them while it is shown.
///
/// Thread: the connection's. Owns: the surface and its pictures; all that it is given outlives it.
/// Fails: in silence, as one that is never ready.
class LayerSurface {
 public:
  enum class Kind {
    sign,      ///< to be seen: whatever is pressed or typed goes to what is beneath
    question,  ///< to be answered: has the pointer, and the keyboard to itself
  };

  LayerSurface(LayerShell& shell, beneath::OwnSurfaces& ownSurfaces, const server::Output& output,
               const LayerArea& area, Kind kind);
  ~LayerSurface();
  LayerSurface(const LayerSurface&) = delete;
  LayerSurface& operator=(const LayerSurface&) = delete;

  /// Whether the compositor waits for its picture. It never does once it has closed the surface.
  bool isReady() const { return isConfigured_ && !isClosed_; }
  bool isClosed() const { return isClosed_; }

  /// Whether it has been given a picture, and is in sight as far as it is up to this program.
  bool isShown() const { return isReady() && listed_.has_value(); }

  /// The pixels of a point that a picture should have.
  std::int32_t scale() const { return output_.bufferScale; }

  wl_surface* get() const { return surface_.get(); }

  /// A premultiplied picture of as many pixels as the area has at that scale.
  void show(const QImage& picture);

  /// Ends it before the object does: from then on it is as one that was closed.
  void leave();

  /// Called when the compositor takes the surface away, with its output for one. It is told from
  /// then on of nothing more.
  std::function<void()> onClosed;

 private:
  void listen();
  void configure(Kind kind);
  void close();
  void list(const QImage& picture);
  void unlist();
  beneath::OwnSurface described(const QImage& picture) const;

  LayerShell& shell_;
  beneath::OwnSurfaces& ownSurfaces_;
  server::Output output_;
  LayerArea area_;
  Kind kind_;
  std::list<PictureBuffer> buffers_;  ///< the last one is shown
  server::Proxy<wl_surface> surface_;
  server::Proxy<zwlr_layer_surface_v1> layer_;
  std::optional<beneath::OwnSurfaces::Number> listed_;
  bool isConfigured_ = false;
  bool isClosed_ = false;
};

}  // namespace vesk::wayland::overlay
