#include "platform/linux/wayland/overlay/LayerStack.h"

#include <algorithm>

#include "platform/linux/wayland/overlay/LayerOverlay.h"

namespace vesk::wayland::overlay {

LayerStack::LayerStack(LayerShell& shell, beneath::OwnSurfaces& ownSurfaces)
    : shell_(shell), ownSurfaces_(ownSurfaces) {
  laterAdapt_.setSingleShot(true);
  QObject::connect(&laterAdapt_, &QTimer::timeout, [this] { adapt(); });
  // Told from within whatever waits for the compositor, so not to be acted upon there.
  shell_.outputs().onChange = [this] { laterAdapt_.start(0); };
}

LayerStack::~LayerStack() { shell_.outputs().onChange = nullptr; }

void LayerStack::add(LayerOverlay& overlay) {
  std::erase(overlays_, &overlay);
  overlays_.insert(overlays_.begin(), &overlay);
  if (notifier_ || !shell_) return;
  notifier_.emplace(shell_.connection().descriptor(), QSocketNotifier::Read);
  QObject::connect(&*notifier_, &QSocketNotifier::activated, [this] { listen(); });
}

void LayerStack::remove(LayerOverlay& overlay) {
  std::erase(overlays_, &overlay);
  if (overlays_.empty()) notifier_.reset();
}

std::vector<const LayerOverlay*> LayerStack::above(const LayerOverlay& overlay) const {
  return {overlays_.begin(), std::ranges::find(overlays_, &overlay)};
}

std::vector<const LayerOverlay*> LayerStack::beneath(const LayerOverlay& overlay) const {
  const auto self = std::ranges::find(overlays_, &overlay);
  if (self == overlays_.end()) return {};
  return {std::next(self), overlays_.end()};
}

void LayerStack::paint() const {
  for (auto* const overlay : overlays_) overlay->paint();
}

void LayerStack::show() const {
  paint();
  shell_.settle();
  if (isWhole()) return;
  // A compositor that was held up may have made room only now, and have no more to tell.
  paint();
  shell_.connection().flush();
}

void LayerStack::listen() {
  // A socket whose other end is gone stays readable for ever.
  if (!shell_.connection().dispatch()) return notifier_->setEnabled(false);
  // A compositor that was held up, or memory that was missing: what should be in sight comes later.
  constexpr std::chrono::milliseconds pause{100};
  if (!isWhole() && !laterAdapt_.isActive()) laterAdapt_.start(pause);
}

bool LayerStack::isWhole() const {
  return std::ranges::all_of(overlays_, [](const auto* overlay) { return overlay->isWhole(); });
}

void LayerStack::adapt() const {
  const auto overlays = overlays_;
  for (auto* const overlay : overlays) overlay->adapt();
}

}  // namespace vesk::wayland::overlay
