#include "platform/linux/wayland/input/WlEventPoster.h"

namespace vesk::wayland::input {

WlEventPoster::WlEventPoster(InputGate& gate, const stream::WatchedDisplay& watched)
    : gate_(gate), watched_(watched) {
  undoLeftBehind();
  gate_.onClose = [this] {
    const std::lock_guard lock(mutex_);
    if (devices_ != nullptr) devices_->letGo();
  };
  gate_.onEnded = [this] {
    const std::lock_guard lock(mutex_);
    const bool isLost = devices_ != nullptr && !*devices_;
    devices_.reset();
    // What was held by way of a lost connection may be down yet. A compositor that is held up is
    // not waited for here: what the record says then, the next devices see to.
    if (isLost) undoLeftBehind();
    hasFailed_ = false;
  };
}

WlEventPoster::~WlEventPoster() {
  gate_.onClose = nullptr;
  gate_.onEnded = nullptr;
}

/// Devices that come up let go of what others have left down.
void WlEventPoster::undoLeftBehind() {
  if (record_.isLeftBehind()) const InputDevices undoing(gate_, watched_, record_);
}

/// Those that there are; made now where they are needed and nothing speaks against it.
InputDevices* WlEventPoster::devices(Need need) {
  if (devices_ != nullptr && !*devices_) devices_.reset();
  if (devices_ == nullptr && need == Need::ofAny && gate_.isOpen() && !hasFailed_) {
    devices_ = std::make_unique<InputDevices>(gate_, watched_, record_);
    hasFailed_ = !*devices_;
    if (hasFailed_) devices_.reset();
  }
  return devices_.get();
}

void WlEventPoster::post(const MouseEvent& event) {
  const std::lock_guard lock(mutex_);
  auto* const hands = devices(isMouseRelease(event.type) ? Need::ofThoseThatAreThere : Need::ofAny);
  if (hands == nullptr) return;
  if (const auto place = hands->post(event)) pointer_ = place;
}

void WlEventPoster::post(const KeyboardEvent& event) {
  const std::lock_guard lock(mutex_);
  auto* const hands = devices(isRelease(event) ? Need::ofThoseThatAreThere : Need::ofAny);
  if (hands != nullptr) hands->post(event);
}

void WlEventPoster::post(const ScrollEvent& event) {
  const std::lock_guard lock(mutex_);
  if (auto* const hands = devices(Need::ofAny)) hands->post(event);
}

std::optional<Point> WlEventPoster::pointerLocation() {
  const std::lock_guard lock(mutex_);
  return pointer_;
}

}  // namespace vesk::wayland::input
