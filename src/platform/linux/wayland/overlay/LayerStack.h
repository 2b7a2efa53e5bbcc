#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <optional>
#include <vector>

#include "platform/linux/wayland/beneath/OwnSurfaces.h"
#include "platform/linux/wayland/overlay/LayerShell.h"

namespace vesk::wayland::overlay {

class LayerOverlay;

/// The overlays that are shown, and the connection that shows them. It is listened to for as long
/// as there is one.
///
/// Compositors do not say which of two surfaces in the same layer is above the other. So overlays
/// that meet share the place between them: each pixel is one surface's.
///
/// Thread: main, with an application object. Owns: nothing of the compositor's; what it is given
/// outlives it.
class LayerStack {
 public:
  LayerStack(LayerShell& shell, beneath::OwnSurfaces& ownSurfaces);
  ~LayerStack();
  LayerStack(const LayerStack&) = delete;
  LayerStack& operator=(const LayerStack&) = delete;

  LayerShell& shell() { return shell_; }
  beneath::OwnSurfaces& ownSurfaces() { return ownSurfaces_; }

  /// On top of the others.
  void add(LayerOverlay& overlay);
  void remove(LayerOverlay& overlay);

  /// From the topmost on.
  std::vector<const LayerOverlay*> above(const LayerOverlay& overlay) const;
  std::vector<const LayerOverlay*> beneath(const LayerOverlay& overlay) const;

  void paint() const;

  /// Paints, and waits for the compositor to have shown it; a bounded time.
  void show() const;

 private:
  void listen();
  void adapt() const;
  bool isWhole() const;

  LayerShell& shell_;
  beneath::OwnSurfaces& ownSurfaces_;
  std::optional<QSocketNotifier> notifier_;
  QTimer laterAdapt_;
  std::vector<LayerOverlay*> overlays_;  ///< from the topmost on
};

}  // namespace vesk::wayland::overlay
